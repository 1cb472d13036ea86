#pragma once
// The window-system layer under the view: windows, device contexts with a
// pixel format, GL rendering contexts, display-list sharing, buffer swaps,
// repaint requests and input. Two backends implement it: EGL offscreen
// (headless: windows are pbuffers, the default without a display) and GLFW
// (real windows on a display).
//
// Handles (windows, device contexts, rendering contexts) are owned by the
// window system and stay valid until destroyed through it. Every call
// checks its handles, so a stale or null handle makes the call fail rather
// than crash.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "qelinput.h"
#include "qelpixelformat.h"
#include "qelset.h"

class TBitmap;
class TQelWindow;         // a window, or its offscreen stand-in
class TQelDeviceContext;  // the drawing surface of a window or of a memory bitmap
class TQelRenderContext;  // a GL rendering context

// The exact messages the view raises when the layer fails it.
extern const char* const SQelGetDCFailed;          // "Call to OpenGL function GetDC() failed."
extern const char* const SQelCreateContextFailed;  // "... wglCreateContext() failed."
extern const char* const SQelMakeCurrentFailed;    // "... wglMakeCurrent() failed."

// What a window tells its control. Coordinates are client pixels, y down.
class IQelWindowEvents {
public:
  virtual ~IQelWindowEvents() = default;
  virtual void WindowPaint() {}
  virtual void WindowResize(int width, int height) {}
  virtual void WindowMouseDown(TMouseButton button, TShiftState shift, int x, int y) {}
  virtual void WindowMouseUp(TMouseButton button, TShiftState shift, int x, int y) {}
  virtual void WindowMouseMove(TShiftState shift, int x, int y) {}
  virtual void WindowKeyDown(uint16_t& key, TShiftState shift) {}
  virtual void WindowKeyUp(uint16_t& key, TShiftState shift) {}
  // The user asked to close the window; it stays open until destroyed.
  virtual void WindowClose() {}
};

// Operations tests can make fail on purpose.
enum TQelWindowSystemFailure { wfGetDC, wfCreateContext, wfMakeCurrent };
using TQelWindowSystemFailures = TSet<TQelWindowSystemFailure>;

class TQelWindowSystem {
public:
  virtual ~TQelWindowSystem();
  TQelWindowSystem(const TQelWindowSystem&) = delete;
  TQelWindowSystem& operator=(const TQelWindowSystem&) = delete;

  virtual const char* GetName() const = 0;  // "EGL offscreen" or "GLFW"

  // --- Windows --------------------------------------------------------
  // A window of width by height client pixels that reports to events (may
  // be null). GLFW shows it once a rendering context is made for it.
  TQelWindow* CreateWindow(int width, int height, const std::string& caption,
                           IQelWindowEvents* events);
  // Also deletes the window's device context.
  void DestroyWindow(TQelWindow* window);
  bool GetClientSize(TQelWindow* window, int& width, int& height);
  // Resizes the client area; the offscreen backend reports WindowResize at
  // once, GLFW when the display has done it.
  void SetClientSize(TQelWindow* window, int width, int height);
  // The title a window shows (offscreen windows only keep it).
  void SetCaption(TQelWindow* window, const std::string& caption);
  // Requests a repaint: the next ProcessMessages calls WindowPaint once.
  void Invalidate(TQelWindow* window);
  // Delivers pending input and the paints of invalidated windows.
  void ProcessMessages();
  // Waits up to timeout seconds for something to deliver, then delivers it.
  // With an idle handler installed (QelApplication()->OnIdle) a turn first
  // delivers what is pending, then runs the handler, and waits only when
  // the handler has no work left.
  void WaitMessages(double timeoutSeconds);

  // --- Device contexts ------------------------------------------------
  // The window's own device context (always the same one), or null.
  TQelDeviceContext* GetDC(TQelWindow* window);
  void ReleaseDC(TQelWindow* window, TQelDeviceContext* dc);
  // A device context drawing into an offscreen bitmap of that size (the
  // memory device context with a compatible bitmap selected), or null.
  TQelDeviceContext* CreateMemoryDC(int width, int height);
  void DeleteDC(TQelDeviceContext* dc);
  // The size of the surface behind dc (a window's client size).
  bool GetDCSize(TQelDeviceContext* dc, int& width, int& height);

  // --- Pixel formats --------------------------------------------------
  // The number of formats of dc (0 for a bad dc or a format outside
  // 1..count); fills *pfd with format's description when pfd is not null.
  int DescribePixelFormat(TQelDeviceContext* dc, int format, PIXELFORMATDESCRIPTOR* pfd);
  // All formats of dc, index i describing format i + 1.
  TPixelFormatDescriptorArray GetPixelFormatList(TQelDeviceContext* dc);
  // The format of dc closest to pfd (QelChoosePixelFormat), 0 for none.
  int ChoosePixelFormat(TQelDeviceContext* dc, const PIXELFORMATDESCRIPTOR& pfd);
  // Gives dc its format, once: setting another format later fails. pfd is
  // informational. On failure GetLastError tells why.
  bool SetPixelFormat(TQelDeviceContext* dc, int format, const PIXELFORMATDESCRIPTOR& pfd);
  int GetPixelFormat(TQelDeviceContext* dc);

