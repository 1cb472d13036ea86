#include "qelon/scene/qelrenderstate.h"

#include <array>
#include <mutex>
#include <typeindex>
#include <unordered_map>

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

// Starts a new item; while it lives the item may hold back its resets.
class TItemScope {
public:
  TItemScope(bool& keep, uint32_t& item, bool value) : keep_(keep), previous_(keep) {
    keep = value;
    ++item;
  }
  ~TItemScope() { keep_ = previous_; }

private:
  bool& keep_;
  bool previous_;
};

}  // namespace

TQelRenderState& TQelRenderState::Shared() {
  static TQelRenderState state;
  return state;
}

bool TQelRenderState::Remembers() const {
  return heldArrays_ || heldEdgeReset_ || arraysKnown_ || edgeFlagTrue_.known ||
         texture2D_.known || color_.known;
}

void TQelRenderState::IssueHeld() {
  for (uint8_t i = 0; i < 5; ++i)
    if (heldArrays_ & (1u << i)) glDisableClientState(kArrays[i]);
  enabled_ &= static_cast<uint8_t>(~heldArrays_);
  heldArrays_ = 0;
  if (heldEdgeReset_ && !SetByEarlierItem(edgeFlagTrue_, true)) {
    glEdgeFlag(GL_TRUE);
    Remember(edgeFlagTrue_, true);
  }
  heldEdgeReset_ = false;
}

void TQelRenderState::Flush() {
  if (!Remembers()) return;
  IssueHeld();
  enabled_ = 0;
  arraysKnown_ = false;
  edgeFlagTrue_.known = false;
  texture2D_.known = false;
  color_.known = false;
}

void TQelRenderState::ForgetAppearance() {
  Flush();
  lastMaterial = nullptr;
  lastAttributes = nullptr;
  textureFrameStarted = false;
}

void TQelRenderState::RenderItem(TQelRender* item, TQelCustomView* view, bool own, bool keep) {
  if (!own) Flush();
  {
    TItemScope scope(keep_, item_, keep);
    item->Render(view);
  }
  if (!own) Flush();
}

void TQelRenderState::RenderPart(TQelRender* part, TQelCustomView* view) {
  if (part->GetRunsOnlyLibraryCode(view)) {
    part->Render(view);
    return;
  }
  Flush();
  part->Render(view);
  Flush();
}

void TQelRenderState::EnableArray(GLenum array) {
  const uint8_t bit = ArrayBit(array);
  if (heldArrays_ & bit) {
    heldArrays_ &= static_cast<uint8_t>(~bit);  // still enabled
  } else {
    glEnableClientState(array);
    enabled_ |= bit;
  }
  // Drawing with these arrays leaves the current colour, resp. edge flag,
  // undefined.
  if (array == GL_COLOR_ARRAY) color_.known = false;
  if (array == GL_EDGE_FLAG_ARRAY) edgeFlagTrue_.known = false;
}

void TQelRenderState::ArraysEnabled() {
  // Arrays the previous mesh held enabled and this one does not use go now,
  // before anything draws.
  IssueHeld();
  arraysKnown_ = true;
}

void TQelRenderState::DisableArrays() {
  if (keep_ && arraysKnown_ && renderDepth_ > 0) {
    heldArrays_ = enabled_;
    heldEdgeReset_ = true;
    return;
  }
  IssueHeld();
  for (GLenum array : kArrays) glDisableClientState(array);
  glEdgeFlag(GL_TRUE);
  enabled_ = 0;
  arraysKnown_ = false;
  Remember(edgeFlagTrue_, true);
}

void TQelRenderState::SetTexture2D(bool on) {
  if (SetByEarlierItem(texture2D_, on)) return;
  if (on)
    glEnable(GL_TEXTURE_2D);
  else
    glDisable(GL_TEXTURE_2D);
  Remember(texture2D_, on);
}

void TQelRenderState::SetColor(const GLfloat color[4]) {
  const std::array<GLfloat, 4> c = {color[0], color[1], color[2], color[3]};
  if (SetByEarlierItem(color_, c)) return;
  glColor4fv(color);
  Remember(color_, c);
}

// --- whose drawing operations a class has -------------------------------------

namespace {

// The functions a render component's drawing operations call, read from the
// object itself. GCC can extract them; elsewhere no class derived by an
// application is recognised and all of them cross the barrier.
using TDrawingTargets = std::array<const void*, 6>;

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpmf-conversions"
bool ReadDrawingTargets(TQelRender* r, TDrawingTargets& targets) {
  targets = {reinterpret_cast<const void*>(r->*(&TQelRender::Render)),
             reinterpret_cast<const void*>(r->*(&TQelRender::BeforeRender)),
             reinterpret_cast<const void*>(r->*(&TQelRender::DoRender)),
             reinterpret_cast<const void*>(r->*(&TQelRender::AfterRender)),
             reinterpret_cast<const void*>(r->*(&TQelRender::Disable)),
             reinterpret_cast<const void*>(r->*(&TQelRender::DoDisable))};
  return true;
}
#pragma GCC diagnostic pop
#else
bool ReadDrawingTargets(TQelRender*, TDrawingTargets&) { return false; }
#endif

struct TLibraryClass {
  TQelRenderClass rec;
  const std::type_info* type;
  bool read = false;  // targets read from an instance
  bool readable = false;
  TDrawingTargets targets{};
};

struct TLibraryClasses {
  std::mutex mutex;
  std::vector<TLibraryClass> classes;
  std::unordered_map<std::type_index, bool> verdicts;  // by the object's class
};

TLibraryClasses& LibraryClasses() {
  static TLibraryClasses classes;
  return classes;
}

// Whether item's class is a library class, or one derived from a library
// class with the same drawing functions.
bool Judge(TLibraryClasses& lib, TQelRender* item) {
  for (const TLibraryClass& c : lib.classes)
    if (typeid(*item) == *c.type) return true;
  TDrawingTargets mine;
  if (!ReadDrawingTargets(item, mine)) return false;
  for (TLibraryClass& c : lib.classes) {
    if (!c.rec->IsInstance(item) || !c.rec->Create) continue;
    if (!c.read) {
      // An instance of the library class shows its functions; made once.
      c.read = true;
      TQelRender* sample = c.rec->Create(nullptr);
      c.readable = ReadDrawingTargets(sample, c.targets);
      delete sample;
    }
    if (c.readable && c.targets == mine) return true;
  }
  return false;
}

}  // namespace

void QelRegisterLibraryClass(TQelRenderClass AClass, const std::type_info& type) {
  RegisterRenderClass(AClass);
  TLibraryClasses& lib = LibraryClasses();
  std::lock_guard lock(lib.mutex);
  lib.classes.push_back({AClass, &type});
}

bool QelDrawsWithLibraryCode(TQelRender* item) {
  if (!item) return false;
  TLibraryClasses& lib = LibraryClasses();
  std::lock_guard lock(lib.mutex);
  const std::type_index type(typeid(*item));
  auto found = lib.verdicts.find(type);
  if (found != lib.verdicts.end()) return found->second;
  const bool verdict = Judge(lib, item);
  lib.verdicts.emplace(type, verdict);
  return verdict;
}
