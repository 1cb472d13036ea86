// Moving and turning placements: objects (forward) and cameras (inverted)
// move along and turn about their own local axes; SetDefaultOrder keeps the
// placement.
#include "mathtest.h"
#include "qeltestbed.h"

using mathtest::MatrixNear;
using mathtest::MatrixOf;
using mathtest::Random;
using mathtest::VecNear;

namespace {

constexpr double kFloatTolerance = 2e-6;  // the parts are stored as floats
// Turning goes through float angles in [0, 360): about 3e-5 degrees each.
constexpr double kTurnTolerance = 2e-6;

TQelMathVector Apply(const TQelMatrix& m, const TQelMathVector& p, double w = 1) {
  const TQelMathVector4d r = m.MultVector(ToVec4D(p, w));
  return {r.x, r.y, r.z};
}

// Where the placement sits in parent coordinates: the object's origin, or the
// camera's eye.
TQelMathVector Position(TQelTransformation& t) {
  TQelMatrix m = MatrixOf(t, t.GetInverted());
  if (t.GetInverted()) m.Invert();
  return Apply(m, ZEROVEC);
}

TQelMathVector Turned(const TQelMathVector& p, const TQelMathVector& axis, double angle) {
  TQelMathVector r;
  QelMathRotateVec(p, axis, angle, r);
  return r;
}

TQelMathVector Scaled(const TQelMathVector& v, double s) { return {v.x * s, v.y * s, v.z * s}; }

TQelMathVector Sum(const TQelMathVector& a, const TQelMathVector& b) {
  TQelMathVector r;
  QelMathVectorAddition(a, b, r);
  return r;
}

// A random placement in random orders with a uniform scale (of either sign;
// for a camera often the usual (1, 1, 1)). An object may get a non-uniform
// scale; it is then applied before the rotation, as the default order does,
// since a non-uniform scale after a rotation skews, and no default order can
// hold that.
void RandomPlacement(TQelTransformation& t, Random& rnd, bool camera, bool nonUniform = false) {
  t.SetInverted(camera);
  t.SetOrder(TQelTransformationOrder(nonUniform ? rnd.Int(0, 2) : rnd.Int(0, 5)));
  t.GetRotation()->SetOrder(TQelRotationOrder(rnd.Int(0, 5)));
  mathtest::Randomize(t, rnd, true);
  if (camera && rnd.Coin()) t.GetScale()->SetValues(1, 1, 1);
  if (nonUniform) t.GetScale()->SetValues(rnd.Factor(), rnd.Factor(), rnd.Factor());
}

}  // namespace

TEST(AxisToAngles, InverseOfTheForwardAndInvertedRotations) {
  Random rnd(31);
  for (int n = 0; n < 500; ++n) {
    // The six axis directions first, then random ones.
    const double sign = n < 3 ? 1 : -1;
    const TQelMathVector axis = n < 6 ? ToVec(sign * (n % 3 == 0), sign * (n % 3 == 1), sign * (n % 3 == 2))
                                      : rnd.Direction();
    TQelMathVector angles;
    // Forwards in order roYXZ.
    QelMathAxisToAngles(axis, angles, false);
    EXPECT_EQ(angles.z, 0);
    EXPECT_GE(angles.x, -90);
    EXPECT_LE(angles.x, 90);
    TQelRotation forward;
    forward.SetOrder(roYXZ);
    forward.SetValues(angles.x, angles.y, rnd.UniformF(-180, 180));  // z turns about the axis itself
    TQelMatrix m;
    m.SetIdentityMatrix();
    forward.CalcMatrix(m, false);
    EXPECT_TRUE(VecNear(Apply(m, ToVec(0, 0, 1)), axis, 1e-6)) << mathtest::Str(axis);
    // Inverted in order roZXY: the negated angles.
    TQelMathVector negated;
    QelMathAxisToAngles(axis, negated, true);
    EXPECT_EQ(negated, Scaled(angles, -1));
    TQelRotation inverted;
    inverted.SetOrder(roZXY);
    inverted.SetValues(negated.x, negated.y, rnd.UniformF(-180, 180));
    m.SetIdentityMatrix();
    inverted.CalcMatrix(m, true);
    EXPECT_TRUE(VecNear(Apply(m, ToVec(0, 0, 1)), axis, 1e-6)) << mathtest::Str(axis);
  }
  TQelMathVector angles = ToVec(1, 2, 3);
  QelMathAxisToAngles(ZEROVEC, angles, false);
  EXPECT_EQ(angles, ZEROVEC);
}

