#include "qelwindowsystem.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdlib>

#include "qelapplication.h"
#include "qelbitmap.h"
#include "qelwsbackend.h"

const char* const SQelGetDCFailed = "Call to OpenGL function GetDC() failed.";
const char* const SQelCreateContextFailed = "Call to OpenGL function wglCreateContext() failed.";
const char* const SQelMakeCurrentFailed = "Call to OpenGL function wglMakeCurrent() failed.";

namespace {

template <typename T>
bool Holds(const std::vector<std::unique_ptr<T>>& list, const T* item) {
  if (!item) return false;
  return std::any_of(list.begin(), list.end(), [item](const auto& p) { return p.get() == item; });
}

template <typename T>
std::unique_ptr<T> Take(std::vector<std::unique_ptr<T>>& list, const T* item) {
  auto it = std::find_if(list.begin(), list.end(), [item](const auto& p) { return p.get() == item; });
  if (it == list.end()) return nullptr;
  std::unique_ptr<T> taken = std::move(*it);
  list.erase(it);
  return taken;
}

}  // namespace

TQelWindowSystem::TQelWindowSystem() = default;
TQelWindowSystem::~TQelWindowSystem() = default;

bool TQelWindowSystem::Fail(const std::string& why) {
  lastError_ = why;
  return false;
}

void TQelWindowSystem::Called(const char* operation) {
  if (OnCall) OnCall(operation);
}

bool TQelWindowSystem::IsWindow(TQelWindow* window) const { return Holds(windows_, window); }

bool TQelWindowSystem::IsDC(TQelDeviceContext* dc) const {
  if (!dc) return false;
  if (Holds(memoryDCs_, dc)) return true;
  return std::any_of(windows_.begin(), windows_.end(),
                     [dc](const auto& w) { return w->dc.get() == dc; });
}

bool TQelWindowSystem::IsContext(TQelRenderContext* rc) const { return Holds(contexts_, rc); }

// --- Windows ------------------------------------------------------------

TQelWindow* TQelWindowSystem::CreateWindow(int width, int height, const std::string& caption,
                                           IQelWindowEvents* events) {
  Called("CreateWindow");
  std::unique_ptr<TQelWindow> window = DoCreateWindow(std::max(width, 1), std::max(height, 1), caption);
  if (!window || !window->dc) return Fail("The window cannot be created."), nullptr;
  if (window->width == 0) window->width = std::max(width, 1);
  if (window->height == 0) window->height = std::max(height, 1);
  window->events = events;
  window->caption = caption;
  window->dc->window = window.get();
  windows_.push_back(std::move(window));
  return windows_.back().get();
}

void TQelWindowSystem::DestroyWindow(TQelWindow* window) {
  Called("DestroyWindow");
  if (!IsWindow(window)) return;
  TQelDeviceContext* dc = window->dc.get();
  if (currentDC_ == dc) ReleaseCurrent();
  for (auto& rc : contexts_)
    if (rc->dc == dc) rc->dc = nullptr;
  DoDestroyWindow(window);
  Take(windows_, window);
}

bool TQelWindowSystem::GetClientSize(TQelWindow* window, int& width, int& height) {
  if (!IsWindow(window)) return Fail("Not a window.");
  width = window->width;
  height = window->height;
  return true;
}

void TQelWindowSystem::SetCaption(TQelWindow* window, const std::string& caption) {
  Called("SetCaption");
  if (!IsWindow(window) || window->caption == caption) return;
  window->caption = caption;
  DoSetCaption(window);
}

void TQelWindowSystem::SetClientSize(TQelWindow* window, int width, int height) {
  Called("SetClientSize");
  if (!IsWindow(window)) return;
  width = std::max(width, 1);
  height = std::max(height, 1);
  if (width == window->width && height == window->height) return;
  DoSetClientSize(window, width, height);
}

void TQelWindowSystem::Invalidate(TQelWindow* window) {
  Called("Invalidate");
  if (!IsWindow(window)) return;
  window->invalid = true;
  DoInvalidate(window);
}

void TQelWindowSystem::DeliverPaints() {
  // A paint may create or destroy windows: collect first, check each again.
  std::vector<TQelWindow*> due;
  for (auto& w : windows_)
    if (w->invalid) due.push_back(w.get());
  for (TQelWindow* w : due) {
    if (!IsWindow(w) || !w->invalid) continue;
    w->invalid = false;
    if (w->events) w->events->WindowPaint();
  }
}

void TQelWindowSystem::ProcessMessages() {
  DoPollEvents(0);
  DeliverPaints();
}

