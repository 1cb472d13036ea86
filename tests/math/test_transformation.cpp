// Transformations: the GL calls Execute issues, CalcMatrix against the GL
// matrix for every pair of orders, decomposition, notification and wiring.
#include <numbers>

#include "mathtest.h"
#include "qeltestbed.h"

using mathtest::ChangeCounter;
using mathtest::FromArray;
using mathtest::MatrixNear;
using mathtest::MatrixOf;
using mathtest::Random;
using qeltest::GLCall;
using qeltest::GLRecorder;

namespace {

// Mesa builds the GL matrix in single precision (glRotatef's sine and cosine
// and every product and sum are rounded to float; glGetDoublev hands out those
// floats), so the exact double CalcMatrix, computed from the same float inputs,
// can only agree to float rounding: a few float epsilons (1.2e-7) of the terms
// summed. In the translation column those terms (factors up to 3 times offsets
// up to 10) can be several times larger than the result after cancellation;
// the worst seen is about 1e-6 of the matrix's largest element, hence 4e-6.
constexpr double kGLTolerance = 4e-6;
// GetFromMatrix stores float angles, factors and offsets: a round trip keeps
// the matrix to a few float epsilons of its magnitude.
constexpr double kFloatTolerance = 2e-6;

TQelMatrix GLMatrixOf(TQelTransformation& t, bool inverse) {
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  t.Execute(inverse);
  return mathtest::GLModelview();
}

// The matrix the recorded GL calls describe, computed in double with the
// formulas of the GL reference pages (glRotate for a general axis), from the
// parts' exact float values: the recorder prints only 7 digits, so its text
// gives the call sequence and the axes, the parts give the numbers.
TQelMatrix ReplayInDouble(const std::vector<std::string>& calls, TQelTransformation& t,
                          bool inverse) {
  using M4 = std::array<double, 16>;  // column-major, as GL
  M4 m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  auto multiply = [&m](const M4& r) {
    M4 p{};
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < 4; ++j)
        for (int k = 0; k < 4; ++k) p[4 * j + i] += m[4 * k + i] * r[4 * j + k];
    m = p;
  };
  const double sign = inverse ? -1 : 1;
  for (const std::string& call : calls) {
    std::vector<double> args;
    std::stringstream in(call.substr(call.find('(') + 1));
    for (std::string arg; std::getline(in, arg, ',');) args.push_back(std::stod(arg));
    const std::string name = call.substr(0, call.find('('));
    if (name == "glRotatef") {
      const int axis = args[1] != 0 ? 0 : args[2] != 0 ? 1 : 2;
      const double a = t.GetRotation()->GetAsMathVector()[axis] * std::numbers::pi / 180;
      const double x = args[1], y = args[2], z = args[3], c = std::cos(a), s = std::sin(a);
      EXPECT_EQ(x * x + y * y + z * z, 1) << call;
      multiply({x * x * (1 - c) + c, y * x * (1 - c) + z * s, x * z * (1 - c) - y * s, 0,
                x * y * (1 - c) - z * s, y * y * (1 - c) + c, y * z * (1 - c) + x * s, 0,
                x * z * (1 - c) + y * s, y * z * (1 - c) - x * s, z * z * (1 - c) + c, 0, 0, 0, 0, 1});
    } else if (name == "glScalef") {
      const TQelMathVector v = t.GetScale()->GetAsMathVector();
      multiply({sign * v.x, 0, 0, 0, 0, sign * v.y, 0, 0, 0, 0, sign * v.z, 0, 0, 0, 0, 1});
    } else if (name == "glTranslatef") {
      const TQelMathVector v = t.GetTranslation()->GetAsMathVector();
      multiply({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, sign * v.x, sign * v.y, sign * v.z, 1});
    } else {
      ADD_FAILURE() << "unexpected call " << call;
    }
  }
  return FromArray(m);
}

