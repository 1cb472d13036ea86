#pragma once
// The view as render components see it: the drawing mode, the per-frame
// pick-name counter, the GL context and the camera. The window view derives
// from it; every render call takes one.
#include <cstdint>
#include <functional>

#include "qelon/platform/qelcomponent.h"

class TQelCamera;

// Raised for every pick name handed out: the object that receives the name
// and the number it passed along.
using TQelNotifyNextID = std::function<void(TObject* Obj, int32_t num)>;

class TQelCustomView : public TComponent {
  QEL_CLASS(TQelCustomView)
public:
  explicit TQelCustomView(TComponent* AOwner);
  ~TQelCustomView() override;

  // 0 idle, 1 painting to the window, 2 rendering into a bitmap,
  // 3 selection (picking), 4 point query.
  uint8_t GetDrawingMode() const { return drawingMode_; }
  void SetDrawingMode(uint8_t mode) { drawingMode_ = mode; }

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

  // The camera the view projects through, or none.
  virtual TQelCamera* GetCamera() const { return nullptr; }

  // A view that owns a context calls Destroying() first thing in its own
  // destructor: render components cached for it then free their display
  // lists while the context still exists.

private:
  uint8_t drawingMode_ = 0;
  int32_t nextID_ = 0;
};
