// The 4x4 matrix: storage, products, inverse, and agreement with the GL
// matrix operations and with gluProject / gluUnProject.
#include "mathtest.h"
#include "qeltestbed.h"

using mathtest::FromArray;
using mathtest::MatrixNear;
using mathtest::Random;

namespace {

TQelMatrix RandomMatrix(Random& rnd) {
  TQelMatrix m;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) m.SetValue(i, j, rnd.Uniform(-2, 2));
  return m;
}

TQelMatrix Identity() {
  TQelMatrix m;
  m.SetIdentityMatrix();
  return m;
}

TQelMatrix Product(const TQelMatrix& a, const TQelMatrix& b) {  // a x b
  TQelMatrix r;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      double s = 0;
      for (int k = 0; k < 4; ++k) s += a.GetValue(i, k) * b.GetValue(k, j);
      r.SetValue(i, j, s);
    }
  return r;
}

// The single-precision GL matrix, read back, is the exact start value for
// comparing a GL operation with the matrix's own.
TQelMatrix LoadIntoGL(const TQelMatrix& m) {
  glMatrixMode(GL_MODELVIEW);
  glLoadMatrixd(m.Data());
  return mathtest::GLModelview();
}

// Mesa keeps the GL matrices and computes glRotate in single precision:
// agreement is to a few float epsilons (1.2e-7) of the matrix's magnitude.
constexpr double kGLTolerance = 1e-6;

}  // namespace

TEST(Matrix, NewMatrixIsZeroAndStorageIsColumnMajor) {
  TQelMatrix m;
  for (int k = 0; k < 16; ++k) EXPECT_EQ(m.Data()[k], 0);
  EXPECT_FALSE(m.IsIdentityMatrix());
  m.SetValue(1, 3, 5);  // row 1, column 3
  EXPECT_EQ(m.Data()[13], 5);
  EXPECT_EQ(m.GetRow(3), ToVec4D(0, 5, 0, 0));  // stored group 3 = column 3
  m.SetRow(0, ToVec4D(1, 2, 3, 4));
  EXPECT_EQ(m.GetValue(2, 0), 3);
}

TEST(Matrix, IndicesOutOfRange) {
  TQelMatrix m;
  m.SetConstMatrix(7);
  EXPECT_EQ(m.GetValue(4, 0), 0);
  EXPECT_EQ(m.GetValue(0, -1), 0);
  m.SetValue(0, 4, 1);
  m.SetValue(-1, 0, 1);
  m.SetRow(4, ToVec4D(1, 1, 1, 1));
  for (int k = 0; k < 16; ++k) EXPECT_EQ(m.Data()[k], 7);
  EXPECT_EQ(m.GetRow(-1), ToVec4D(0, 0, 0, 0));
}

TEST(Matrix, IdentityTolerance) {
  TQelMatrix m = Identity();
  EXPECT_TRUE(m.IsIdentityMatrix());
  m.SetValue(2, 1, 1e-16);
  EXPECT_TRUE(m.IsIdentityMatrix());
  m.SetValue(2, 1, 1e-14);
  EXPECT_FALSE(m.IsIdentityMatrix());
}

TEST(Matrix, AssignCopiesValuesAndHandler) {
  Random rnd;
  TQelMatrix a = RandomMatrix(rnd), b;
  mathtest::ChangeCounter c;
  a.OnChange = c.Handler();
  b.Assign(&a);
  EXPECT_TRUE(MatrixNear(a, b, 0));
  ASSERT_TRUE(b.OnChange);
  b.Changed();
  EXPECT_EQ(c.count, 1);
}

TEST(Matrix, MultMatrixIsLeftProductAndMayTakeItself) {
  Random rnd;
  for (int n = 0; n < 20; ++n) {
    const TQelMatrix a = RandomMatrix(rnd), b = RandomMatrix(rnd);
    TQelMatrix m(a);
    m.MultMatrix(b);
    EXPECT_TRUE(MatrixNear(m, Product(b, a), 1e-15));
    TQelMatrix square(a);
    square.MultMatrix(square);
    EXPECT_TRUE(MatrixNear(square, Product(a, a), 1e-15));
  }
}

