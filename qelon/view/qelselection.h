#pragma once
// The hits of a pick: one TQelSelection per GL hit record (its depth range
// and its stack of names, outermost first), collected in a
// TQelSelectionList in the order GL reported them.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

class TQelSelection {
public:
  int32_t GetCount() const { return static_cast<int32_t>(names_.size()); }
  // The i-th name, outermost first; 0 outside 0..Count-1.
  uint32_t GetNames(int32_t i) const;
  // Depths of the hit mapped to 0..1 (1 for a hit without names).
  float GetMinZ() const { return minZ_; }
  float GetMaxZ() const { return maxZ_; }

  // Takes the hit record that starts at record (name count, minimum depth,
  // maximum depth, names) and returns the words it occupies: names + 3.
  int32_t SetHitRecord(const uint32_t* record);
  bool IsSelected(uint32_t name) const;
  // No names, depths 0.
  void Clear();

private:
  std::vector<uint32_t> names_;
  float minZ_ = 0, maxZ_ = 0;
};

class TQelSelectionList {
public:
  int32_t GetCount() const { return static_cast<int32_t>(items_.size()); }
  // The i-th hit, or null.
  TQelSelection* GetItems(int32_t i) const;

  // Replaces the hits by the records of buffer. A negative count (GL's
  // answer to an overflowing buffer) leaves the list empty. A record that
  // would reach past words ends the list before it.
  void SetHitRecords(const uint32_t* buffer, int32_t hits,
                     size_t words = std::numeric_limits<size_t>::max());
  // Whether any hit holds name.
  bool IsSelected(uint32_t name) const;
  // The hit with the smallest MinZ, the earliest of equals; null when empty.
  TQelSelection* GetTopMost() const;
  void Clear() { items_.clear(); }

private:
  std::vector<std::unique_ptr<TQelSelection>> items_;
};
