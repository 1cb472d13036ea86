#pragma once
// Everything the library remembers about GL state, in one object that render
// code reaches through the view it draws into (views that share display
// lists share one). Not part of the umbrella header: applications never
// need it.
//
// Drawing a mesh enables its client arrays, sets the object colour, switches
// texturing off, draws, disables every client array and resets the edge
// flag; the next mesh starts by undoing most of that. Issued literally,
// these pairs cost more driver time than the draw itself. The state
// remembers what the library's own render code set, so that:
// - a reset that the next item of the same node would undo at once is held
//   back (only between two items that run library code alone);
// - a value that an earlier item already made current is not set again;
// - a material or attributes component already current is not applied
//   again, and the texture last bound is not bound again within a frame.
// Each item's own calls stay complete: a mesh drawn alone issues exactly
// the calls its render protocol lists.
//
// The barrier: before and after code the library does not own runs inside
// a render (events, overridden drawing operations of an application class,
// the view's pick-name event), Flush issues what was held back and forgets
// the remembered GL values, so that such code sees exactly the state that
// literal calls would have left. Render crosses it in one place, RenderItem.
#include <GL/gl.h>

#include <array>
#include <cstdint>
#include <typeinfo>
#include <vector>

#include "qelon/scene/qelcustomview.h"
#include "qelon/scene/qelobj.h"

class TQelRender;
class TQelTexture;

class TQelRenderState {
public:
  // The state of every view of this process (they all share display lists).
  static TQelRenderState& Shared();

  // The barrier: issues the resets held back and forgets the remembered GL
  // values (not the last-rendered appearance, whose effect is process-wide).
  void Flush();
  // A new frame, a display-list boundary or a new context: Flush, and the
  // next material, attributes and texture issue their state in full.
  void ForgetAppearance();

  // Renders one item of a list (starting a new item for the state; keep
  // lets it hold back its resets for the next one) or a part of the current
  // item (an appearance component of a mesh). own says whether item runs
  // library code alone (TQelRender::GetRunsOnlyLibraryCode); otherwise the
  // barrier is crossed before and after it.
  void RenderItem(TQelRender* item, TQelCustomView* view, bool own, bool keep);
  void RenderPart(TQelRender* part, TQelCustomView* view);

  // Client arrays. Enabling an array that a held-back reset would have
  // disabled keeps it enabled. Disabling resets all five arrays (normal,
  // colour, texture coordinates, edge flags, vertex, in this order) and the
  // edge flag, or holds that back for the next item.
  void EnableArray(GLenum array);
  // Call once a mesh has enabled its arrays and before it draws: arrays
  // still held enabled for it that it does not use are disabled now.
  void ArraysEnabled();
  void DisableArrays();
  // GL_TEXTURE_2D and the current colour.
  void SetTexture2D(bool on);
  void SetColor(const GLfloat color[4]);

  // The appearance components last applied.
  const TQelRender* lastMaterial = nullptr;
  const TQelRender* lastAttributes = nullptr;

  // Texture objects, least recently used first; at most maxTextures stay.
  std::vector<TQelTexture*> textures;
  int maxTextures = 4;
  // Whether a texture was rendered since the frame started: the first one
  // of a frame always issues its state.
  bool textureFrameStarted = false;

  // Display lists being recorded (recordings do not nest).
  int recordings = 0;
  bool Recording() const { return recordings > 0; }

  // Counts nested Render calls; the outermost one flushes when it ends, also
  // when it ends by an exception.
  class TRenderScope {
  public:
    explicit TRenderScope(TQelRenderState& state) : state_(state) { ++state.renderDepth_; }
    ~TRenderScope() {
      if (--state_.renderDepth_ == 0) state_.Flush();
    }
    TRenderScope(const TRenderScope&) = delete;
    TRenderScope& operator=(const TRenderScope&) = delete;

  private:
    TQelRenderState& state_;
  };

private:
  // A value the library made current, with the item that did: an item's
  // own calls are issued in full, only what an earlier item set is skipped.
  template <class T>
  struct TRemembered {
    bool known = false;
    T value{};
    uint32_t item = 0;
  };
  template <class T>
  bool SetByEarlierItem(const TRemembered<T>& r, const T& v) const {
    return r.known && r.item != item_ && r.value == v;
  }
  // Outside Render the application may change anything before the next call.
  template <class T>
  void Remember(TRemembered<T>& r, const T& v) {
    if (renderDepth_ > 0) r = {true, v, item_};
  }
  bool Remembers() const;
  void IssueHeld();

  int renderDepth_ = 0;
  bool keep_ = false;
  uint32_t item_ = 0;  // counts the items started
  // Arrays enabled since the last flush; trustworthy only while arraysKnown_.
  uint8_t enabled_ = 0;
  bool arraysKnown_ = false;
  // Resets held back for the next item.
  uint8_t heldArrays_ = 0;
  bool heldEdgeReset_ = false;
  TRemembered<bool> edgeFlagTrue_;  // value is always true
  TRemembered<bool> texture2D_;
  TRemembered<std::array<GLfloat, 4>> color_;
};

inline TQelRenderState& QelRenderStateOf(const TQelCustomView* view) {
  return view ? view->GetRenderState() : TQelRenderState::Shared();
}

// Registers one of the library's own render classes by name, and as a class
// whose drawing operations are the library's: an application class derived
// from it that overrides none of them keeps the state's fast path.
void QelRegisterLibraryClass(TQelRenderClass AClass, const std::type_info& type);
template <class T>
void RegisterLibraryRenderClass() {
  QelRegisterLibraryClass(QelClassOf<T>(), typeid(T));
}
// Whether every drawing operation of item's class (Render, BeforeRender,
// DoRender, AfterRender, Disable, DoDisable) is the library's.
bool QelDrawsWithLibraryCode(TQelRender* item);
