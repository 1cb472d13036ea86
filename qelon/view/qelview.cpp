#include "qelview.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <cmath>

#include "qelon/appearance/qelattr.h"
#include "qelon/appearance/qelmat.h"
#include "qelon/appearance/qeltex.h"
#include "qelon/interaction/qelcntrl.h"
#include "qelon/platform/qelbitmap.h"
#include "qelon/platform/qelerror.h"
#include "qelon/scene/qelrenderstate.h"

const char* const TQelBufferTypeFlagStr[3] = {"btColor", "btDepth", "btStencil"};
const char* const TQelDrawValueStr[6] = {"dvRed",   "dvBlue",  "dvGreen",
                                         "dvAlpha", "dvDepth", "dvStencil"};
const char* const TQelStencilOpStr[2] = {"soRef", "soInvert"};
const char* const TQelStencilModeStr[4] = {"smDrawStencil", "smInvertStencil", "smApplyStencil",
                                           "smIgnoreStencil"};

namespace {

std::vector<TQelView*>& ViewList() {
  static std::vector<TQelView*> list;
  return list;
}

// Runs a clean-up when the scope ends, also by an exception.
template <typename F>
class TScopeExit {
public:
  explicit TScopeExit(F f) : f_(std::move(f)) {}
  ~TScopeExit() { f_(); }
  TScopeExit(const TScopeExit&) = delete;
  TScopeExit& operator=(const TScopeExit&) = delete;

private:
  F f_;
};

// The current GL matrices and viewport.
struct TGLTransform {
  GLdouble modelview[16], projection[16];
  GLint viewport[4];
  TGLTransform() {
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    glGetIntegerv(GL_VIEWPORT, viewport);
  }
};

}  // namespace

// --- The view list ------------------------------------------------------------

void AddViewtoList(TQelView* view) {
  if (!view) return;
  std::vector<TQelView*>& list = ViewList();
  auto it = std::find(list.begin(), list.end(), view);
  if (it == list.end()) it = list.insert(list.end(), view);
  if (it == list.begin()) return;  // the first view never shares
  TQelView* first = list.front();
  if (first->GetRenderContext() && view->GetRenderContext())
    view->GetWindowSystem()->ShareLists(first->GetRenderContext(), view->GetRenderContext());
}

void RemoveViewfromList(TQelView* view) { std::erase(ViewList(), view); }

const std::vector<TQelView*>& QelViewList() { return ViewList(); }

// --- TQelCanvasView -------------------------------------------------------------

TQelCanvasView::TQelCanvasView(TComponent* AOwner) : TQelCustomView(AOwner) {}

// --- Window events ----------------------------------------------------------------

void TQelView::TWindowEvents::WindowPaint() { view_->Paint(); }

void TQelView::TWindowEvents::WindowResize(int width, int height) {
  view_->width_ = width;
  view_->height_ = height;
  if (view_->OnResize) view_->OnResize(view_);
}

void TQelView::TWindowEvents::WindowMouseDown(TMouseButton button, TShiftState shift, int x, int y) {
  view_->MouseDown(button, shift, x, y);
}

void TQelView::TWindowEvents::WindowMouseUp(TMouseButton button, TShiftState shift, int x, int y) {
  view_->MouseUp(button, shift, x, y);
}

void TQelView::TWindowEvents::WindowMouseMove(TShiftState shift, int x, int y) {
  view_->MouseMove(shift, x, y);
}

void TQelView::TWindowEvents::WindowKeyDown(uint16_t& key, TShiftState shift) {
  view_->KeyDown(key, shift);
}

void TQelView::TWindowEvents::WindowKeyUp(uint16_t& key, TShiftState shift) {
  view_->KeyUp(key, shift);
}

void TQelView::TWindowEvents::WindowClose() {
  if (view_->OnClose) view_->OnClose(view_);
}

// --- TQelView: life ------------------------------------------------------------------

TQelView::TQelView(TComponent* AOwner)
    : TQelCanvasView(AOwner), coordinates_(std::make_unique<TQelCoordinates>()) {
  WireCoordinates();
}

TQelView::~TQelView() {
  // Components cached for this view free their lists while the context
  // still exists, and references to the view are dropped.
  Destroying();
  life_.End();
  DestroyHandle();
  RemoveViewfromList(this);
  coordinates_.reset();
}

void TQelView::WireCoordinates() {
  coordinates_->OnChange = TQelChangeLink<TQelView>{this, life_.Ref()};
}

// --- The window ------------------------------------------------------------------------

