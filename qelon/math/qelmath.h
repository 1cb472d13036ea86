#pragma once
// Plain vector records and the pure routines on them that every geometric
// module uses.
#include <cstdint>
#include <vector>

struct TQelMathVector {
  double x = 0, y = 0, z = 0;
  double& operator[](int i) { return (&x)[i]; }
  double operator[](int i) const { return (&x)[i]; }
  bool operator==(const TQelMathVector&) const = default;
};

struct TQelMathVector4d {
  double x = 0, y = 0, z = 0, w = 0;
  double& operator[](int i) { return (&x)[i]; }
  double operator[](int i) const { return (&x)[i]; }
  bool operator==(const TQelMathVector4d&) const = default;
};

extern const TQelMathVector ZEROVEC;

// Growable array of 32-bit integers.
using iArray = std::vector<int32_t>;

TQelMathVector ToVec(double x, double y, double z);
TQelMathVector4d ToVec4D(double x, double y, double z, double w);
TQelMathVector4d ToVec4D(const TQelMathVector& v, double w);

void QelMathVectorAddition(const TQelMathVector& a, const TQelMathVector& b, TQelMathVector& r);
void QelMathScalarProduct(const TQelMathVector& a, double s, TQelMathVector& r);
void QelMathCrossProduct(const TQelMathVector& a, const TQelMathVector& b, TQelMathVector& r);
double QelMathDotProduct(const TQelMathVector& a, const TQelMathVector& b);
// Normal (p1 - p2) x (p2 - p3), towards the viewer for counter-clockwise
// points; the result is its length, or 0 (and n = ZEROVEC) for a degenerate
// triangle.
double QelMathNormalVector(const TQelMathVector& p1, const TQelMathVector& p2,
                           const TQelMathVector& p3, bool normalize, TQelMathVector& n);
void QelMathNormalize(TQelMathVector& v);
double QelMathVectorLength(const TQelMathVector& a);
double QelMathVectorDist(const TQelMathVector& a, const TQelMathVector& b);
void QelMathVectorInterpolate(const TQelMathVector& a, const TQelMathVector& b, TQelMathVector& r);
// plane = (n, p1.n) with n the unit normal: the plane n.x - d = 0.
void QelMathPlaneFromPoints(const TQelMathVector& p1, const TQelMathVector& p2,
                            const TQelMathVector& p3, TQelMathVector4d& plane);
// The angles (degrees; x = elevation in -90..90, y = heading in -180..180,
// z = 0) that turn the reference direction (0, 0, 1) onto axis. With flag
// false they are meant for a forward rotation of order roYXZ (Ry(y) Rx(x)),
// with flag true for an inverted rotation of order roZXY (Ry(-y) Rx(-x)): the
// same angles negated, a left-handed turn. These are the two orders that
// movement uses, so turning an axis and reading it back agree. A zero axis
// gives (0, 0, 0).
void QelMathAxisToAngles(const TQelMathVector& axis, TQelMathVector& angles, bool flag);
// p turned about the unit vector axis (through the origin) by angle degrees;
// positive angles turn counter-clockwise looking down the axis towards the
// origin (right-handed).
void QelMathRotateVec(const TQelMathVector& p, const TQelMathVector& axis, double angle,
                      TQelMathVector& r);
// floor(log2 n) for n >= 1; 0 for n <= 1.
int32_t QelMathIntLog2(int32_t n);
// Sorts index[lo..hi] so that values[index[i]] ascends; not stable. A range
// outside index, or an index entry outside values, sorts nothing.
void QuickSort(const iArray& values, iArray& index, int32_t lo, int32_t hi);
// index := 0 .. n-1 sorted by values.
void SortIndirect(const iArray& values, iArray& index);
