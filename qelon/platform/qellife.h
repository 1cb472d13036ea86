#pragma once
// Life tokens and the change links built on them. Handlers are copied on
// purpose (a property's Assign takes over its source's OnChange), so a
// handler that calls into an object may outlive it; a link asks the
// object's life first.
#include <cstdint>
#include <type_traits>

class TObject;

// A weak reference to an object's life: a slot of the process-wide life
// table and the generation the slot had when the reference was taken. The
// slot's generation moves on when the life ends, so the reference expires
// without holding memory of its own and is copied like two integers. Like
// the rest of the library, lives are made and ended on one thread.
class TQelLifeRef {
public:
  TQelLifeRef() = default;  // refers to no life: expired
  bool expired() const;

private:
  friend class TQelLife;
  TQelLifeRef(uint32_t slot, uint32_t generation) : slot_(slot), generation_(generation) {}
  uint32_t slot_ = 0;
  uint32_t generation_ = 0;
};

// The life of the object holding it: from construction to destruction, or
// to End when the object must be taken for dead earlier. A copy would be
// another object's life, so it cannot be copied.
class TQelLife {
public:
  TQelLife();
  ~TQelLife() { End(); }
  TQelLife(const TQelLife&) = delete;
  TQelLife& operator=(const TQelLife&) = delete;

  TQelLifeRef Ref() const;
  // Expires every reference now; later calls do nothing.
  void End();

private:
  uint32_t slot_ = 0;
};

// The one way the library wires a part's or an item's OnChange to the
// object it reports to: calls (target->*Handler)(Sender) while the target's
// life lasts, and nothing afterwards, wherever the handler was copied to.
// Small and trivially copyable, so a TNotifyEvent holds it in place: wiring
// allocates nothing.
template <class T, void (T::*Handler)(TObject*) = &T::SubChange>
struct TQelChangeLink {
  T* target;
  TQelLifeRef life;
  void operator()(TObject* Sender) const {
    if (!life.expired()) (target->*Handler)(Sender);
  }
};
static_assert(std::is_trivially_copyable_v<TQelLifeRef> && sizeof(TQelLifeRef) == 8);
