#include "qelselection.h"

#include <algorithm>

namespace {
// GL scales hit depths from 0..1 to the full unsigned range.
constexpr double kDepthScale = 4294967295.0;
}  // namespace

uint32_t TQelSelection::GetNames(int32_t i) const {
  return i >= 0 && i < GetCount() ? names_[static_cast<size_t>(i)] : 0;
}

int32_t TQelSelection::SetHitRecord(const uint32_t* record) {
  Clear();
  minZ_ = maxZ_ = 1.0f;
  const uint32_t n = record[0];
  if (n < 1) return 3;
  minZ_ = static_cast<float>(record[1] / kDepthScale);
  maxZ_ = static_cast<float>(record[2] / kDepthScale);
  names_.assign(record + 3, record + 3 + n);
  return static_cast<int32_t>(n + 3);
}

bool TQelSelection::IsSelected(uint32_t name) const {
  return std::find(names_.begin(), names_.end(), name) != names_.end();
}

void TQelSelection::Clear() {
  names_.clear();
  minZ_ = maxZ_ = 0;
}

TQelSelection* TQelSelectionList::GetItems(int32_t i) const {
  return i >= 0 && i < GetCount() ? items_[static_cast<size_t>(i)].get() : nullptr;
}

void TQelSelectionList::SetHitRecords(const uint32_t* buffer, int32_t hits, size_t words) {
  Clear();
  size_t at = 0;
  for (int32_t h = 0; h < hits; ++h) {
    // A record is its name count and two depths, then the names.
    if (words - at < 3 || words - at - 3 < buffer[at]) return;
    auto hit = std::make_unique<TQelSelection>();
    at += static_cast<size_t>(hit->SetHitRecord(buffer + at));
    items_.push_back(std::move(hit));
  }
}

bool TQelSelectionList::IsSelected(uint32_t name) const {
  return std::any_of(items_.begin(), items_.end(),
                     [name](const auto& hit) { return hit->IsSelected(name); });
}

TQelSelection* TQelSelectionList::GetTopMost() const {
  TQelSelection* top = nullptr;
  for (const auto& hit : items_)
    if (!top || hit->GetMinZ() < top->GetMinZ()) top = hit.get();
  return top;
}
