// Vector routines: products, normals, planes, rotation about an axis, the
// integer logarithm and the indirect sort.
#include <cmath>
#include <numeric>

#include "mathtest.h"
#include "qeltestbed.h"

using mathtest::Random;
using mathtest::VecNear;

TEST(VectorMath, BasicOperations) {
  TQelMathVector r;
  QelMathVectorAddition(ToVec(1, 2, 3), ToVec(-4, 5, 0.5), r);
  EXPECT_EQ(r, ToVec(-3, 7, 3.5));
  QelMathScalarProduct(ToVec(1, -2, 3), -2, r);
  EXPECT_EQ(r, ToVec(-2, 4, -6));
  QelMathCrossProduct(ToVec(1, 0, 0), ToVec(0, 1, 0), r);
  EXPECT_EQ(r, ToVec(0, 0, 1));
  QelMathCrossProduct(ToVec(1, 2, 3), ToVec(4, 5, 6), r);
  EXPECT_EQ(r, ToVec(-3, 6, -3));
  EXPECT_EQ(QelMathDotProduct(ToVec(1, 2, 3), ToVec(4, -5, 6)), 12);
  EXPECT_EQ(QelMathVectorLength(ToVec(2, 3, 6)), 7);
  EXPECT_EQ(QelMathVectorDist(ToVec(1, 1, 1), ToVec(3, 4, 7)), 7);
  QelMathVectorInterpolate(ToVec(0, 2, -4), ToVec(2, 4, 4), r);
  EXPECT_EQ(r, ToVec(1, 3, 0));
  EXPECT_EQ(ToVec4D(ToVec(1, 2, 3), 4), ToVec4D(1, 2, 3, 4));
  EXPECT_EQ(ZEROVEC, ToVec(0, 0, 0));
}

TEST(VectorMath, CrossProductMayWriteIntoAnOperand) {
  TQelMathVector a = ToVec(1, 2, 3);
  QelMathCrossProduct(a, ToVec(4, 5, 6), a);
  EXPECT_EQ(a, ToVec(-3, 6, -3));
}

TEST(VectorMath, NormalOfCounterClockwiseTrianglePointsToViewer) {
  TQelMathVector n;
  EXPECT_DOUBLE_EQ(QelMathNormalVector(ToVec(0, 0, 0), ToVec(2, 0, 0), ToVec(0, 2, 0), false, n), 4);
  EXPECT_EQ(n, ToVec(0, 0, 4));
  EXPECT_DOUBLE_EQ(QelMathNormalVector(ToVec(0, 0, 0), ToVec(2, 0, 0), ToVec(0, 2, 0), true, n), 4);
  EXPECT_EQ(n, ToVec(0, 0, 1));
  // Clockwise: away from the viewer.
  QelMathNormalVector(ToVec(0, 0, 0), ToVec(0, 2, 0), ToVec(2, 0, 0), true, n);
  EXPECT_EQ(n, ToVec(0, 0, -1));
}

TEST(VectorMath, DegenerateTriangleGivesZeroNormalAndZero) {
  for (bool normalize : {false, true}) {
    TQelMathVector n = ToVec(9, 9, 9);
    EXPECT_EQ(QelMathNormalVector(ToVec(0, 0, 0), ToVec(1, 1, 1), ToVec(3, 3, 3), normalize, n), 0);
    EXPECT_EQ(n, ZEROVEC);
    n = ToVec(9, 9, 9);
    EXPECT_EQ(QelMathNormalVector(ToVec(1, 2, 3), ToVec(1, 2, 3), ToVec(0, 5, 1), normalize, n), 0);
    EXPECT_EQ(n, ZEROVEC);
    // Just below the threshold of 1e-10 on the normal's length.
    n = ToVec(9, 9, 9);
    EXPECT_EQ(QelMathNormalVector(ToVec(0, 0, 0), ToVec(1e-5, 0, 0), ToVec(0, 0.9e-5, 0), normalize, n), 0);
    EXPECT_EQ(n, ZEROVEC);
  }
}

TEST(VectorMath, NormalizeKeepsZeroVector) {
  TQelMathVector v = ZEROVEC;
  QelMathNormalize(v);
  EXPECT_EQ(v, ZEROVEC);
  v = ToVec(0, -3, 4);
  QelMathNormalize(v);
  EXPECT_EQ(v, ToVec(0, -0.6, 0.8));
}

