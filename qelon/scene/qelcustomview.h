#pragma once
// The view as render components see it: the drawing mode, the per-frame
// pick-name counter, the GL context and the camera. The window view derives
// from it; every render call takes one.
#include <cstdint>
#include <functional>

#include "qelon/platform/qelcomponent.h"

class TQelCamera;
class TQelRenderState;

// Raised for every pick name handed out: the object that receives the name
// and the number it passed along.
using TQelNotifyNextID = std::function<void(TObject* Obj, int32_t num)>;

// What the view is drawing for: nothing (between frames), its window, a
// bitmap, a pick in GL selection mode, or a point query that reads depth
// back. A value above dmPointQuery is kept as it is and counts as drawing
// to a surface.
enum TQelDrawingMode : uint8_t { dmIdle, dmPaint, dmBitmap, dmSelect, dmPointQuery };
extern const char* const TQelDrawingModeStr[5];

class TQelCustomView : public TComponent {
  QEL_CLASS(TQelCustomView)
public:
  explicit TQelCustomView(TComponent* AOwner);
  ~TQelCustomView() override;

  TQelDrawingMode GetDrawingMode() const { return drawingMode_; }
  void SetDrawingMode(TQelDrawingMode mode) { drawingMode_ = mode; }

  // Whether objects push GL selection names while this view draws. Any view
  // other than the window view always has them pushed; the window view
  // answers from its drawing mode.
  virtual bool GetPushNames() const { return true; }

  // Counts one more pick name, raises OnNextID(obj, num) and returns the
  // name. ResetNextID starts the count again for a new frame.
  virtual int32_t GetNextID(TObject* obj, int32_t num);
  void ResetNextID() { nextID_ = 0; }
  int32_t GetLastID() const { return nextID_; }
  TQelNotifyNextID OnNextID;

  // The view's GL context: whether it is current on this thread, and making
  // it current (true) or making no context current (false). A view without a
  // context is never current.
  virtual bool GetCurrent() const { return false; }
  virtual void SetCurrent(bool value) {}

  // What the library's render code remembers about the GL state of this
  // view's context; views that share display lists share one.
  TQelRenderState& GetRenderState() const { return *renderState_; }

  // The camera the view projects through, or none.
  virtual TQelCamera* GetCamera() const { return nullptr; }

  // The size in pixels of the surface drawn on, stored by the view just
  // before each render: the camera's viewport.
  int32_t GetClientWidth() const { return clientWidth_; }
  int32_t GetClientHeight() const { return clientHeight_; }

  // The pick region: the window position (pixels, y down) picking and point
  // queries look at, and its size (default 5 by 5), which the camera
  // applies in dmSelect and dmPointQuery.
  int32_t GetSelectX() const { return selectX_; }
  int32_t GetSelectY() const { return selectY_; }
  int32_t GetSelectWidth() const { return selectWidth_; }
  void SetSelectWidth(int32_t value) { selectWidth_ = value; }
  int32_t GetSelectHeight() const { return selectHeight_; }
  void SetSelectHeight(int32_t value) { selectHeight_ = value; }

  // A view that owns a context calls Destroying() first thing in its own
  // destructor: render components cached for it then free their display
  // lists while the context still exists.

protected:
  void StoreClientSize(int32_t width, int32_t height) {
    clientWidth_ = width;
    clientHeight_ = height;
  }
  void SetSelectPosition(int32_t x, int32_t y) {
    selectX_ = x;
    selectY_ = y;
  }

private:
  TQelRenderState* renderState_;
  TQelDrawingMode drawingMode_ = dmIdle;
  int32_t nextID_ = 0;
  int32_t clientWidth_ = 0, clientHeight_ = 0;
  int32_t selectX_ = 0, selectY_ = 0;
  int32_t selectWidth_ = 5, selectHeight_ = 5;
};
