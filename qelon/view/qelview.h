#pragma once
// The view: a window with a GL rendering context that draws a scene. It
// chooses the pixel format, runs the paint cycle (camera, clear, axes,
// OnRender, swap), keeps depth and stencil settings, hands mouse and key
// input on, converts between window and scene coordinates and renders into
// bitmaps. Every connected view of the process shares display lists with
// the first one.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "qelon/math/qelmath.h"
#include "qelon/platform/qelinput.h"
#include "qelon/platform/qelpixelformat.h"
#include "qelon/platform/qelwindowsystem.h"
#include "qelon/scene/qelcomp.h"
#include "qelon/view/qelcam.h"
#include "qelon/view/qelselection.h"

class TBitmap;
class TQelView;
// The interaction module's controllers (keyboard and mouse driving a
// camera or an object).
class TQelCustomController;

enum TQelBufferTypeFlag { btColor, btDepth, btStencil };
using TQelBufferType = TSet<TQelBufferTypeFlag>;
extern const char* const TQelBufferTypeFlagStr[3];

enum TQelDrawValue { dvRed, dvBlue, dvGreen, dvAlpha, dvDepth, dvStencil };
using TQelDrawValues = TSet<TQelDrawValue>;
extern const char* const TQelDrawValueStr[6];

enum TQelStencilOp { soRef, soInvert };
extern const char* const TQelStencilOpStr[2];

enum TQelStencilMode { smDrawStencil, smInvertStencil, smApplyStencil, smIgnoreStencil };
extern const char* const TQelStencilModeStr[4];

using TQelViewRenderEvent = std::function<void(TQelView* aView)>;
// Num is the format chosen (0-based into PFDArray); the handler may change
// it. A number outside the list keeps the choice.
using TQelSetPixelFormat =
    std::function<void(const TPixelFormatDescriptorArray& PFDArray, int32_t& Num)>;
// Input events of a control. Positions are client pixels, y down.
using TMouseEvent =
    std::function<void(TObject* Sender, TMouseButton Button, TShiftState Shift, int32_t X, int32_t Y)>;
using TMouseMoveEvent = std::function<void(TObject* Sender, TShiftState Shift, int32_t X, int32_t Y)>;
using TKeyEvent = std::function<void(TObject* Sender, uint16_t& Key, TShiftState Shift)>;

// The view as the 2D drawing layer sees it: a canvas whose drawing is
// mapped onto the GL context. Thin until that layer exists.
class TQelCanvasView : public TQelCustomView {
  QEL_CLASS(TQelCanvasView)
public:
  explicit TQelCanvasView(TComponent* AOwner);
};

class TQelView : public TQelCanvasView {
  QEL_CLASS(TQelView)
public:
  explicit TQelView(TComponent* AOwner);
  // Frees the display lists cached for this view in its context, closes
  // the window and leaves the view list.
  ~TQelView() override;

  // --- The window ----------------------------------------------------------
  // Client size in pixels, initially 400 by 250.
  int32_t GetWidth() const { return width_; }
  int32_t GetHeight() const { return height_; }
  // Resizes the window (sizes below 1 count as 1).
  void SetSize(int32_t width, int32_t height);
  const std::string& GetCaption() const { return caption_; }
  // The window's title, now or when the window is made.
  void SetCaption(const std::string& value);
  // The window system the window belongs to (QelWindowSystem() until then).
  TQelWindowSystem* GetWindowSystem() const;
  TQelWindow* GetWindow() const { return window_; }
  bool HandleAllocated() const { return window_ != nullptr; }
  // Creates the window, unless it exists, and connects GL to it (on GLFW the
  // window appears). Throws the connection's errors; the window stays.
  void HandleNeeded();
  // Disconnects and closes the window.
  void DestroyHandle();
  // Closes and makes the window again, connecting with a new pixel format.
  void RecreateWnd();

  // --- The GL connection ---------------------------------------------------
  // Device context, pixel format, rendering context, display-list sharing
  // with the first view, and the initial state. Throws EQelError with
  // SQelGetDCFailed, SQelCreateContextFailed or SQelMakeCurrentFailed.
  // Nothing while designing or when connected already.
  void OpenGLConnect();
  // Drops the display lists cached for this view, deletes the rendering
  // context and releases the device context. Nothing while designing.
  void OpenGLDisconnect();
  // Both the device context and the rendering context exist.
  bool GetActive() const;
  // Active, and rendering into a bitmap or this view's context is current.
  bool GetCurrent() const override;
  // True makes the context current (SQelMakeCurrentFailed when it cannot);
  // false makes no context current.
  void SetCurrent(bool value) override;
  TQelDeviceContext* GetHDC() const { return dc_; }
  TQelRenderContext* GetRenderContext() const { return rc_; }
  // The logical palette of a palette format, or null.
  const TQelLogPalette* GetPalette() const { return palette_.get(); }
  // Why the last pixel format could not be set; empty when it could. A
  // failure here is reported, not raised.
  const std::string& GetPixelFormatError() const { return pixelFormatError_; }

