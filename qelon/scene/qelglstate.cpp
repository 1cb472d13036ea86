#include "qelon/scene/qelglstate.h"

#include <array>
#include <cstdint>
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

// A value the library itself made current, with the item that did: an
// item's own calls are issued in full, only what an earlier item set is
// not set again.
template <class T>
struct TRemembered {
  bool known = false;
  T value{};
  uint32_t item = 0;

  bool SetByEarlierItem(const T& v, uint32_t current) const {
    return known && item != current && value == v;
  }
  void Remember(const T& v, uint32_t current) {
    known = true;
    value = v;
    item = current;
  }
};

struct GLState {
  int renderDepth = 0;
  bool keep = false;
  uint32_t item = 0;  // counts the items nodes start
  // Arrays this module enabled since the last flush; trustworthy only while
  // arraysKnown holds (nothing foreign ran in between).
  uint8_t enabled = 0;
  bool arraysKnown = false;
  // Resets held back for the next item.
  uint8_t heldArrays = 0;
  bool heldEdgeReset = false;
  TRemembered<bool> edgeFlagTrue;  // value is always true
  TRemembered<bool> texture2D;
  TRemembered<std::array<GLfloat, 4>> color;

  bool Remembers() const {
    return heldArrays || heldEdgeReset || arraysKnown || edgeFlagTrue.known || texture2D.known ||
           color.known;
  }
  bool SetByEarlierItem(const auto& remembered, const auto& v) const {
    return remembered.SetByEarlierItem(v, item);
  }
  // Outside Render the application may change anything before the next call.
  void Remember(auto& remembered, const auto& v) {
    if (renderDepth > 0) remembered.Remember(v, item);
  }
};

GLState state;

void IssueHeld() {
  for (uint8_t i = 0; i < 5; ++i)
    if (state.heldArrays & (1u << i)) glDisableClientState(kArrays[i]);
  state.enabled &= static_cast<uint8_t>(~state.heldArrays);
  state.heldArrays = 0;
  if (state.heldEdgeReset && !state.SetByEarlierItem(state.edgeFlagTrue, true)) {
    glEdgeFlag(GL_TRUE);
    state.Remember(state.edgeFlagTrue, true);
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
  state.edgeFlagTrue.known = false;
  state.texture2D.known = false;
  state.color.known = false;
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
  if (array == GL_COLOR_ARRAY) state.color.known = false;
  if (array == GL_EDGE_FLAG_ARRAY) state.edgeFlagTrue.known = false;
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
  state.Remember(state.edgeFlagTrue, true);
}

namespace {
void SetTexture2D(bool on) {
  if (state.SetByEarlierItem(state.texture2D, on)) return;
  if (on)
    glEnable(GL_TEXTURE_2D);
  else
    glDisable(GL_TEXTURE_2D);
  state.Remember(state.texture2D, on);
}
}  // namespace

void QelGLStateEnableTexture2D() { SetTexture2D(true); }

void QelGLStateDisableTexture2D() { SetTexture2D(false); }

void QelGLStateColor(const GLfloat color[4]) {
  const std::array<GLfloat, 4> c = {color[0], color[1], color[2], color[3]};
  if (state.SetByEarlierItem(state.color, c)) return;
  glColor4fv(color);
  state.Remember(state.color, c);
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