TEST(Movement, SetDefaultOrderKeepsThePlacement) {
  Random rnd(41);
  for (bool camera : {false, true})
    for (int n = 0; n < 200; ++n) {
      TQelTransformation t;
      RandomPlacement(t, rnd, camera, !camera && n % 2);
      const TQelMatrix before = MatrixOf(t, camera);
      const bool alreadyDefault = camera ? t.GetOrder() == toScaRotTra && t.GetRotation()->GetOrder() == roZXY
                                         : t.GetOrder() == toTraRotSca && t.GetRotation()->GetOrder() == roYXZ;
      t.SetDefaultOrder();
      EXPECT_EQ(t.GetOrder(), camera ? toScaRotTra : toTraRotSca);
      EXPECT_EQ(t.GetRotation()->GetOrder(), camera ? roZXY : roYXZ);
      EXPECT_EQ(t.GetOrderSwitched(), !alreadyDefault);
      ASSERT_TRUE(MatrixNear(MatrixOf(t, camera), before, kFloatTolerance)) << n;
    }
}

TEST(Movement, SetDefaultOrderInTheDefaultOrderChangesNothing) {
  TQelTransformation t;
  t.SetOrder(toTraRotSca);
  t.GetRotation()->SetOrder(roYXZ);
  t.GetRotation()->SetValues(10, 20, 30);
  mathtest::ChangeCounter c;
  t.OnChange = c.Handler();
  t.SetDefaultOrder();
  EXPECT_EQ(c.count, 0);
  EXPECT_FALSE(t.GetOrderSwitched());
  EXPECT_EQ(t.GetRotation()->GetAsMathVector(), ToVec(10, 20, 30));
}

TEST(Movement, LocalAxesOfAnObjectAreItsMatrixColumns) {
  Random rnd(43);
  for (int n = 0; n < 50; ++n) {
    TQelTransformation t;
    RandomPlacement(t, rnd, false, true);
    const TQelMatrix m = MatrixOf(t, false);
    for (int axis = 0; axis < 3; ++axis) {
      TQelMathVector expected = Apply(m, ToVec(axis == 0, axis == 1, axis == 2), 0);
      QelMathNormalize(expected);
      EXPECT_TRUE(VecNear(t.GetMoveVector(axis), expected, 1e-12));
    }
  }
  TQelTransformation t;
  EXPECT_EQ(t.GetMoveVector(3), ZEROVEC);
  EXPECT_EQ(t.GetMoveVector(-1), ZEROVEC);
  EXPECT_EQ(t.GetMoveVector(2), ToVec(0, 0, 1));
}

// A camera's local z axis is its viewing direction, x points left and y down
// in the picture.
TEST(Movement, LocalAxesOfACameraPointLeftDownAndAhead) {
  Random rnd(47);
  for (int n = 0; n < 100; ++n) {
    TQelTransformation t;
    RandomPlacement(t, rnd, true);
    const TQelMatrix view = MatrixOf(t, true);
    const TQelMathVector eye = Position(t);
    const TQelMathVector ahead = Apply(view, Sum(eye, t.GetMoveVector(2)));
    EXPECT_NEAR(ahead.x, 0, 1e-5);
    EXPECT_NEAR(ahead.y, 0, 1e-5);
    EXPECT_LT(ahead.z, 0);
    const TQelMathVector left = Apply(view, Sum(eye, t.GetMoveVector(0)));
    EXPECT_LT(left.x, 0);
    EXPECT_NEAR(left.y, 0, 1e-5);
    EXPECT_NEAR(left.z, 0, 1e-5);
    const TQelMathVector down = Apply(view, Sum(eye, t.GetMoveVector(1)));
    EXPECT_NEAR(down.x, 0, 1e-5);
    EXPECT_LT(down.y, 0);
    EXPECT_NEAR(down.z, 0, 1e-5);
  }
  // The default camera sits at the origin and looks along +z.
  TQelTransformation camera;
  camera.SetInverted(true);
  EXPECT_TRUE(VecNear(camera.GetMoveVector(2), ToVec(0, 0, 1), 0));
  EXPECT_TRUE(VecNear(camera.GetMoveVector(0), ToVec(1, 0, 0), 0));
}

