// The idle-driven timer on a hand-set clock of 1000 ticks a second (one
// tick a millisecond), run through the application's idle processing as
// the message loop runs it. Expected counts and phases are worked out by
// hand from the interval grid.
#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

class Timer : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_FALSE(app->OnIdle) << "a timer of an earlier test still holds the idle hook";
    app->SetClock([this] { return now; }, 1000);
  }
  void TearDown() override {
    app->SetClock(nullptr, 0);
    app->SetActive(true);
  }
  // Moves the clock to t and lets the loop run the idle handler once.
  bool IdleAt(int64_t t) {
    now = t;
    return app->Idle();
  }
  // A timer that logs "name:count" for every event.
  std::unique_ptr<TQelTimer> Logged(const std::string& name, int32_t intervall) {
    auto timer = std::make_unique<TQelTimer>(nullptr);
    timer->SetIntervall(intervall);
    timer->OnTimer = [this, name](TObject*, int32_t count) { log.push_back(name + ":" + std::to_string(count)); };
    return timer;
  }

  TQelApplication* app = QelApplication();
  int64_t now = 0;
  std::vector<std::string> log;
};

TEST_F(Timer, IntervallAndRateKeepEachOtherAndTheirRanges) {
  struct Case {
    bool rate;  // SetRate, else SetIntervall
    int32_t value, intervall, expectedRate;
  };
  const Case cases[] = {
      {false, 0, 1000, 1}, {false, 3600001, 1000, 1}, {true, 0, 1000, 1}, {true, 10001, 1000, 1},
      {true, 3, 333, 3},   {true, 16, 62, 16},  // 62.5 to even
      {false, 400, 400, 2}, {false, 3, 3, 333}, {false, 3600000, 3600000, 0}, {true, 10000, 0, 10000},
  };
  for (const Case& c : cases) {
    TQelTimer timer(nullptr);
    c.rate ? timer.SetRate(c.value) : timer.SetIntervall(c.value);
    EXPECT_EQ(timer.GetIntervall(), c.intervall) << c.rate << " " << c.value;
    EXPECT_EQ(timer.GetRate(), c.expectedRate) << c.rate << " " << c.value;
  }
}

TEST_F(Timer, IdleGapsFireOnceWithTheWholeIntervalsAndKeepThePhase) {
  struct Step {
    int64_t at;
    int32_t count;  // 0: no event
  };
  struct Case {
    const char* what;
    int32_t intervall;
    std::vector<Step> steps;
  };
  const std::vector<Case> cases = {
      {"2.5 intervals, next half an interval on", 100, {{250, 2}, {300, 0}, {301, 1}, {401, 1}}},
      {"exactly one interval is not yet more", 100, {{100, 0}, {101, 1}, {201, 1}}},
      {"a slow frame of 10.5 intervals", 100, {{1050, 10}, {1100, 0}, {1101, 1}}},
      {"small steps stay on the grid", 100, {{60, 0}, {120, 1}, {180, 0}, {200, 0}, {201, 1}}},
      {"a third of a second", 333, {{333, 0}, {334, 1}, {666, 0}, {667, 1}, {1400, 2}}},
  };
  for (const Case& c : cases) {
    now = 0;
    TQelTimer timer(nullptr);
    timer.SetIntervall(c.intervall);
    int32_t got = 0;
    timer.OnTimer = [&got](TObject*, int32_t count) { got = count; };
    for (const Step& s : c.steps) {
      got = 0;
      EXPECT_FALSE(IdleAt(s.at)) << "an enabled timer keeps the loop busy";
      EXPECT_EQ(got, s.count) << c.what << ", at " << s.at;
    }
  }
}

TEST_F(Timer, MeasuredRateMatchesTheFiringRate) {
  struct Case {
    int32_t intervall;
    int64_t idleStep;  // ticks between idle calls
    int32_t eventsPerSecond;  // worked out by hand
  };
  // A slow loop (25 ms a turn against 10 ms intervals) fires on every turn
  // with counts of 2 and 3: 40 events a second, not 100.
  const Case cases[] = {{10, 1, 100}, {40, 1, 25}, {10, 25, 40}, {100, 7, 10}, {1, 1, 500}};
  for (const Case& c : cases) {
    now = 0;
    log.clear();
    auto timer = Logged("t", c.intervall);
    size_t atSecond3 = 0;
    for (int64_t t = c.idleStep; t <= 5000; t += c.idleStep) {
      IdleAt(t);
      if (t <= 3000) atSecond3 = log.size();
    }
    const double counted = (log.size() - atSecond3) / 2.0;  // events a second over the last two
    EXPECT_NEAR(counted, c.eventsPerSecond, 1.0) << c.intervall << "/" << c.idleStep;
    EXPECT_NEAR(timer->GetMeasuredRate(), counted, 1.0) << c.intervall << "/" << c.idleStep;
  }
}

