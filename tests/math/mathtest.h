#pragma once
// Helpers shared by the math tests: seeded random values and comparisons of
// vectors and matrices with a tolerance.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <sstream>

#include "qelon/math/qeltransformation.h"

namespace mathtest {

class Random {
public:
  explicit Random(unsigned seed = 12345) : engine_(seed) {}
  double Uniform(double lo, double hi) { return std::uniform_real_distribution<>(lo, hi)(engine_); }
  float UniformF(float lo, float hi) { return static_cast<float>(Uniform(lo, hi)); }
  int Int(int lo, int hi) { return std::uniform_int_distribution<>(lo, hi)(engine_); }
  bool Coin() { return Int(0, 1) == 1; }
  TQelMathVector Direction() {
    TQelMathVector v;
    do v = {Uniform(-1, 1), Uniform(-1, 1), Uniform(-1, 1)};
    while (QelMathVectorLength(v) < 0.1);
    QelMathNormalize(v);
    return v;
  }
  // A scale factor of magnitude 0.25..3 with a random sign.
  float Factor() { return (Coin() ? -1.0f : 1.0f) * UniformF(0.25f, 3.0f); }

private:
  std::mt19937 engine_;
};

inline std::string Str(const TQelMathVector& v) {
  std::ostringstream s;
  s.precision(10);
  s << "(" << v.x << ", " << v.y << ", " << v.z << ")";
  return s.str();
}

inline ::testing::AssertionResult VecNear(const TQelMathVector& a, const TQelMathVector& b,
                                          double tol) {
  if (QelMathVectorDist(a, b) <= tol) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << Str(a) << " vs " << Str(b) << " differ by "
                                       << QelMathVectorDist(a, b) << " > " << tol;
}

inline double MaxAbs(const double* m) {
  double r = 0;
  for (int k = 0; k < 16; ++k) r = std::max(r, std::fabs(m[k]));
  return r;
}

// Elementwise agreement within rel times the larger matrix's largest element
// (at least 1).
inline ::testing::AssertionResult MatrixNear(const double* a, const double* b, double rel) {
  const double scale = std::max({1.0, MaxAbs(a), MaxAbs(b)});
  double worst = 0;
  int at = 0;
  for (int k = 0; k < 16; ++k)
    if (std::fabs(a[k] - b[k]) > worst) worst = std::fabs(a[k] - b[k]), at = k;
  if (worst <= rel * scale) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "element " << at << " (row " << at % 4 << ", column "
                                       << at / 4 << "): " << a[at] << " vs " << b[at]
                                       << ", relative difference " << worst / scale << " > "
                                       << rel;
}

inline ::testing::AssertionResult MatrixNear(const TQelMatrix& a, const TQelMatrix& b, double rel) {
  return MatrixNear(a.Data(), b.Data(), rel);
}

inline TQelMatrix FromArray(const std::array<double, 16>& a) {
  TQelMatrix m;
  for (int k = 0; k < 16; ++k) m.Data()[k] = a[k];
  return m;
}

// The current GL modelview matrix.
inline TQelMatrix GLModelview() {
  TQelMatrix m;
  glGetDoublev(GL_MODELVIEW_MATRIX, m.Data());
  return m;
}

inline TQelMatrix MatrixOf(TQelTransformation& t, bool inverse) {
  TQelMatrix m;
  t.CalcMatrix(m, inverse);
  return m;
}

// Random angles (degrees), translation and scale (negative factors included;
// uniform magnitude when asked).
inline void Randomize(TQelTransformation& t, Random& rnd, bool uniformScale = false) {
  t.GetRotation()->SetValues(rnd.UniformF(-180, 360), rnd.UniformF(-180, 360),
                             rnd.UniformF(-180, 360));
  t.GetTranslation()->SetValues(rnd.UniformF(-10, 10), rnd.UniformF(-10, 10),
                                rnd.UniformF(-10, 10));
  if (uniformScale) {
    const float f = std::fabs(rnd.Factor());
    t.GetScale()->SetValues(rnd.Coin() ? f : -f, rnd.Coin() ? f : -f, rnd.Coin() ? f : -f);
  } else {
    t.GetScale()->SetValues(rnd.Factor(), rnd.Factor(), rnd.Factor());
  }
}

// Counts OnChange calls.
struct ChangeCounter {
  int count = 0;
  TObject* last = nullptr;
  TNotifyEvent Handler() {
    return [this](TObject* sender) {
      ++count;
      last = sender;
    };
  }
};

}  // namespace mathtest
