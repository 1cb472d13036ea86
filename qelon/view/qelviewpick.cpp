// Picking: the view's selection pass and the search for the object behind
// a hit.
#include <GL/gl.h>

#include <utility>
#include <vector>

#include "qelview.h"

namespace {

// Words of the selection buffer: 1024 hits of plain objects, 819 of meshes
// (an object's name and its index list's).
constexpr GLsizei kSelectBufferWords = 4096;

// Runs a clean-up when the scope ends, also by an exception.
template <typename F>
struct TOnExit {
  F f;
  ~TOnExit() { f(); }
};
template <typename F>
TOnExit(F) -> TOnExit<F>;

}  // namespace

void TQelView::GetSelection(int32_t x, int32_t y, TQelSelectionList& list) {
  list.Clear();
  if (!GetActive()) return;
  std::vector<GLuint> buffer(kSelectBufferWords, 0);
  GLint hits = 0;
  {
    // GL writes into the buffer until it renders again: selection mode
    // ends before the buffer goes, however the scene ends.
    const TQelDrawingMode previous = GetDrawingMode();
    TOnExit leave{[&] {
      if (MakeCurrentQuietly()) {
        GLint mode = GL_RENDER;
        glGetIntegerv(GL_RENDER_MODE, &mode);
        if (mode == GL_SELECT) hits = glRenderMode(GL_RENDER);
      }
      SetCurrent(false);
      SetDrawingMode(previous);
    }};
    SetDrawingMode(dmSelect);
    SetSelectPosition(x, y);
    SetCurrent(true);
    glSelectBuffer(kSelectBufferWords, buffer.data());
    glInitNames();
    glRenderMode(GL_SELECT);
    SetCurrent(false);
    RenderScene();  // the camera narrows the projection to the pick region
  }
  // An overflow reports -1 hits: the list stays empty.
  list.SetHitRecords(buffer.data(), hits, buffer.size());
}

int32_t TQelView::GetObj(int32_t x, int32_t y, TObject*& obj) {
  foundNum_ = -2;
  searchedName_ = 0;
  foundObj_ = nullptr;
  // The handler lives in this view and is put back before GetObj returns.
  TQelNotifyNextID saved = std::move(OnNextID);
  OnNextID = [this](TObject* o, int32_t num) { GetNextIdObj(o, num); };
  TOnExit restore{[&] { OnNextID = std::move(saved); }};

  TQelSelectionList list;
  GetSelection(x, y, list);
  const TQelSelection* top = list.GetTopMost();
  if (top && top->GetCount() > 0) {
    // Names count up in render order in every frame, so the same scene
    // hands the innermost name to the same object again. Idle: no swap.
    searchedName_ = top->GetNames(top->GetCount() - 1);
    const TQelDrawingMode previous = GetDrawingMode();
    SetCurrent(true);
    // An empty scissor box: this render clears and draws no pixel, so the
    // picture stays as it was and no time goes into filling it.
    glPushAttrib(GL_SCISSOR_BIT);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 0, 0);
    SetCurrent(false);
    TOnExit unscissor{[&] {
      if (MakeCurrentQuietly()) glPopAttrib();
      SetCurrent(false);
      SetDrawingMode(previous);
    }};
    SetDrawingMode(dmIdle);
    RenderScene();
  }
  obj = foundObj_;
  return foundNum_;
}

void TQelView::GetNextIdObj(TObject* obj, int32_t num) {
  if (static_cast<uint32_t>(GetLastID()) != searchedName_) return;
  foundObj_ = obj;
  foundNum_ = num;
}
