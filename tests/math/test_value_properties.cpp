// Value properties notify their owner exactly when a value changes and ignore
// values out of range silently.
#include "mathtest.h"

using mathtest::ChangeCounter;

TEST(ValueProperties, Tolerance) { EXPECT_FLOAT_EQ(tolerance, 0.001f); }

TEST(ValueProperties, VectorNotifiesOnlyOnChange) {
  TQelVector v;
  ChangeCounter c;
  v.OnChange = c.Handler();
  EXPECT_EQ(v.GetAsMathVector(), ZEROVEC);
  v.SetX(0);
  v.SetY(0);
  v.SetZ(0);
  EXPECT_EQ(c.count, 0);
  v.SetX(1.5f);
  EXPECT_EQ(c.count, 1);
  EXPECT_EQ(c.last, &v);
  v.SetX(1.5f);
  EXPECT_EQ(c.count, 1);
  v.SetValues(1.5f, 2, 0);  // only y differs
  EXPECT_EQ(c.count, 2);
  v.incZ(0.25f);
  v.incY(0);
  EXPECT_EQ(c.count, 3);
  EXPECT_EQ(v.GetAsMathVector(), ToVec(1.5, 2, 0.25));
}

TEST(ValueProperties, SetAsMathVectorRoundsToFloatAndAlwaysNotifies) {
  TQelVector v;
  ChangeCounter c;
  v.OnChange = c.Handler();
  v.SetAsMathVector(ToVec(0.1, 2, 3));
  EXPECT_EQ(c.count, 1);
  EXPECT_EQ(v.GetX(), 0.1f);
  EXPECT_EQ(v.GetAsMathVector().x, double(0.1f));
  v.SetAsMathVector(ToVec(0.1, 2, 3));
  EXPECT_EQ(c.count, 2);
}

TEST(ValueProperties, ClearResetsSilentlyAndDropsTheHandler) {
  TQelVector v;
  ChangeCounter c;
  v.OnChange = c.Handler();
  v.SetValues(1, 2, 3);
  c.count = 0;
  v.Clear();
  EXPECT_EQ(v.GetAsMathVector(), ZEROVEC);
  EXPECT_EQ(c.count, 0);
  EXPECT_FALSE(v.OnChange);
  TQelDirection d;
  d.SetValues(0.5f, 0.5f, 0.5f);
  d.Clear();
  EXPECT_EQ(d.GetAsMathVector(), ToVec(0, 0, 1));
}

TEST(ValueProperties, AssignCopiesValuesNotifiesAndTakesOverTheHandler) {
  TQelVector source, target;
  ChangeCounter sourceCount, targetCount;
  source.OnChange = sourceCount.Handler();
  target.OnChange = targetCount.Handler();
  source.SetValues(1, 2, 3);
  sourceCount.count = 0;
  target.Assign(&source);
  EXPECT_EQ(target.GetAsMathVector(), ToVec(1, 2, 3));
  EXPECT_EQ(targetCount.count, 1);  // notified with its own handler first
  // Deliberately, the copy now carries the source's handler.
  target.SetX(7);
  EXPECT_EQ(targetCount.count, 1);
  EXPECT_EQ(sourceCount.count, 1);
  EXPECT_EQ(sourceCount.last, &target);
}

TEST(ValueProperties, DirectionIgnoresComponentsOutOfRange) {
  TQelDirection d;
  ChangeCounter c;
  d.OnChange = c.Handler();
  EXPECT_EQ(d.GetAsMathVector(), ToVec(0, 0, 1));
  d.SetX(1.5f);
  d.SetY(-1.0001f);
  d.SetZ(2);
  EXPECT_EQ(d.GetAsMathVector(), ToVec(0, 0, 1));
  EXPECT_EQ(c.count, 0);
  d.SetX(-1);
  EXPECT_EQ(d.GetX(), -1);
  EXPECT_EQ(c.count, 1);
  d.SetValues(0.5f, 3, -0.5f);  // y ignored, x and z taken
  EXPECT_EQ(d.GetAsMathVector(), ToVec(0.5, 0, -0.5));
  EXPECT_EQ(c.count, 3);
  d.incX(0.75f);  // through the setter: 1.25 is out of range
  EXPECT_EQ(d.GetX(), 0.5f);
}

