#pragma once
// An animation timer driven by the application's idle processing and its
// high-resolution clock rather than by timer messages: while enabled it
// keeps the idle loop busy and fires OnTimer whenever at least one interval
// has passed. It also measures the rate it achieves and serves as a nestable
// stopwatch.
//
// The application has one idle slot, so only the first timer made owns it;
// further timers run by being chained to it through Parent.
#include <cstdint>
#include <functional>
#include <vector>

#include "qelon/platform/qelcomponent.h"
#include "qelon/platform/qellife.h"

// Count is the number of whole intervals that passed (more than one after a
// slow frame).
using TQelTimerEvent = std::function<void(TObject* Sender, int32_t Count)>;

class TQelTimer : public TComponent {
  QEL_CLASS(TQelTimer)
public:
  explicit TQelTimer(TComponent* AOwner);
  ~TQelTimer() override;

  bool GetEnabled() const { return enabled_; }
  void SetEnabled(bool Value) { enabled_ = Value; }
  // Fire only while the application is the active one.
  bool GetActiveonly() const { return activeOnly_; }
  void SetActiveonly(bool Value) { activeOnly_ = Value; }
  // Milliseconds, 1..3600000; other values are ignored. Also sets Rate.
  int32_t GetIntervall() const { return intervall_; }
  void SetIntervall(int32_t Value);
  // Events per second, 1..10000; other values are ignored. Also sets
  // Intervall (rounded to whole milliseconds; the timing itself uses the
  // exact fraction of a second).
  int32_t GetRate() const { return rate_; }
  void SetRate(int32_t Value);

  // The timer whose idle handler drives this one, or null. Chains resolve
  // to their head: the timer joins the top of Value's chain. Joining a
  // chain that runs through this timer is refused (it would form a cycle).
  // Joining gives up the idle hook; leaving does not take it back (SetIdle).
  TQelTimer* GetParent() const { return parent_; }
  void SetParent(TQelTimer* Value);
  // The timers chained to this one, in the order they joined.
  const std::vector<TQelTimer*>& GetChildren() const { return children_; }

  TQelTimerEvent OnTimer;

  // Starts the current interval now.
  void Reset();
  // Stopwatch: Start pushes the current time; Stop pops the latest start
  // and returns the seconds since, or -1.0 without a start.
  void Start();
  double Stop();
  bool GetIsStarted() const { return !starts_.empty(); }

  // Events per second over the last measuring period of about one second.
  int32_t GetMeasuredRate() const { return measuredRate_; }

  // Takes the application's idle hook when no one holds it.
  void SetIdle();
  // Gives the hook back when this timer holds it.
  void DelIdle();
  bool GetIdleInstalled() const { return idleInstalled_; }

  // The idle handler: runs this timer, then its chained ones in the order
  // they joined. Done stays true only when none of them has work.
  void DoIdle(TObject* Sender, bool& Done);
  // Runs the timer at counter value Now; true when it has nothing to do.
  bool DoTimer(int64_t Now);

private:
  struct TChained {
    TQelTimer* timer;
    TQelLifeRef life;
  };
  // This timer and the ones chained below it, parents first.
  void CollectChain(std::vector<TChained>& turn) const;
  void Join(TQelTimer* parent);
  void Leave();

  TQelLife life_;
  bool enabled_ = true;
  bool activeOnly_ = false;
  int32_t intervall_ = 1000;
  int32_t rate_ = 1;
  TQelTimer* parent_ = nullptr;
  std::vector<TQelTimer*> children_;
  int64_t frequency_;
  int64_t intervalTicks_;
  int64_t lastFire_;
  int64_t lastMeasure_ = 0;
  int32_t firedCount_ = 0;
  int32_t measuredRate_ = 0;
  std::vector<int64_t> starts_;
  bool idleInstalled_ = false;
};
