// The windowed backend: GLFW on a display. GLFW makes a window and its
// context in one step, so a window's native window appears when its
// rendering context is made, with the hints of its pixel format, and goes
// when the context is deleted. A memory device context gets a hidden
// window whose context draws into a framebuffer object of the bitmap's size.
// Input is queued while GLFW polls and delivered afterwards, so that a
// handler may destroy windows.
#include <GL/gl.h>
#include <GL/glext.h>
#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "qelapplication.h"
#include "qelwsbackend.h"

namespace {

std::string glfwLastError = "GLFW failed.";

void OnGLFWError(int code, const char* description) {
  glfwLastError = std::string("GLFW: ") + (description ? description : "unknown error") + ".";
}

class TGLFWRenderContext;

class TGLFWWindow : public TQelWindow {
public:
  TGLFWRenderContext* context = nullptr;  // the one context, owner of the native window
  GLFWwindow* native = nullptr;
  // For telling a double click.
  double lastPressTime = -1;
  int lastPressButton = -1;
  double lastPressX = 0, lastPressY = 0;
};

class TGLFWRenderContext : public TQelRenderContext {
public:
  GLFWwindow* native = nullptr;
  TGLFWWindow* window = nullptr;  // null for a memory device context
  // A memory device context's drawing surface, made on first use.
  GLuint framebuffer = 0, colorBuffer = 0, depthBuffer = 0;
};

// Framebuffer-object entry points, fetched once a context is current.
struct TFramebufferAPI {
  PFNGLGENFRAMEBUFFERSPROC GenFramebuffers = nullptr;
  PFNGLBINDFRAMEBUFFERPROC BindFramebuffer = nullptr;
  PFNGLDELETEFRAMEBUFFERSPROC DeleteFramebuffers = nullptr;
  PFNGLGENRENDERBUFFERSPROC GenRenderbuffers = nullptr;
  PFNGLBINDRENDERBUFFERPROC BindRenderbuffer = nullptr;
  PFNGLDELETERENDERBUFFERSPROC DeleteRenderbuffers = nullptr;
  PFNGLRENDERBUFFERSTORAGEPROC RenderbufferStorage = nullptr;
  PFNGLFRAMEBUFFERRENDERBUFFERPROC FramebufferRenderbuffer = nullptr;
  PFNGLCHECKFRAMEBUFFERSTATUSPROC CheckFramebufferStatus = nullptr;

