// The window-system layer on its headless backend: formats, contexts,
// sharing, bitmaps, repaints and failures, all checked against GL itself.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <qelon/qelon.h>
#include <qelon/platform/qelegl.h>

#include <algorithm>

#include <string>
#include <vector>

namespace {

// What the view asks for a double-buffered window and for a bitmap.
PIXELFORMATDESCRIPTOR WindowRequest() {
  PIXELFORMATDESCRIPTOR r = QelEmptyPixelFormat();
  r.dwFlags = PFD_DOUBLEBUFFER | PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_SWAP_COPY;
  r.cColorBits = 24;
  r.cDepthBits = 32;
  r.cStencilBits = 1;
  return r;
}

PIXELFORMATDESCRIPTOR BitmapRequest() {
  PIXELFORMATDESCRIPTOR r = QelEmptyPixelFormat();
  r.dwFlags = PFD_DRAW_TO_WINDOW | PFD_DRAW_TO_BITMAP | PFD_SUPPORT_GDI | PFD_SUPPORT_OPENGL;
  r.cDepthBits = 32;
  r.cStencilBits = 1;
  return r;
}

struct PaintLog : IQelWindowEvents {
  int paints = 0;
  std::vector<std::pair<int, int>> sizes;
  void WindowPaint() override { ++paints; }
  void WindowResize(int w, int h) override { sizes.emplace_back(w, h); }
};

class WindowSystem : public ::testing::Test {
protected:
  void SetUp() override {
    ws = QelEGLWindowSystem();
    ws->SetFailures({});
    ws->OnCall = nullptr;
  }
  void TearDown() override {
    ws->OnCall = nullptr;
    ws->SetFailures({});
    ws->ReleaseCurrent();
    for (TQelRenderContext* rc : contexts) ws->DeleteContext(rc);
    for (TQelDeviceContext* dc : memoryDCs) ws->DeleteDC(dc);
    for (TQelWindow* w : windows) ws->DestroyWindow(w);
  }

  // A window with its format set, as the view connects one.
  TQelDeviceContext* Window(int width, int height, IQelWindowEvents* events = nullptr) {
    TQelWindow* w = ws->CreateWindow(width, height, "test", events);
    windows.push_back(w);
    TQelDeviceContext* dc = ws->GetDC(w);
    PIXELFORMATDESCRIPTOR request = WindowRequest();
    EXPECT_TRUE(ws->SetPixelFormat(dc, ws->ChoosePixelFormat(dc, request), request));
    return dc;
  }

  TQelDeviceContext* MemoryDC(int width, int height) {
    TQelDeviceContext* dc = ws->CreateMemoryDC(width, height);
    memoryDCs.push_back(dc);
    PIXELFORMATDESCRIPTOR request = BitmapRequest();
    EXPECT_TRUE(ws->SetPixelFormat(dc, ws->ChoosePixelFormat(dc, request), request));
    return dc;
  }

  TQelRenderContext* Context(TQelDeviceContext* dc, TQelRenderContext* share = nullptr) {
    TQelRenderContext* rc = ws->CreateContext(dc, share);
    contexts.push_back(rc);
    return rc;
  }

  // A display list holding one colour, made in the current context.
  static GLuint MakeList() {
    GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    glColor3f(1, 0, 0);
    glEndList();
    return list;
  }

  TQelWindowSystem* ws = nullptr;
  std::vector<TQelWindow*> windows;
  std::vector<TQelDeviceContext*> memoryDCs;
  std::vector<TQelRenderContext*> contexts;
};

}  // namespace

TEST_F(WindowSystem, FormatsAreTheRealGLConfigurations) {
  TQelWindow* w = ws->CreateWindow(32, 32, "formats", nullptr);
  windows.push_back(w);
  TQelDeviceContext* dc = ws->GetDC(w);
  ASSERT_NE(dc, nullptr);
  EXPECT_EQ(ws->GetDC(w), dc);  // a window keeps its own device context
  PIXELFORMATDESCRIPTOR first{};
  const int count = ws->DescribePixelFormat(dc, 1, &first);
  ASSERT_GT(count, 0);
  TPixelFormatDescriptorArray list = ws->GetPixelFormatList(dc);
  ASSERT_EQ(static_cast<int>(list.size()), count);
  EXPECT_EQ(ws->DescribePixelFormat(dc, count + 1, nullptr), 0);
  EXPECT_EQ(ws->DescribePixelFormat(dc, 0, nullptr), 0);

  bool trueColourWithStencil = false;
  for (const PIXELFORMATDESCRIPTOR& f : list) {
    EXPECT_EQ(f.nSize, 40);
    EXPECT_EQ(f.nVersion, 1);
    EXPECT_TRUE(f.dwFlags & PFD_SUPPORT_OPENGL);
    EXPECT_TRUE(f.dwFlags & PFD_DRAW_TO_WINDOW);
    EXPECT_EQ(f.iPixelType, PFD_TYPE_RGBA);
    EXPECT_EQ(f.cColorBits, f.cRedBits + f.cGreenBits + f.cBlueBits);
    EXPECT_EQ(f.cRedShift, f.cGreenBits + f.cBlueBits);
    EXPECT_GE(f.cRedBits, 5);
    if (f.cRedBits == 8 && f.cDepthBits >= 24 && f.cStencilBits >= 8) trueColourWithStencil = true;
  }
  EXPECT_TRUE(trueColourWithStencil);
  TQelLogPalette palette;
  EXPECT_FALSE(CreateRGBPalette(first, palette));  // no palette formats here
}