TEST(Movement, MoveAlongTheLocalAxes) {
  Random rnd(53);
  for (bool camera : {false, true})
    for (int n = 0; n < 100; ++n) {
      TQelTransformation t;
      RandomPlacement(t, rnd, camera, !camera && n % 2);
      const int axis = n % 3;
      const double d = rnd.Uniform(-3, 3);
      const TQelMathVector along = t.GetMoveVector(axis);
      const TQelMathVector axesBefore[3] = {t.GetMoveVector(0), t.GetMoveVector(1), t.GetMoveVector(2)};
      const TQelMathVector start = Position(t);
      if (axis == 0) t.MoveX(d);
      if (axis == 1) t.MoveY(d);
      if (axis == 2) t.MoveZ(d);
      EXPECT_TRUE(VecNear(Position(t), Sum(start, Scaled(along, d)), 1e-5)) << camera << " " << n;
      for (int k = 0; k < 3; ++k)  // moving does not turn
        EXPECT_TRUE(VecNear(t.GetMoveVector(k), axesBefore[k], 1e-5));
    }
}

TEST(Movement, MoveVecMovesTheViewer) {
  Random rnd(59);
  for (bool camera : {false, true})
    for (int n = 0; n < 50; ++n) {
      TQelTransformation t;
      RandomPlacement(t, rnd, camera);
      const TQelMathVector direction = Scaled(rnd.Direction(), rnd.Uniform(0.5, 2));
      const double d = rnd.Uniform(-3, 3);
      const TQelMathVector start = Position(t);
      t.MoveVec(d, direction);
      // A camera moves along direction, an object the opposite way.
      const TQelMathVector expected = Sum(start, Scaled(direction, camera ? d : -d));
      EXPECT_TRUE(VecNear(Position(t), expected, 1e-5)) << camera << " " << n;
    }
}

TEST(Movement, TurnAboutTheLocalAxes) {
  Random rnd(61);
  for (bool camera : {false, true})
    for (int n = 0; n < 300; ++n) {
      TQelTransformation t;
      RandomPlacement(t, rnd, camera, !camera && n % 2);
      const int axis = n % 3;
      const double angle = rnd.Uniform(-200, 200);
      const TQelMathVector before[3] = {t.GetMoveVector(0), t.GetMoveVector(1), t.GetMoveVector(2)};
      const TQelMathVector start = Position(t);
      if (axis == 0) t.TurnX(angle);
      if (axis == 1) t.TurnY(angle);
      if (axis == 2) t.TurnZ(angle);
      for (int k = 0; k < 3; ++k) {
        // An object turns right-handed about its axis. A camera turns as its
        // picture shows, whether its axes (left, down, ahead) are mirrored or
        // not: about x ahead goes down, about y ahead goes left, about z left
        // goes up (clockwise); the other axis follows in the same plane.
        TQelMathVector expected = Turned(before[k], before[axis], angle);
        if (camera && k != axis) {
          const int from = axis == 2 ? 0 : 2, to = axis == 0 ? 1 : axis == 1 ? 0 : 1;
          const double sign = axis == 2 ? -1 : 1;  // left goes towards up, i.e. away from down
          const double c = std::cos(angle * M_PI / 180), s = sign * std::sin(angle * M_PI / 180);
          expected = k == from ? Sum(Scaled(before[from], c), Scaled(before[to], s))
                               : Sum(Scaled(before[to], c), Scaled(before[from], -s));
        }
        ASSERT_TRUE(VecNear(t.GetMoveVector(k), expected, kTurnTolerance))
            << (camera ? "camera" : "object") << " turn about " << axis << " axis " << k << " n " << n;
      }
      EXPECT_TRUE(VecNear(Position(t), start, 1e-5 * std::max(1.0, QelMathVectorLength(start))));
      const TQelMathVector angles = t.GetRotation()->GetAsMathVector();
      for (int k = 0; k < 3; ++k) {
        EXPECT_GE(angles[k], 0);
        EXPECT_LT(angles[k], 360);
      }
    }
}

