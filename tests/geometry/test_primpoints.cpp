// The vertex store, the point transfer record and the texture flags.
#include <gtest/gtest.h>

#include <qelon/qelon.h>

namespace {

using Vec = TQelMathVector;

constexpr int kPosition = 0, kNormal = 1, kTexture = 2, kColor = 3;

TEST(PrimitivePoints, StartsEmptyWithItsDefaultArrays) {
  TQelPrimitivePoints p;
  EXPECT_EQ(p.GetSize(), 0);
  EXPECT_EQ(p.GetCount(), 0);
  EXPECT_EQ(p.GetDefineArrays(), (TQelArrays{daVertex, daNormal, daTexture, daFlag}));
  EXPECT_EQ(p.GetUseArrays(), (TQelArrays{daVertex, daNormal, daFlag}));
  EXPECT_EQ(p.GetVertexArray(), nullptr);
  EXPECT_EQ(sizeof(TQelArrays), 1u);
  EXPECT_STREQ(TQelArrayStr[daEdgeFlag], "daEdgeFlag");
}

TEST(PrimitivePoints, AppendsGrowTheCapacityLinearlyBy120) {
  TQelPrimitivePoints p;
  EXPECT_EQ(p.Add(1, 2, 3), 0);
  EXPECT_EQ(p.GetSize(), 120);
  EXPECT_EQ(p.GetCount(), 1);
  for (int i = 1; i < 120; ++i) EXPECT_EQ(p.Add(i, 0, 0), i);
  EXPECT_EQ(p.GetSize(), 120);
  EXPECT_EQ(p.Add(Vec{7, 8, 9}, Vec{0, 0, 1}, Vec{0.5, 0.25, 0}), 120);
  EXPECT_EQ(p.GetSize(), 240);
  EXPECT_EQ(p.GetCount(), 121);
  EXPECT_EQ(p.GetVector(0, kPosition), (Vec{1, 2, 3}));
  EXPECT_EQ(p.GetVector(120, kPosition), (Vec{7, 8, 9}));
  EXPECT_EQ(p.GetVector(120, kNormal), (Vec{0, 0, 1}));
  EXPECT_EQ(p.GetVector(120, kTexture), (Vec{0.5, 0.25, 0}));
  // The raw arrays are the storage itself: three doubles a point.
  EXPECT_EQ(p.GetVertexArray()[3 * 120 + 1], 8.0);
  EXPECT_EQ(p.GetTextureArray()[3 * 120], 0.5);
}

TEST(PrimitivePoints, AddOfAPositionNeedsStoredPositions) {
  TQelPrimitivePoints p;
  p.SetDefineArrays({daNormal, daFlag});
  EXPECT_EQ(p.Add(1, 2, 3), -1);
  EXPECT_EQ(p.GetCount(), 0);
  // The three-vector form still appends, writing what is stored.
  EXPECT_EQ(p.Add(Vec{1, 2, 3}, Vec{0, 1, 0}, Vec{}), 0);
  EXPECT_EQ(p.GetVector(0, kNormal), (Vec{0, 1, 0}));
  EXPECT_EQ(p.GetVector(0, kPosition), ZEROVEC);
}

TEST(PrimitivePoints, SizeAndCountKeepCountWithinCapacity) {
  TQelPrimitivePoints p;
  p.SetCount(10);
  EXPECT_EQ(p.GetSize(), 10);
  EXPECT_EQ(p.GetCount(), 10);
  p.SetSize(4);
  EXPECT_EQ(p.GetCount(), 4);
  p.SetSize(-1);
  p.SetCount(-5);
  EXPECT_EQ(p.GetSize(), 4);
  EXPECT_EQ(p.GetCount(), 4);
  // The next append grows from the present capacity.
  p.Add(0, 0, 0);
  EXPECT_EQ(p.GetSize(), 124);
}

TEST(PrimitivePoints, FlagBytesBeyondTheOldSizeAreZeroed) {
  TQelPrimitivePoints p;
  p.SetCount(3);
  for (int bit = 0; bit < 8; ++bit) p.SetFlag(2, bit, true);
  EXPECT_EQ(p.GetFlagArray()[2], 0xFF);
  p.SetSize(2);
  p.SetCount(3);
  for (int bit = 0; bit < 8; ++bit) EXPECT_FALSE(p.GetFlag(2, bit));
}

TEST(PrimitivePoints, DefiningAnArrayAllocatesItAtTheCurrentSize) {
  TQelPrimitivePoints p;
  p.Add(1, 1, 1);
  EXPECT_EQ(p.GetColorArray(), nullptr);
  EXPECT_EQ(p.GetValues(0, 0, kColor), 0.0);
  p.SetDefineArrays(p.GetDefineArrays() + daColor);
  ASSERT_NE(p.GetColorArray(), nullptr);
  p.SetValues(0, 3, kColor, 0.75);
  EXPECT_EQ(p.GetValues(0, 3, kColor), 0.75);
  EXPECT_EQ(p.GetColorArray()[3], 0.75f);
  p.SetDefineArrays(p.GetDefineArrays() - daNormal);
  EXPECT_EQ(p.GetNormalArray(), nullptr);
  EXPECT_EQ(p.GetVector(0, kNormal), ZEROVEC);
  p.SetVector(0, kNormal, {1, 0, 0});  // absent: ignored
  EXPECT_EQ(p.GetVector(0, kNormal), ZEROVEC);
  // Growth after the change reaches every defined array.
  for (int i = 0; i < 200; ++i) p.Add(i, i, i);
  p.SetValues(200, 0, kColor, 0.5);
  EXPECT_EQ(p.GetValues(200, 0, kColor), 0.5);
}

TEST(PrimitivePoints, ClearArraysZeroesOnlyTheNamedArrays) {
  TQelPrimitivePoints p;
  p.Add(Vec{1, 2, 3}, Vec{0, 0, 1}, Vec{4, 5, 6});
  p.SetFlag(0, 5, true);
  p.ClearArrays({daVertex, daFlag});
  EXPECT_EQ(p.GetVector(0, kPosition), ZEROVEC);
  EXPECT_FALSE(p.GetFlag(0, 5));
  EXPECT_EQ(p.GetVector(0, kNormal), (Vec{0, 0, 1}));
  EXPECT_EQ(p.GetVector(0, kTexture), (Vec{4, 5, 6}));
  EXPECT_EQ(p.GetCount(), 1);
}

TEST(PrimitivePoints, BadIndicesAreIgnoredAndGiveNeutralValues) {
  TQelPrimitivePoints p;
  p.SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
  p.Add(1, 1, 1);
  const int bad[] = {-1, 1, 119, 120, 1000000};
  for (int i : bad) {
    SCOPED_TRACE(i);
    if (i < 0 || i >= p.GetSize()) {
      EXPECT_EQ(p.GetVector(i, kPosition), ZEROVEC);
      EXPECT_EQ(p.GetValues(i, 0, kPosition), 0.0);
      EXPECT_EQ(p.GetValues(i, 0, kColor), 0.0);
      EXPECT_FALSE(p.EqualPos(0, i));
      p.SetVector(i, kPosition, {9, 9, 9});
      p.SetValues(i, 0, kColor, 1);
      p.LiftPoint(i, 1);
    }
    // Edge flags and flags are checked against Count.
    EXPECT_EQ(p.GetEdgeFlag(i), 255);
    EXPECT_FALSE(p.GetFlag(i, 0));
    p.SetEdgeFlag(i, 0);
    p.SetFlag(i, 0, true);
  }
  EXPECT_EQ(p.GetValues(0, 3, kPosition), 0.0);  // no fourth component
  EXPECT_EQ(p.GetValues(0, 0, 4), 0.0);          // no such kind
  EXPECT_EQ(p.GetVector(0, 3), ZEROVEC);
  EXPECT_FALSE(p.GetFlag(0, 8));
  p.SetFlag(0, -1, true);
  EXPECT_EQ(p.GetFlagArray()[0], 0);
  EXPECT_EQ(p.GetVector(0, kPosition), (Vec{1, 1, 1}));
  EXPECT_EQ(p.GetCount(), 1);
}

TEST(PrimitivePoints, AbsentArraysGiveNeutralValues) {
  TQelPrimitivePoints p;
  p.SetDefineArrays({daVertex});
  p.Add(1, 2, 3);
  EXPECT_EQ(p.GetEdgeFlag(0), 255);
  EXPECT_FALSE(p.GetFlag(0, 1));
  p.SetFlag(0, 1, true);
  EXPECT_FALSE(p.GetFlag(0, 1));
  EXPECT_EQ(p.GetVector(0, kNormal), ZEROVEC);
  p.LiftPoint(0, 5);  // needs normals
  EXPECT_EQ(p.GetVector(0, kPosition), (Vec{1, 2, 3}));
}

TEST(PrimitivePoints, EdgeFlagsDefaultToEdgeAndStoreBytes) {
  TQelPrimitivePoints p;
  p.SetDefineArrays({daVertex, daEdgeFlag});
  p.Add(0, 0, 0);
  p.Add(1, 0, 0);
  EXPECT_GT(p.GetEdgeFlag(0), 0);  // a new point is an edge
  p.SetEdgeFlag(1, 0);
  EXPECT_EQ(p.GetEdgeFlag(1), 0);
  EXPECT_EQ(p.GetEdgeFlagArray()[1], 0);
  TQelPointItem item;  // an item's edge is stored as 255
  EXPECT_EQ(p.Add(&item), 2);
  EXPECT_EQ(p.GetEdgeFlag(2), 255);
}

TEST(PrimitivePoints, EqualPosIsAStrictPerAxisComparison) {
  for (double base : {0.0, 1.0, -3.7, 100.0, 1234.5}) {
    SCOPED_TRACE(base);
    TQelPrimitivePoints p;
    p.Add(base, base, base);
    // Per axis, not a distance: these are about 0.00156 apart.
    p.Add(base + 0.0009, base + 0.0009, base + 0.0009);
    p.Add(base + 0.001, base, base);
    p.Add(base, base, base - 0.001);
    p.Add(base + 0.0009, base + 0.0009, base + 0.0011);
    EXPECT_TRUE(p.EqualPos(0, 1));
    EXPECT_TRUE(p.EqualPos(1, 0));
    EXPECT_FALSE(p.EqualPos(0, 2));
    EXPECT_FALSE(p.EqualPos(0, 3));
    EXPECT_FALSE(p.EqualPos(0, 4));
  }
}

// Four points: 0 and 1 coincide and carry both link bits, 2 coincides
// without bits, 3 carries the bits elsewhere.
class LinkedEditing : public ::testing::Test {
protected:
  void SetUp() override {
    for (int i = 0; i < 3; ++i) p.Add(Vec{1, 1, 1}, Vec{0, 0, 1}, Vec{0, 0, 0});
    p.Add(Vec{5, 5, 5}, Vec{0, 0, 1}, Vec{0, 0, 0});
    for (int i : {0, 1, 3}) {
      p.SetFlag(i, TQelPrimitivePoints::PositionLinkBit, true);
      p.SetFlag(i, TQelPrimitivePoints::NormalLinkBit, true);
    }
  }
  TQelPrimitivePoints p;
};

TEST_F(LinkedEditing, MovingALinkedPointMovesItsLinkedTwin) {
  p.SetVector(0, kPosition, {2, 3, 4});
  EXPECT_EQ(p.GetVector(0, kPosition), (Vec{2, 3, 4}));
  EXPECT_EQ(p.GetVector(1, kPosition), (Vec{2, 3, 4}));
  EXPECT_EQ(p.GetVector(2, kPosition), (Vec{1, 1, 1}));  // no link bit
  EXPECT_EQ(p.GetVector(3, kPosition), (Vec{5, 5, 5}));  // elsewhere
  // One component at a time goes through the same path.
  p.SetValues(1, 2, kPosition, 7);
  EXPECT_EQ(p.GetVector(0, kPosition), (Vec{2, 3, 7}));
}

TEST_F(LinkedEditing, NormalsLinkByTheirOwnBitAtTheSamePosition) {
  p.SetFlag(1, TQelPrimitivePoints::NormalLinkBit, false);
  p.SetFlag(2, TQelPrimitivePoints::NormalLinkBit, true);
  p.SetVector(0, kNormal, {0, 1, 0});
  EXPECT_EQ(p.GetVector(1, kNormal), (Vec{0, 0, 1}));  // position bit alone
  EXPECT_EQ(p.GetVector(2, kNormal), (Vec{0, 1, 0}));
  EXPECT_EQ(p.GetVector(3, kNormal), (Vec{0, 0, 1}));
  // Normal edits leave positions alone.
  EXPECT_EQ(p.GetVector(1, kPosition), (Vec{1, 1, 1}));
}

TEST_F(LinkedEditing, LiftPointMovesLinkedPointsAlongTheNormal) {
  p.LiftPoint(1, 2.5);
  EXPECT_EQ(p.GetVector(1, kPosition), (Vec{1, 1, 3.5}));
  EXPECT_EQ(p.GetVector(0, kPosition), (Vec{1, 1, 3.5}));
  EXPECT_EQ(p.GetVector(2, kPosition), (Vec{1, 1, 1}));
}

TEST_F(LinkedEditing, IsOffWithoutFlagInUseArraysAndNeverForTextures) {
  p.SetVector(0, kTexture, {0.5, 0.5, 0});
  EXPECT_EQ(p.GetVector(1, kTexture), ZEROVEC);
  p.SetUseArrays(p.GetUseArrays() - daFlag);
  p.SetVector(0, kPosition, {2, 3, 4});
  p.SetVector(0, kNormal, {1, 0, 0});
  EXPECT_EQ(p.GetVector(1, kPosition), (Vec{1, 1, 1}));
  EXPECT_EQ(p.GetVector(1, kNormal), (Vec{0, 0, 1}));
}

TEST_F(LinkedEditing, OnlyPointsInUseAreLinked) {
  p.Delete(1, 3);  // the storage past Count still holds the linked twin
  ASSERT_EQ(p.GetCount(), 1);
  p.SetVector(0, kPosition, {2, 2, 2});
  EXPECT_EQ(p.GetVector(1, kPosition), (Vec{1, 1, 1}));
}

TEST(PrimitivePoints, ScaleAndMoveWorkOnPointsInUse) {
  TQelPrimitivePoints p;
  p.Add(1, 2, 3);
  p.Add(-1, 0, 2);
  p.ScalePoints(2, 3, -1);
  p.MovePoints(1, 1, 1);
  EXPECT_EQ(p.GetVector(0, kPosition), (Vec{3, 7, -2}));
  EXPECT_EQ(p.GetVector(1, kPosition), (Vec{-1, 1, -1}));
}

TEST(PrimitivePoints, DeleteMovesTheTailDownInEveryArray) {
  TQelPrimitivePoints p;
  for (int i = 0; i < 5; ++i) {
    p.Add(Vec{double(i), 0, 0}, Vec{0, double(i), 0}, Vec{0, 0, double(i)});
    p.SetFlag(i, 4, i == 3);
  }
  p.Delete(1, 2);
  ASSERT_EQ(p.GetCount(), 3);
  EXPECT_EQ(p.GetVector(1, kPosition), (Vec{3, 0, 0}));
  EXPECT_EQ(p.GetVector(2, kNormal), (Vec{0, 4, 0}));
  EXPECT_EQ(p.GetVector(1, kTexture), (Vec{0, 0, 3}));
  EXPECT_TRUE(p.GetFlag(1, 4));
  p.Delete(2, 10);  // cut to what is there
  EXPECT_EQ(p.GetCount(), 2);
  p.Delete(5, 1);
  p.Delete(0, 0);
  p.Delete(0, -3);
  p.Delete(-1, 2);  // a negative start is ignored
  EXPECT_EQ(p.GetCount(), 2);
  EXPECT_EQ(p.GetVector(0, kPosition), ZEROVEC);
  EXPECT_EQ(p.GetVector(1, kPosition), (Vec{3, 0, 0}));
}

TEST(PrimitivePoints, PointItemsCarryEveryDefinedAttribute) {
  TQelPrimitivePoints p;
  p.SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
  TQelPointItem item;
  item.GetPoint()->SetValues(1, 2, 3);
  item.GetNormal()->SetValues(0, 1, 0);
  item.GetTexture()->SetValues(0.5, 0.25, 0);
  item.GetColor()->SetColor(0x00FF8000);  // r 0, g 128, b 255
  item.GetColor()->SetAlpha(0.5f);
  item.SetFlag(0x1FE);  // only the low byte is stored
  item.SetEdgeFlag(false);
  EXPECT_EQ(p.Add(&item), 0);
  EXPECT_EQ(p.GetVector(0, kPosition), (Vec{1, 2, 3}));
  EXPECT_EQ(p.GetVector(0, kNormal), (Vec{0, 1, 0}));
  EXPECT_EQ(p.GetVector(0, kTexture), (Vec{0.5, 0.25, 0}));
  EXPECT_FLOAT_EQ(p.GetValues(0, 1, kColor), 128 / 255.0);
  EXPECT_FLOAT_EQ(p.GetValues(0, 2, kColor), 1.0);
  EXPECT_FLOAT_EQ(p.GetValues(0, 3, kColor), 0.5);
  EXPECT_EQ(p.GetEdgeFlag(0), 0);
  EXPECT_EQ(p.GetFlagArray()[0], 0xFE);

  TQelPointItem back;
  p.GetPoint(0, &back);
  EXPECT_EQ(back.GetPoint()->GetAsMathVector(), (Vec{1, 2, 3}));
  EXPECT_EQ(back.GetNormal()->GetAsMathVector(), (Vec{0, 1, 0}));
  EXPECT_EQ(back.GetTexture()->GetAsMathVector(), (Vec{0.5, 0.25, 0}));
  EXPECT_EQ(back.GetColor()->GetColor(), 0x00FF8000u);
  EXPECT_EQ(back.GetColor()->GetAlpha(), 0.5f);
  EXPECT_EQ(back.GetFlag(), 0xFE);
  EXPECT_FALSE(back.GetEdgeFlag());

  p.SetEdgeFlag(0, 1);  // any byte above 0 reads as an edge
  p.GetPoint(0, &back);
  EXPECT_TRUE(back.GetEdgeFlag());

  // Out of the storage or without an item: nothing happens.
  back.Clear();
  p.GetPoint(120, &back);
  p.GetPoint(-1, &back);
  EXPECT_EQ(back.GetPoint()->GetAsMathVector(), ZEROVEC);
  p.SetPoint(0, nullptr);
  p.SetPoint(500, &item);
  EXPECT_EQ(p.Add(static_cast<TQelPointItem*>(nullptr)), -1);
  EXPECT_EQ(p.GetCount(), 1);
}

TEST(PrimitivePoints, SetPointOverwritesWithoutLinking) {
  TQelPrimitivePoints p;
  p.Add(1, 1, 1);
  p.Add(1, 1, 1);
  p.SetFlag(0, TQelPrimitivePoints::PositionLinkBit, true);
  p.SetFlag(1, TQelPrimitivePoints::PositionLinkBit, true);
  TQelPointItem item;
  p.GetPoint(0, &item);
  item.GetPoint()->SetValues(4, 4, 4);
  p.SetPoint(0, &item);
  EXPECT_EQ(p.GetVector(0, kPosition), (Vec{4, 4, 4}));
  EXPECT_EQ(p.GetVector(1, kPosition), (Vec{1, 1, 1}));
  EXPECT_TRUE(p.GetFlag(0, TQelPrimitivePoints::PositionLinkBit));
}

TEST(PrimitivePoints, AddingAStoreCopiesTheArraysBothDefine) {
  TQelPrimitivePoints a, b;
  a.SetDefineArrays({daVertex, daNormal, daFlag});
  b.SetDefineArrays({daVertex, daTexture, daFlag});
  a.Add(Vec{9, 9, 9}, Vec{0, 0, 1}, Vec{});
  b.Add(Vec{1, 2, 3}, Vec{}, Vec{0.5, 0.5, 0});
  b.Add(Vec{4, 5, 6}, Vec{}, Vec{1, 1, 0});
  b.SetFlag(1, 6, true);
  EXPECT_EQ(a.Add(&b), 1);
  ASSERT_EQ(a.GetCount(), 3);
  EXPECT_EQ(a.GetSize(), 120);
  EXPECT_EQ(a.GetVector(1, kPosition), (Vec{1, 2, 3}));
  EXPECT_EQ(a.GetVector(2, kPosition), (Vec{4, 5, 6}));
  EXPECT_TRUE(a.GetFlag(2, 6));
  EXPECT_FALSE(a.GetFlag(1, 6));
  EXPECT_EQ(a.GetVector(2, kTexture), ZEROVEC);  // a stores no textures

  // Appending to itself doubles the points; capacity grows in steps of 120.
  for (int i = 0; i < 117; ++i) a.Add(i, 0, 0);
  EXPECT_EQ(a.Add(&a), 120);
  EXPECT_EQ(a.GetCount(), 240);
  EXPECT_EQ(a.GetSize(), 240);
  EXPECT_EQ(a.GetVector(122, kPosition), (Vec{4, 5, 6}));
  EXPECT_EQ(a.GetVector(120, kNormal), (Vec{0, 0, 1}));
  EXPECT_EQ(a.Add(static_cast<TQelPrimitivePoints*>(nullptr)), -1);
}

TEST(PrimitivePoints, AssignCopiesArraysAndPointsExactly) {
  TQelPrimitivePoints src, dst;
  src.SetDefineArrays({daVertex, daColor, daFlag});
  src.SetUseArrays({daVertex, daColor});
  src.Add(0.1, 0.2, 0.3);
  src.SetValues(0, 0, kColor, 0.3);
  src.SetFlag(0, 7, true);
  int changes = 0;
  dst.OnChange = [&](TObject*) { ++changes; };
  dst.Assign(&src);
  EXPECT_EQ(dst.GetDefineArrays(), src.GetDefineArrays());
  EXPECT_EQ(dst.GetUseArrays(), src.GetUseArrays());
  EXPECT_EQ(dst.GetSize(), 120);
  ASSERT_EQ(dst.GetCount(), 1);
  EXPECT_EQ(dst.GetVector(0, kPosition), (Vec{0.1, 0.2, 0.3}));
  EXPECT_EQ(dst.GetValues(0, 0, kColor), src.GetValues(0, 0, kColor));
  EXPECT_TRUE(dst.GetFlag(0, 7));
  EXPECT_GT(changes, 0);
}

TEST(PrimitivePoints, DefineAndUseArraysNotifyOnlyOnChange) {
  TQelPrimitivePoints p;
  int changes = 0;
  p.OnChange = [&](TObject*) { ++changes; };
  p.SetUseArrays(p.GetUseArrays());
  p.SetDefineArrays(p.GetDefineArrays());
  EXPECT_EQ(changes, 0);
  p.SetUseArrays({daVertex});
  p.SetDefineArrays({daVertex});
  EXPECT_EQ(changes, 2);
}

TEST(PointItem, ClearsToItsDefaultsAndCopiesValues) {
  TQelPointItem item;
  EXPECT_EQ(item.GetNormal()->GetAsMathVector(), (Vec{0, 0, 1}));
  EXPECT_TRUE(item.GetEdgeFlag());
  EXPECT_EQ(item.GetFlag(), 0);
  EXPECT_EQ(item.GetColor()->GetColor(), 0xFFFFFFu);

  int changes = 0;
  item.OnChange = [&](TObject*) { ++changes; };
  TQelVector v;
  v.SetValues(1, 2, 3);
  item.SetPoint(&v);
  EXPECT_EQ(changes, 1);
  item.SetPoint(&v);
  EXPECT_EQ(changes, 1);
  // A normal is copied as it is, even beyond the direction range.
  v.SetValues(2, 0, 0);
  item.SetNormal(&v);
  EXPECT_EQ(item.GetNormal()->GetAsMathVector(), (Vec{2, 0, 0}));
  // The owned parts report through the item; the source is not re-wired.
  item.GetTexture()->SetX(0.5f);
  EXPECT_EQ(changes, 3);
  TQelColor c;
  c.SetColor(0x123456);
  item.SetColor(&c);
  EXPECT_EQ(item.GetColor()->GetColor(), 0x123456u);

  TQelPointItem copy;
  copy.Assign(&item);
  EXPECT_EQ(copy.GetPoint()->GetAsMathVector(), (Vec{1, 2, 3}));
  EXPECT_EQ(copy.GetColor()->GetColor(), 0x123456u);

  item.Clear();
  EXPECT_EQ(item.GetPoint()->GetAsMathVector(), ZEROVEC);
  EXPECT_EQ(item.GetColor()->GetColor(), 0xFFFFFFu);
  EXPECT_FALSE(item.OnChange);
}

TEST(TextureFlags, DefaultsSettersAndCopy) {
  TQelTextureFlags f;
  EXPECT_EQ(f.GetMode(), 0);
  EXPECT_EQ(f.GetShiftX(), 0.0);
  EXPECT_EQ(f.GetShiftY(), 0.0);
  EXPECT_EQ(f.GetScaleX(), 1.0);
  EXPECT_EQ(f.GetScaleY(), 1.0);
  EXPECT_EQ(f.GetParamVector()->GetAsMathVector(), ZEROVEC);
  EXPECT_FALSE(f.GetEnvMapping());

  int changes = 0;
  f.OnChange = [&](TObject*) { ++changes; };
  f.SetScaleX(1);
  EXPECT_EQ(changes, 0);
  f.SetMode(4);
  f.SetScaleY(2);
  f.SetShiftX(-1);
  f.SetEnvMapping(true);
  TQelVector v;
  v.SetValues(1, 2, 3);
  f.SetParamVec(&v);
  EXPECT_EQ(changes, 5);
  f.GetParamVector()->SetZ(9);
  EXPECT_EQ(changes, 6);

  TQelTextureFlags g;
  g.Assign(&f);
  EXPECT_EQ(g.GetMode(), 4);
  EXPECT_EQ(g.GetScaleY(), 2.0);
  EXPECT_EQ(g.GetShiftX(), -1.0);
  EXPECT_TRUE(g.GetEnvMapping());
  EXPECT_EQ(g.GetParamVector()->GetAsMathVector(), (Vec{1, 2, 9}));

  g.Clear();
  EXPECT_EQ(g.GetMode(), 0);
  EXPECT_EQ(g.GetScaleY(), 1.0);
  EXPECT_FALSE(g.GetEnvMapping());
}

}  // namespace