std::string Orders(TQelTransformation& t, bool inverse) {
  return std::string(TQelTransformationOrderStr[t.GetOrder()]) + " " +
         TQelRotationOrderStr[t.GetRotation()->GetOrder()] + (inverse ? " inverted" : " forward");
}

}  // namespace

TEST(Transformation, NameTables) {
  EXPECT_STREQ(TQelRotationOrderStr[roXYZ], "roXYZ");
  EXPECT_STREQ(TQelRotationOrderStr[roXZY], "roXZY");
  EXPECT_STREQ(TQelRotationOrderStr[roYXZ], "roYXZ");
  EXPECT_STREQ(TQelRotationOrderStr[roZYX], "roZYX");
  EXPECT_STREQ(TQelRotationOrderStr[roYZX], "roYZX");
  EXPECT_STREQ(TQelRotationOrderStr[roZXY], "roZXY");
  EXPECT_STREQ(TQelTransformationOrderStr[toRotTraSca], "toRotTraSca");
  EXPECT_STREQ(TQelTransformationOrderStr[toRotScaTra], "toRotScaTra");
  EXPECT_STREQ(TQelTransformationOrderStr[toTraRotSca], "toTraRotSca");
  EXPECT_STREQ(TQelTransformationOrderStr[toScaTraRot], "toScaTraRot");
  EXPECT_STREQ(TQelTransformationOrderStr[toTraScaRot], "toTraScaRot");
  EXPECT_STREQ(TQelTransformationOrderStr[toScaRotTra], "toScaRotTra");
}

TEST(Transformation, Defaults) {
  TQelTransformation t;
  EXPECT_EQ(t.GetOrder(), toRotTraSca);
  EXPECT_EQ(t.GetRotation()->GetOrder(), roXYZ);
  EXPECT_EQ(t.GetRotation()->GetAsMathVector(), ZEROVEC);
  EXPECT_EQ(t.GetScale()->GetAsMathVector(), ToVec(1, 1, 1));
  EXPECT_EQ(t.GetTranslation()->GetAsMathVector(), ZEROVEC);
  EXPECT_TRUE(t.GetRotation()->GetEmpty());
  EXPECT_TRUE(t.GetScale()->GetEmpty());
  EXPECT_TRUE(t.GetTranslation()->GetEmpty());
  EXPECT_FALSE(t.GetInverted());
  EXPECT_EQ(t.GetTransform(0), t.GetRotation());
  EXPECT_EQ(t.GetTransform(1), t.GetScale());
  EXPECT_EQ(t.GetTransform(2), t.GetTranslation());
  EXPECT_EQ(t.GetTransform(3), nullptr);
  EXPECT_EQ(t.GetTransform(-1), nullptr);
  EXPECT_TRUE(MatrixOf(t, false).IsIdentityMatrix());
}

TEST(Transformation, ModAngle) {
  EXPECT_EQ(TQelTransformation::ModAngle(-90), 270);
  EXPECT_EQ(TQelTransformation::ModAngle(360), 0);
  EXPECT_EQ(TQelTransformation::ModAngle(725), 5);
  EXPECT_EQ(TQelTransformation::ModAngle(0), 0);
  EXPECT_EQ(TQelTransformation::ModAngle(359.5), 359.5);
  EXPECT_EQ(TQelTransformation::ModAngle(-360), 0);
  EXPECT_EQ(TQelTransformation::ModAngle(-720.25), 359.75);
  EXPECT_EQ(TQelTransformation::ModAngle(1e6), 1e6 - 2777 * 360);
  EXPECT_EQ(TQelTransformation::ModAngle(-1e-14), 0);  // not 360
  EXPECT_EQ(TQelTransformation::ModAngle(std::nan("")), 0);
  EXPECT_EQ(TQelTransformation::ModAngle(-INFINITY), 0);
}

using TransformationGL = QelGLTest;