void TQelView::SetSize(int32_t width, int32_t height) {
  width_ = std::max(width, 1);
  height_ = std::max(height, 1);
  if (window_) ws_->SetClientSize(window_, width_, height_);
}

void TQelView::SetCaption(const std::string& value) {
  caption_ = value;
  if (window_) ws_->SetCaption(window_, value);
}

TQelWindowSystem* TQelView::GetWindowSystem() const { return ws_ ? ws_ : QelWindowSystem(); }

void TQelView::HandleNeeded() {
  if (window_) return;
  ws_ = QelWindowSystem();
  window_ = ws_->CreateWindow(width_, height_, caption_, &events_);
  OpenGLConnect();
}

void TQelView::DestroyHandle() {
  if (!window_) return;
  OpenGLDisconnect();
  ws_->DestroyWindow(window_);
  window_ = nullptr;
}

void TQelView::RecreateWnd() {
  DestroyHandle();
  HandleNeeded();
}

// --- The GL connection ------------------------------------------------------------------

void TQelView::OpenGLConnect() {
  if (IsDesigning() || GetActive()) return;
  TQelWindowSystem* ws = GetWindowSystem();
  ws_ = ws;
  dc_ = ws->GetDC(window_);
  if (!dc_) throw EQelError(SQelGetDCFailed);
  SetPixelFormat(dc_);
  rc_ = ws->CreateContext(dc_);
  if (!rc_) throw EQelError(SQelCreateContextFailed);
  // A new context holds none of the texture images uploaded so far.
  InvalidateTextures();
  AddViewtoList(this);
  SetCurrent(true);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  SetDrawValues(drawValues_);
  SetCurrent(false);
}

void TQelView::OpenGLDisconnect() {
  if (IsDesigning()) return;
  palette_.reset();
  if (rc_) {
    // The lists die with the context when no other context shares them:
    // components cached for this view record them again when next drawn.
    MakeCurrentQuietly();
    DropCachedLists();
    ws_->ReleaseCurrent();
    ws_->DeleteContext(rc_);
    rc_ = nullptr;
  }
  if (dc_) {
    ws_->ReleaseDC(window_, dc_);
    dc_ = nullptr;
  }
}

void TQelView::DropCachedLists() {
  const std::vector<TComponent*> listeners = GetFreeNotifies();
  for (TComponent* c : listeners) {
    auto* render = dynamic_cast<TQelRender*>(c);
    if (render && render->GetView() == this) render->SetView(nullptr);
  }
}

bool TQelView::GetActive() const { return dc_ && rc_; }

bool TQelView::GetCurrent() const {
  if (!GetActive()) return false;
  return GetDrawingMode() == dmBitmap || ws_->GetCurrentContext() == rc_;
}

bool TQelView::MakeCurrentQuietly() {
  if (GetDrawingMode() == dmBitmap && memoryRC_) return ws_->MakeCurrent(memoryDC_, memoryRC_);
  return GetActive() && ws_->MakeCurrent(dc_, rc_);
}

void TQelView::SetCurrent(bool value) {
  if (!value) {
    GetWindowSystem()->ReleaseCurrent();
    return;
  }
  // A palette format would select and realise its palette here; none of
  // the backends has one to realise.
  if (!GetActive()) return;
  if (!MakeCurrentQuietly()) throw EQelError(SQelMakeCurrentFailed);
}

