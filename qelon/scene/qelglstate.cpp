#include "qelon/scene/qelglstate.h"

#include <cstdint>
#include <cstring>
#include <typeindex>
#include <unordered_set>

#include "qelon/scene/qelcomp.h"

namespace {

// The client arrays in the order a reset disables them.
constexpr GLenum kArrays[5] = {GL_NORMAL_ARRAY, GL_COLOR_ARRAY, GL_TEXTURE_COORD_ARRAY,
                               GL_EDGE_FLAG_ARRAY, GL_VERTEX_ARRAY};

uint8_t ArrayBit(GLenum array) {
  switch (array) {
    case GL_NORMAL_ARRAY: return 1;
    case GL_COLOR_ARRAY: return 2;
    case GL_TEXTURE_COORD_ARRAY: return 4;
    case GL_EDGE_FLAG_ARRAY: return 8;
    case GL_VERTEX_ARRAY: return 16;
    default: return 0;
  }
}

enum class Known : int8_t { unknown, off, on };

struct GLState {
  int renderDepth = 0;
  bool keep = false;
  // Arrays this module enabled since the last flush; trustworthy only while
  // arraysKnown holds (nothing foreign ran in between).
  uint8_t enabled = 0;
  bool arraysKnown = false;
  // Resets held back for the next item.
  uint8_t heldArrays = 0;
  bool heldEdgeReset = false;
  // Values the library itself set, each with the item that set it: an
  // item's own calls are issued in full, only what an earlier item set is
  // not set again.
  uint32_t item = 0;
  bool edgeFlagTrue = false;
  uint32_t edgeFlagItem = 0;
  Known texture2D = Known::unknown;
  uint32_t texture2DItem = 0;
  bool colorKnown = false;
  uint32_t colorItem = 0;
  GLfloat color[4] = {0, 0, 0, 0};

  bool Remembers() const {
    return heldArrays || heldEdgeReset || arraysKnown || edgeFlagTrue ||
           texture2D != Known::unknown || colorKnown;
  }
};

GLState state;

void IssueHeld() {
  for (uint8_t i = 0; i < 5; ++i)
    if (state.heldArrays & (1u << i)) glDisableClientState(kArrays[i]);
  state.enabled &= static_cast<uint8_t>(~state.heldArrays);
  state.heldArrays = 0;
  if (state.heldEdgeReset && !(state.edgeFlagTrue && state.edgeFlagItem != state.item)) {
    glEdgeFlag(GL_TRUE);
    state.edgeFlagTrue = true;
    state.edgeFlagItem = state.item;
  }
  state.heldEdgeReset = false;
}

std::unordered_set<std::type_index>& TrustedClasses() {
  static std::unordered_set<std::type_index> classes;
  return classes;
}

}  // namespace

void QelGLStateFlush() {
  if (!state.Remembers()) return;
  IssueHeld();
  state.enabled = 0;
  state.arraysKnown = false;
  state.edgeFlagTrue = false;
  state.texture2D = Known::unknown;
  state.colorKnown = false;
}

void QelGLStateEnableArray(GLenum array) {
  const uint8_t bit = ArrayBit(array);
  if (state.heldArrays & bit) {
    state.heldArrays &= static_cast<uint8_t>(~bit);  // still enabled
  } else {
    glEnableClientState(array);
    state.enabled |= bit;
  }
  // Drawing with these arrays leaves the current colour, resp. edge flag,
  // undefined.
  if (array == GL_COLOR_ARRAY) state.colorKnown = false;
  if (array == GL_EDGE_FLAG_ARRAY) state.edgeFlagTrue = false;
}

void QelGLStateArraysEnabled() {
  // Arrays the previous mesh held enabled and this one does not use go now,
  // before anything draws.
  IssueHeld();
  state.arraysKnown = true;
}

void QelGLStateDisableArrays() {
  if (state.keep && state.arraysKnown && state.renderDepth > 0) {
    state.heldArrays = state.enabled;
    state.heldEdgeReset = true;
    return;
  }
  IssueHeld();
  for (GLenum array : kArrays) glDisableClientState(array);
  glEdgeFlag(GL_TRUE);
  state.enabled = 0;
  state.arraysKnown = false;
  state.edgeFlagTrue = state.renderDepth > 0;
  state.edgeFlagItem = state.item;
}

namespace {
void SetTexture2D(Known value) {
  if (state.texture2D == value && state.texture2DItem != state.item) return;
  if (value == Known::on)
    glEnable(GL_TEXTURE_2D);
  else
    glDisable(GL_TEXTURE_2D);
  if (state.renderDepth == 0) return;
  state.texture2D = value;
  state.texture2DItem = state.item;
}
}  // namespace

void QelGLStateEnableTexture2D() { SetTexture2D(Known::on); }

void QelGLStateDisableTexture2D() { SetTexture2D(Known::off); }

void QelGLStateColor(const GLfloat color[4]) {
  if (state.colorKnown && state.colorItem != state.item &&
      std::memcmp(state.color, color, sizeof state.color) == 0)
    return;
  glColor4fv(color);
  if (state.renderDepth == 0) return;
  std::memcpy(state.color, color, sizeof state.color);
  state.colorKnown = true;
  state.colorItem = state.item;
}

void QelGLStateTrustClass(const std::type_info& type) { TrustedClasses().insert(type); }

bool QelGLStateTrustsType(const std::type_info& type) {
  return TrustedClasses().count(type) > 0;
}

TQelGLStateKeep::TQelGLStateKeep(bool keep) : previous_(state.keep) {
  state.keep = keep;
  ++state.item;
}

TQelGLStateKeep::~TQelGLStateKeep() { state.keep = previous_; }

TQelGLStateRenderScope::TQelGLStateRenderScope() { ++state.renderDepth; }

TQelGLStateRenderScope::~TQelGLStateRenderScope() {
  if (--state.renderDepth == 0) QelGLStateFlush();
}