TEST_F(TransformationGL, IdentityIssuesNothingForwardsAndScaleTranslateInverted) {
  TQelTransformation t;
  GLRecorder rec;
  t.Execute();
  EXPECT_TRUE(rec.Calls().empty());
  t.Execute(true);
  EXPECT_EQ(rec.Calls(), (std::vector<std::string>{GLCall("glScalef", -1.0f, -1.0f, -1.0f),
                                                   GLCall("glTranslatef", 0.0f, 0.0f, 0.0f)}));
}

TEST_F(TransformationGL, RotationIssuesItsAxesInOrderAndReversedNegatedInverted) {
  TQelRotation r;
  GLRecorder rec;
  r.Execute(true);
  EXPECT_TRUE(rec.Calls().empty());
  r.SetValues(10, 20, 0);  // all three axes are issued once one angle is set
  r.SetOrder(roXZY);
  r.Execute();
  EXPECT_EQ(rec.Calls(), (std::vector<std::string>{GLCall("glRotatef", 10.0f, 1.0f, 0.0f, 0.0f),
                                                   GLCall("glRotatef", 0.0f, 0.0f, 0.0f, 1.0f),
                                                   GLCall("glRotatef", 20.0f, 0.0f, 1.0f, 0.0f)}));
  rec.Clear();
  r.Execute(true);
  EXPECT_EQ(rec.Calls(), (std::vector<std::string>{GLCall("glRotatef", 20.0f, 0.0f, -1.0f, 0.0f),
                                                   GLCall("glRotatef", 0.0f, 0.0f, 0.0f, -1.0f),
                                                   GLCall("glRotatef", 10.0f, -1.0f, 0.0f, 0.0f)}));
}

TEST_F(TransformationGL, PartsRunInTheOrdersSequence) {
  TQelTransformation t;
  t.GetRotation()->SetX(30);
  t.GetScale()->SetValues(2, 3, 4);
  t.GetTranslation()->SetValues(5, 6, 7);
  const std::vector<std::string> sequences[6] = {
      {"glRotatef", "glTranslatef", "glScalef"}, {"glRotatef", "glScalef", "glTranslatef"},
      {"glTranslatef", "glRotatef", "glScalef"}, {"glScalef", "glTranslatef", "glRotatef"},
      {"glTranslatef", "glScalef", "glRotatef"}, {"glScalef", "glRotatef", "glTranslatef"}};
  auto collapse = [](std::vector<std::string> names) {
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
  };
  for (int order = 0; order < 6; ++order) {
    t.SetOrder(TQelTransformationOrder(order));
    GLRecorder rec;
    t.Execute(false);
    EXPECT_EQ(collapse(rec.Names()), sequences[order]) << order;
    rec.Clear();
    t.Execute(true);
    EXPECT_EQ(collapse(rec.Names()), sequences[(order + 3) % 6]) << order;
  }
  t.SetOrder(toRotTraSca);
  GLRecorder rec;
  t.Execute(true);
  EXPECT_EQ(rec.Only({"glScalef", "glTranslatef"}),
            (std::vector<std::string>{GLCall("glScalef", -2.0f, -3.0f, -4.0f),
                                      GLCall("glTranslatef", -5.0f, -6.0f, -7.0f)}));
}

TEST_F(TransformationGL, EmptyPartsAreSkippedForwards) {
  TQelTransformation t;
  t.GetScale()->SetValues(1, 2, 1);
  GLRecorder rec;
  t.Execute();
  EXPECT_EQ(rec.Calls(), std::vector<std::string>{GLCall("glScalef", 1.0f, 2.0f, 1.0f)});
}

TEST_F(TransformationGL, ForwardThenInvertedUndoesRotationAndTranslation) {
  Random rnd(2);
  for (int order = 0; order < 6; ++order) {
    TQelRotation r;
    r.SetOrder(TQelRotationOrder(order));
    r.SetValues(rnd.UniformF(-180, 180), rnd.UniformF(-180, 180), rnd.UniformF(-180, 180));
    TQelTranslation t;
    t.SetValues(rnd.UniformF(-5, 5), rnd.UniformF(-5, 5), rnd.UniformF(-5, 5));
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    r.Execute();
    t.Execute();
    t.Execute(true);
    r.Execute(true);
    TQelMatrix identity;
    identity.SetIdentityMatrix();
    EXPECT_TRUE(MatrixNear(FromArray(GetMatrix(GL_MODELVIEW_MATRIX)), identity, kGLTolerance));
  }
}

