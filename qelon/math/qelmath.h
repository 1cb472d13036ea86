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
double QelMathNormalVector(const TQelMathVector& p1, const TQelMathVector& p2,
                           const TQelMathVector& p3, bool normalize, TQelMathVector& n);
void QelMathNormalize(TQelMathVector& v);
double QelMathVectorLength(const TQelMathVector& a);
double QelMathVectorDist(const TQelMathVector& a, const TQelMathVector& b);
void QelMathVectorInterpolate(const TQelMathVector& a, const TQelMathVector& b, TQelMathVector& r);
void QelMathPlaneFromPoints(const TQelMathVector& p1, const TQelMathVector& p2,
                            const TQelMathVector& p3, TQelMathVector4d& plane);
void QelMathAxisToAngles(const TQelMathVector& axis, TQelMathVector& angles, bool flag);
void QelMathRotateVec(const TQelMathVector& p, const TQelMathVector& axis, double angle,
                      TQelMathVector& r);
int32_t QelMathIntLog2(int32_t n);
void QuickSort(const iArray& values, iArray& index, int32_t lo, int32_t hi);
void SortIndirect(const iArray& values, iArray& index);
