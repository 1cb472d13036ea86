#include "qeltimer.h"

#include <algorithm>
#include <limits>

#include "qelon/platform/qelapplication.h"

namespace {

// num / den rounded to the nearest integer, ties to even (num >= 0, den > 0).
int64_t RoundDiv(__int128 num, __int128 den) {
  __int128 q = num / den;
  const __int128 twice = 2 * (num % den);
  if (twice > den || (twice == den && (q & 1))) ++q;
  return static_cast<int64_t>(q);
}

// The application's idle handler while a timer holds it; does nothing once
// the timer is gone, wherever the handler was copied to.
struct TIdleLink {
  TQelTimer* timer;
  TQelLifeRef life;
  void operator()(TObject* Sender, bool& Done) const {
    if (!life.expired()) timer->DoIdle(Sender, Done);
  }
};

}  // namespace

TQelTimer::TQelTimer(TComponent* AOwner) : TComponent(AOwner) {
  TQelApplication* application = QelApplication();
  frequency_ = application->GetCounterFrequency();
  intervalTicks_ = std::max<int64_t>(RoundDiv(__int128(intervall_) * frequency_, 1000), 1);
  lastFire_ = application->GetCounter();
  SetIdle();
}

TQelTimer::~TQelTimer() {
  life_.End();
  DelIdle();
  // The chained timers keep running: they join this timer's parent, or the
  // first of them heads the chain and takes the idle hook.
  TQelTimer* heir = parent_;
  Leave();
  std::vector<TQelTimer*> orphans;
  orphans.swap(children_);
  for (TQelTimer* child : orphans) {
    child->parent_ = nullptr;
    if (heir) {
      child->Join(heir);
    } else {
      heir = child;
      child->SetIdle();
    }
  }
}

void TQelTimer::SetIntervall(int32_t Value) {
  if (Value < 1 || Value > 3600000) return;
  intervall_ = Value;
  rate_ = static_cast<int32_t>(RoundDiv(1000, Value));
  intervalTicks_ = std::max<int64_t>(RoundDiv(__int128(Value) * frequency_, 1000), 1);
}

void TQelTimer::SetRate(int32_t Value) {
  if (Value < 1 || Value > 10000) return;
  rate_ = Value;
  intervall_ = static_cast<int32_t>(RoundDiv(1000, Value));
  intervalTicks_ = std::max<int64_t>(RoundDiv(frequency_, Value), 1);
}

void TQelTimer::SetParent(TQelTimer* Value) {
  TQelTimer* head = Value;
  if (head) {
    while (head != this && head->parent_) head = head->parent_;
    if (head == this) return;
  }
  if (head == parent_) return;
  Leave();
  DelIdle();
  if (head) Join(head);
}

void TQelTimer::Join(TQelTimer* parent) {
  parent_ = parent;
  parent->children_.push_back(this);
}

void TQelTimer::Leave() {
  if (!parent_) return;
  std::erase(parent_->children_, this);
  parent_ = nullptr;
}

void TQelTimer::Reset() { lastFire_ = QelApplication()->GetCounter(); }

void TQelTimer::Start() { starts_.push_back(QelApplication()->GetCounter()); }

double TQelTimer::Stop() {
  if (starts_.empty()) return -1.0;
  const int64_t start = starts_.back();
  starts_.pop_back();
  return static_cast<double>(QelApplication()->GetCounter() - start) / static_cast<double>(frequency_);
}

void TQelTimer::SetIdle() {
  TQelApplication* application = QelApplication();
  if (application->OnIdle) return;
  application->OnIdle = TIdleLink{this, life_.Ref()};
  idleInstalled_ = true;
}

void TQelTimer::DelIdle() {
  if (!idleInstalled_) return;
  idleInstalled_ = false;
  TQelApplication* application = QelApplication();
  // Someone may have put a handler of their own in the slot since.
  const TIdleLink* link = application->OnIdle.target<TIdleLink>();
  if (link && link->timer == this) application->OnIdle = nullptr;
}

void TQelTimer::DoIdle(TObject* Sender, bool& Done) {
  // Event handlers may free or rechain any timer of the chain, this one
  // included: the turn goes by the chain as it was when the turn began,
  // asking each timer's life before running it.
  std::vector<TChained> turn;
  CollectChain(turn);
  TQelApplication* application = QelApplication();
  // Every timer of the chain runs, whatever the ones before it answered.
  for (const TChained& c : turn)
    if (!c.life.expired()) Done = c.timer->DoTimer(application->GetCounter()) && Done;
}

void TQelTimer::CollectChain(std::vector<TChained>& turn) const {
  turn.push_back({const_cast<TQelTimer*>(this), life_.Ref()});
  for (const TQelTimer* child : children_) child->CollectChain(turn);
}

bool TQelTimer::DoTimer(int64_t Now) {
  if (!enabled_) return true;
  if (activeOnly_ && !QelApplication()->GetActive()) return true;
  int32_t count = 0;
  const int64_t elapsed = Now - lastFire_;
  if (elapsed > intervalTicks_) {
    ++firedCount_;
    count = static_cast<int32_t>(
        std::min<int64_t>(elapsed / intervalTicks_, std::numeric_limits<int32_t>::max()));
    // Back to the last point of the interval grid, so that the phase holds.
    lastFire_ = Now - elapsed % intervalTicks_;
  }
  const int64_t sinceMeasure = Now - lastMeasure_;
  if (sinceMeasure > frequency_) {
    measuredRate_ = static_cast<int32_t>(RoundDiv(__int128(firedCount_) * frequency_, sinceMeasure));
    firedCount_ = 0;
    lastMeasure_ = Now;
  }
  // The event comes last: its handler may free this timer. It runs from a
  // copy, which outlives the timer's own slot.
  if (count > 0 && OnTimer) {
    const TQelTimerEvent handler = OnTimer;
    handler(this, count);
  }
  return false;
}