TEST(Matrix, AddMultTranspose) {
  Random rnd;
  const TQelMatrix a = RandomMatrix(rnd), b = RandomMatrix(rnd);
  TQelMatrix m(a);
  m.Add(b);
  m.Mult(-2);
  m.Transpose();
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      EXPECT_DOUBLE_EQ(m.GetValue(i, j), -2 * (a.GetValue(j, i) + b.GetValue(j, i)));
}

TEST(Matrix, InvertGivesInverse) {
  Random rnd;
  for (int n = 0; n < 50; ++n) {
    const TQelMatrix a = RandomMatrix(rnd);
    TQelMatrix inv(a);
    ASSERT_TRUE(inv.Invert());
    EXPECT_TRUE(MatrixNear(Product(a, inv), Identity(), 1e-10));
    EXPECT_TRUE(MatrixNear(Product(inv, a), Identity(), 1e-10));
  }
}

TEST(Matrix, InvertPivotsPastZeroDiagonal) {
  // A permutation: every diagonal element is 0.
  TQelMatrix p;
  p.SetValue(0, 1, 1);
  p.SetValue(1, 2, 2);
  p.SetValue(2, 3, 4);
  p.SetValue(3, 0, 8);
  TQelMatrix inv(p);
  ASSERT_TRUE(inv.Invert());
  EXPECT_TRUE(MatrixNear(Product(p, inv), Identity(), 0));
}

TEST(Matrix, InvertSingularReturnsFalseAndKeepsSelf) {
  TQelMatrix zero;
  EXPECT_FALSE(zero.Invert());
  for (int k = 0; k < 16; ++k) EXPECT_EQ(zero.Data()[k], 0);
  Random rnd;
  TQelMatrix m = RandomMatrix(rnd);
  for (int i = 0; i < 4; ++i) m.SetValue(i, 2, 2 * m.GetValue(i, 0));  // dependent columns
  const TQelMatrix before(m);
  EXPECT_FALSE(m.Invert());
  EXPECT_TRUE(MatrixNear(m, before, 0));
}

TEST(Matrix, RotateTranslateEdgeCases) {
  TQelMatrix m = Identity();
  m.RotateZ(90);
  const TQelMathVector4d r = m.MultVector(ToVec4D(1, 0, 0, 1));
  EXPECT_NEAR(r.x, 0, 1e-16);
  EXPECT_DOUBLE_EQ(r.y, 1);
  EXPECT_EQ(r.z, 0);
  EXPECT_EQ(r.w, 1);

  m = Identity();
  m.Translate(ToVec4D(1, 2, 3, 0));
  EXPECT_EQ(m.GetRow(3), ToVec4D(1, 2, 3, 1));
  m = Identity();
  m.Translate(ToVec4D(1, 2, 3, 1));  // the fourth component lands on (3, 3)
  EXPECT_EQ(m.GetRow(3), ToVec4D(1, 2, 3, 2));

  m = Identity();
  m.Scale(ToVec4D(2, 3, 4, 5));
  for (int k = 0; k < 4; ++k) EXPECT_EQ(m.GetValue(k, k), k + 2);
}

using MatrixGL = QelGLTest;