// Every pair of orders, forwards and inverted, with random rotation, scale
// (negative factors included) and translation.
TEST_F(TransformationGL, CalcMatrixEqualsTheGLMatrixAndGetFromMatrixGivesItBack) {
  Random rnd(1);
  double worstGL = 0;
  for (int order = 0; order < 6; ++order)
    for (int rotationOrder = 0; rotationOrder < 6; ++rotationOrder)
      for (bool inverse : {false, true})
        for (int n = 0; n < 10; ++n) {
          TQelTransformation t;
          t.SetOrder(TQelTransformationOrder(order));
          t.GetRotation()->SetOrder(TQelRotationOrder(rotationOrder));
          mathtest::Randomize(t, rnd);
          const TQelMatrix own = MatrixOf(t, inverse);
          GLRecorder rec;
          const TQelMatrix gl = GLMatrixOf(t, inverse);
          // The exact product of the calls, in double; and what the
          // single-precision GL made of them.
          ASSERT_TRUE(MatrixNear(own, ReplayInDouble(rec.Only({"glRotatef", "glScalef", "glTranslatef"}), t, inverse), 1e-9))
              << Orders(t, inverse);
          ASSERT_TRUE(MatrixNear(own, gl, kGLTolerance)) << Orders(t, inverse);
          for (int k = 0; k < 16; ++k)
            worstGL = std::max(worstGL, std::fabs(own.Data()[k] - gl.Data()[k]) /
                                            std::max(1.0, mathtest::MaxAbs(own.Data())));

          TQelTransformation back;
          back.SetOrder(t.GetOrder());
          back.GetRotation()->SetOrder(t.GetRotation()->GetOrder());
          back.GetFromMatrix(own, inverse);
          ASSERT_TRUE(MatrixNear(MatrixOf(back, inverse), own, kFloatTolerance))
              << Orders(t, inverse);
        }
  RecordProperty("WorstRelativeDifferenceToGL", std::to_string(worstGL));
}

// The middle angle of every rotation order at +-90 degrees (gimbal lock), and
// half turns.
TEST(Transformation, GetFromMatrixHandlesDegenerateAngles) {
  const int middleAxis[6] = {1, 2, 0, 1, 2, 0};  // of roXYZ ... roZXY
  Random rnd(6);
  for (int rotationOrder = 0; rotationOrder < 6; ++rotationOrder)
    for (float middle : {90.0f, -90.0f, 270.0f, 180.0f, 0.0f})
      for (bool inverse : {false, true})
        for (int n = 0; n < 5; ++n) {
          TQelTransformation t;
          t.SetOrder(TQelTransformationOrder(rnd.Int(0, 5)));
          t.GetRotation()->SetOrder(TQelRotationOrder(rotationOrder));
          mathtest::Randomize(t, rnd);
          float angles[3] = {t.GetRotation()->GetX(), t.GetRotation()->GetY(), t.GetRotation()->GetZ()};
          angles[middleAxis[rotationOrder]] = middle;
          if (n == 0) angles[(middleAxis[rotationOrder] + 1) % 3] = 180;
          t.GetRotation()->SetValues(angles[0], angles[1], angles[2]);
          const TQelMatrix m = MatrixOf(t, inverse);
          TQelTransformation back;
          back.SetOrder(t.GetOrder());
          back.GetRotation()->SetOrder(TQelRotationOrder(rotationOrder));
          back.GetFromMatrix(m, inverse);
          ASSERT_TRUE(MatrixNear(MatrixOf(back, inverse), m, kFloatTolerance))
              << Orders(t, inverse) << " middle " << middle;
        }
}