TEST_F(WindowSystem, ChosenFormatIsWhatGLRendersWith) {
  TQelWindow* w = ws->CreateWindow(40, 30, "choose", nullptr);
  windows.push_back(w);
  TQelDeviceContext* dc = ws->GetDC(w);
  const PIXELFORMATDESCRIPTOR request = WindowRequest();
  const int format = ws->ChoosePixelFormat(dc, request);
  ASSERT_GT(format, 0);
  PIXELFORMATDESCRIPTOR chosen{};
  ws->DescribePixelFormat(dc, format, &chosen);
  EXPECT_GE(chosen.cStencilBits, 1);
  EXPECT_EQ(chosen.cColorBits, 24);

  EXPECT_EQ(ws->CreateContext(dc), nullptr);  // no format yet
  EXPECT_EQ(ws->GetPixelFormat(dc), 0);
  ASSERT_TRUE(ws->SetPixelFormat(dc, format, request));
  EXPECT_EQ(ws->GetPixelFormat(dc), format);
  EXPECT_TRUE(ws->SetPixelFormat(dc, format, request));  // the same again is fine
  const int other = format == 1 ? 2 : 1;
  EXPECT_FALSE(ws->SetPixelFormat(dc, other, request));  // once only
  EXPECT_FALSE(ws->GetLastError().empty());

  TQelRenderContext* rc = Context(dc);
  ASSERT_NE(rc, nullptr);
  EXPECT_EQ(ws->GetCurrentContext(), nullptr);
  ASSERT_TRUE(ws->MakeCurrent(dc, rc));
  EXPECT_EQ(ws->GetCurrentContext(), rc);
  EXPECT_EQ(ws->GetCurrentDC(), dc);
  GLint red = 0, depth = 0, stencil = 0, viewport[4] = {};
  glGetIntegerv(GL_RED_BITS, &red);
  glGetIntegerv(GL_DEPTH_BITS, &depth);
  glGetIntegerv(GL_STENCIL_BITS, &stencil);
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(red, chosen.cRedBits);
  EXPECT_EQ(depth, chosen.cDepthBits);
  EXPECT_EQ(stencil, chosen.cStencilBits);
  EXPECT_EQ(viewport[2], 40);
  EXPECT_EQ(viewport[3], 30);
  int width = 0, height = 0;
  EXPECT_TRUE(ws->GetClientSize(w, width, height));
  EXPECT_EQ(width, 40);
  EXPECT_EQ(height, 30);
  EXPECT_TRUE(ws->SwapBuffers(dc));
  ws->ReleaseCurrent();
  EXPECT_EQ(ws->GetCurrentContext(), nullptr);
  EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
}

TEST_F(WindowSystem, ContextsShareDisplayListsWithTheFirst) {
  TQelDeviceContext* dc1 = Window(16, 16);
  TQelDeviceContext* dc2 = Window(16, 16);
  TQelDeviceContext* dc3 = Window(16, 16);
  TQelRenderContext* first = Context(dc1);
  TQelRenderContext* joined = Context(dc2);  // made alone, joined later
  TQelRenderContext* madeShared = Context(dc3, first);
  std::vector<std::string> calls;
  ws->OnCall = [&](const std::string& op) { calls.push_back(op); };

  EXPECT_TRUE(ws->SharesLists(first, madeShared));
  EXPECT_FALSE(ws->SharesLists(first, joined));
  EXPECT_TRUE(ws->ShareLists(first, joined));
  EXPECT_TRUE(ws->SharesLists(first, joined));
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "ShareLists"), 1);

  ASSERT_TRUE(ws->MakeCurrent(dc1, first));
  const GLuint list = MakeList();
  ASSERT_TRUE(glIsList(list));
  ASSERT_TRUE(ws->MakeCurrent(dc2, joined));
  EXPECT_TRUE(glIsList(list));
  ASSERT_TRUE(ws->MakeCurrent(dc3, madeShared));
  EXPECT_TRUE(glIsList(list));
}