  bool Load() {
    if (GenFramebuffers) return true;
    auto get = [](const char* name) { return glfwGetProcAddress(name); };
    GenFramebuffers = reinterpret_cast<PFNGLGENFRAMEBUFFERSPROC>(get("glGenFramebuffers"));
    BindFramebuffer = reinterpret_cast<PFNGLBINDFRAMEBUFFERPROC>(get("glBindFramebuffer"));
    DeleteFramebuffers = reinterpret_cast<PFNGLDELETEFRAMEBUFFERSPROC>(get("glDeleteFramebuffers"));
    GenRenderbuffers = reinterpret_cast<PFNGLGENRENDERBUFFERSPROC>(get("glGenRenderbuffers"));
    BindRenderbuffer = reinterpret_cast<PFNGLBINDRENDERBUFFERPROC>(get("glBindRenderbuffer"));
    DeleteRenderbuffers = reinterpret_cast<PFNGLDELETERENDERBUFFERSPROC>(get("glDeleteRenderbuffers"));
    RenderbufferStorage = reinterpret_cast<PFNGLRENDERBUFFERSTORAGEPROC>(get("glRenderbufferStorage"));
    FramebufferRenderbuffer =
        reinterpret_cast<PFNGLFRAMEBUFFERRENDERBUFFERPROC>(get("glFramebufferRenderbuffer"));
    CheckFramebufferStatus =
        reinterpret_cast<PFNGLCHECKFRAMEBUFFERSTATUSPROC>(get("glCheckFramebufferStatus"));
    const bool all = GenFramebuffers && BindFramebuffer && DeleteFramebuffers && GenRenderbuffers &&
                     BindRenderbuffer && DeleteRenderbuffers && RenderbufferStorage &&
                     FramebufferRenderbuffer && CheckFramebufferStatus;
    if (!all) GenFramebuffers = nullptr;
    return all;
  }
};

// Input gathered during a poll.
struct TQueuedEvent {
  enum TKind { ekResize, ekMouseDown, ekMouseUp, ekMouseMove, ekKeyDown, ekKeyUp, ekClose, ekPaint };
  TKind kind;
  TGLFWWindow* window;
  TShiftState shift;
  TMouseButton button = mbLeft;
  int x = 0, y = 0;  // position, or the new size
  uint16_t key = 0;
};

std::vector<TQueuedEvent> queue;

TGLFWWindow* Owner(GLFWwindow* native) {
  return static_cast<TGLFWWindow*>(glfwGetWindowUserPointer(native));
}

TShiftState ShiftOf(GLFWwindow* native, int mods) {
  return QelGLFWShiftState(mods, glfwGetMouseButton(native, GLFW_MOUSE_BUTTON_LEFT) == GLFW_PRESS,
                           glfwGetMouseButton(native, GLFW_MOUSE_BUTTON_RIGHT) == GLFW_PRESS,
                           glfwGetMouseButton(native, GLFW_MOUSE_BUTTON_MIDDLE) == GLFW_PRESS);
}

// The modifier bits of the keys held now, for events that carry none.
int ModsHeld(GLFWwindow* native) {
  auto down = [native](int a, int b) {
    return glfwGetKey(native, a) == GLFW_PRESS || glfwGetKey(native, b) == GLFW_PRESS;
  };
  int mods = 0;
  if (down(GLFW_KEY_LEFT_SHIFT, GLFW_KEY_RIGHT_SHIFT)) mods |= GLFW_MOD_SHIFT;
  if (down(GLFW_KEY_LEFT_CONTROL, GLFW_KEY_RIGHT_CONTROL)) mods |= GLFW_MOD_CONTROL;
  if (down(GLFW_KEY_LEFT_ALT, GLFW_KEY_RIGHT_ALT)) mods |= GLFW_MOD_ALT;
  return mods;
}

void OnFramebufferSize(GLFWwindow* native, int width, int height) {
  if (TGLFWWindow* w = Owner(native))
    queue.push_back({TQueuedEvent::ekResize, w, {}, mbLeft, width, height});
}

void OnRefresh(GLFWwindow* native) {
  if (TGLFWWindow* w = Owner(native)) queue.push_back({TQueuedEvent::ekPaint, w, {}});
}

void OnCursor(GLFWwindow* native, double x, double y) {
  if (TGLFWWindow* w = Owner(native))
    queue.push_back({TQueuedEvent::ekMouseMove, w, ShiftOf(native, ModsHeld(native)), mbLeft,
                     static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y))});
}

void OnMouseButton(GLFWwindow* native, int glfwButton, int action, int mods) {
  TGLFWWindow* w = Owner(native);
  if (!w) return;
  TMouseButton button;
  switch (glfwButton) {
    case GLFW_MOUSE_BUTTON_LEFT: button = mbLeft; break;
    case GLFW_MOUSE_BUTTON_RIGHT: button = mbRight; break;
    case GLFW_MOUSE_BUTTON_MIDDLE: button = mbMiddle; break;
    default: return;
  }
  double x = 0, y = 0;
  glfwGetCursorPos(native, &x, &y);
  TShiftState shift = ShiftOf(native, mods);
  if (action == GLFW_PRESS) {
    // A second press of the same button, soon and near, is a double click.
    const double now = glfwGetTime();
    if (w->lastPressButton == glfwButton && now - w->lastPressTime < 0.5 &&
        std::abs(x - w->lastPressX) <= 4 && std::abs(y - w->lastPressY) <= 4) {
      shift.Include(ssDouble);
      w->lastPressButton = -1;
    } else {
      w->lastPressButton = glfwButton;
      w->lastPressTime = now;
      w->lastPressX = x;
      w->lastPressY = y;
    }
  }
  queue.push_back({action == GLFW_PRESS ? TQueuedEvent::ekMouseDown : TQueuedEvent::ekMouseUp, w,
                   shift, button, static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y))});
}

void OnKey(GLFWwindow* native, int glfwKey, int scancode, int action, int mods) {
  TGLFWWindow* w = Owner(native);
  const uint16_t key = QelGLFWKeyToVirtualKey(glfwKey);
  if (!w || key == 0) return;
  TQueuedEvent e{action == GLFW_RELEASE ? TQueuedEvent::ekKeyUp : TQueuedEvent::ekKeyDown, w,
                 ShiftOf(native, mods)};
  e.key = key;
  queue.push_back(e);
}