TEST_F(MatrixGL, RotateTranslateScaleAgreeWithGL) {
  Random rnd(21);
  for (int n = 0; n < 100; ++n) {
    const TQelMatrix start = RandomMatrix(rnd);
    const double angle = rnd.Uniform(-360, 360);
    const TQelMathVector4d v = ToVec4D(rnd.Uniform(-3, 3), rnd.Uniform(-3, 3), rnd.Uniform(-3, 3), 0);
    struct Case {
      const char* name;
      void (*gl)(double, const TQelMathVector4d&);
      void (*own)(TQelMatrix&, double, const TQelMathVector4d&);
    };
    const Case cases[] = {
        {"RotateX", [](double a, const TQelMathVector4d&) { glRotated(a, 1, 0, 0); },
         [](TQelMatrix& m, double a, const TQelMathVector4d&) { m.RotateX(a); }},
        {"RotateY", [](double a, const TQelMathVector4d&) { glRotated(a, 0, 1, 0); },
         [](TQelMatrix& m, double a, const TQelMathVector4d&) { m.RotateY(a); }},
        {"RotateZ", [](double a, const TQelMathVector4d&) { glRotated(a, 0, 0, 1); },
         [](TQelMatrix& m, double a, const TQelMathVector4d&) { m.RotateZ(a); }},
        {"Translate", [](double, const TQelMathVector4d& t) { glTranslated(t.x, t.y, t.z); },
         [](TQelMatrix& m, double, const TQelMathVector4d& t) { m.Translate(t); }},
        {"Scale", [](double, const TQelMathVector4d& s) { glScaled(s.x, s.y, s.z); },
         [](TQelMatrix& m, double, const TQelMathVector4d& s) {
           m.Scale(ToVec4D(s.x, s.y, s.z, 1));
         }},
    };
    for (const Case& c : cases) {
      TQelMatrix own = LoadIntoGL(start);
      c.gl(angle, v);
      c.own(own, angle, v);
      EXPECT_TRUE(MatrixNear(own, FromArray(GetMatrix(GL_MODELVIEW_MATRIX)), kGLTolerance))
          << c.name << " " << angle;
    }
  }
}

TEST_F(MatrixGL, GLMultAndPick) {
  Random rnd(4);
  const TQelMatrix m = RandomMatrix(rnd);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  m.GLMultMatrix();
  TQelMatrix picked;
  picked.PickGLModelviewMatrix();
  EXPECT_TRUE(MatrixNear(picked, m, 1e-7));
  EXPECT_TRUE(MatrixNear(picked, FromArray(GetMatrix(GL_MODELVIEW_MATRIX)), 0));

  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(45, 1.5, 0.1, 10);
  picked.PickGLProjectionMatrix();
  EXPECT_TRUE(MatrixNear(picked, FromArray(GetMatrix(GL_PROJECTION_MATRIX)), 0));
  glMatrixMode(GL_MODELVIEW);
}

TEST_F(MatrixGL, ProjectAgreesWithGluProjectApartFromTheFlippedY) {
  Random rnd(8);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(50, 1.3, 0.5, 40);
  const TQelMatrix projection = FromArray(GetMatrix(GL_PROJECTION_MATRIX));
  glMatrixMode(GL_MODELVIEW);
  const TQelMathVector4d viewport = ToVec4D(10, 20, 300, 200);
  const GLint glViewport[4] = {10, 20, 300, 200};
  for (int n = 0; n < 200; ++n) {
    TQelMatrix modelview = RandomMatrix(rnd);
    modelview.SetRow(3, ToVec4D(rnd.Uniform(-1, 1), rnd.Uniform(-1, 1), -10, 1));
    for (int j = 0; j < 3; ++j) modelview.SetValue(3, j, 0);
    const TQelMathVector4d v = ToVec4D(rnd.Uniform(-2, 2), rnd.Uniform(-2, 2), rnd.Uniform(-2, 2), 1);
    double x, y, z;
    ASSERT_TRUE(gluProject(v.x, v.y, v.z, modelview.Data(), projection.Data(), glViewport, &x, &y, &z));
    const TQelMathVector4d p = modelview.Project(v, viewport, projection);
    const double flippedY = 2 * viewport.y + viewport.w - y;
    EXPECT_NEAR(p.x, x, 1e-9 * std::max(1.0, std::fabs(x)));
    EXPECT_NEAR(p.y, flippedY, 1e-9 * std::max(1.0, std::fabs(y)));
    EXPECT_NEAR(p.z, z, 1e-12);

    double ox, oy, oz;
    ASSERT_TRUE(gluUnProject(x, y, z, modelview.Data(), projection.Data(), glViewport, &ox, &oy, &oz));
    const TQelMathVector4d u = modelview.UnProject(p, viewport, projection);
    EXPECT_TRUE(mathtest::VecNear(ToVec(u.x, u.y, u.z), ToVec(ox, oy, oz), 1e-8));
    EXPECT_TRUE(mathtest::VecNear(ToVec(u.x, u.y, u.z), ToVec(v.x, v.y, v.z), 1e-8));
    EXPECT_EQ(u.w, 1);
  }
}

