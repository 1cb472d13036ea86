#include "qelappearancecache.h"

#include "qelon/appearance/qelattr.h"
#include "qelon/appearance/qelmat.h"
#include "qelon/appearance/qeltex.h"
#include "qelon/scene/qelcomp.h"

bool QelAppearanceRecording() { return QelRecordingDisplayList(); }

void QelForgetAppearanceState() {
  SetLastRenderedMaterial(nullptr);
  SetLastRenderedAttributes(nullptr);
  RedrawTextures();
}

namespace {
const bool hooked = [] {
  QelOnDisplayListBoundary(&QelForgetAppearanceState);
  return true;
}();
}  // namespace
