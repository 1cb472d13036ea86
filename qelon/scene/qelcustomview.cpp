#include "qelcustomview.h"

#include "qelon/scene/qelrenderstate.h"

const char* const TQelDrawingModeStr[5] = {"dmIdle", "dmPaint", "dmBitmap", "dmSelect",
                                           "dmPointQuery"};

TQelCustomView::TQelCustomView(TComponent* AOwner)
    : TComponent(AOwner), renderState_(&TQelRenderState::Shared()) {}

TQelCustomView::~TQelCustomView() { Destroying(); }

int32_t TQelCustomView::GetNextID(TObject* obj, int32_t num) {
  ++nextID_;
  if (OnNextID) OnNextID(obj, num);
  return nextID_;
}