  // --- Painting -------------------------------------------------------------
  // When active: dmPaint, RenderScene, then the previous mode.
  void Paint();
  // When active, asks the window for a repaint.
  void InvalidateGL();
  // The render cycle: current, client size, camera, pick counter and
  // appearance caches reset, RenderSceneGL, swap (not when idle or
  // picking), release.
  virtual void RenderScene();
  // Clear colour, depth function and masks, clear, axes, OnRender, flush.
  virtual void RenderSceneGL();
  // Clears the buffers of set, stencil included; leaves the context current.
  void ClearBuffers(TQelBufferType set);

  // --- Properties ----------------------------------------------------------
  TColor GetBackgroundColor() const { return backgroundColor_; }
  void SetBackgroundColor(TColor value);
  // The world axes, owned; drawn before OnRender.
  TQelCoordinates* GetCoordinates() const { return coordinates_.get(); }
  void SetCoordinates(TQelCoordinates* value);  // copies
  // Not owned; forgotten when it is destroyed. Its changes repaint.
  TQelCamera* GetCamera() const override { return camera_; }
  void SetCamera(TQelCamera* value);
  bool GetDoubleBuffer() const { return doubleBuffer_; }
  void SetDoubleBuffer(bool value);
  // Not owned; forgotten when destroyed. Gets this view's camera when it
  // has none. Receives the view's mouse and key input.
  TQelCustomController* GetController() const { return controller_; }
  void SetController(TQelCustomController* value);
  // The buffers RenderSceneGL clears; default {btColor, btDepth}. The
  // stencil buffer is never cleared there.
  TQelBufferType GetClearSet() const { return clearSet_; }
  void SetClearSet(TQelBufferType value) { clearSet_ = value; }
  // The colour channels, depth and stencil written; default all but stencil.
  TQelDrawValues GetDrawValues() const { return drawValues_; }
  void SetDrawValues(TQelDrawValues value);
  bool GetDepthTestEnabled() const { return depthTestEnabled_; }
  void SetDepthTestEnabled(bool value);
  bool GetStencilTestEnabled() const { return stencilTestEnabled_; }
  void SetStencilTestEnabled(bool value);
  int32_t GetStencilReference() const { return stencilReference_; }
  void SetStencilReference(int32_t value);
  uint32_t GetStencilMask() const { return stencilMask_; }
  void SetStencilMask(uint32_t value);
  // A GL comparison (GL_EQUAL by default).
  uint32_t GetStencilTest() const { return stencilTest_; }
  void SetStencilTest(uint32_t value);
  TQelStencilOp GetStencilOp() const { return stencilOp_; }
  void SetStencilOp(TQelStencilOp value);
  // Presets of the stencil and depth settings for drawing a stencil,
  // inverting it, drawing through it and ignoring it.
  void SetStencilMode(TQelStencilMode mode);

  // --- Events ----------------------------------------------------------------
  TQelViewRenderEvent OnRender;  // draw the scene here
  TQelSetPixelFormat OnSetPixelFormat;
  TMouseEvent OnMouseDown;
  TMouseEvent OnMouseUp;
  TMouseMoveEvent OnMouseMove;
  TKeyEvent OnKeyDown;
  TKeyEvent OnKeyUp;
  TNotifyEvent OnResize;
  // The user asked to close the window; it stays open until destroyed.
  TNotifyEvent OnClose;

  // --- Input entry points (the window calls these) ---------------------------
  // First the user's event, then the controller's handler of the same name;
  // a controller that answers true repaints the view.
  virtual void MouseDown(TMouseButton button, TShiftState shift, int32_t x, int32_t y);
  virtual void MouseUp(TMouseButton button, TShiftState shift, int32_t x, int32_t y);
  virtual void MouseMove(TShiftState shift, int32_t x, int32_t y);
  virtual void KeyDown(uint16_t& key, TShiftState shift);
  virtual void KeyUp(uint16_t& key, TShiftState shift);

  // --- Window and scene coordinates ------------------------------------------
  // The scene point under window pixel (x, y) (y down): renders the pick
  // region around it (dmPointQuery, no swap) and unprojects its depth.
  // False when inactive or when the unprojection fails; over the
  // background the point lies on the far plane.
  bool GetPoint(int32_t x, int32_t y, TQelMathVector& point);
  // Window (x, y down, depth z) to scene, with the GL matrices and viewport
  // of the last render; the zero vector when that fails or when inactive.
  TQelMathVector WinTo3D(double x, double y, double z);
  // Scene to window (x, y down, depth); WinTo3D's inverse.
  TQelMathVector WinFrom3D(const TQelMathVector& vector);
  // Renders the scene into bitmap at the bitmap's size (dmBitmap) in
  // a context that shares lists with the view's; connects for the time
  // being when not connected. False for an empty bitmap.
  bool GetImage(TBitmap& bitmap);
  // The camera's ProjectVector; the zero vector without a camera.
  TQelMathVector ProjectVector(TQelTransformed* render, const TQelMathVector& vector);