TEST_F(Timer, OnlyTheFirstTimerOwnsTheIdleHookOthersRunChainedToIt) {
  auto a = Logged("a", 100), b = Logged("b", 100), c = Logged("c", 100), d = Logged("d", 100);
  EXPECT_TRUE(a->GetIdleInstalled());
  EXPECT_FALSE(b->GetIdleInstalled());
  IdleAt(101);
  EXPECT_EQ(log, (std::vector<std::string>{"a:1"}));

  c->SetParent(a.get());
  b->SetParent(c.get());  // joins the head of c's chain
  d->SetParent(b.get());
  EXPECT_EQ(b->GetParent(), a.get());
  EXPECT_EQ(d->GetParent(), a.get());
  a->SetParent(d.get());  // would close a cycle: refused
  a->SetParent(a.get());
  EXPECT_EQ(a->GetParent(), nullptr);
  log.clear();
  IdleAt(202);
  EXPECT_EQ(log, (std::vector<std::string>{"a:1", "c:2", "b:2", "d:2"}));

  // Detached, d is driven by no one; when the head goes, the first chained
  // timer takes over the hook and the rest.
  d->SetParent(nullptr);
  a.reset();
  EXPECT_TRUE(c->GetIdleInstalled());
  EXPECT_EQ(b->GetParent(), c.get());
  log.clear();
  IdleAt(303);
  EXPECT_EQ(log, (std::vector<std::string>{"c:1", "b:1"}));
}

TEST_F(Timer, ATimerFreedInAnEventLeavesTheChainRunning) {
  struct Case {
    const char* freer;   // whose event frees
    const char* victim;  // which timer
    std::vector<std::string> first, next;  // events of the turn, and of the next turn
  };
  const Case cases[] = {
      {"a", "a", {"a:1", "b:1", "c:1"}, {"b:1", "c:1"}},
      {"b", "b", {"a:1", "b:1", "c:1"}, {"a:1", "c:1"}},
      {"a", "c", {"a:1", "b:1"}, {"a:1", "b:1"}},
      {"b", "a", {"a:1", "b:1", "c:1"}, {"b:1", "c:1"}},
  };
  for (const Case& k : cases) {
    log.clear();
    now = 0;
    std::map<std::string, std::unique_ptr<TQelTimer>> timers;
    for (const char* name : {"a", "b", "c"}) timers[name] = Logged(name, 100);
    timers["b"]->SetParent(timers["a"].get());
    timers["c"]->SetParent(timers["a"].get());
    TQelTimerEvent logged = timers[k.freer]->OnTimer;
    timers[k.freer]->OnTimer = [&, logged](TObject* sender, int32_t count) {
      logged(sender, count);
      timers[k.victim].reset();
    };
    IdleAt(101);
    EXPECT_EQ(log, k.first) << k.freer << " frees " << k.victim;
    log.clear();
    IdleAt(202);
    EXPECT_EQ(log, k.next) << k.freer << " frees " << k.victim;
  }
}

TEST_F(Timer, DisabledOrInactiveTimersLetTheLoopWait) {
  struct Case {
    bool enabled, activeonly, active;
    bool fires;
  };
  const Case cases[] = {{true, false, false, true},  {false, false, true, false},
                        {true, true, false, false},  {true, true, true, true}};
  for (const Case& c : cases) {
    now = 0;
    log.clear();
    auto timer = Logged("t", 100);
    timer->SetEnabled(c.enabled);
    timer->SetActiveonly(c.activeonly);
    app->SetActive(c.active);
    const bool done = IdleAt(150);
    EXPECT_EQ(!log.empty(), c.fires) << c.enabled << c.activeonly << c.active;
    EXPECT_EQ(done, !c.fires) << c.enabled << c.activeonly << c.active;
  }
}

TEST_F(Timer, StopwatchStartsNest) {
  TQelTimer timer(nullptr);
  EXPECT_EQ(timer.Stop(), -1.0);
  for (int64_t t : {1000, 1100}) {
    now = t;
    timer.Start();
  }
  now = 1250;
  EXPECT_DOUBLE_EQ(timer.Stop(), 0.15);
  EXPECT_TRUE(timer.GetIsStarted());
  now = 1400;
  EXPECT_DOUBLE_EQ(timer.Stop(), 0.4);
  EXPECT_EQ(timer.Stop(), -1.0);
}

}  // namespace