void OnClose(GLFWwindow* native) {
  glfwSetWindowShouldClose(native, GLFW_FALSE);  // the application decides
  if (TGLFWWindow* w = Owner(native)) queue.push_back({TQueuedEvent::ekClose, w, {}});
}

// The application is the active one while one of its windows has the focus.
void OnFocus(GLFWwindow* native, int focused) {
  if (Owner(native)) QelApplication()->SetActive(focused == GLFW_TRUE);
}

// The formats GLFW can be asked for.
TPixelFormatDescriptorArray MakeFormats() {
  struct TBits { uint8_t r, g, b, a, depth, stencil; };
  const TBits kinds[] = {{8, 8, 8, 8, 24, 8}, {8, 8, 8, 0, 24, 8}, {5, 6, 5, 0, 16, 0}};
  TPixelFormatDescriptorArray formats;
  for (bool doubleBuffer : {true, false})
    for (const TBits& k : kinds) {
      PIXELFORMATDESCRIPTOR pfd = QelEmptyPixelFormat();
      pfd.dwFlags = PFD_DRAW_TO_WINDOW | PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL |
                    (doubleBuffer ? PFD_DOUBLEBUFFER : 0);
      pfd.iPixelType = PFD_TYPE_RGBA;
      pfd.cRedBits = k.r;
      pfd.cGreenBits = k.g;
      pfd.cBlueBits = k.b;
      pfd.cAlphaBits = k.a;
      pfd.cColorBits = k.r + k.g + k.b;
      pfd.cBlueShift = 0;
      pfd.cGreenShift = k.b;
      pfd.cRedShift = k.b + k.g;
      pfd.cAlphaShift = k.a ? pfd.cColorBits : 0;
      pfd.cDepthBits = k.depth;
      pfd.cStencilBits = k.stencil;
      formats.push_back(pfd);
    }
  return formats;
}

class TGLFWWindowSystem : public TQelWindowSystem {
public:
  TGLFWWindowSystem() : formats_(MakeFormats()) {}
  const char* GetName() const override { return "GLFW"; }

protected:
  std::unique_ptr<TQelWindow> DoCreateWindow(int width, int height, const std::string&) override {
    auto window = std::make_unique<TGLFWWindow>();
    window->width = width;
    window->height = height;
    window->dc = std::make_unique<TQelDeviceContext>();
    return window;
  }

  void DoDestroyWindow(TQelWindow* window) override {
    auto* w = static_cast<TGLFWWindow*>(window);
    if (w->context) DestroyNative(w->context);
    DropQueued(w);
  }

  void DoSetClientSize(TQelWindow* window, int width, int height) override {
    auto* w = static_cast<TGLFWWindow*>(window);
    w->width = width;
    w->height = height;
    if (w->native) glfwSetWindowSize(w->native, width, height);
    w->invalid = true;
    if (w->events) w->events->WindowResize(width, height);
  }

  void DoInvalidate(TQelWindow*) override { glfwPostEmptyEvent(); }

  void DoSetCaption(TQelWindow* window) override {
    auto* w = static_cast<TGLFWWindow*>(window);
    if (w->native) glfwSetWindowTitle(w->native, w->caption.c_str());
  }

  void DoPollEvents(double waitSeconds) override {
    if (waitSeconds > 0) glfwWaitEventsTimeout(waitSeconds);
    else glfwPollEvents();
    std::vector<TQueuedEvent> events;
    events.swap(queue);
    for (TQueuedEvent& e : events) Deliver(e);
  }

  std::unique_ptr<TQelDeviceContext> DoCreateMemoryDC(int, int) override {
    return std::make_unique<TQelDeviceContext>();
  }

  const TPixelFormatDescriptorArray& DoGetFormats() override { return formats_; }

  bool DoSetPixelFormat(TQelDeviceContext*, int) override { return true; }

  std::unique_ptr<TQelRenderContext> DoCreateContext(TQelDeviceContext* dc,
                                                     TQelRenderContext* share) override {
    auto* w = static_cast<TGLFWWindow*>(dc->window);
    if (w && w->context) return Fail("A GLFW window has one rendering context."), nullptr;
    auto rc = std::make_unique<TGLFWRenderContext>();
    rc->window = w;
    if (!MakeNative(rc.get(), dc->pixelFormat, static_cast<TGLFWRenderContext*>(share)))
      return nullptr;
    return rc;
  }