  // --- Picking ------------------------------------------------------------------
  // The hits of the SelectWidth by SelectHeight pixels around window pixel
  // (x, y) (y down): the scene rendered in GL selection mode (drawing mode
  // 3), without a swap and without touching the picture. Empty when
  // inactive or when the hits overflow the selection buffer.
  void GetSelection(int32_t x, int32_t y, TQelSelectionList& list);
  // The object that drew the top-most hit at (x, y), found by its innermost
  // name in a second, idle render. Returns the num it passed with that
  // name (the index list of a mesh, -1 for other objects); -2 and null obj
  // when nothing with a name was hit.
  int32_t GetObj(int32_t x, int32_t y, TObject*& obj);
  // OnNextID while GetObj searches: remembers who receives the searched name.
  void GetNextIdObj(TObject* obj, int32_t num);

  // Objects push pick names only when idle, picking or querying a point.
  bool GetPushNames() const override;
  // Repaints when idle: the axes' and the camera's changes come here.
  virtual void SubChange(TObject* Sender);
  void Notification(TComponent* AComponent, TOperation Operation) override;

protected:
  // Chooses and sets dc's pixel format for the drawing mode (window or
  // bitmap), offering the list to OnSetPixelFormat.
  void SetPixelFormat(TQelDeviceContext* dc);
  // Builds the palette when format 1 of dc needs one.
  bool CreateRGBPalette(TQelDeviceContext* dc);
  void UpdateStencilSettings();

private:
  void ApplyStencilSettings();
  class TWindowEvents : public IQelWindowEvents {
  public:
    explicit TWindowEvents(TQelView* view) : view_(view) {}
    void WindowPaint() override;
    void WindowResize(int width, int height) override;
    void WindowMouseDown(TMouseButton button, TShiftState shift, int x, int y) override;
    void WindowMouseUp(TMouseButton button, TShiftState shift, int x, int y) override;
    void WindowMouseMove(TShiftState shift, int x, int y) override;
    void WindowKeyDown(uint16_t& key, TShiftState shift) override;
    void WindowKeyUp(uint16_t& key, TShiftState shift) override;
    void WindowClose() override;

  private:
    TQelView* view_;
  };

  bool MakeCurrentQuietly();
  // Runs f with the context current, releasing it afterwards when it was
  // not current before; false (f not run) when inactive.
  template <typename F>
  bool WithCurrent(F&& f) {
    if (!GetActive()) return false;
    const bool wasCurrent = GetCurrent();
    if (!wasCurrent) SetCurrent(true);
    // Released also when f throws.
    struct TRelease {
      TQelView* view;
      bool release;
      ~TRelease() {
        if (release) view->SetCurrent(false);
      }
    } restore{this, !wasCurrent};
    f();
    return true;
  }
  void StoreWindowSize();
  void DropCachedLists();
  void WireCoordinates();
  // The window height that window y coordinates count down from.
  int32_t QueryHeight() const;

  TQelLife life_;
  TWindowEvents events_{this};
  TQelWindowSystem* ws_ = nullptr;
  TQelWindow* window_ = nullptr;
  int32_t width_ = 400, height_ = 250;
  std::string caption_ = "Qelon";

  TQelDeviceContext* dc_ = nullptr;
  TQelRenderContext* rc_ = nullptr;
  std::unique_ptr<TQelLogPalette> palette_;
  std::string pixelFormatError_;
  // The bitmap's surface and context while GetImage renders.
  TQelDeviceContext* memoryDC_ = nullptr;
  TQelRenderContext* memoryRC_ = nullptr;

  TColor backgroundColor_ = 0;
  std::unique_ptr<TQelCoordinates> coordinates_;
  TQelCamera* camera_ = nullptr;
  bool doubleBuffer_ = true;
  TQelCustomController* controller_ = nullptr;
  TQelBufferType clearSet_{btColor, btDepth};
  TQelDrawValues drawValues_{dvRed, dvBlue, dvGreen, dvAlpha, dvDepth};
  bool depthTestEnabled_ = true;
  bool stencilTestEnabled_ = false;
  int32_t stencilReference_ = 1;
  uint32_t stencilMask_ = 1;
  uint32_t stencilTest_ = 0x0202;  // GL_EQUAL
  TQelStencilOp stencilOp_ = soRef;
  // GetObj's search: the name looked for and who received it.
  uint32_t searchedName_ = 0;
  int32_t foundNum_ = -2;
  TObject* foundObj_ = nullptr;
};

// The process-wide list of connected views, in connection order. A view
// joins when it connects and leaves when it is destroyed; a view listed
// after the first shares display lists with the first one's context.
void AddViewtoList(TQelView* view);
void RemoveViewfromList(TQelView* view);
const std::vector<TQelView*>& QelViewList();