void TQelWindowSystem::WaitMessages(double timeoutSeconds) {
  auto due = [this]() {
    return std::any_of(windows_.begin(), windows_.end(), [](const auto& w) { return w->invalid; });
  };
  TQelApplication* application = QelApplication();
  if (application->OnIdle) {
    // Messages first, then the idle handler; the loop waits only when the
    // handler has no work left (a running timer keeps it polling).
    DoPollEvents(0);
    DeliverPaints();
    if (!application->Idle()) return;
  }
  DoPollEvents(due() ? 0 : timeoutSeconds);
  DeliverPaints();
}

// --- Device contexts ----------------------------------------------------

TQelDeviceContext* TQelWindowSystem::GetDC(TQelWindow* window) {
  Called("GetDC");
  if (failures_.Contains(wfGetDC)) return Fail("GetDC fails on purpose."), nullptr;
  if (!IsWindow(window)) return Fail("Not a window."), nullptr;
  return window->dc.get();
}

void TQelWindowSystem::ReleaseDC(TQelWindow* window, TQelDeviceContext* dc) {
  // A window keeps its own device context for its whole life.
  Called("ReleaseDC");
}

TQelDeviceContext* TQelWindowSystem::CreateMemoryDC(int width, int height) {
  Called("CreateMemoryDC");
  if (width <= 0 || height <= 0) return Fail("A memory device context needs a positive size."), nullptr;
  std::unique_ptr<TQelDeviceContext> dc = DoCreateMemoryDC(width, height);
  if (!dc) return nullptr;
  dc->width = width;
  dc->height = height;
  memoryDCs_.push_back(std::move(dc));
  return memoryDCs_.back().get();
}

void TQelWindowSystem::DeleteDC(TQelDeviceContext* dc) {
  Called("DeleteDC");
  if (!Holds(memoryDCs_, dc)) return;
  if (currentDC_ == dc) ReleaseCurrent();
  for (auto& rc : contexts_)
    if (rc->dc == dc) rc->dc = nullptr;
  Take(memoryDCs_, dc);
}

bool TQelWindowSystem::GetDCSize(TQelDeviceContext* dc, int& width, int& height) {
  if (!IsDC(dc)) return Fail("Not a device context.");
  width = QelDCWidth(dc);
  height = QelDCHeight(dc);
  return true;
}

// --- Pixel formats ------------------------------------------------------

int TQelWindowSystem::DescribePixelFormat(TQelDeviceContext* dc, int format,
                                          PIXELFORMATDESCRIPTOR* pfd) {
  Called("DescribePixelFormat");
  if (!IsDC(dc)) return Fail("Not a device context."), 0;
  const TPixelFormatDescriptorArray& formats = DoGetFormats();
  const int count = static_cast<int>(formats.size());
  if (format < 1 || format > count) return Fail("No such pixel format."), 0;
  if (pfd) *pfd = formats[format - 1];
  return count;
}

TPixelFormatDescriptorArray TQelWindowSystem::GetPixelFormatList(TQelDeviceContext* dc) {
  if (!IsDC(dc)) return {};
  return DoGetFormats();
}

int TQelWindowSystem::ChoosePixelFormat(TQelDeviceContext* dc, const PIXELFORMATDESCRIPTOR& pfd) {
  Called("ChoosePixelFormat");
  if (!IsDC(dc)) return Fail("Not a device context."), 0;
  const int format = QelChoosePixelFormat(DoGetFormats(), pfd);
  if (format == 0) Fail("No pixel format serves the request.");
  return format;
}

bool TQelWindowSystem::SetPixelFormat(TQelDeviceContext* dc, int format,
                                      const PIXELFORMATDESCRIPTOR& pfd) {
  Called("SetPixelFormat");
  if (!IsDC(dc)) return Fail("Not a device context.");
  const int count = static_cast<int>(DoGetFormats().size());
  if (format < 1 || format > count) return Fail("No such pixel format.");
  if (dc->pixelFormat == format) return true;
  if (dc->pixelFormat != 0) return Fail("The device context has a pixel format already.");
  if (!DoSetPixelFormat(dc, format)) return false;
  dc->pixelFormat = format;
  return true;
}

int TQelWindowSystem::GetPixelFormat(TQelDeviceContext* dc) {
  return IsDC(dc) ? dc->pixelFormat : 0;
}

// --- Rendering contexts -------------------------------------------------

TQelRenderContext* TQelWindowSystem::CreateContext(TQelDeviceContext* dc, TQelRenderContext* share) {
  Called("CreateContext");
  if (failures_.Contains(wfCreateContext)) return Fail("CreateContext fails on purpose."), nullptr;
  if (!IsDC(dc)) return Fail("Not a device context."), nullptr;
  if (share && !IsContext(share)) return Fail("Not a rendering context to share with."), nullptr;
  if (dc->pixelFormat == 0) return Fail("The device context has no pixel format."), nullptr;
  std::unique_ptr<TQelRenderContext> rc = DoCreateContext(dc, share);
  if (!rc) return nullptr;
  rc->dc = dc;
  rc->pixelFormat = dc->pixelFormat;
  if (share) rc->group = share->group;
  contexts_.push_back(std::move(rc));
  return contexts_.back().get();
}