  bool DoRemakeShared(TQelRenderContext* rc, TQelRenderContext* first) override {
    auto* glfw = static_cast<TGLFWRenderContext*>(rc);
    TGLFWWindow* w = glfw->window;
    DestroyNative(glfw);
    glfw->window = w;
    return MakeNative(glfw, glfw->pixelFormat, static_cast<TGLFWRenderContext*>(first));
  }

  bool DoMakeCurrent(TQelDeviceContext* dc, TQelRenderContext* rc) override {
    auto* glfw = static_cast<TGLFWRenderContext*>(rc);
    if (glfw->dc != dc) return Fail("A GLFW context draws only on the device context it was made for.");
    if (!glfw->native) return Fail("The context's window is gone.");
    glfwMakeContextCurrent(glfw->native);
    if (!glfw->window && !BindFramebuffer(glfw, dc)) {
      glfwMakeContextCurrent(nullptr);
      return false;
    }
    return true;
  }

  void DoReleaseCurrent() override { glfwMakeContextCurrent(nullptr); }

  bool DoIsCurrent(TQelRenderContext* rc) override {
    GLFWwindow* native = static_cast<TGLFWRenderContext*>(rc)->native;
    return native && glfwGetCurrentContext() == native;
  }

  bool DoSwapBuffers(TQelDeviceContext* dc) override {
    auto* w = static_cast<TGLFWWindow*>(dc->window);
    // A bitmap's framebuffer object has one buffer: nothing to show.
    if (w && w->native) glfwSwapBuffers(w->native);
    return true;
  }

  // A GLFW context goes with its native window.
  void DoDeleteContext(TQelRenderContext* rc) override {
    DestroyNative(static_cast<TGLFWRenderContext*>(rc));
  }

private:
  bool MakeNative(TGLFWRenderContext* rc, int format, TGLFWRenderContext* share) {
    const PIXELFORMATDESCRIPTOR& f = formats_[format - 1];
    glfwDefaultWindowHints();
    glfwWindowHint(GLFW_CLIENT_API, GLFW_OPENGL_API);
    glfwWindowHint(GLFW_RED_BITS, f.cRedBits);
    glfwWindowHint(GLFW_GREEN_BITS, f.cGreenBits);
    glfwWindowHint(GLFW_BLUE_BITS, f.cBlueBits);
    glfwWindowHint(GLFW_ALPHA_BITS, f.cAlphaBits);
    glfwWindowHint(GLFW_DEPTH_BITS, f.cDepthBits);
    glfwWindowHint(GLFW_STENCIL_BITS, f.cStencilBits);
    glfwWindowHint(GLFW_DOUBLEBUFFER, (f.dwFlags & PFD_DOUBLEBUFFER) ? GLFW_TRUE : GLFW_FALSE);
    TGLFWWindow* w = rc->window;
    glfwWindowHint(GLFW_VISIBLE, w ? GLFW_TRUE : GLFW_FALSE);
    GLFWwindow* shareNative = share ? share->native : nullptr;
    GLFWwindow* current = glfwGetCurrentContext();
    rc->native = w ? glfwCreateWindow(w->width, w->height, w->caption.c_str(), nullptr, shareNative)
                   : glfwCreateWindow(1, 1, "", nullptr, shareNative);
    glfwMakeContextCurrent(current);
    if (!rc->native) return Fail(glfwLastError);
    if (w) {
      w->context = rc;
      w->native = rc->native;
      glfwSetWindowUserPointer(rc->native, w);
      glfwSetFramebufferSizeCallback(rc->native, OnFramebufferSize);
      glfwSetWindowRefreshCallback(rc->native, OnRefresh);
      glfwSetCursorPosCallback(rc->native, OnCursor);
      glfwSetMouseButtonCallback(rc->native, OnMouseButton);
      glfwSetKeyCallback(rc->native, OnKey);
      glfwSetWindowCloseCallback(rc->native, OnClose);
      glfwSetWindowFocusCallback(rc->native, OnFocus);
    }
    return true;
  }

