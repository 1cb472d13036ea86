// The headless backend: EGL on the surfaceless platform. A window is a
// pbuffer of its client size, made when its pixel format is set and made
// anew when it is resized; a memory device context is a pbuffer too. The
// pixel formats are the EGL configs that render desktop GL into pbuffers.
#include <EGL/egl.h>
#include <GL/gl.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "qelegl.h"
#include "qelerror.h"
#include "qelwsbackend.h"

namespace {

class TEGLDeviceContext : public TQelDeviceContext {
public:
  ~TEGLDeviceContext() override {
    if (surface != EGL_NO_SURFACE) eglDestroySurface(TQelOffscreenContext::Display(), surface);
  }
  EGLSurface surface = EGL_NO_SURFACE;
};

class TEGLRenderContext : public TQelRenderContext {
public:
  ~TEGLRenderContext() override {
    if (context != EGL_NO_CONTEXT) eglDestroyContext(TQelOffscreenContext::Display(), context);
  }
  EGLContext context = EGL_NO_CONTEXT;
};

std::string EGLErrorText(const char* what) {
  return std::string(what) + " failed with EGL error 0x" + [] {
    char hex[16];
    std::snprintf(hex, sizeof hex, "%04X", static_cast<unsigned>(eglGetError()));
    return std::string(hex);
  }() + ".";
}

EGLint Attrib(EGLDisplay display, EGLConfig config, EGLint name) {
  EGLint value = 0;
  eglGetConfigAttrib(display, config, name, &value);
  return value;
}

// A config as a descriptor. EGL does not tell where the channels lie; the
// usual packing has blue lowest, then green, red and alpha.
PIXELFORMATDESCRIPTOR Describe(EGLDisplay display, EGLConfig config) {
  PIXELFORMATDESCRIPTOR pfd = QelEmptyPixelFormat();
  pfd.dwFlags = PFD_DRAW_TO_WINDOW | PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL;
  pfd.iPixelType = PFD_TYPE_RGBA;
  pfd.cRedBits = static_cast<uint8_t>(Attrib(display, config, EGL_RED_SIZE));
  pfd.cGreenBits = static_cast<uint8_t>(Attrib(display, config, EGL_GREEN_SIZE));
  pfd.cBlueBits = static_cast<uint8_t>(Attrib(display, config, EGL_BLUE_SIZE));
  pfd.cAlphaBits = static_cast<uint8_t>(Attrib(display, config, EGL_ALPHA_SIZE));
  pfd.cColorBits = static_cast<uint8_t>(pfd.cRedBits + pfd.cGreenBits + pfd.cBlueBits);
  pfd.cBlueShift = 0;
  pfd.cGreenShift = pfd.cBlueBits;
  pfd.cRedShift = static_cast<uint8_t>(pfd.cBlueBits + pfd.cGreenBits);
  pfd.cAlphaShift = pfd.cAlphaBits ? pfd.cColorBits : 0;
  pfd.cDepthBits = static_cast<uint8_t>(Attrib(display, config, EGL_DEPTH_SIZE));
  pfd.cStencilBits = static_cast<uint8_t>(Attrib(display, config, EGL_STENCIL_SIZE));
  pfd.iLayerType = PFD_MAIN_PLANE;
  return pfd;
}

class TEGLWindowSystem : public TQelWindowSystem {
public:
  const char* GetName() const override { return "EGL offscreen"; }

protected:
  std::unique_ptr<TQelWindow> DoCreateWindow(int width, int height, const std::string&) override {
    auto window = std::make_unique<TQelWindow>();
    window->width = width;
    window->height = height;
    window->dc = std::make_unique<TEGLDeviceContext>();
    return window;
  }

  void DoSetClientSize(TQelWindow* window, int width, int height) override {
    window->width = width;
    window->height = height;
    auto* dc = static_cast<TEGLDeviceContext*>(window->dc.get());
    if (dc->surface != EGL_NO_SURFACE) {
      EGLSurface old = dc->surface;
      dc->surface = NewSurface(dc->pixelFormat, width, height);
      if (dc->surface == EGL_NO_SURFACE) {
        dc->surface = old;  // keep drawing at the old size rather than not at all
      } else {
        if (currentDC_ == dc && currentRC_ && DoIsCurrent(currentRC_))
          DoMakeCurrent(dc, currentRC_);
        eglDestroySurface(Display(), old);
      }
    }
    window->invalid = true;
    if (window->events) window->events->WindowResize(width, height);
  }

