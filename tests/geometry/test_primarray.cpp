// Index lists: storage, editing, type conversion and reversal.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <ostream>
#include <vector>

namespace {

using Ints = std::vector<int32_t>;

Ints Indices(const TQelPrimitiveArray& a) {
  Ints r;
  for (int32_t i = 0; i < a.GetCount(); ++i) r.push_back(a.GetIndices(i));
  return r;
}

void Fill(TQelPrimitiveArray& a, const Ints& v) {
  for (int32_t i : v) a.AddIndex(static_cast<uint32_t>(i));
}

TEST(PrimitiveArray, StartsEmptyEnabledAndUntextured) {
  TQelPrimitiveArray a(GL_QUADS);
  EXPECT_EQ(a.GetType(), GL_QUADS);
  EXPECT_EQ(a.GetCount(), 0);
  EXPECT_EQ(a.GetSize(), 0);
  EXPECT_TRUE(a.GetEnabled());
  EXPECT_FALSE(a.GetTextured());
  EXPECT_EQ(a.GetTexture(), nullptr);
  EXPECT_EQ(a.GetMaterial(), nullptr);
  EXPECT_EQ(a.GetAttributes(), nullptr);
  EXPECT_EQ(a.GetIndexArray(), nullptr);
  EXPECT_EQ(a.GetIndices(0), -1);
}

TEST(PrimitiveArray, AppendsGrowTheCapacityLinearlyBy120) {
  TQelPrimitiveArray a(GL_POINTS);
  a.AddIndex(7);
  EXPECT_EQ(a.GetSize(), 120);
  for (int i = 1; i < 120; ++i) a.AddIndex(static_cast<uint32_t>(i));
  EXPECT_EQ(a.GetSize(), 120);
  a.AddIndex(500);
  EXPECT_EQ(a.GetSize(), 240);
  EXPECT_EQ(a.GetCount(), 121);
  EXPECT_EQ(a.GetIndices(0), 7);
  EXPECT_EQ(a.GetIndices(120), 500);
  EXPECT_EQ(a.GetIndexArray()[120], 500u);
}

TEST(PrimitiveArray, IndicesReadBelowCountAndWriteBelowCapacity) {
  TQelPrimitiveArray a(GL_POINTS);
  Fill(a, {1, 2, 3});
  EXPECT_EQ(a.GetIndices(-1), -1);
  EXPECT_EQ(a.GetIndices(3), -1);
  a.SetIndices(10, 42);  // beyond Count, within capacity
  EXPECT_EQ(a.GetIndexArray()[10], 42u);
  EXPECT_EQ(a.GetIndices(10), -1);
  a.SetIndices(120, 1);
  a.SetIndices(-1, 1);
  a.SetCount(11);
  EXPECT_EQ(a.GetSize(), 11);
  EXPECT_EQ(a.GetIndices(10), 42);
  a.SetSize(2);
  EXPECT_EQ(Indices(a), (Ints{1, 2}));
  a.SetCount(-1);
  a.SetSize(-1);
  EXPECT_EQ(a.GetSize(), 2);
}

TEST(PrimitiveArray, AddAppendsOffsetIndicesOfTheSameTypeOnly) {
  TQelPrimitiveArray a(GL_TRIANGLES), b(GL_TRIANGLES), lines(GL_LINES);
  Fill(a, {0, 1, 2});
  Fill(b, {0, 2, 3});
  Fill(lines, {0, 1});
  a.Add(&b, 10);
  a.Add(&lines, 10);
  a.Add(nullptr, 10);
  EXPECT_EQ(Indices(a), (Ints{0, 1, 2, 10, 12, 13}));
  a.Add(&a, 1);  // with itself: the list as it was
  EXPECT_EQ(Indices(a), (Ints{0, 1, 2, 10, 12, 13, 1, 2, 3, 11, 13, 14}));
}

TEST(PrimitiveArray, InsertOverwritesAndAppendsWhatTheStorageHeld) {
  TQelPrimitiveArray a(GL_POINTS);
  Fill(a, {1, 2, 3});
  a.Insert(0, 9);
  ASSERT_EQ(a.GetCount(), 4);
  EXPECT_EQ(a.GetIndices(0), 9);
  EXPECT_EQ(a.GetIndices(1), 2);
  EXPECT_EQ(a.GetIndices(2), 3);
  EXPECT_EQ(a.GetIndices(3), 0);  // never written: grown storage is zeroed
  // A stale entry past Count comes back as it was.
  a.SetIndices(4, 77);
  a.Insert(-5, 8);  // clamped to 0
  EXPECT_EQ(Indices(a), (Ints{8, 2, 3, 0, 77}));
  a.Insert(100, 6);  // clamped to Count: a plain append
  EXPECT_EQ(Indices(a), (Ints{8, 2, 3, 0, 77, 6}));
}

TEST(PrimitiveArray, InsertIntoAFullListGrowsFirst) {
  TQelPrimitiveArray a(GL_POINTS);
  a.SetCount(2);  // Size 2, full
  a.Insert(1, 5);
  EXPECT_EQ(a.GetSize(), 122);
  EXPECT_EQ(Indices(a), (Ints{0, 5, 0}));
  TQelPrimitiveArray empty(GL_POINTS);
  empty.Insert(0, 4);
  EXPECT_EQ(Indices(empty), (Ints{4}));
}

TEST(PrimitiveArray, DeleteClampsANegativeStartAndTheLength) {
  TQelPrimitiveArray a(GL_POINTS);
  Fill(a, {0, 1, 2, 3, 4, 5});
  a.Delete(1, 2);
  EXPECT_EQ(Indices(a), (Ints{0, 3, 4, 5}));
  a.Delete(-1, 2);  // shortened by the overhang: deletes entry 0 only
  EXPECT_EQ(Indices(a), (Ints{3, 4, 5}));
  a.Delete(2, 10);
  EXPECT_EQ(Indices(a), (Ints{3, 4}));
  a.Delete(-5, 3);
  a.Delete(5, 1);
  a.Delete(0, 0);
  EXPECT_EQ(Indices(a), (Ints{3, 4}));
}

struct Conversion {
  int32_t from;
  Ints indices;
  int32_t to;
  int32_t expectedType;
  Ints expected;
};

void PrintTo(const Conversion& c, std::ostream* os) { *os << c.from << " to " << c.to; }

class SetTypeCase : public ::testing::TestWithParam<Conversion> {};

TEST_P(SetTypeCase, GivesTheListedIndices) {
  const Conversion& c = GetParam();
  TQelPrimitiveArray a(c.from);
  Fill(a, c.indices);
  a.SetType(c.to);
  EXPECT_EQ(a.GetType(), c.expectedType);
  EXPECT_EQ(Indices(a), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    PrimitiveArray, SetTypeCase,
    ::testing::Values(
        Conversion{GL_TRIANGLE_STRIP, {0, 1, 2, 3}, GL_TRIANGLES, GL_TRIANGLES, {0, 1, 2, 2, 1, 3}},
        Conversion{GL_TRIANGLE_FAN, {0, 1, 2, 3}, GL_TRIANGLES, GL_TRIANGLES, {1, 2, 0, 2, 3, 0}},
        Conversion{GL_QUADS, {0, 1, 2, 3}, GL_TRIANGLES, GL_TRIANGLES, {0, 1, 3, 1, 2, 3}},
        Conversion{GL_QUADS, {0, 1, 2, 3, 4, 5, 6, 7}, GL_TRIANGLES, GL_TRIANGLES,
                   {0, 1, 3, 1, 2, 3, 4, 5, 7, 5, 6, 7}},
        Conversion{GL_QUAD_STRIP, {0, 1, 2, 3, 4, 5}, GL_QUADS, GL_QUADS, {0, 1, 3, 2, 2, 3, 5, 4}},
        Conversion{GL_QUAD_STRIP, {0, 1, 2, 3, 4, 5}, GL_TRIANGLES, GL_TRIANGLES,
                   {0, 1, 2, 2, 1, 3, 2, 3, 4, 4, 3, 5}},
        // A quad strip of odd length loses its last index first.
        Conversion{GL_QUAD_STRIP, {0, 1, 2, 3, 4}, GL_TRIANGLES, GL_TRIANGLES, {0, 1, 2, 2, 1, 3}},
        // For quads its last index is repeated.
        Conversion{GL_QUAD_STRIP, {0, 1, 2, 3, 4}, GL_QUADS, GL_QUADS, {0, 1, 3, 2, 2, 3, 4, 4}},
        Conversion{GL_TRIANGLE_STRIP, {0, 1, 2, 3, 4, 5}, GL_QUADS, GL_QUADS,
                   {0, 1, 3, 2, 2, 3, 5, 4}},
        // An odd triangle strip keeps two entries in front of its quads.
        Conversion{GL_TRIANGLE_STRIP, {0, 1, 2, 3, 4}, GL_QUADS, GL_QUADS, {0, 1, 0, 1, 3, 2}},
        Conversion{GL_TRIANGLE_STRIP, {0, 1, 2, 3}, GL_QUAD_STRIP, GL_QUAD_STRIP, {0, 1, 2, 3}},
        Conversion{GL_QUAD_STRIP, {0, 1, 2, 3}, GL_TRIANGLE_STRIP, GL_TRIANGLE_STRIP, {0, 1, 2, 3}},
        Conversion{GL_LINE_LOOP, {0, 1, 2}, GL_POLYGON, GL_POLYGON, {0, 1, 2}},
        Conversion{GL_POLYGON, {0, 1, 2}, GL_LINE_STRIP, GL_LINE_STRIP, {0, 1, 2}},
        // Changes that cannot be expressed are ignored.
        Conversion{GL_TRIANGLES, {0, 1, 2}, GL_LINES, GL_TRIANGLES, {0, 1, 2}},
        Conversion{GL_TRIANGLES, {0, 1, 2}, GL_QUADS, GL_TRIANGLES, {0, 1, 2}},
        Conversion{GL_TRIANGLE_FAN, {0, 1, 2, 3}, GL_QUADS, GL_TRIANGLE_FAN, {0, 1, 2, 3}},
        Conversion{GL_POLYGON, {0, 1, 2}, GL_TRIANGLES, GL_POLYGON, {0, 1, 2}},
        Conversion{GL_LINES, {0, 1}, GL_LINE_STRIP, GL_LINES, {0, 1}},
        // Too short to convert: left as it is.
        Conversion{GL_TRIANGLE_STRIP, {0, 1}, GL_TRIANGLES, GL_TRIANGLE_STRIP, {0, 1}},
        Conversion{GL_QUADS, {0, 1, 2}, GL_TRIANGLES, GL_QUADS, {0, 1, 2}},
        Conversion{GL_TRIANGLE_STRIP, {0, 1, 2}, GL_QUADS, GL_TRIANGLE_STRIP, {0, 1, 2}},
        // An empty list takes any type; mode numbers beyond GL_POLYGON are ignored.
        Conversion{GL_TRIANGLES, {}, GL_LINES, GL_LINES, {}},
        Conversion{GL_TRIANGLES, {}, 10, GL_TRIANGLES, {}},
        Conversion{GL_TRIANGLES, {}, -1, GL_TRIANGLES, {}}));

TEST(PrimitiveArray, QuadsOfALengthNotAMultipleOfFourAreOnlyMadeEven) {
  TQelPrimitiveArray a(GL_QUADS);
  Fill(a, {0, 1, 2, 3, 4, 5, 6});
  a.SwitchToTriangles();
  EXPECT_EQ(a.GetType(), GL_TRIANGLES);
  ASSERT_EQ(a.GetCount(), 9);  // 3 * 6 / 2
  // The one whole quad ends the list.
  EXPECT_EQ(Indices(a), (Ints{0, 1, 2, 0, 1, 3, 1, 2, 3}));
}

TEST(PrimitiveArray, SwitchesLeaveOtherKindsAlone) {
  TQelPrimitiveArray a(GL_TRIANGLES);
  Fill(a, {0, 1, 2, 3});
  a.SwitchToTriangles();
  a.SwitchToQuads();
  EXPECT_EQ(a.GetType(), GL_TRIANGLES);
  EXPECT_EQ(Indices(a), (Ints{0, 1, 2, 3}));
}

struct Inversion {
  int32_t type;
  Ints indices;
  Ints expected;
};

void PrintTo(const Inversion& c, std::ostream* os) { *os << "type " << c.type; }

class InvertCase : public ::testing::TestWithParam<Inversion> {};

TEST_P(InvertCase, ReversesTheWinding) {
  const Inversion& c = GetParam();
  TQelPrimitiveArray a(c.type);
  Fill(a, c.indices);
  a.Invert();
  EXPECT_EQ(a.GetType(), c.type);
  EXPECT_EQ(Indices(a), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    PrimitiveArray, InvertCase,
    ::testing::Values(Inversion{GL_TRIANGLES, {0, 1, 2, 3, 4, 5}, {1, 0, 2, 4, 3, 5}},
                      Inversion{GL_TRIANGLE_STRIP, {0, 1, 2, 3}, {3, 3, 2, 1, 0}},
                      Inversion{GL_TRIANGLE_STRIP, {0, 1, 2, 3, 4}, {4, 3, 2, 1, 0}},
                      Inversion{GL_TRIANGLE_STRIP, {}, {}},
                      Inversion{GL_TRIANGLE_FAN, {0, 1, 2, 3}, {0, 3, 2, 1}},
                      Inversion{GL_QUADS, {0, 1, 2, 3, 4, 5, 6, 7}, {0, 3, 2, 1, 4, 7, 6, 5}},
                      Inversion{GL_QUAD_STRIP, {0, 1, 2, 3}, {1, 0, 3, 2}},
                      Inversion{GL_POLYGON, {0, 1, 2, 3}, {3, 2, 1, 0}},
                      Inversion{GL_POINTS, {0, 1, 2}, {0, 1, 2}},
                      Inversion{GL_LINES, {0, 1, 2, 3}, {0, 1, 2, 3}},
                      Inversion{GL_LINE_LOOP, {0, 1, 2}, {0, 1, 2}},
                      Inversion{GL_LINE_STRIP, {0, 1, 2}, {0, 1, 2}}));

TEST(PrimitiveArray, AssignCopiesIndicesTypeEnabledAndTextureOnly) {
  auto* texture = reinterpret_cast<TQelTexture*>(0x1000);
  auto* material = reinterpret_cast<TQelMaterial*>(0x2000);
  auto* attributes = reinterpret_cast<TQelAttributes*>(0x3000);
  TQelPrimitiveArray src(GL_QUADS), dst(GL_POINTS);
  Fill(src, {4, 5, 6, 7});
  src.SetEnabled(false);
  src.SetTextured(true);
  src.SetTexture(texture);
  src.SetMaterial(material);
  src.SetAttributes(attributes);
  dst.Assign(&src);
  EXPECT_EQ(dst.GetType(), GL_QUADS);
  EXPECT_EQ(dst.GetSize(), 120);
  EXPECT_EQ(Indices(dst), (Ints{4, 5, 6, 7}));
  EXPECT_FALSE(dst.GetEnabled());
  EXPECT_EQ(dst.GetTexture(), texture);
  EXPECT_EQ(dst.GetMaterial(), nullptr);
  EXPECT_EQ(dst.GetAttributes(), nullptr);
  EXPECT_FALSE(dst.GetTextured());
}

TEST(PrimitiveArray, PropertySettersNotifyOnlyOnChange) {
  TQelPrimitiveArray a(GL_TRIANGLES);
  int changes = 0;
  a.OnChange = [&](TObject*) { ++changes; };
  a.SetEnabled(true);
  a.SetTextured(false);
  a.SetType(GL_TRIANGLES);
  a.SetMaterial(nullptr);
  EXPECT_EQ(changes, 0);
  a.SetEnabled(false);
  a.SetTextured(true);
  a.SetType(GL_LINES);
  a.SetMaterial(reinterpret_cast<TQelMaterial*>(0x10));
  EXPECT_EQ(changes, 4);
  a.AddIndex(1);
  a.SetType(GL_TRIANGLES);  // ignored for a non-empty line list
  EXPECT_EQ(changes, 4);
}

}  // namespace