  void DestroyNative(TGLFWRenderContext* rc) {
    if (!rc->native) return;
    if (rc->framebuffer) {
      // Renderbuffers belong to the share group: free them explicitly.
      GLFWwindow* current = glfwGetCurrentContext();
      glfwMakeContextCurrent(rc->native);
      fbo_.DeleteFramebuffers(1, &rc->framebuffer);
      const GLuint buffers[2] = {rc->colorBuffer, rc->depthBuffer};
      fbo_.DeleteRenderbuffers(2, buffers);
      rc->framebuffer = rc->colorBuffer = rc->depthBuffer = 0;
      glfwMakeContextCurrent(current == rc->native ? nullptr : current);
    }
    if (glfwGetCurrentContext() == rc->native) glfwMakeContextCurrent(nullptr);
    glfwDestroyWindow(rc->native);
    rc->native = nullptr;
    if (rc->window) {
      rc->window->context = nullptr;
      rc->window->native = nullptr;
      rc->window = nullptr;
    }
  }

  bool BindFramebuffer(TGLFWRenderContext* rc, TQelDeviceContext* dc) {
    if (!fbo_.Load()) return Fail("The GL context has no framebuffer objects.");
    if (!rc->framebuffer) {
      fbo_.GenFramebuffers(1, &rc->framebuffer);
      fbo_.BindFramebuffer(GL_FRAMEBUFFER, rc->framebuffer);
      fbo_.GenRenderbuffers(1, &rc->colorBuffer);
      fbo_.BindRenderbuffer(GL_RENDERBUFFER, rc->colorBuffer);
      fbo_.RenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, dc->width, dc->height);
      fbo_.FramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, rc->colorBuffer);
      fbo_.GenRenderbuffers(1, &rc->depthBuffer);
      fbo_.BindRenderbuffer(GL_RENDERBUFFER, rc->depthBuffer);
      fbo_.RenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, dc->width, dc->height);
      fbo_.FramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER,
                                   rc->depthBuffer);
      fbo_.BindRenderbuffer(GL_RENDERBUFFER, 0);
      if (fbo_.CheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
        return Fail("The bitmap's framebuffer is incomplete.");
      glViewport(0, 0, dc->width, dc->height);
    }
    fbo_.BindFramebuffer(GL_FRAMEBUFFER, rc->framebuffer);
    return true;
  }

  void Deliver(TQueuedEvent& e) {
    TGLFWWindow* w = e.window;
    if (!IsWindow(w)) return;  // destroyed by an earlier handler
    IQelWindowEvents* events = w->events;
    switch (e.kind) {
      case TQueuedEvent::ekResize:
        if (e.x == w->width && e.y == w->height) return;
        w->width = e.x;
        w->height = e.y;
        w->invalid = true;
        if (events) events->WindowResize(e.x, e.y);
        break;
      case TQueuedEvent::ekPaint: w->invalid = true; break;
      case TQueuedEvent::ekMouseDown:
        if (events) events->WindowMouseDown(e.button, e.shift, e.x, e.y);
        break;
      case TQueuedEvent::ekMouseUp:
        if (events) events->WindowMouseUp(e.button, e.shift, e.x, e.y);
        break;
      case TQueuedEvent::ekMouseMove:
        if (events) events->WindowMouseMove(e.shift, e.x, e.y);
        break;
      case TQueuedEvent::ekKeyDown:
        if (events) events->WindowKeyDown(e.key, e.shift);
        break;
      case TQueuedEvent::ekKeyUp:
        if (events) events->WindowKeyUp(e.key, e.shift);
        break;
      case TQueuedEvent::ekClose:
        if (events) events->WindowClose();
        break;
    }
  }

  static void DropQueued(TGLFWWindow* w) {
    std::erase_if(queue, [w](const TQueuedEvent& e) { return e.window == w; });
  }

  TPixelFormatDescriptorArray formats_;
  TFramebufferAPI fbo_;
};

}  // namespace

TQelWindowSystem* QelGLFWWindowSystem() {
  static TQelWindowSystem* instance = []() -> TQelWindowSystem* {
    auto named = [](const char* variable) {
      const char* value = std::getenv(variable);
      return value && *value;
    };
    if (!named("DISPLAY") && !named("WAYLAND_DISPLAY")) return nullptr;
    glfwSetErrorCallback(OnGLFWError);
    if (!glfwInit()) return nullptr;
    // Never deleted: windows and contexts must not be torn down after the
    // driver at exit.
    return new TGLFWWindowSystem();
  }();
  return instance;
}
