// The GLFW backend and its input mapping. The window tests need a display
// (CTest runs them under xvfb-run when it is installed) and skip without one.
#include <GL/gl.h>
#include <gtest/gtest.h>
#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include <qelon/qelon.h>

#include <vector>

TEST(GLFWInput, KeysMapToVirtualKeys) {
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_LEFT), 37);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_UP), 38);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_RIGHT), 39);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_DOWN), 40);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_PAGE_UP), 33);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_PAGE_DOWN), 34);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_END), 35);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_HOME), 36);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_A), 'A');
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_R), 82);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_Z), 90);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_0), 48);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_9), 57);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_F1), 112);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_F12), 123);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_ESCAPE), 27);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_ENTER), 13);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_KP_ENTER), 13);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_SPACE), 32);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_KP_7), 103);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_RIGHT_SHIFT), VK_SHIFT);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_DELETE), 46);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_UNKNOWN), 0);
  EXPECT_EQ(QelGLFWKeyToVirtualKey(GLFW_KEY_WORLD_1), 0);
}

TEST(GLFWInput, ModifiersAndButtonsMakeTheShiftState) {
  EXPECT_EQ(QelGLFWShiftState(GLFW_MOD_SHIFT | GLFW_MOD_CONTROL, true, false, false),
            (TShiftState{ssShift, ssCtrl, ssLeft}));
  EXPECT_EQ(QelGLFWShiftState(GLFW_MOD_ALT | GLFW_MOD_SUPER, false, true, true),
            (TShiftState{ssAlt, ssRight, ssMiddle}));
  EXPECT_TRUE(QelGLFWShiftState(0, false, false, false).Empty());
}

namespace {

PIXELFORMATDESCRIPTOR Request(uint32_t flags) {
  PIXELFORMATDESCRIPTOR r = QelEmptyPixelFormat();
  r.dwFlags = flags;
  r.cColorBits = 24;
  r.cDepthBits = 32;
  r.cStencilBits = 1;
  return r;
}

struct Events : IQelWindowEvents {
  int paints = 0;
  std::vector<std::pair<int, int>> sizes;
  void WindowPaint() override { ++paints; }
  void WindowResize(int w, int h) override { sizes.emplace_back(w, h); }
};

class GLFWWindows : public ::testing::Test {
protected:
  void SetUp() override {
    ws = QelGLFWWindowSystem();
    if (!ws) GTEST_SKIP() << "no display";
  }
  void TearDown() override {
    if (!ws) return;
    ws->ReleaseCurrent();
    for (TQelRenderContext* rc : contexts) ws->DeleteContext(rc);
    for (TQelDeviceContext* dc : memoryDCs) ws->DeleteDC(dc);
    for (TQelWindow* w : windows) ws->DestroyWindow(w);
  }

  TQelDeviceContext* Connect(TQelWindow*& window, int width, int height, IQelWindowEvents* events,
                             TQelRenderContext*& rc) {
    window = ws->CreateWindow(width, height, "qelon test", events);
    windows.push_back(window);
    TQelDeviceContext* dc = ws->GetDC(window);
    const PIXELFORMATDESCRIPTOR request = Request(0x425);
    EXPECT_TRUE(ws->SetPixelFormat(dc, ws->ChoosePixelFormat(dc, request), request));
    rc = ws->CreateContext(dc);
    contexts.push_back(rc);
    return dc;
  }

  TQelWindowSystem* ws = nullptr;
  std::vector<TQelWindow*> windows;
  std::vector<TQelDeviceContext*> memoryDCs;
  std::vector<TQelRenderContext*> contexts;
};

}  // namespace

