#pragma once
// Reading and writing one vector of a store's 3-double arrays, and the two
// vector sums the mesh algorithms need; private to the geometry module.
#include <cstddef>
#include <cstdint>

#include "qelon/math/qelmath.h"

namespace qelmesh {

inline TQelMathVector At(const double* array, size_t i) {
  const double* p = array + 3 * i;
  return {p[0], p[1], p[2]};
}

inline void Put(double* array, size_t i, const TQelMathVector& v) {
  double* p = array + 3 * i;
  p[0] = v.x;
  p[1] = v.y;
  p[2] = v.z;
}

inline TQelMathVector Plus(const TQelMathVector& a, const TQelMathVector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline TQelMathVector Times(const TQelMathVector& a, double s) { return {a.x * s, a.y * s, a.z * s}; }

}  // namespace qelmesh