TEST_F(WindowSystem, AContextWithListsOfItsOwnCannotJoin) {
  TQelDeviceContext* dc1 = Window(16, 16);
  TQelDeviceContext* dc2 = Window(16, 16);
  TQelRenderContext* first = Context(dc1);
  TQelRenderContext* other = Context(dc2);
  ASSERT_TRUE(ws->MakeCurrent(dc2, other));
  ws->ReleaseCurrent();
  EXPECT_FALSE(ws->ShareLists(first, other));
  ASSERT_TRUE(ws->MakeCurrent(dc1, first));
  const GLuint list = MakeList();
  ASSERT_TRUE(ws->MakeCurrent(dc2, other));
  EXPECT_FALSE(glIsList(list));
}

TEST_F(WindowSystem, RenderingIntoAMemoryBitmap) {
  TQelDeviceContext* window = Window(16, 16);
  TQelRenderContext* windowContext = Context(window);
  ASSERT_TRUE(ws->MakeCurrent(window, windowContext));
  const GLuint list = MakeList();

  // A bitmap of 24 by 10 pixels, sharing the window's lists.
  TQelDeviceContext* memory = MemoryDC(24, 10);
  int width = 0, height = 0;
  ASSERT_TRUE(ws->GetDCSize(memory, width, height));
  EXPECT_EQ(width, 24);
  EXPECT_EQ(height, 10);
  TQelRenderContext* rc = Context(memory);
  ASSERT_TRUE(ws->ShareLists(windowContext, rc));
  ASSERT_TRUE(ws->MakeCurrent(memory, rc));
  EXPECT_TRUE(glIsList(list));
  // Blue everywhere, the top three rows green, the left four columns red.
  glClearColor(0, 0, 1, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glEnable(GL_SCISSOR_TEST);
  glScissor(0, 7, 24, 3);
  glClearColor(0, 1, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glScissor(0, 0, 4, 10);
  glClearColor(1, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glDisable(GL_SCISSOR_TEST);

  for (TPixelFormat format : {pf24bit, pf32bit}) {
    TBitmap bitmap(24, 10, format);
    int changes = 0;
    bitmap.OnChange = [&](TObject*) { ++changes; };
    ASSERT_TRUE(ws->CopyToBitmap(memory, bitmap));
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(bitmap.GetPixel(10, 0), 0x0000FF00u);  // green at the top
    EXPECT_EQ(bitmap.GetPixel(10, 2), 0x0000FF00u);
    EXPECT_EQ(bitmap.GetPixel(10, 3), 0x00FF0000u);  // blue below
    EXPECT_EQ(bitmap.GetPixel(23, 9), 0x00FF0000u);
    EXPECT_EQ(bitmap.GetPixel(3, 9), 0x000000FFu);  // red on the left
    EXPECT_EQ(bitmap.GetPixel(4, 9), 0x00FF0000u);
  }
  // A smaller bitmap takes the top-left part.
  TBitmap small(5, 4, pf24bit);
  ASSERT_TRUE(ws->CopyToBitmap(memory, small));
  EXPECT_EQ(small.GetPixel(4, 0), 0x0000FF00u);
  EXPECT_EQ(small.GetPixel(3, 3), 0x000000FFu);
  EXPECT_EQ(small.GetPixel(4, 3), 0x00FF0000u);

  // Only the device context whose context is current can be read.
  EXPECT_FALSE(ws->CopyToBitmap(window, small));
  ws->ReleaseCurrent();
  EXPECT_FALSE(ws->CopyToBitmap(memory, small));
}

TEST_F(WindowSystem, ResizingKeepsTheContextCurrentOnTheNewSize) {
  PaintLog log;
  TQelDeviceContext* dc = Window(20, 20, &log);
  TQelWindow* w = windows.back();
  TQelRenderContext* rc = Context(dc);
  ASSERT_TRUE(ws->MakeCurrent(dc, rc));
  ws->SetClientSize(w, 50, 30);
  ASSERT_EQ(log.sizes.size(), 1u);
  EXPECT_EQ(log.sizes[0], std::make_pair(50, 30));
  EXPECT_EQ(ws->GetCurrentContext(), rc);
  glViewport(0, 0, 50, 30);
  glClearColor(1, 1, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  TBitmap shot(50, 30);
  ASSERT_TRUE(ws->CopyToBitmap(dc, shot));
  EXPECT_EQ(shot.GetPixel(49, 29), 0x0000FFFFu);
  ws->SetClientSize(w, 50, 30);  // unchanged: no event
  EXPECT_EQ(log.sizes.size(), 1u);
}

TEST_F(WindowSystem, InvalidatingRequestsOnePaint) {
  PaintLog log;
  TQelWindow* w = ws->CreateWindow(8, 8, "paint", &log);
  windows.push_back(w);
  ws->ProcessMessages();
  EXPECT_EQ(log.paints, 0);
  ws->Invalidate(w);
  ws->Invalidate(w);
  ws->WaitMessages(5.0);  // returns at once: a paint is due
  EXPECT_EQ(log.paints, 1);
  ws->ProcessMessages();
  EXPECT_EQ(log.paints, 1);
}

TEST_F(WindowSystem, InjectedFailuresGiveTheViewsMessages) {
  // The steps of connecting a view, raising as the view does.
  auto connect = [this]() {
    TQelWindow* w = ws->CreateWindow(8, 8, "fail", nullptr);
    windows.push_back(w);
    TQelDeviceContext* dc = ws->GetDC(w);
    if (!dc) throw EQelError(SQelGetDCFailed);
    PIXELFORMATDESCRIPTOR request = WindowRequest();
    ws->SetPixelFormat(dc, ws->ChoosePixelFormat(dc, request), request);
    TQelRenderContext* rc = ws->CreateContext(dc);
    if (!rc) throw EQelError(SQelCreateContextFailed);
    contexts.push_back(rc);
    if (!ws->MakeCurrent(dc, rc)) throw EQelError(SQelMakeCurrentFailed);
  };
  auto message = [&](TQelWindowSystemFailures failures) -> std::string {
    ws->SetFailures(failures);
    try {
      connect();
    } catch (const EQelError& e) {
      return e.what();
    }
    return "";
  };
  EXPECT_EQ(message({wfGetDC}), "Call to OpenGL function GetDC() failed.");
  EXPECT_EQ(message({wfCreateContext}), "Call to OpenGL function wglCreateContext() failed.");
  EXPECT_EQ(message({wfMakeCurrent}), "Call to OpenGL function wglMakeCurrent() failed.");
  EXPECT_EQ(message({}), "");
  // Releasing never fails.
  ws->SetFailures({wfMakeCurrent});
  EXPECT_TRUE(ws->MakeCurrent(nullptr, nullptr));
}

TEST_F(WindowSystem, StaleHandlesFailInsteadOfCrashing) {
  TQelDeviceContext* dc = Window(8, 8);
  TQelWindow* w = windows.back();
  TQelRenderContext* rc = Context(dc);
  ASSERT_TRUE(ws->MakeCurrent(dc, rc));
  ws->DestroyWindow(w);
  windows.pop_back();
  EXPECT_EQ(ws->GetCurrentContext(), nullptr);  // released with its window
  EXPECT_EQ(ws->GetDC(w), nullptr);
  EXPECT_FALSE(ws->MakeCurrent(dc, rc));
  EXPECT_FALSE(ws->SwapBuffers(dc));
  EXPECT_EQ(ws->DescribePixelFormat(dc, 1, nullptr), 0);
  ws->Invalidate(w);
  ws->SetClientSize(w, 3, 3);

  // The context outlives its window and draws on another of its format.
  TQelDeviceContext* other = Window(8, 8);
  EXPECT_TRUE(ws->MakeCurrent(other, rc));
  ASSERT_TRUE(ws->DeleteContext(rc));
  contexts.clear();
  EXPECT_EQ(ws->GetCurrentContext(), nullptr);
  EXPECT_FALSE(ws->DeleteContext(rc));
  EXPECT_FALSE(ws->MakeCurrent(other, rc));
  EXPECT_EQ(ws->CreateContext(nullptr), nullptr);
  EXPECT_EQ(ws->CreateMemoryDC(0, 5), nullptr);
}

TEST_F(WindowSystem, ForeignContextsAreNotReportedAsCurrent) {
  TQelDeviceContext* dc = Window(8, 8);
  TQelRenderContext* rc = Context(dc);
  ASSERT_TRUE(ws->MakeCurrent(dc, rc));
  {
    TQelOffscreenContext foreign(8, 8);
    ASSERT_TRUE(foreign.MakeCurrent());
    EXPECT_EQ(ws->GetCurrentContext(), nullptr);
  }
}

TEST(WindowSystemChoice, HeadlessWithoutADisplay) {
  QelSetWindowSystem(nullptr);
  if (QelGLFWWindowSystem()) GTEST_SKIP() << "a display is available";
  EXPECT_EQ(QelWindowSystem(), QelEGLWindowSystem());
  EXPECT_STREQ(QelWindowSystem()->GetName(), "EGL offscreen");
}