TEST(Movement, TurnVecAboutAnyAxis) {
  Random rnd(67);
  for (bool camera : {false, true})
    for (int n = 0; n < 100; ++n) {
      TQelTransformation t;
      RandomPlacement(t, rnd, camera);
      const TQelMathVector axis = Scaled(rnd.Direction(), rnd.Uniform(0.2, 5));  // need not be unit
      TQelMathVector unit = axis;
      QelMathNormalize(unit);
      const double angle = rnd.Uniform(-360, 360);
      const TQelMathVector before[3] = {t.GetMoveVector(0), t.GetMoveVector(1), t.GetMoveVector(2)};
      const TQelMathVector start = Position(t);
      t.TurnVec(angle, axis);
      for (int k = 0; k < 3; ++k)
        ASSERT_TRUE(VecNear(t.GetMoveVector(k), Turned(before[k], unit, angle), kTurnTolerance))
            << camera << " " << n;
      EXPECT_TRUE(VecNear(Position(t), start, 1e-5 * std::max(1.0, QelMathVectorLength(start))));
    }
}

TEST(Movement, TurnAboutAZeroAxisDoesNothing) {
  TQelTransformation t;
  t.GetRotation()->SetValues(10, 20, 30);
  mathtest::ChangeCounter c;
  t.OnChange = c.Handler();
  t.TurnVec(45, ZEROVEC);
  EXPECT_EQ(c.count, 0);
  EXPECT_EQ(t.GetOrder(), toRotTraSca);
}

// Straight through the gimbal: an object pitched to look straight up turns on.
TEST(Movement, TurnThroughTheVertical) {
  for (bool camera : {false, true}) {
    TQelTransformation t;
    t.SetInverted(camera);
    for (int step = 0; step < 12; ++step) {
      const TQelMathVector before[3] = {t.GetMoveVector(0), t.GetMoveVector(1), t.GetMoveVector(2)};
      t.TurnX(15);
      // This camera's axes are mirrored (scale (1, 1, 1)): looking down is
      // left-handed about its x axis.
      for (int k = 0; k < 3; ++k)
        ASSERT_TRUE(VecNear(t.GetMoveVector(k), Turned(before[k], before[0], camera ? -15 : 15), 1e-5))
            << camera << " step " << step;
    }
    // Twelve steps of 15 degrees: a half turn about x.
    EXPECT_TRUE(VecNear(t.GetMoveVector(2), ToVec(0, 0, -1), 1e-5));
    EXPECT_TRUE(VecNear(t.GetMoveVector(1), ToVec(0, -1, 0), 1e-5));
  }
}

// A walk: turn a quarter left about y, then forward; the camera ends up
// beside where it started.
TEST(Movement, CameraWalk) {
  TQelTransformation camera;
  camera.SetInverted(true);
  camera.GetTranslation()->SetValues(0, 0, 5);
  const TQelMathVector start = Position(camera);
  camera.TurnY(90);
  EXPECT_TRUE(VecNear(camera.GetMoveVector(2), Turned(ToVec(0, 0, 1), ToVec(0, 1, 0), 90), 1e-6));
  camera.MoveZ(2);
  EXPECT_TRUE(VecNear(Position(camera), Sum(start, ToVec(2, 0, 0)), 1e-5));
}

TEST(Movement, SwitchingTheModeRebuildsTheAxes) {
  TQelTransformation t;
  t.GetScale()->SetValues(1, 1, -1);
  EXPECT_TRUE(VecNear(t.GetMoveVector(2), ToVec(0, 0, -1), 0));
  t.SetInverted(true);
  EXPECT_TRUE(VecNear(t.GetMoveVector(2), ToVec(0, 0, -1), 0));
  EXPECT_TRUE(VecNear(t.GetMoveVector(0), ToVec(1, 0, 0), 0));
}