TEST(Transformation, GetFromMatrixKeepsScaleSignsThatFit) {
  TQelTransformation t;
  t.SetOrder(toTraRotSca);
  t.GetRotation()->SetValues(10, 20, 30);
  t.GetScale()->SetValues(-2, 3, 4);
  const TQelMatrix m = MatrixOf(t, false);
  t.GetFromMatrix(m);
  EXPECT_NEAR(t.GetScale()->GetX(), -2, 1e-6);
  EXPECT_NEAR(t.GetScale()->GetY(), 3, 1e-6);
  EXPECT_NEAR(t.GetRotation()->GetX(), 10, 1e-4);
  EXPECT_NEAR(t.GetRotation()->GetZ(), 30, 1e-4);
  // Signs that do not fit the matrix's handedness: a mirror gets (-, -, -).
  TQelTransformation fresh;
  fresh.SetOrder(toTraRotSca);
  fresh.GetFromMatrix(m);
  EXPECT_LT(fresh.GetScale()->GetX(), 0);
  EXPECT_LT(fresh.GetScale()->GetY(), 0);
  EXPECT_LT(fresh.GetScale()->GetZ(), 0);
  EXPECT_TRUE(MatrixNear(MatrixOf(fresh, false), m, kFloatTolerance));
}

TEST(Transformation, GetFromMatrixWithACollapsedAxis) {
  Random rnd(17);
  for (int order = 0; order < 6; ++order)
    for (bool inverse : {false, true}) {
      TQelTransformation t;
      t.SetOrder(TQelTransformationOrder(order));
      mathtest::Randomize(t, rnd);
      t.GetScale()->SetY(0);
      const TQelMatrix m = MatrixOf(t, inverse);
      TQelTransformation back;
      back.SetOrder(t.GetOrder());
      back.GetFromMatrix(m, inverse);
      EXPECT_TRUE(MatrixNear(MatrixOf(back, inverse), m, kFloatTolerance)) << Orders(t, inverse);
    }
}

TEST(Transformation, OneArgumentGetFromMatrixFollowsTheInvertedFlag) {
  Random rnd(23);
  TQelTransformation t;
  t.SetInverted(true);
  t.SetOrder(toScaTraRot);
  mathtest::Randomize(t, rnd);
  const TQelMatrix m = MatrixOf(t, true);
  TQelTransformation back;
  back.SetInverted(true);
  back.SetOrder(toScaTraRot);
  back.GetFromMatrix(m);
  EXPECT_TRUE(MatrixNear(MatrixOf(back, true), m, kFloatTolerance));
}

TEST(Transformation, PartChangesNotifyTheTransformationOnce) {
  TQelTransformation t;
  ChangeCounter c;
  t.OnChange = c.Handler();
  t.GetRotation()->SetX(10);
  EXPECT_EQ(c.count, 1);
  EXPECT_EQ(c.last, &t);
  t.GetRotation()->SetX(10);
  t.GetScale()->SetValues(1, 1, 1);
  t.GetTranslation()->SetZ(0);
  EXPECT_EQ(c.count, 1);
  t.GetScale()->SetZ(2);
  t.GetTranslation()->SetY(-1);
  t.GetRotation()->SetOrder(roZXY);
  EXPECT_EQ(c.count, 4);
  t.GetRotation()->SetOrder(roZXY);
  t.GetRotation()->SetOrder(TQelRotationOrder(6));
  EXPECT_EQ(t.GetRotation()->GetOrder(), roZXY);
  EXPECT_EQ(c.count, 4);
}

TEST(Transformation, SetOrderNotifiesOnChangeAndIgnoresOutOfRange) {
  TQelTransformation t;
  ChangeCounter c;
  t.OnChange = c.Handler();
  t.SetOrder(toRotTraSca);
  EXPECT_EQ(c.count, 0);
  t.SetOrder(toScaRotTra);
  EXPECT_EQ(c.count, 1);
  t.SetOrder(TQelTransformationOrder(6));
  t.SetOrder(TQelTransformationOrder(-1));
  EXPECT_EQ(t.GetOrder(), toScaRotTra);
  EXPECT_EQ(c.count, 1);
}

