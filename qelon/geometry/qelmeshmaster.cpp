#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

#include "qelmeshtools.h"
#include "qelmeshvec.h"

namespace {

using qelmesh::At;
using qelmesh::Plus;
using qelmesh::Times;

struct KeyedPoint {
  uint64_t key;
  int32_t point;
};

// Ascending by key, equal keys in their original order. Radix passes of 11
// bits over the bits the largest key needs: linear, and reads and writes
// sequentially, so a million points stay cheap.
void SortByKey(std::vector<KeyedPoint>& v) {
  if (v.size() < 512) {
    std::stable_sort(v.begin(), v.end(),
                     [](const KeyedPoint& a, const KeyedPoint& b) { return a.key < b.key; });
    return;
  }
  uint64_t maxKey = 0;
  for (const KeyedPoint& k : v) maxKey = std::max(maxKey, k.key);
  constexpr int kBits = 11;
  constexpr size_t kBuckets = size_t(1) << kBits;
  std::vector<KeyedPoint> tmp(v.size());
  std::vector<size_t> start(kBuckets);
  for (int shift = 0; shift < 64 && (maxKey >> shift) != 0; shift += kBits) {
    std::fill(start.begin(), start.end(), 0);
    for (const KeyedPoint& k : v) ++start[(k.key >> shift) & (kBuckets - 1)];
    size_t sum = 0;
    for (size_t& s : start) sum += std::exchange(s, sum);
    for (const KeyedPoint& k : v) tmp[start[(k.key >> shift) & (kBuckets - 1)]++] = k;
    v.swap(tmp);
  }
}

uint64_t KeyDistance(uint64_t a, uint64_t b) { return a > b ? a - b : b - a; }

// The key of a squared distance: round(d2 / tolerance), saturated.
uint64_t DistanceKey(double d2) {
  const double q = d2 / static_cast<double>(tolerance);
  if (!(q < 9.0e18)) return UINT64_MAX;  // also NaN
  return static_cast<uint64_t>(std::llround(q));
}

// Positions equal within the tolerance on every axis, as the store's EqualPos.
bool SamePosition(const double* v, int32_t i, int32_t j) {
  const double* a = v + 3 * static_cast<size_t>(i);
  const double* b = v + 3 * static_cast<size_t>(j);
  for (int k = 0; k < 3; ++k) {
    const double d = std::fabs(a[k] - b[k]);
    if (!(d < 1.0 && static_cast<float>(d) < tolerance)) return false;
  }
  return true;
}

std::minstd_rand& Random() {
  static std::minstd_rand random(20250601u);
  return random;
}

// master[i] for the points 0..count-1; candidates are the points whose flag
// byte has the bit, or every point when bit is negative.
void BuildMaster(const TQelPrimitivePoints& points, int32_t bit, iArray& master) {
  const int32_t count = points.GetCount();
  master.assign(static_cast<size_t>(std::max(count, 0)), -1);
  const double* v = points.GetVertexArray();
  const uint8_t* flags = points.GetFlagArray();
  std::vector<KeyedPoint> order;
  if (v && bit < 8 && (bit < 0 || flags)) {
    const uint8_t mask = bit < 0 ? 0 : uint8_t(1u << bit);
    size_t n = 0;
    for (int32_t i = 0; i < count; ++i) n += bit < 0 || (flags[i] & mask);
    order.reserve(n);
    for (int32_t i = 0; i < count; ++i)
      if (bit < 0 || (flags[i] & mask)) order.push_back({0, i});
  }
  const size_t n = order.size();
  if (n >= 2) {
    std::uniform_int_distribution<int32_t> pick(0, count - 1);
    TQelMathVector c;
    for (int k = 0; k < 3; ++k) c = Plus(c, At(v, static_cast<uint32_t>(pick(Random()))));
    c = Times(c, 1.0 / 3.0);
    for (KeyedPoint& k : order) {
      const double* p = v + 3 * static_cast<size_t>(k.point);
      const double dx = p[0] - c.x, dy = p[1] - c.y, dz = p[2] - c.z;
      k.key = DistanceKey(dx * dx + dy * dy + dz * dz);
    }
    SortByKey(order);
    // Look back (wrapping round to the end) while the keys stay within 1 and
    // no master is found; an equal earlier candidate lends its master, or
    // becomes the master itself when it has none yet.
    for (size_t k = 0; k < n; ++k) {
      const int32_t current = order[k].point;
      for (size_t j = (k + n - 1) % n; j != k && master[current] < 0; j = (j + n - 1) % n) {
        if (KeyDistance(order[j].key, order[k].key) > 1) break;
        const int32_t earlier = order[j].point;
        if (SamePosition(v, earlier, current))
          master[current] = master[earlier] >= 0 ? master[earlier] : earlier;
      }
      if (master[current] < 0) master[current] = current;
    }
  }
  for (int32_t i = 0; i < count; ++i)
    if (master[i] < 0) master[i] = i;
}

}  // namespace

void QelMeshCalcMaster(const TQelPrimitivePoints& points, int32_t bit, iArray& master) {
  // A bit outside the byte selects nobody: every point stands for itself.
  BuildMaster(points, bit < 0 ? 8 : bit, master);
}

void QelMeshGetOpenEdges(const TQelPrimitivePoints& points, TQelPrimitiveArrays arrays,
                         TQelEdgeArray& edges) {
  edges.clear();
  iArray master;
  BuildMaster(points, -1, master);
  struct Side {
    uint64_t key;
    uint32_t order;
    TQelEdge edge;
  };
  std::vector<Side> sides;
  iArray corners;
  const uint32_t count = static_cast<uint32_t>(std::max(points.GetCount(), 0));
  for (const TQelPrimitiveArray* a : arrays) {
    if (!a->GetEnabled() || !QelMeshIsFaceKind(a->GetType())) continue;
    QelMeshForEachFace(*a, count, [&](const uint32_t* c, int32_t n) {
      corners.resize(static_cast<size_t>(n));
      for (int32_t k = 0; k < n; ++k) corners[k] = master[c[k]];
      std::sort(corners.begin(), corners.end());
      if (std::adjacent_find(corners.begin(), corners.end()) != corners.end()) return;  // degenerate
      for (int32_t k = 0; k < n; ++k) {
        const uint32_t p = static_cast<uint32_t>(master[c[k]]);
        const uint32_t q = static_cast<uint32_t>(master[c[(k + 1) % n]]);
        const uint64_t key = (uint64_t(std::min(p, q)) << 32) | std::max(p, q);
        sides.push_back({key, static_cast<uint32_t>(sides.size()),
                         {static_cast<int32_t>(c[k]), static_cast<int32_t>(c[(k + 1) % n])}});
      }
    });
  }
  std::sort(sides.begin(), sides.end(),
            [](const Side& x, const Side& y) { return x.key < y.key || (x.key == y.key && x.order < y.order); });
  std::vector<const Side*> open;
  for (size_t k = 0; k < sides.size();) {
    size_t end = k;
    while (end < sides.size() && sides[end].key == sides[k].key) ++end;
    if (end - k == 1) open.push_back(&sides[k]);
    k = end;
  }
  std::sort(open.begin(), open.end(), [](const Side* x, const Side* y) { return x->order < y->order; });
  for (const Side* s : open) edges.push_back(s->edge);
}
