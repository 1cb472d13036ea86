#include "qelapplication.h"

#include <chrono>
#include <thread>

namespace {

using TSteady = std::chrono::steady_clock;
constexpr int64_t kSteadyFrequency = TSteady::period::den / TSteady::period::num;
static_assert(TSteady::period::num == 1, "the steady clock ticks in fractions of a second");

}  // namespace

TQelApplication::TQelApplication() : frequency_(kSteadyFrequency) {}

int64_t TQelApplication::GetCounter() const {
  if (counter_) return counter_();
  return TSteady::now().time_since_epoch().count();
}

void TQelApplication::SetClock(TQelCounterFunction Counter, int64_t Frequency) {
  if (!Counter || Frequency < 1) {
    counter_ = nullptr;
    frequency_ = kSteadyFrequency;
    return;
  }
  counter_ = std::move(Counter);
  frequency_ = Frequency;
}

bool TQelApplication::Idle() {
  bool done = true;
  if (OnIdle && !inIdle_) {
    // The handler may replace or clear OnIdle (a timer freed in its own
    // event gives the hook up): run a copy, not the slot itself.
    const TIdleEvent handler = OnIdle;
    struct TReentry {
      bool& flag;
      ~TReentry() { flag = false; }
    } reentry{inIdle_};
    inIdle_ = true;
    handler(this, done);
  }
  return done;
}

void TQelApplication::RunIdle(const std::function<bool()>& Until) {
  while (!Until()) {
    if (Idle()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

TQelApplication* QelApplication() {
  static TQelApplication application;
  return &application;
}
