// The application object: its clock against real time, and its idle hook
// as the message loops of both window-system backends run it (the GLFW
// cases need a display; CTest runs them under xvfb-run when it can).
#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <chrono>
#include <thread>

namespace {

using TSeconds = std::chrono::duration<double>;

TEST(Application, TheDefaultClockMeasuresRealTime) {
  TQelApplication* app = QelApplication();
  const int64_t before = app->GetCounter();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const double seconds = double(app->GetCounter() - before) / double(app->GetCounterFrequency());
  EXPECT_GE(seconds, 0.019);
  EXPECT_LT(seconds, 2.0);
}

TEST(Application, RunIdleCallsTheHookUntilToldToStop) {
  TQelApplication* app = QelApplication();
  int calls = 0;
  app->OnIdle = [&calls](TObject* sender, bool& done) {
    EXPECT_EQ(sender, QelApplication());
    EXPECT_TRUE(done);
    ++calls;
    // Nested idle processing does not reach the hook again.
    EXPECT_TRUE(QelApplication()->Idle());
    done = false;
  };
  app->RunIdle([&calls] { return calls == 5; });
  EXPECT_EQ(calls, 5);
  app->OnIdle = nullptr;
  EXPECT_TRUE(app->Idle());
}

// Which backend a case runs on.
enum TBackend { bkHeadless, bkGLFW };

class IdleLoop : public ::testing::TestWithParam<TBackend> {
protected:
  void SetUp() override {
    ws = GetParam() == bkGLFW ? QelGLFWWindowSystem() : QelEGLWindowSystem();
    if (!ws) GTEST_SKIP() << "no display";
  }
  void TearDown() override { QelApplication()->OnIdle = nullptr; }

  // Seconds that turns of WaitMessages(timeout) take.
  double Turns(int turns, double timeout) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < turns; ++i) ws->WaitMessages(timeout);
    return TSeconds(std::chrono::steady_clock::now() - start).count();
  }

  TQelWindowSystem* ws = nullptr;
};

TEST_P(IdleLoop, AHookWithWorkLeftIsPolledAndOneWithoutLetsTheLoopWait) {
  struct Case {
    bool workLeft;
    double timeout;
    double atLeast, below;  // seconds for three turns
  };
  const Case cases[] = {{true, 5.0, 0.0, 2.0}, {false, 0.05, 0.14, 2.0}};
  for (const Case& c : cases) {
    int calls = 0;
    QelApplication()->OnIdle = [&](TObject*, bool& done) {
      ++calls;
      done = !c.workLeft;
    };
    const double seconds = Turns(3, c.timeout);
    EXPECT_EQ(calls, 3) << "work left: " << c.workLeft;
    // A late event of an earlier window may end a GLFW wait early.
    if (GetParam() == bkHeadless) EXPECT_GE(seconds, c.atLeast) << "work left: " << c.workLeft;
    EXPECT_LT(seconds, c.below) << "work left: " << c.workLeft;
  }
}

INSTANTIATE_TEST_SUITE_P(Headless, IdleLoop, ::testing::Values(bkHeadless));
INSTANTIATE_TEST_SUITE_P(GLFW, IdleLoop, ::testing::Values(bkGLFW));

}  // namespace
