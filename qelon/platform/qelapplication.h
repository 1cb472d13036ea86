#pragma once
// The application object, one per process: the idle hook that animation
// runs on, whether the application is the active one, and the
// high-resolution clock animation reads. Everything runs on the GUI thread.
#include <cstdint>
#include <functional>

#include "qelcomponent.h"

// Called when the message loop has nothing to deliver. Done comes in true;
// a handler that still has work clears it, and the loop then keeps polling
// instead of waiting for the next message.
using TIdleEvent = std::function<void(TObject* Sender, bool& Done)>;
// Ticks of a monotonic counter since an arbitrary start.
using TQelCounterFunction = std::function<int64_t()>;

class TQelApplication : public TObject {
  QEL_CLASS(TQelApplication)
public:
  TQelApplication();
  TQelApplication(const TQelApplication&) = delete;
  TQelApplication& operator=(const TQelApplication&) = delete;

  // One slot, as the idle event of a component framework has: whoever
  // installs a handler owns the idle processing until it removes it.
  TIdleEvent OnIdle;

  // Whether one of the application's windows has the input focus. True
  // until a window reports losing it (headless, nothing ever does).
  bool GetActive() const { return active_; }
  void SetActive(bool Value) { active_ = Value; }

  // The clock: GetCounter ticks, GetCounterFrequency ticks per second.
  int64_t GetCounter() const;
  int64_t GetCounterFrequency() const { return frequency_; }
  // Replaces the clock (tests drive animation with a hand-set time); a null
  // counter or a frequency below 1 returns to the steady clock.
  void SetClock(TQelCounterFunction Counter, int64_t Frequency);

  // Runs OnIdle once and returns its Done: true when nothing is left to do,
  // so that the loop may wait for messages. A handler that runs the message
  // loop itself does not reach OnIdle again (the nested call returns true).
  bool Idle();
  // The headless loop: calls Idle until Until returns true (checked before
  // every call), resting a millisecond whenever the hook is done.
  void RunIdle(const std::function<bool()>& Until);

private:
  bool active_ = true;
  bool inIdle_ = false;
  TQelCounterFunction counter_;
  int64_t frequency_;
};

// The process's application object.
TQelApplication* QelApplication();
