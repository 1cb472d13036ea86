#include "qelmath.h"

const TQelMathVector ZEROVEC{0, 0, 0};

#include <cmath>

void QelMathNormalize(TQelMathVector& v) {
  double len = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  if (len > 0) {
    v.x /= len;
    v.y /= len;
    v.z /= len;
  }
}