void TQelView::SetPixelFormat(TQelDeviceContext* dc) {
  TQelWindowSystem* ws = GetWindowSystem();
  PIXELFORMATDESCRIPTOR pfd = QelEmptyPixelFormat();
  const bool palette = CreateRGBPalette(dc);
  if (GetDrawingMode() != dmBitmap) {
    const uint32_t flags = doubleBuffer_ ? PFD_DOUBLEBUFFER | PFD_DRAW_TO_WINDOW |
                                               PFD_SUPPORT_OPENGL | PFD_SWAP_COPY
                                         : PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL;
    if (palette) {
      ws->DescribePixelFormat(dc, 1, &pfd);
      pfd.dwFlags = flags | PFD_NEED_PALETTE;
      pfd.iPixelType = PFD_TYPE_COLORINDEX;
    } else {
      pfd.dwFlags = flags;
      pfd.iPixelType = PFD_TYPE_RGBA;
      pfd.cColorBits = 24;
      pfd.cDepthBits = 32;
      pfd.cStencilBits = 1;
      pfd.iLayerType = PFD_MAIN_PLANE;
    }
  } else {
    ws->DescribePixelFormat(dc, 1, &pfd);
    if (palette) {
      pfd.dwFlags =
          PFD_DRAW_TO_BITMAP | PFD_SUPPORT_GDI | PFD_SUPPORT_OPENGL | PFD_NEED_PALETTE;
      pfd.iPixelType = PFD_TYPE_COLORINDEX;
    } else {
      pfd = QelEmptyPixelFormat();
      pfd.dwFlags = PFD_DRAW_TO_WINDOW | PFD_DRAW_TO_BITMAP | PFD_SUPPORT_GDI | PFD_SUPPORT_OPENGL;
      pfd.iPixelType = PFD_TYPE_RGBA;
      pfd.cDepthBits = 32;
      pfd.cStencilBits = 1;
      pfd.iLayerType = PFD_MAIN_PLANE;
    }
  }

  int format = ws->ChoosePixelFormat(dc, pfd);
  if (OnSetPixelFormat) {
    const TPixelFormatDescriptorArray list = ws->GetPixelFormatList(dc);
    int32_t num = format - 1;
    OnSetPixelFormat(list, num);
    if (num >= 0 && num < static_cast<int32_t>(list.size())) format = num + 1;
  }
  if (ws->SetPixelFormat(dc, format, pfd))
    pixelFormatError_.clear();
  else
    pixelFormatError_ = ws->GetLastError();
}

bool TQelView::CreateRGBPalette(TQelDeviceContext* dc) {
  palette_.reset();
  PIXELFORMATDESCRIPTOR first;
  if (GetWindowSystem()->DescribePixelFormat(dc, 1, &first) == 0) return false;
  auto palette = std::make_unique<TQelLogPalette>();
  if (!::CreateRGBPalette(first, *palette)) return false;
  palette_ = std::move(palette);
  return true;
}

// --- Painting --------------------------------------------------------------------------

void TQelView::Paint() {
  if (!GetActive()) return;
  const TQelDrawingMode previous = GetDrawingMode();
  TScopeExit restore([&] { SetDrawingMode(previous); });
  SetDrawingMode(dmPaint);
  RenderScene();
}

void TQelView::InvalidateGL() {
  if (GetActive()) ws_->Invalidate(window_);
}

void TQelView::StoreWindowSize() {
  int width = width_, height = height_;
  ws_->GetClientSize(window_, width, height);
  StoreClientSize(width, height);
}

void TQelView::RenderScene() {
  if (!GetActive()) return;
  TScopeExit release([this] { ws_->ReleaseCurrent(); });
  if (!MakeCurrentQuietly()) return;
  StoreWindowSize();
  if (camera_) camera_->Render(this);
  ResetNextID();
  // The first object of every frame applies its appearance in full.
  GetRenderState().ForgetAppearance();
  RenderSceneGL();
  const TQelDrawingMode mode = GetDrawingMode();
  // Also with a single buffer: the window system shows what was drawn.
  if (mode == dmPaint || mode == dmBitmap || mode > dmPointQuery) ws_->SwapBuffers(dc_);
}

void TQelView::RenderSceneGL() {
  glClearColor((backgroundColor_ & 0xFF) / 255.0f, ((backgroundColor_ >> 8) & 0xFF) / 255.0f,
               ((backgroundColor_ >> 16) & 0xFF) / 255.0f, 1.0f);
  glDepthFunc(depthTestEnabled_ ? GL_LESS : GL_ALWAYS);
  glColorMask(drawValues_.Contains(dvRed), drawValues_.Contains(dvGreen),
              drawValues_.Contains(dvBlue), drawValues_.Contains(dvAlpha));
  glDepthMask(drawValues_.Contains(dvDepth));
  GLbitfield mask = 0;
  if (clearSet_.Contains(btColor)) mask |= GL_COLOR_BUFFER_BIT;
  if (clearSet_.Contains(btDepth)) mask |= GL_DEPTH_BUFFER_BIT;
  glClear(mask);
  glMatrixMode(GL_MODELVIEW);
  glEnable(GL_DEPTH_TEST);
  glPushAttrib(GL_ALL_ATTRIB_BITS);
  // The attributes come back however the scene leaves.
  TScopeExit restore([] {
    glFlush();
    glPopAttrib();
  });
  coordinates_->Render();
  if (OnRender) OnRender(this);
}

