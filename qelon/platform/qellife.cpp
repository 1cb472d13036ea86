#include "qellife.h"

#include <vector>

namespace {

// Generation of each slot, and the slots free for reuse. Slot 0 is never
// handed out, so a default reference stays expired. Created on first use and
// never destroyed: objects may die after static destruction has begun.
struct TLifeTable {
  std::vector<uint32_t> generation{1};
  std::vector<uint32_t> free;
};
TLifeTable* table = nullptr;

TLifeTable& Table() {
  if (!table) table = new TLifeTable;
  return *table;
}

}  // namespace

bool TQelLifeRef::expired() const {
  return slot_ == 0 || table->generation[slot_] != generation_;
}

TQelLife::TQelLife() {
  TLifeTable& t = Table();
  if (t.free.empty()) {
    slot_ = static_cast<uint32_t>(t.generation.size());
    t.generation.push_back(0);
  } else {
    slot_ = t.free.back();
    t.free.pop_back();
  }
}

TQelLifeRef TQelLife::Ref() const {
  return slot_ ? TQelLifeRef(slot_, table->generation[slot_]) : TQelLifeRef();
}

void TQelLife::End() {
  if (!slot_) return;
  // A slot whose generation would wrap round is retired rather than reused,
  // so that no old reference can ever match a new life.
  if (++table->generation[slot_] != UINT32_MAX) table->free.push_back(slot_);
  slot_ = 0;
}
