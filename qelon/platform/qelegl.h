#pragma once
// Headless GL: an offscreen compatibility context on EGL's surfaceless
// platform, rendering into a pbuffer. Needs no display server.
#include <EGL/egl.h>

class TQelOffscreenContext {
public:
  // A context of width by height pixels with RGBA 8, 24-bit depth and
  // 8-bit stencil. With share, display lists are shared with that context.
  // Throws EQelError when EGL cannot provide it.
  TQelOffscreenContext(int width, int height, const TQelOffscreenContext* share = nullptr);
  ~TQelOffscreenContext();
  TQelOffscreenContext(const TQelOffscreenContext&) = delete;
  TQelOffscreenContext& operator=(const TQelOffscreenContext&) = delete;

  bool MakeCurrent();
  // Makes no context current on this thread.
  static void Release();
  bool IsCurrent() const;
  EGLContext GetHandle() const { return context_; }
  EGLSurface GetSurface() const { return surface_; }
  int GetWidth() const { return width_; }
  int GetHeight() const { return height_; }

  // The surfaceless display, initialised on first use.
  static EGLDisplay Display();
  // A config with the given colour, depth and stencil bits that can render
  // GL into pbuffers, or null.
  static EGLConfig ChooseConfig(int depthBits = 24, int stencilBits = 8);

private:
  EGLContext context_ = EGL_NO_CONTEXT;
  EGLSurface surface_ = EGL_NO_SURFACE;
  int width_, height_;
};