TEST(VectorMath, PlaneFromPointsStoresPlusPointDotNormal) {
  TQelMathVector4d plane;
  QelMathPlaneFromPoints(ToVec(0, 0, 2), ToVec(1, 0, 2), ToVec(0, 1, 2), plane);
  EXPECT_EQ(plane, ToVec4D(0, 0, 1, 2));
  QelMathPlaneFromPoints(ToVec(0, 0, 2), ToVec(0, 1, 2), ToVec(1, 0, 2), plane);
  EXPECT_EQ(plane, ToVec4D(0, 0, -1, -2));
  QelMathPlaneFromPoints(ToVec(1, 1, 1), ToVec(2, 2, 2), ToVec(3, 3, 3), plane);
  EXPECT_EQ(plane, ToVec4D(0, 0, 0, 0));
}

TEST(VectorMath, RotateVecQuarterTurnAboutZ) {
  TQelMathVector r;
  QelMathRotateVec(ToVec(1, 0, 0), ToVec(0, 0, 1), 90, r);
  EXPECT_TRUE(VecNear(r, ToVec(0, 1, 0), 1e-15));
  // The component along the axis is kept.
  QelMathRotateVec(ToVec(1, 0, 5), ToVec(0, 0, 1), 180, r);
  EXPECT_TRUE(VecNear(r, ToVec(-1, 0, 5), 1e-15));
}

using VectorMathGL = QelGLTest;

// glRotated is an independent reference for the turn about an axis.
TEST_F(VectorMathGL, RotateVecAgreesWithGlRotate) {
  Random rnd(7);
  for (int n = 0; n < 200; ++n) {
    const TQelMathVector axis = rnd.Direction();
    const TQelMathVector p = ToVec(rnd.Uniform(-5, 5), rnd.Uniform(-5, 5), rnd.Uniform(-5, 5));
    const double angle = rnd.Uniform(-400, 400);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glRotated(angle, axis.x, axis.y, axis.z);
    const TQelMatrix gl = mathtest::FromArray(GetMatrix(GL_MODELVIEW_MATRIX));
    const TQelMathVector4d expected = gl.MultVector(ToVec4D(p, 1));
    TQelMathVector r;
    QelMathRotateVec(p, axis, angle, r);
    // The GL matrix is single precision.
    EXPECT_TRUE(VecNear(r, ToVec(expected.x, expected.y, expected.z), 1e-5)) << angle;
  }
}

TEST(VectorMath, IntLog2EdgeCases) {
  EXPECT_EQ(QelMathIntLog2(0), 0);
  EXPECT_EQ(QelMathIntLog2(1), 0);
  EXPECT_EQ(QelMathIntLog2(-1), 0);
  EXPECT_EQ(QelMathIntLog2(-1000000), 0);
  EXPECT_EQ(QelMathIntLog2(INT32_MIN), 0);
  EXPECT_EQ(QelMathIntLog2(2), 1);
  EXPECT_EQ(QelMathIntLog2(3), 1);
  EXPECT_EQ(QelMathIntLog2(255), 7);
  EXPECT_EQ(QelMathIntLog2(256), 8);
  EXPECT_EQ(QelMathIntLog2(1023), 9);
  EXPECT_EQ(QelMathIntLog2(65536), 16);
  EXPECT_EQ(QelMathIntLog2(INT32_MAX), 30);
}

TEST(VectorMath, IntLog2IsFloorOfLog2) {
  auto reference = [](int32_t n) {
    int r = 0;
    while ((n >> 1) > 0) n >>= 1, ++r;
    return r;
  };
  for (int shift = 0; shift < 31; ++shift) {
    const int64_t p = int64_t{1} << shift;
    for (int64_t n : {p - 1, p, p + 1})
      if (n >= 1 && n <= INT32_MAX) EXPECT_EQ(QelMathIntLog2(int32_t(n)), reference(int32_t(n))) << n;
  }
  for (int32_t n = 1; n < (1 << 17); ++n) ASSERT_EQ(QelMathIntLog2(n), reference(n)) << n;
  Random rnd(3);
  for (int k = 0; k < 100000; ++k) {
    const int32_t n = rnd.Int(1, INT32_MAX);
    ASSERT_EQ(QelMathIntLog2(n), reference(n)) << n;
  }
}