TEST(Transformation, ClearResetsAndKeepsThePartsWired) {
  TQelTransformation t;
  t.SetOrder(toTraScaRot);
  t.GetRotation()->SetValues(1, 2, 3);
  t.GetRotation()->SetOrder(roYZX);
  t.GetScale()->SetValues(4, 5, 6);
  t.GetTranslation()->SetValues(7, 8, 9);
  ChangeCounter c;
  t.OnChange = c.Handler();
  t.Clear();
  EXPECT_EQ(c.count, 0);
  EXPECT_EQ(t.GetOrder(), toRotTraSca);
  EXPECT_EQ(t.GetRotation()->GetOrder(), roXYZ);
  EXPECT_EQ(t.GetRotation()->GetAsMathVector(), ZEROVEC);
  EXPECT_EQ(t.GetScale()->GetAsMathVector(), ToVec(1, 1, 1));
  EXPECT_EQ(t.GetTranslation()->GetAsMathVector(), ZEROVEC);
  t.GetRotation()->SetY(5);
  t.GetScale()->SetY(5);
  t.GetTranslation()->SetY(5);
  EXPECT_EQ(c.count, 3);
}

TEST(Transformation, AssignCopiesPartsAndOrderAndKeepsThePartsWired) {
  TQelTransformation source, target;
  ChangeCounter sourceCount, targetCount;
  source.OnChange = sourceCount.Handler();
  source.SetOrder(toScaTraRot);
  source.GetRotation()->SetOrder(roZYX);
  source.GetRotation()->SetValues(10, 20, 30);
  source.GetScale()->SetValues(-1, 2, 3);
  source.GetTranslation()->SetValues(4, 5, 6);
  target.SetInverted(true);
  target.OnChange = targetCount.Handler();
  sourceCount.count = 0;

  target.Assign(&source);
  EXPECT_GT(targetCount.count, 0);
  EXPECT_EQ(sourceCount.count, 0);
  EXPECT_EQ(target.GetOrder(), toScaTraRot);
  EXPECT_EQ(target.GetRotation()->GetOrder(), roZYX);
  EXPECT_EQ(target.GetRotation()->GetAsMathVector(), ToVec(10, 20, 30));
  EXPECT_EQ(target.GetScale()->GetAsMathVector(), ToVec(-1, 2, 3));
  EXPECT_EQ(target.GetTranslation()->GetAsMathVector(), ToVec(4, 5, 6));
  EXPECT_TRUE(target.GetInverted());  // the mode stays the owner's
  EXPECT_TRUE(MatrixNear(MatrixOf(target, false), MatrixOf(source, false), 0));

  // The target's parts report to the target, which now carries the source's
  // handler (deliberate; owners re-wire it).
  int targetNotified = 0;
  target.OnChange = [&](TObject* sender) {
    EXPECT_EQ(sender, &target);
    ++targetNotified;
  };
  target.GetTranslation()->SetX(0);
  target.GetRotation()->SetX(0);
  target.GetScale()->SetX(1);
  EXPECT_EQ(targetNotified, 3);
  EXPECT_EQ(sourceCount.count, 0);
  // The source's parts still report to the source only.
  source.GetScale()->SetX(9);
  EXPECT_EQ(sourceCount.count, 1);
  EXPECT_EQ(targetNotified, 3);
}

TEST(Transformation, AssignHandsOverTheSourcesHandler) {
  TQelTransformation source, target;
  ChangeCounter sourceCount;
  source.OnChange = sourceCount.Handler();
  target.Assign(&source);
  target.GetRotation()->SetX(5);
  EXPECT_EQ(sourceCount.count, 1);
  EXPECT_EQ(sourceCount.last, &target);
}