  void DoPollEvents(double waitSeconds) override {
    // Nothing arrives from outside; waiting only keeps an idle loop calm.
    if (waitSeconds > 0)
      std::this_thread::sleep_for(std::chrono::duration<double>(waitSeconds));
  }

  std::unique_ptr<TQelDeviceContext> DoCreateMemoryDC(int, int) override {
    return std::make_unique<TEGLDeviceContext>();
  }

  const TPixelFormatDescriptorArray& DoGetFormats() override {
    LoadConfigs();
    return formats_;
  }

  bool DoSetPixelFormat(TQelDeviceContext* dc, int format) override {
    auto* egl = static_cast<TEGLDeviceContext*>(dc);
    egl->surface = NewSurface(format, QelDCWidth(dc), QelDCHeight(dc));
    return egl->surface != EGL_NO_SURFACE;
  }

  std::unique_ptr<TQelRenderContext> DoCreateContext(TQelDeviceContext* dc,
                                                     TQelRenderContext* share) override {
    auto rc = std::make_unique<TEGLRenderContext>();
    rc->context = NewContext(dc->pixelFormat, share);
    if (rc->context == EGL_NO_CONTEXT) return nullptr;
    return rc;
  }

  bool DoRemakeShared(TQelRenderContext* rc, TQelRenderContext* first) override {
    EGLContext context = NewContext(rc->pixelFormat, first);
    if (context == EGL_NO_CONTEXT) return false;
    auto* egl = static_cast<TEGLRenderContext*>(rc);
    eglDestroyContext(Display(), egl->context);
    egl->context = context;
    return true;
  }

  bool DoMakeCurrent(TQelDeviceContext* dc, TQelRenderContext* rc) override {
    EGLSurface surface = static_cast<TEGLDeviceContext*>(dc)->surface;
    eglBindAPI(EGL_OPENGL_API);
    if (eglMakeCurrent(Display(), surface, surface, static_cast<TEGLRenderContext*>(rc)->context))
      return true;
    return Fail(EGLErrorText("eglMakeCurrent"));
  }

  void DoReleaseCurrent() override {
    eglMakeCurrent(Display(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  }

  bool DoIsCurrent(TQelRenderContext* rc) override {
    return eglGetCurrentContext() == static_cast<TEGLRenderContext*>(rc)->context;
  }

  bool DoSwapBuffers(TQelDeviceContext* dc) override {
    // A pbuffer has one buffer; what was drawn is what there is to show.
    if (currentDC_ == dc) glFlush();
    return true;
  }

private:
  static EGLDisplay Display() { return TQelOffscreenContext::Display(); }

  void LoadConfigs() {
    if (loaded_) return;
    loaded_ = true;
    EGLDisplay display = Display();
    EGLint count = 0;
    eglGetConfigs(display, nullptr, 0, &count);
    std::vector<EGLConfig> all(static_cast<size_t>(count));
    eglGetConfigs(display, all.data(), count, &count);
    all.resize(static_cast<size_t>(count));
    for (EGLConfig config : all) {
      if (!(Attrib(display, config, EGL_RENDERABLE_TYPE) & EGL_OPENGL_BIT)) continue;
      if (!(Attrib(display, config, EGL_SURFACE_TYPE) & EGL_PBUFFER_BIT)) continue;
      if (Attrib(display, config, EGL_COLOR_BUFFER_TYPE) != EGL_RGB_BUFFER) continue;
      configs_.push_back(config);
      formats_.push_back(Describe(display, config));
    }
  }

  EGLSurface NewSurface(int format, int width, int height) {
    const EGLint attribs[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
    EGLSurface surface = eglCreatePbufferSurface(Display(), configs_[format - 1], attribs);
    if (surface == EGL_NO_SURFACE) Fail(EGLErrorText("eglCreatePbufferSurface"));
    return surface;
  }

  EGLContext NewContext(int format, TQelRenderContext* share) {
    eglBindAPI(EGL_OPENGL_API);
    EGLContext shared = share ? static_cast<TEGLRenderContext*>(share)->context : EGL_NO_CONTEXT;
    EGLContext context = eglCreateContext(Display(), configs_[format - 1], shared, nullptr);
    if (context == EGL_NO_CONTEXT) Fail(EGLErrorText("eglCreateContext"));
    return context;
  }

  bool loaded_ = false;
  std::vector<EGLConfig> configs_;
  TPixelFormatDescriptorArray formats_;
};

}  // namespace

TQelWindowSystem* QelEGLWindowSystem() {
  // Never deleted: contexts must not be torn down after the driver at exit.
  static TQelWindowSystem* instance = new TEGLWindowSystem();
  return instance;
}