namespace {

// The partition exactly as the routine describes it, written plainly
// (recursive, upper side first), to check the library's stack-safe form
// against it on keys with many duplicates.
void PlainQuickSort(const iArray& values, iArray& index, int lo, int hi) {
  const int m = lo + (hi - lo) / 2;
  std::swap(index[m], index[lo]);
  const int v = values[index[lo]];
  int i = lo + 1, j = hi;
  do {
    while (values[index[i]] <= v && i < j) ++i;
    while (values[index[j]] > v && j > i) --j;
    if (i < j) std::swap(index[i], index[j]);
  } while (i < j);
  int p = j;
  if (values[index[j]] > v) --p;
  std::swap(index[p], index[lo]);
  if (hi - (p + 1) + 1 >= 2) PlainQuickSort(values, index, p + 1, hi);
  if (p - 1 - lo + 1 >= 2) PlainQuickSort(values, index, lo, p - 1);
}

void ExpectSortedPermutation(const iArray& values, const iArray& index) {
  ASSERT_EQ(index.size(), values.size());
  iArray seen(values.size(), 0);
  for (int32_t i : index) {
    ASSERT_GE(i, 0);
    ASSERT_LT(i, int32_t(values.size()));
    ++seen[i];
  }
  EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [](int32_t c) { return c == 1; }));
  for (size_t k = 1; k < index.size(); ++k) ASSERT_LE(values[index[k - 1]], values[index[k]]);
}

}  // namespace

TEST(VectorMath, SortIndirectEmptyAndSingle) {
  iArray index{7, 8, 9};
  SortIndirect({}, index);
  EXPECT_TRUE(index.empty());
  SortIndirect({42}, index);
  EXPECT_EQ(index, iArray{0});
}

TEST(VectorMath, SortIndirectSortsAndLeavesValues) {
  const iArray values{5, -3, 9, 0, 9, -3, 2};
  const iArray copy = values;
  iArray index;
  SortIndirect(values, index);
  EXPECT_EQ(values, copy);
  ExpectSortedPermutation(values, index);
}

TEST(VectorMath, EqualKeysGoToTheLowerSideUnstably) {
  // Worked by hand: the middle entry becomes the pivot and ends last.
  iArray index;
  SortIndirect({5, 5, 5}, index);
  EXPECT_EQ(index, (iArray{0, 2, 1}));
  SortIndirect({2, 1}, index);
  EXPECT_EQ(index, (iArray{1, 0}));
}

TEST(VectorMath, QuickSortMatchesThePlainRecursion) {
  Random rnd(11);
  for (int n = 0; n < 300; ++n) {
    const int size = rnd.Int(2, 60);
    const int range = rnd.Int(1, 8);  // many duplicates
    iArray values(size);
    for (int32_t& v : values) v = rnd.Int(-range, range);
    iArray expected(size);
    std::iota(expected.begin(), expected.end(), 0);
    PlainQuickSort(values, expected, 0, size - 1);
    iArray index;
    SortIndirect(values, index);
    ASSERT_EQ(index, expected);
    ExpectSortedPermutation(values, index);
  }
}

TEST(VectorMath, QuickSortSortsASubrangeOnly) {
  const iArray values{9, 8, 7, 6, 5, 4};
  iArray index{0, 1, 2, 3, 4, 5};
  QuickSort(values, index, 1, 4);
  EXPECT_EQ(index, (iArray{0, 4, 3, 2, 1, 5}));
}

TEST(VectorMath, QuickSortIgnoresBadRanges) {
  const iArray values{3, 2, 1};
  iArray index{0, 1, 2};
  QuickSort(values, index, -1, 2);
  QuickSort(values, index, 0, 3);
  QuickSort(values, index, 2, 1);
  EXPECT_EQ(index, (iArray{0, 1, 2}));
  iArray bad{0, 5, 2};  // 5 points outside values
  QuickSort(values, bad, 0, 2);
  EXPECT_EQ(bad, (iArray{0, 5, 2}));
}

TEST(VectorMath, QuickSortOnManyEqualKeysKeepsTheStackShallow) {
  // Every partition of equal keys splits off one entry only.
  const iArray values(20000, 1);
  iArray index;
  SortIndirect(values, index);
  ExpectSortedPermutation(values, index);
}

TEST(VectorMath, QuickSortLargeRandom) {
  Random rnd(5);
  iArray values(200000);
  for (int32_t& v : values) v = rnd.Int(INT32_MIN, INT32_MAX);
  iArray index;
  SortIndirect(values, index);
  ExpectSortedPermutation(values, index);
}
