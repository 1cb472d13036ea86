#pragma once
// Test views over headless contexts, and a render component that marks its
// steps in the GL call log.
#include <GL/gl.h>

#include <string>
#include <vector>

#include "glrecorder.h"
#include "qeltestbed.h"
#include "qelon/platform/qelerror.h"
#include "qelon/scene/qelcomp.h"
#include "qelon/scene/qelobj.h"
#include "qelon/view/qelcam.h"

// A view whose context is a headless context of the test.
class TTestView : public TQelCustomView {
public:
  explicit TTestView(TQelOffscreenContext* context, TComponent* AOwner = nullptr)
      : TQelCustomView(AOwner), context_(context) {}
  ~TTestView() override { Destroying(); }  // cached components free lists while the context lives

  bool GetCurrent() const override { return context_ && context_->IsCurrent(); }
  void SetCurrent(bool value) override {
    if (!value) {
      TQelOffscreenContext::Release();
      ++releases;
    } else if (failMakeCurrent || !context_ || !context_->MakeCurrent()) {
      throw EQelError("Call to OpenGL function wglMakeCurrent() failed.");
    } else {
      ++makeCurrents;
    }
  }
  TQelCamera* GetCamera() const override { return camera; }

  TQelCamera* camera = nullptr;
  bool failMakeCurrent = false;
  int makeCurrents = 0;
  int releases = 0;

private:
  TQelOffscreenContext* context_;
};

// A view that pushes pick names only when idle or picking, as the window
// view does.
class TModeView : public TTestView {
public:
  using TTestView::TTestView;
  bool GetPushNames() const override {
    const TQelDrawingMode m = GetDrawingMode();
    return m == dmIdle || m == dmSelect || m == dmPointQuery;
  }
};

// Draws glPassThrough(mark) as its content, so a test sees where DoRender ran.
class TMarker : public TQelRender {
  QEL_CLASS(TMarker)
public:
  explicit TMarker(TComponent* AOwner, float mark = 1) : TQelRender(AOwner), mark(mark) {}
  void DoRender(TQelCustomView* view) override {
    ++drawn;
    glPassThrough(mark);
  }
  void DoDisable(TQelCustomView* view) override { ++disabled; }
  float mark;
  int drawn = 0;
  int disabled = 0;
};

inline std::string Mark(float m) { return qeltest::GLCall("glPassThrough", m); }
