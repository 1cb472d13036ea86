// The view on real windows (GLFW). These tests need a display: CTest runs
// them under xvfb-run when it is installed; elsewhere they skip.
#include <memory>

#include "viewtest.h"

namespace {

class GLFWView : public ::testing::Test {
protected:
  void SetUp() override {
    ws = QelGLFWWindowSystem();
    if (!ws) GTEST_SKIP() << "no display";
    QelSetWindowSystem(ws);
    ws->OnCall = nullptr;
  }
  void TearDown() override {
    // The tests' call hooks capture their locals: gone before the views go.
    if (ws) ws->OnCall = nullptr;
    views.clear();
    if (!ws) return;
    QelSetWindowSystem(nullptr);
  }
  TQelView* NewView(int width, int height) {
    views.push_back(std::make_unique<TQelView>(nullptr));
    TQelView* v = views.back().get();
    v->SetSize(width, height);
    v->SetCamera(&camera);
    v->OnRender = [this](TQelView* view) {
      ++renders;
      top.Render(view);
    };
    return v;
  }
  TQelWindowSystem* ws = nullptr;
  TQelPerspectiveCamera camera{nullptr};
  TQelNode top{nullptr};
  std::vector<std::unique_ptr<TQelView>> views;
  int renders = 0;
};

TEST_F(GLFWView, AWindowConnectsPaintsOnRequestAndRendersIntoBitmaps) {
  auto* dot = new TDots(&top, {{0, 0, 0}}, 9);
  dot->GetColor()->SetColor(RGB(255, 255, 0));
  top.Add(dot);
  top.SetCached(true);
  camera.TurnAt({0, 0, 5}, {0, 0, 0});
  TQelView* view = NewView(120, 80);
  view->SetBackgroundColor(RGB(0, 0, 128));
  int swaps = 0;
  ws->OnCall = [&](const std::string& op) { swaps += op == "SwapBuffers"; };
  view->HandleNeeded();
  ASSERT_TRUE(view->GetActive());
  view->InvalidateGL();
  for (int i = 0; i < 20 && renders == 0; ++i) ws->WaitMessages(0.05);
  EXPECT_GE(renders, 1);
  EXPECT_GE(swaps, 1);
  EXPECT_EQ(top.GetView(), view);

  // The bitmap context shares the window's lists: the cached dot replays.
  TBitmap image(120, 80);
  ASSERT_TRUE(view->GetImage(image));
  EXPECT_EQ(image.GetPixel(60, 40), RGB(255, 255, 0));
  EXPECT_EQ(image.GetPixel(5, 5), RGB(0, 0, 128));
  TQelMathVector p;
  EXPECT_TRUE(view->GetPoint(60, 40, p));
  EXPECT_NEAR(p.z, 0, 1e-2);
}

TEST_F(GLFWView, InputEntryPointsReachTheEventsAndTheSecondWindowSharesLists) {
  TQelView* first = NewView(100, 60);
  TQelView* second = NewView(100, 60);
  int shares = 0;
  ws->OnCall = [&](const std::string& op) { shares += op == "ShareLists"; };
  first->HandleNeeded();
  second->HandleNeeded();
  EXPECT_EQ(shares, 1);
  EXPECT_TRUE(ws->SharesLists(first->GetRenderContext(), second->GetRenderContext()));

  std::vector<uint16_t> keys;
  bool closed = false;
  second->OnKeyDown = [&](TObject*, uint16_t& key, TShiftState) { keys.push_back(key); };
  second->OnClose = [&](TObject*) { closed = true; };
  uint16_t key = 'Q';
  second->KeyDown(key, {});
  key = VK_ESCAPE;
  second->KeyDown(key, {ssShift});
  EXPECT_EQ(keys, (std::vector<uint16_t>{'Q', VK_ESCAPE}));
  EXPECT_FALSE(closed);
  second->SetSize(140, 70);
  for (int i = 0; i < 10; ++i) ws->WaitMessages(0.02);
  EXPECT_EQ(second->GetWidth(), 140);
}

}  // namespace