bool TQelWindowSystem::DeleteContext(TQelRenderContext* rc) {
  Called("DeleteContext");
  if (!IsContext(rc)) return Fail("Not a rendering context.");
  if (currentRC_ == rc) ReleaseCurrent();
  DoDeleteContext(rc);
  Take(contexts_, rc);
  return true;
}

bool TQelWindowSystem::MakeCurrent(TQelDeviceContext* dc, TQelRenderContext* rc) {
  Called("MakeCurrent");
  if (!rc) {
    ReleaseCurrent();
    return true;
  }
  if (failures_.Contains(wfMakeCurrent)) return Fail("MakeCurrent fails on purpose.");
  if (!IsDC(dc)) return Fail("Not a device context.");
  if (!IsContext(rc)) return Fail("Not a rendering context.");
  if (dc->pixelFormat != rc->pixelFormat)
    return Fail("The device context's pixel format is not the context's.");
  if (!DoMakeCurrent(dc, rc)) return false;
  currentDC_ = dc;
  currentRC_ = rc;
  rc->used = true;
  return true;
}

void TQelWindowSystem::ReleaseCurrent() {
  Called("ReleaseCurrent");
  DoReleaseCurrent();
  currentDC_ = nullptr;
  currentRC_ = nullptr;
}

TQelRenderContext* TQelWindowSystem::GetCurrentContext() {
  if (currentRC_ && !DoIsCurrent(currentRC_)) {
    currentRC_ = nullptr;
    currentDC_ = nullptr;
  }
  return currentRC_;
}

TQelDeviceContext* TQelWindowSystem::GetCurrentDC() {
  return GetCurrentContext() ? currentDC_ : nullptr;
}

bool TQelWindowSystem::ShareLists(TQelRenderContext* first, TQelRenderContext* other) {
  Called("ShareLists");
  if (!IsContext(first) || !IsContext(other)) return Fail("Not a rendering context.");
  if (first->group == other->group) return true;
  if (other->used) return Fail("The context has display lists of its own already.");
  if (!DoRemakeShared(other, first)) return false;
  other->group = first->group;
  return true;
}

bool TQelWindowSystem::SharesLists(TQelRenderContext* a, TQelRenderContext* b) {
  return IsContext(a) && IsContext(b) && a->group == b->group;
}

bool TQelWindowSystem::SwapBuffers(TQelDeviceContext* dc) {
  Called("SwapBuffers");
  if (!IsDC(dc)) return Fail("Not a device context.");
  return DoSwapBuffers(dc);
}

bool TQelWindowSystem::CopyToBitmap(TQelDeviceContext* dc, TBitmap& bitmap) {
  Called("CopyToBitmap");
  if (!IsDC(dc)) return Fail("Not a device context.");
  if (GetCurrentDC() != dc) return Fail("No context is current on the device context.");
  const int rows = std::min(bitmap.GetHeight(), QelDCHeight(dc));
  const int columns = std::min(bitmap.GetWidth(), QelDCWidth(dc));
  if (rows > 0 && columns > 0) {
    // The bitmap's block is bottom-up with lines padded to four bytes, as GL
    // packs them: read the top rows of the surface into the top lines.
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glPixelStorei(GL_PACK_ROW_LENGTH, bitmap.GetWidth());
    glPixelStorei(GL_PACK_SKIP_ROWS, 0);
    glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_PACK_SWAP_BYTES, GL_FALSE);
    glPixelStorei(GL_PACK_LSB_FIRST, GL_FALSE);
    uint8_t* target = bitmap.GetScanLine(rows - 1);
    const GLenum format = bitmap.GetPixelFormat() == pf32bit ? GL_BGRA : GL_BGR;
    glReadPixels(0, QelDCHeight(dc) - rows, columns, rows, format, GL_UNSIGNED_BYTE, target);
    glPopClientAttrib();
  }
  bitmap.Changed();
  return true;
}

// --- Choice of backend --------------------------------------------------

namespace {
TQelWindowSystem* chosenWindowSystem = nullptr;
}

void QelSetWindowSystem(TQelWindowSystem* windowSystem) { chosenWindowSystem = windowSystem; }

TQelWindowSystem* QelWindowSystem() {
  if (chosenWindowSystem) return chosenWindowSystem;
  if (TQelWindowSystem* glfw = QelGLFWWindowSystem()) return glfw;
  return QelEGLWindowSystem();
}