TEST_F(GLFWWindows, WindowRendersWithTheChosenFormat) {
  EXPECT_STREQ(ws->GetName(), "GLFW");
  EXPECT_EQ(QelWindowSystem(), ws);  // the default where there is a display
  Events events;
  TQelWindow* window = nullptr;
  TQelRenderContext* rc = nullptr;
  TQelDeviceContext* dc = Connect(window, 64, 48, &events, rc);
  ASSERT_NE(rc, nullptr) << ws->GetLastError();
  EXPECT_EQ(ws->CreateContext(dc), nullptr);  // one per window
  ASSERT_TRUE(ws->MakeCurrent(dc, rc));
  EXPECT_EQ(ws->GetCurrentContext(), rc);
  GLint stencil = 0, doubleBuffer = 0;
  glGetIntegerv(GL_STENCIL_BITS, &stencil);
  glGetIntegerv(GL_DOUBLEBUFFER, &doubleBuffer);
  EXPECT_GE(stencil, 1);
  EXPECT_TRUE(doubleBuffer);
  glViewport(0, 0, 64, 48);
  glClearColor(1, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  TBitmap shot(64, 48);
  ASSERT_TRUE(ws->CopyToBitmap(dc, shot));  // the back buffer, before the swap
  EXPECT_EQ(shot.GetPixel(63, 47), 0x000000FFu);
  EXPECT_TRUE(ws->SwapBuffers(dc));

  ws->SetClientSize(window, 80, 40);
  ASSERT_FALSE(events.sizes.empty());
  EXPECT_EQ(events.sizes.back(), std::make_pair(80, 40));
  ws->Invalidate(window);
  ws->ProcessMessages();
  EXPECT_GE(events.paints, 1);
  int width = 0, height = 0;
  ws->GetClientSize(window, width, height);
  EXPECT_EQ(width, 80);
  EXPECT_EQ(height, 40);
}

TEST_F(GLFWWindows, WindowsAndBitmapsShareDisplayLists) {
  TQelWindow* w1 = nullptr;
  TQelWindow* w2 = nullptr;
  TQelRenderContext* first = nullptr;
  TQelRenderContext* second = nullptr;
  TQelDeviceContext* dc1 = Connect(w1, 32, 32, nullptr, first);
  TQelDeviceContext* dc2 = Connect(w2, 32, 32, nullptr, second);
  ASSERT_TRUE(first && second);
  ASSERT_TRUE(ws->ShareLists(first, second));  // remade in first's group
  ASSERT_TRUE(ws->MakeCurrent(dc1, first));
  const GLuint list = glGenLists(1);
  glNewList(list, GL_COMPILE);
  glColor3f(0, 1, 0);
  glEndList();
  ASSERT_TRUE(ws->MakeCurrent(dc2, second));
  EXPECT_TRUE(glIsList(list));

  // A bitmap: a hidden context drawing into a framebuffer object.
  TQelDeviceContext* memory = ws->CreateMemoryDC(20, 10);
  memoryDCs.push_back(memory);
  const PIXELFORMATDESCRIPTOR request = Request(0x3C);
  ASSERT_TRUE(ws->SetPixelFormat(memory, ws->ChoosePixelFormat(memory, request), request));
  TQelRenderContext* rc = ws->CreateContext(memory, first);
  contexts.push_back(rc);
  ASSERT_NE(rc, nullptr) << ws->GetLastError();
  ASSERT_TRUE(ws->MakeCurrent(memory, rc)) << ws->GetLastError();
  EXPECT_TRUE(glIsList(list));
  glClearColor(0, 0, 1, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glEnable(GL_SCISSOR_TEST);
  glScissor(0, 8, 20, 2);  // the top two rows
  glClearColor(0, 1, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glDisable(GL_SCISSOR_TEST);
  TBitmap bitmap(20, 10, pf32bit);
  ASSERT_TRUE(ws->CopyToBitmap(memory, bitmap));
  EXPECT_EQ(bitmap.GetPixel(5, 1), 0x0000FF00u);
  EXPECT_EQ(bitmap.GetPixel(5, 2), 0x00FF0000u);
  EXPECT_FALSE(ws->MakeCurrent(dc1, rc));  // a GLFW context keeps its surface
}