  // --- Rendering contexts ---------------------------------------------
  // A context for dc's pixel format, or null (no format set, or the
  // platform refused). With share, display lists and textures are shared
  // with that context from the start. GLFW makes one context per window.
  TQelRenderContext* CreateContext(TQelDeviceContext* dc, TQelRenderContext* share = nullptr);
  // Releases rc first when it is current.
  bool DeleteContext(TQelRenderContext* rc);
  // Makes rc current on dc (its format must be the one rc was made for);
  // rc null releases like ReleaseCurrent and succeeds.
  bool MakeCurrent(TQelDeviceContext* dc, TQelRenderContext* rc);
  // Makes no context current.
  void ReleaseCurrent();
  // The context of this layer current on the calling thread, or null (also
  // when another party made its own context current since).
  TQelRenderContext* GetCurrentContext();
  TQelDeviceContext* GetCurrentDC();
  // Lets other use first's display lists. True when they share already
  // (made with share, or by an earlier call), and when other has never
  // been current: it is then remade within first's share group (contexts
  // can only join a group when made). False otherwise: other already has
  // lists of its own.
  bool ShareLists(TQelRenderContext* first, TQelRenderContext* other);
  // Whether a and b see the same display lists.
  bool SharesLists(TQelRenderContext* a, TQelRenderContext* b);
  // Shows what was drawn on dc (a window's back buffer). Offscreen and
  // memory surfaces keep their single buffer; nothing changes there. Makes
  // no GL call of its own.
  bool SwapBuffers(TQelDeviceContext* dc);
  // Copies what was drawn on dc into bitmap, top-left parts aligned, the
  // bitmap keeping its size and format, then fires its OnChange. The
  // context drawing on dc must be current.
  bool CopyToBitmap(TQelDeviceContext* dc, TBitmap& bitmap);

  // --- For tests and diagnostics --------------------------------------
  // While a failure is set, that operation fails (returns null or false).
  TQelWindowSystemFailures GetFailures() const { return failures_; }
  void SetFailures(TQelWindowSystemFailures failures) { failures_ = failures; }
  // Why the last failing call failed.
  const std::string& GetLastError() const { return lastError_; }
  // Told the name of every operation called, e.g. "ShareLists".
  std::function<void(const std::string& operation)> OnCall;

protected:
  TQelWindowSystem();

  // The backend's part. Handles are checked before these are called.
  // DoCreateWindow makes the window with its own device context.
  virtual std::unique_ptr<TQelWindow> DoCreateWindow(int width, int height,
                                                     const std::string& caption) = 0;
  virtual void DoDestroyWindow(TQelWindow* window) {}
  virtual void DoSetClientSize(TQelWindow* window, int width, int height) = 0;
  virtual void DoInvalidate(TQelWindow* window) {}
  virtual void DoSetCaption(TQelWindow* window) {}
  // Gathers input; waits up to waitSeconds when positive and nothing is due.
  virtual void DoPollEvents(double waitSeconds) = 0;
  virtual std::unique_ptr<TQelDeviceContext> DoCreateMemoryDC(int width, int height) = 0;
  virtual const TPixelFormatDescriptorArray& DoGetFormats() = 0;
  virtual bool DoSetPixelFormat(TQelDeviceContext* dc, int format) = 0;
  virtual std::unique_ptr<TQelRenderContext> DoCreateContext(TQelDeviceContext* dc,
                                                             TQelRenderContext* share) = 0;
  virtual void DoDeleteContext(TQelRenderContext* rc) {}
  // Replaces the native context of a never-current rc with one that shares
  // with first.
  virtual bool DoRemakeShared(TQelRenderContext* rc, TQelRenderContext* first) = 0;
  virtual bool DoMakeCurrent(TQelDeviceContext* dc, TQelRenderContext* rc) = 0;
  virtual void DoReleaseCurrent() = 0;
  virtual bool DoIsCurrent(TQelRenderContext* rc) = 0;
  virtual bool DoSwapBuffers(TQelDeviceContext* dc) = 0;

  bool Fail(const std::string& why);
  void Called(const char* operation);
  void DeliverPaints();
  bool IsWindow(TQelWindow* window) const;
  bool IsDC(TQelDeviceContext* dc) const;
  bool IsContext(TQelRenderContext* rc) const;
  const std::vector<std::unique_ptr<TQelWindow>>& Windows() const { return windows_; }

  TQelDeviceContext* currentDC_ = nullptr;
  TQelRenderContext* currentRC_ = nullptr;

private:
  std::vector<std::unique_ptr<TQelWindow>> windows_;
  std::vector<std::unique_ptr<TQelDeviceContext>> memoryDCs_;
  std::vector<std::unique_ptr<TQelRenderContext>> contexts_;
  TQelWindowSystemFailures failures_;
  std::string lastError_;
};

// The window system the view uses: the one set by QelSetWindowSystem, else
// GLFW when a display is named (DISPLAY or WAYLAND_DISPLAY) and GLFW can
// open it, else EGL offscreen.
TQelWindowSystem* QelWindowSystem();
// Overrides the choice; null returns to the default.
void QelSetWindowSystem(TQelWindowSystem* windowSystem);
// The headless backend (one per process).
TQelWindowSystem* QelEGLWindowSystem();
// The GLFW backend (one per process), or null when no display can be opened.
TQelWindowSystem* QelGLFWWindowSystem();