void TQelView::ClearBuffers(TQelBufferType set) {
  if (!GetActive()) return;
  if (!GetCurrent()) SetCurrent(true);
  GLbitfield mask = 0;
  if (set.Contains(btColor)) mask |= GL_COLOR_BUFFER_BIT;
  if (set.Contains(btDepth)) mask |= GL_DEPTH_BUFFER_BIT;
  if (set.Contains(btStencil)) mask |= GL_STENCIL_BUFFER_BIT;
  glClear(mask);
}

// --- Properties ----------------------------------------------------------------------------

void TQelView::SetBackgroundColor(TColor value) {
  if (value == backgroundColor_) return;
  backgroundColor_ = value;
  InvalidateGL();
}

void TQelView::SetCoordinates(TQelCoordinates* value) {
  if (!value) return;
  coordinates_->Assign(value);
  WireCoordinates();  // Assign hands over the source's handler
}

void TQelView::SetCamera(TQelCamera* value) {
  if (camera_ && camera_ != value) {
    camera_->OnChange = nullptr;
    RemoveFreeNotification(camera_);
  }
  camera_ = value;
  if (camera_) {
    FreeNotification(camera_);
    camera_->OnChange = TQelChangeLink<TQelView>{this, life_.Ref()};
    if (GetCurrent()) camera_->Render(this);
  }
  SubChange(this);
}

void TQelView::SetDoubleBuffer(bool value) {
  if (value == doubleBuffer_) return;
  doubleBuffer_ = value;
  // A device context takes one pixel format: a new one needs a new window.
  if (GetActive()) RecreateWnd();
}

void TQelView::SetController(TQelCustomController* value) {
  if (controller_ && controller_ != value) RemoveFreeNotification(controller_);
  controller_ = value;
  if (!value) return;
  FreeNotification(value);
  if (!value->GetCamera()) value->SetCamera(camera_);
}

// --- Input ---------------------------------------------------------------------------------
// The user's event first, then the controller; a controller that moved
// something repaints the view (a moved object does not repaint by itself).

void TQelView::MouseDown(TMouseButton button, TShiftState shift, int32_t x, int32_t y) {
  if (OnMouseDown) OnMouseDown(this, button, shift, x, y);
  if (controller_ && controller_->HandleMouseDown(button, shift, x, y)) InvalidateGL();
}

void TQelView::MouseUp(TMouseButton button, TShiftState shift, int32_t x, int32_t y) {
  if (OnMouseUp) OnMouseUp(this, button, shift, x, y);
  if (controller_ && controller_->HandleMouseUp(button, shift, x, y)) InvalidateGL();
}

void TQelView::MouseMove(TShiftState shift, int32_t x, int32_t y) {
  if (OnMouseMove) OnMouseMove(this, shift, x, y);
  if (controller_ && controller_->HandleMouseMove(shift, x, y)) InvalidateGL();
}

void TQelView::KeyDown(uint16_t& key, TShiftState shift) {
  if (OnKeyDown) OnKeyDown(this, key, shift);
  if (controller_ && controller_->HandleKey(key, shift)) InvalidateGL();
}

void TQelView::KeyUp(uint16_t& key, TShiftState shift) {
  if (OnKeyUp) OnKeyUp(this, key, shift);
}

// --- Window and scene coordinates ------------------------------------------------------------

int32_t TQelView::QueryHeight() const {
  return GetClientHeight() > 0 ? GetClientHeight() : height_;
}

