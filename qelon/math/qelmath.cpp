#include "qelmath.h"

#include <algorithm>
#include <cmath>
#include <utility>

const TQelMathVector ZEROVEC{0, 0, 0};

namespace {
constexpr double kDegToRad = 0.017453292519943295;  // pi / 180
constexpr double kRadToDeg = 57.295779513082320876;
// Below this length the three points of a triangle count as collinear.
constexpr long double kDegenerateNormal = 1e-10L;
}  // namespace

TQelMathVector ToVec(double x, double y, double z) { return {x, y, z}; }

TQelMathVector4d ToVec4D(double x, double y, double z, double w) { return {x, y, z, w}; }

TQelMathVector4d ToVec4D(const TQelMathVector& v, double w) { return {v.x, v.y, v.z, w}; }

void QelMathVectorAddition(const TQelMathVector& a, const TQelMathVector& b, TQelMathVector& r) {
  r = {a.x + b.x, a.y + b.y, a.z + b.z};
}

void QelMathScalarProduct(const TQelMathVector& a, double s, TQelMathVector& r) {
  r = {a.x * s, a.y * s, a.z * s};
}

void QelMathCrossProduct(const TQelMathVector& a, const TQelMathVector& b, TQelMathVector& r) {
  // Through a temporary, so that r may be a or b.
  r = TQelMathVector{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double QelMathDotProduct(const TQelMathVector& a, const TQelMathVector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

double QelMathNormalVector(const TQelMathVector& p1, const TQelMathVector& p2,
                           const TQelMathVector& p3, bool normalize, TQelMathVector& n) {
  const TQelMathVector d1{p1.x - p2.x, p1.y - p2.y, p1.z - p2.z};
  const TQelMathVector d2{p2.x - p3.x, p2.y - p3.y, p2.z - p3.z};
  QelMathCrossProduct(d1, d2, n);
  const double len = QelMathVectorLength(n);
  // Callers skip degenerate triangles by the result 0.
  if (!(len > kDegenerateNormal)) {
    n = ZEROVEC;
    return 0;
  }
  if (normalize) n = {n.x / len, n.y / len, n.z / len};
  return len;
}

void QelMathNormalize(TQelMathVector& v) {
  double len = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  if (len > 0) {
    v.x /= len;
    v.y /= len;
    v.z /= len;
  }
}

double QelMathVectorLength(const TQelMathVector& a) {
  return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
}

double QelMathVectorDist(const TQelMathVector& a, const TQelMathVector& b) {
  return QelMathVectorLength({a.x - b.x, a.y - b.y, a.z - b.z});
}

void QelMathVectorInterpolate(const TQelMathVector& a, const TQelMathVector& b, TQelMathVector& r) {
  r = {(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2};
}

void QelMathPlaneFromPoints(const TQelMathVector& p1, const TQelMathVector& p2,
                            const TQelMathVector& p3, TQelMathVector4d& plane) {
  TQelMathVector n;
  QelMathNormalVector(p1, p2, p3, true, n);
  // +p1.n: the plane is n.x - d = 0.
  plane = ToVec4D(n, QelMathDotProduct(p1, n));
}

void QelMathAxisToAngles(const TQelMathVector& axis, TQelMathVector& angles, bool flag) {
  TQelMathVector d = axis;
  QelMathNormalize(d);
  if (d == ZEROVEC) {
    angles = ZEROVEC;
    return;
  }
  // Rx(x) then Ry(y) carries (0, 0, 1) to (cos x sin y, -sin x, cos x cos y):
  // the elevation comes from the y component, the heading from x and z.
  const double elevation = 90.0 - std::acos(std::clamp(-d.y, -1.0, 1.0)) * kRadToDeg;
  const double heading = std::atan2(d.x, d.z) * kRadToDeg;
  const double sign = flag ? -1.0 : 1.0;
  angles = {sign * elevation, sign * heading, 0};
}

void QelMathRotateVec(const TQelMathVector& p, const TQelMathVector& axis, double angle,
                      TQelMathVector& r) {
  const double t = QelMathDotProduct(p, axis);
  const TQelMathVector proj{axis.x * t, axis.y * t, axis.z * t};
  const TQelMathVector perp{p.x - proj.x, p.y - proj.y, p.z - proj.z};
  TQelMathVector w;
  QelMathCrossProduct(axis, perp, w);
  const double a = angle * kDegToRad;
  const double c = std::cos(a), s = std::sin(a);
  r = TQelMathVector{c * perp.x + s * w.x + proj.x, c * perp.y + s * w.y + proj.y,
                     c * perp.z + s * w.z + proj.z};
}

int32_t QelMathIntLog2(int32_t n) {
  if (n < 0) return 0;
  // Binary search over the shift count; the steps are 8, 4, 2, 1, 1.
  int32_t s = 16, k = 8;
  for (int step = 0; step < 5; ++step) {
    const int32_t shifted = n >> s;
    if (shifted > 1)
      s += k;
    else if (shifted < 1)
      s -= k;
    k = (k + 1) / 2;
  }
  return s;
}

namespace {

// Partitions index[lo..hi] about the value at its middle and sorts both sides.
// The smaller side recurses and the larger one loops, so that the stack stays
// logarithmic; the sides are disjoint, so the result is the same as sorting
// them in any order.
void SortRange(const iArray& values, iArray& index, int32_t lo, int32_t hi) {
  while (hi - lo + 1 >= 2) {
    const int32_t m = lo + (hi - lo) / 2;
    std::swap(index[m], index[lo]);
    const int32_t v = values[index[lo]];
    int32_t i = lo + 1, j = hi;
    while (true) {
      while (i < j && values[index[i]] <= v) ++i;
      while (j > i && values[index[j]] > v) --j;
      if (i >= j) break;
      std::swap(index[i], index[j]);
    }
    const int32_t p = values[index[j]] > v ? j - 1 : j;
    std::swap(index[p], index[lo]);
    if (hi - p > p - lo) {
      SortRange(values, index, lo, p - 1);
      lo = p + 1;
    } else {
      SortRange(values, index, p + 1, hi);
      hi = p - 1;
    }
  }
}

}  // namespace

void QuickSort(const iArray& values, iArray& index, int32_t lo, int32_t hi) {
  // Bad ranges and indices that point outside values sort nothing.
  if (lo < 0 || hi < lo || hi >= static_cast<int64_t>(index.size())) return;
  for (int32_t i = lo; i <= hi; ++i)
    if (index[i] < 0 || index[i] >= static_cast<int64_t>(values.size())) return;
  SortRange(values, index, lo, hi);
}

void SortIndirect(const iArray& values, iArray& index) {
  const int32_t n = static_cast<int32_t>(values.size());
  index.resize(n);
  for (int32_t i = 0; i < n; ++i) index[i] = i;
  QuickSort(values, index, 0, n - 1);
}