TEST(Matrix, ProjectWithoutProjectionOrViewportUsesIdentityAndUnitViewport) {
  Random rnd(9);
  const TQelMatrix m = RandomMatrix(rnd);
  const TQelMathVector4d v = ToVec4D(0.3, -0.2, 0.7, 1);
  EXPECT_EQ(TQelMatrix::DefaultViewport, ToVec4D(0, 0, 1, 1));
  EXPECT_EQ(m.Project(v), m.Project(v, ToVec4D(0, 0, 1, 1), Identity()));
  EXPECT_EQ(m.Project(v, ToVec4D(5, 6, 70, 80)), m.Project(v, ToVec4D(5, 6, 70, 80), Identity()));
  const TQelMathVector4d back = m.UnProject(m.Project(v));
  EXPECT_TRUE(mathtest::VecNear(ToVec(back.x, back.y, back.z), ToVec(v.x, v.y, v.z), 1e-12));
  // The identity on the unit viewport: (x + 1) / 2 and the flipped y.
  const TQelMathVector4d p = Identity().Project(ToVec4D(0.5, 0.5, 0, 1));
  EXPECT_EQ(p, ToVec4D(0.75, 0.25, 0.5, 1));
}

TEST(Matrix, ProjectTakesWOneWhenTheProductHasWZero) {
  TQelMatrix m = Identity();
  m.SetValue(3, 3, 0);
  const TQelMathVector4d p = m.Project(ToVec4D(0.5, 0.5, 0.5, 1));
  EXPECT_EQ(p, ToVec4D(0.75, 0.25, 0.75, 0.5));
}

TEST(Matrix, UnProjectThroughSingularMatrixGivesZero) {
  TQelMatrix zero;
  EXPECT_EQ(zero.UnProject(ToVec4D(0.5, 0.5, 0.5, 1)), ToVec4D(0, 0, 0, 0));
}

TEST(Matrix, ProjectMatrixCarriesIntoSelfsFrame) {
  Random rnd(13);
  for (int n = 0; n < 20; ++n) {
    const TQelMatrix self = RandomMatrix(rnd), M = RandomMatrix(rnd);
    const TQelMatrix selfCopy(self), mCopy(M);
    const TQelMathVector4d v = ToVec4D(rnd.Uniform(-1, 1), rnd.Uniform(-1, 1), rnd.Uniform(-1, 1), 1);
    const TQelMathVector4d r = self.ProjectMatrix(M, v);
    const TQelMathVector4d back = self.MultVector(r), expected = M.MultVector(v);
    for (int k = 0; k < 4; ++k) EXPECT_NEAR(back[k], expected[k], 1e-10);
    const TQelMathVector r3 = self.ProjectMatrix(M, ToVec(v.x, v.y, v.z));
    EXPECT_EQ(r3, ToVec(r.x, r.y, r.z));
    EXPECT_TRUE(MatrixNear(self, selfCopy, 0));
    EXPECT_TRUE(MatrixNear(M, mCopy, 0));
  }
  TQelMatrix singular;
  EXPECT_EQ(singular.ProjectMatrix(Identity(), ToVec(1, 2, 3)), ZEROVEC);
}