bool TQelView::GetPoint(int32_t x, int32_t y, TQelMathVector& point) {
  if (!GetActive()) return false;
  const bool wasCurrent = GetCurrent();
  if (!wasCurrent) SetCurrent(true);
  const TQelDrawingMode previous = GetDrawingMode();
  TScopeExit restore([&] {
    SetDrawingMode(previous);
    if (!wasCurrent) SetCurrent(false);
  });
  SetSelectPosition(x, y);
  SetDrawingMode(dmPointQuery);
  StoreWindowSize();
  if (camera_) camera_->Render(this);
  RenderSceneGL();  // no swap

  const TGLTransform gl;
  const GLint* viewport = gl.viewport;
  // The camera has drawn the pick region around (x, y) enlarged to the
  // whole viewport, so the point shows in the viewport's middle, at many
  // times the resolution. Without a camera the window is as it is.
  double wx, wy;
  if (camera_) {
    wx = viewport[0] + viewport[2] / 2.0;
    wy = viewport[1] + viewport[3] / 2.0;
  } else {
    wx = x + 0.5;
    wy = QueryHeight() - y - 0.5;
  }
  GLfloat depth = 1;
  glReadPixels(static_cast<GLint>(std::floor(wx)), static_cast<GLint>(std::floor(wy)), 1, 1,
               GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
  GLdouble px = 0, py = 0, pz = 0;
  const bool ok = gluUnProject(wx, wy, depth, gl.modelview, gl.projection, viewport, &px, &py, &pz) == GL_TRUE;
  if (ok) point = {px, py, pz};

  // Later queries (WinTo3D) read the projection: leave the ordinary one.
  SetDrawingMode(previous);
  if (camera_) camera_->Render(this);
  return ok;
}

TQelMathVector TQelView::WinTo3D(double x, double y, double z) {
  TQelMathVector result = ZEROVEC;
  WithCurrent([&] {
    const TGLTransform gl;
    GLdouble px, py, pz;
    if (gluUnProject(x, QueryHeight() - y, z, gl.modelview, gl.projection, gl.viewport, &px, &py,
                     &pz) == GL_TRUE)
      result = {px, py, pz};
  });
  return result;
}

TQelMathVector TQelView::WinFrom3D(const TQelMathVector& vector) {
  TQelMathVector result = ZEROVEC;
  WithCurrent([&] {
    const TGLTransform gl;
    GLdouble wx, wy, wz;
    // Window rows count down from the top, as WinTo3D takes them.
    if (gluProject(vector.x, vector.y, vector.z, gl.modelview, gl.projection, gl.viewport, &wx,
                   &wy, &wz) == GL_TRUE)
      result = {wx, QueryHeight() - wy, wz};
  });
  return result;
}

bool TQelView::GetImage(TBitmap& bitmap) {
  // Connect for the time being when not connected.
  const bool madeWindow = !window_;
  const bool connectHere = !GetActive();
  if (madeWindow) {
    ws_ = QelWindowSystem();
    window_ = ws_->CreateWindow(width_, height_, caption_, &events_);
  }
  TScopeExit disconnect([&] {
    if (madeWindow)
      DestroyHandle();
    else if (connectHere)
      OpenGLDisconnect();
  });
  if (connectHere) OpenGLConnect();

  const int width = bitmap.GetWidth(), height = bitmap.GetHeight();
  if (width <= 0 || height <= 0) return false;

  const TQelDrawingMode previous = GetDrawingMode();
  const int32_t clientWidth = GetClientWidth(), clientHeight = GetClientHeight();
  TScopeExit restore([&] {
    // Without a window context to share with, the lists recorded here die
    // with the bitmap's context.
    if (!rc_ && memoryRC_) DropCachedLists();
    ws_->ReleaseCurrent();
    if (memoryRC_) ws_->DeleteContext(memoryRC_);
    palette_.reset();
    if (memoryDC_) ws_->DeleteDC(memoryDC_);
    memoryRC_ = nullptr;
    memoryDC_ = nullptr;
    SetDrawingMode(previous);
    // WinTo3D goes on with the window's last frame.
    StoreClientSize(clientWidth, clientHeight);
  });
  SetDrawingMode(dmBitmap);
  // A new context: textures upload again, appearance is applied in full.
  InvalidateTextures();
  GetRenderState().ForgetAppearance();
  memoryDC_ = ws_->CreateMemoryDC(width, height);
  if (!memoryDC_) throw EQelError(SQelGetDCFailed);
  SetPixelFormat(memoryDC_);
  memoryRC_ = ws_->CreateContext(memoryDC_, rc_);
  if (!memoryRC_) throw EQelError(SQelCreateContextFailed);
  if (!ws_->MakeCurrent(memoryDC_, memoryRC_)) throw EQelError(SQelMakeCurrentFailed);
  StoreClientSize(width, height);
  if (camera_) camera_->Render(this);
  RenderSceneGL();
  return ws_->CopyToBitmap(memoryDC_, bitmap);
}

TQelMathVector TQelView::ProjectVector(TQelTransformed* render, const TQelMathVector& vector) {
  return camera_ ? camera_->ProjectVector(render, vector) : ZEROVEC;
}

bool TQelView::GetPushNames() const {
  const TQelDrawingMode mode = GetDrawingMode();
  return mode == dmIdle || mode == dmSelect || mode == dmPointQuery;
}

void TQelView::SubChange(TObject* Sender) {
  if (GetDrawingMode() == dmIdle) InvalidateGL();
}

void TQelView::Notification(TComponent* AComponent, TOperation Operation) {
  TQelCanvasView::Notification(AComponent, Operation);
  if (Operation != opRemove || !AComponent) return;
  if (AComponent == camera_) camera_ = nullptr;
  if (AComponent == controller_) controller_ = nullptr;
}