TEST(ValueProperties, NormalNormalizes) {
  TQelNormal n;
  n.SetValues(0, 0, 0);
  ChangeCounter c;
  n.OnChange = c.Handler();
  n.Normalize();
  EXPECT_EQ(n.GetAsMathVector(), ZEROVEC);
  n.SetValues(0.6f, 0, 0.6f);
  n.Normalize();
  EXPECT_NEAR(n.GetX(), std::sqrt(0.5), 1e-7);
  EXPECT_NEAR(n.GetZ(), std::sqrt(0.5), 1e-7);
}

TEST(ValueProperties, ColorDefaultsAndParams) {
  TQelColor color;
  EXPECT_EQ(color.GetColor(), 0xFFFFFFu);
  EXPECT_EQ(color.GetAlpha(), 1.0f);
  EXPECT_EQ(color.GetParams(), (std::array<float, 4>{1, 1, 1, 1}));
  color.SetColor(0x00336699);  // blue 0x33, green 0x66, red 0x99
  float p[4];
  color.GetParams(p);
  EXPECT_FLOAT_EQ(p[0], 0x99 / 255.0f);
  EXPECT_FLOAT_EQ(p[1], 0x66 / 255.0f);
  EXPECT_FLOAT_EQ(p[2], 0x33 / 255.0f);
  EXPECT_FLOAT_EQ(p[3], 1.0f);
}

TEST(ValueProperties, ColorNotifiesOnlyOnChangeAndIgnoresAlphaOutOfRange) {
  TQelColor color;
  ChangeCounter c;
  color.OnChange = c.Handler();
  color.SetColor(0xFFFFFF);
  EXPECT_EQ(c.count, 0);
  color.SetColor(0x0000FF);
  EXPECT_EQ(c.count, 1);
  color.SetAlpha(-0.1f);
  color.SetAlpha(1.01f);
  EXPECT_EQ(color.GetAlpha(), 1.0f);
  EXPECT_EQ(c.count, 1);
  color.SetAlpha(1);
  EXPECT_EQ(c.count, 1);
  color.SetAlpha(0);
  EXPECT_EQ(color.GetAlpha(), 0.0f);
  EXPECT_EQ(c.count, 2);
}

TEST(ValueProperties, SetParamsRoundsHalfToEvenWithoutNotification) {
  TQelColor color;
  ChangeCounter c;
  color.OnChange = c.Handler();
  color.SetParams(0.5f, 0, 0, 0.25f);
  EXPECT_EQ(color.GetColor(), 128u);  // 127.5 rounds to the even 128
  EXPECT_EQ(color.GetAlpha(), 0.25f);
  EXPECT_EQ(c.count, 0);
  color.SetParams(0, 1, 0.2f, 5);  // alpha is stored without a range check
  EXPECT_EQ(color.GetColor(), (255u << 8) | (51u << 16));
  EXPECT_EQ(color.GetAlpha(), 5.0f);
  EXPECT_EQ(c.count, 0);
}

TEST(ValueProperties, ColorAssign) {
  TQelColor source, target;
  source.SetParams(0, 0, 1, 0.5f);
  ChangeCounter c;
  target.OnChange = c.Handler();
  target.Assign(&source);
  EXPECT_EQ(target.GetColor(), source.GetColor());
  EXPECT_EQ(target.GetAlpha(), 0.5f);
  EXPECT_EQ(c.count, 1);
  EXPECT_FALSE(target.OnChange);  // the source's (empty) handler
}

TEST(ValueProperties, RenderPropertyAndClassNames) {
  TQelRenderProperty p;
  p.Render();
  EXPECT_STREQ(p.ClassName(), "TQelRenderProperty");
  TQelNormal n;
  TQelVector* asVector = &n;
  EXPECT_STREQ(asVector->ClassName(), "TQelNormal");
}
