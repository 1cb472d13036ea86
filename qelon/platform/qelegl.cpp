#include "qelegl.h"

#include <EGL/eglext.h>

#include <string>

#include "qelerror.h"

#ifndef EGL_PLATFORM_SURFACELESS_MESA
#define EGL_PLATFORM_SURFACELESS_MESA 0x31DD
#endif

EGLDisplay TQelOffscreenContext::Display() {
  static EGLDisplay display = [] {
    EGLDisplay d = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (d == EGL_NO_DISPLAY) throw EQelError("EGL: no surfaceless display.");
    EGLint major = 0, minor = 0;
    if (!eglInitialize(d, &major, &minor))
      throw EQelError("EGL: eglInitialize failed with error " + std::to_string(eglGetError()) + ".");
    return d;
  }();
  return display;
}

EGLConfig TQelOffscreenContext::ChooseConfig(int depthBits, int stencilBits) {
  const EGLint attribs[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT,
                            EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                            EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8,
                            EGL_ALPHA_SIZE, 8, EGL_DEPTH_SIZE, depthBits,
                            EGL_STENCIL_SIZE, stencilBits, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  if (!eglChooseConfig(Display(), attribs, &config, 1, &count) || count < 1) return nullptr;
  return config;
}

TQelOffscreenContext::TQelOffscreenContext(int width, int height,
                                           const TQelOffscreenContext* share)
    : width_(width), height_(height) {
  EGLDisplay d = Display();
  EGLConfig config = ChooseConfig();
  if (!config) throw EQelError("EGL: no pbuffer config for desktop GL.");
  const EGLint surfaceAttribs[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
  surface_ = eglCreatePbufferSurface(d, config, surfaceAttribs);
  if (surface_ == EGL_NO_SURFACE) throw EQelError("EGL: eglCreatePbufferSurface failed.");
  eglBindAPI(EGL_OPENGL_API);
  context_ = eglCreateContext(d, config, share ? share->context_ : EGL_NO_CONTEXT, nullptr);
  if (context_ == EGL_NO_CONTEXT) {
    eglDestroySurface(d, surface_);
    throw EQelError("EGL: eglCreateContext failed.");
  }
}

TQelOffscreenContext::~TQelOffscreenContext() {
  if (IsCurrent()) Release();
  eglDestroyContext(Display(), context_);
  eglDestroySurface(Display(), surface_);
}

bool TQelOffscreenContext::MakeCurrent() {
  eglBindAPI(EGL_OPENGL_API);
  return eglMakeCurrent(Display(), surface_, surface_, context_) == EGL_TRUE;
}

void TQelOffscreenContext::Release() {
  eglMakeCurrent(Display(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

bool TQelOffscreenContext::IsCurrent() const { return eglGetCurrentContext() == context_; }
