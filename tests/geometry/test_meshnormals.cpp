// Vertex normals, the coincidence map and texture coordinates of the mesh
// object: the worked examples, and a brute-force reference on random meshes
// of every primitive kind.
#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using V = TQelMathVector;

void ExpectVec(const V& got, const V& want, double eps = 1e-9) {
  EXPECT_NEAR(got.x, want.x, eps);
  EXPECT_NEAR(got.y, want.y, eps);
  EXPECT_NEAR(got.z, want.z, eps);
}

V Normalized(V v) {
  QelMathNormalize(v);
  return v;
}

// A mesh with the given points and one list of the given kind.
struct Mesh {
  TQelPrimitiveObj obj{nullptr};
  Mesh(std::initializer_list<V> points, int32_t type, std::initializer_list<int32_t> indices) {
    for (const V& p : points) obj.GetPoints()->Add(p.x, p.y, p.z);
    const int32_t list = obj.AddPrimitiveArray(type);
    for (int32_t i : indices) obj.AddIndex(i, list);
  }
  V Normal(int32_t i) const { return obj.GetPoints()->GetVector(i, 1); }
};

TEST(MeshNormals, UnitSquareQuadPointsStraightUp) {
  Mesh m({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, GL_QUADS, {0, 1, 2, 3});
  m.obj.CalcNormals();
  for (int i = 0; i < 4; ++i) ExpectVec(m.Normal(i), {0, 0, 1});
}

TEST(MeshNormals, RightAngledTrianglesAverageOnTheirSharedEdge) {
  // (0,1,2) lies in z = 0 facing +z, (1,0,3) in y = 0 facing +y.
  Mesh m({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, GL_TRIANGLES, {0, 1, 2, 1, 0, 3});
  m.obj.CalcNormals();
  const double h = std::sqrt(0.5);
  ExpectVec(m.Normal(0), {0, h, h});
  ExpectVec(m.Normal(1), {0, h, h});
  ExpectVec(m.Normal(2), {0, 0, 1});
  ExpectVec(m.Normal(3), {0, 1, 0});
}

TEST(MeshNormals, LinkBitMakesCoincidentPointsShareOneNormal) {
  // Two faces at right angles with their own copies of the shared edge.
  auto build = [](Mesh& m, bool link) {
    for (int i = 0; i < 6; ++i) m.obj.GetPoints()->SetFlag(i, 0, link);
    m.obj.CalcNormals();
  };
  const std::initializer_list<V> pts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0},
                                        {1, 0, 0}, {0, 0, 0}, {0, 0, 1}};
  Mesh linked(pts, GL_TRIANGLES, {0, 1, 2, 3, 4, 5});
  build(linked, true);
  const double h = std::sqrt(0.5);
  for (int i : {0, 1, 3, 4}) ExpectVec(linked.Normal(i), {0, h, h});
  ExpectVec(linked.Normal(2), {0, 0, 1});

  Mesh apart(pts, GL_TRIANGLES, {0, 1, 2, 3, 4, 5});
  build(apart, false);
  ExpectVec(apart.Normal(0), {0, 0, 1});
  ExpectVec(apart.Normal(1), {0, 0, 1});
  ExpectVec(apart.Normal(3), {0, 1, 0});
  ExpectVec(apart.Normal(4), {0, 1, 0});
}

TEST(MeshNormals, DegenerateStripTrianglesAreSkipped) {
  // (0,1,2) and, after the repeated 2, (3,2,4) face +z; (2,1,2) and (2,2,3)
  // have no area.
  Mesh m({{0, 1, 0}, {0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, -1, 0}}, GL_TRIANGLE_STRIP,
         {0, 1, 2, 2, 3, 4});
  m.obj.CalcNormals();
  for (int i = 0; i < 5; ++i) ExpectVec(m.Normal(i), {0, 0, 1});
}

TEST(MeshNormals, QuadStripFallsBackToANonDegenerateTriangle) {
  // The first quad's triangle (0,1,2) is degenerate (0 and 1 coincide);
  // (0,3,2) then gives the normal for all four corners.
  Mesh m({{0, 0, 0}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, GL_QUAD_STRIP, {0, 1, 2, 3});
  m.obj.CalcNormals();
  for (int i = 0; i < 4; ++i) ExpectVec(m.Normal(i), {0, 0, -1});
}

TEST(MeshNormals, LinesAndPointsPointUpAndUnusedPointsDefaultUp) {
  Mesh m({{0, 0, 0}, {1, 5, 0}, {3, 3, 3}}, GL_LINES, {0, 1});
  m.obj.GetPoints()->SetVector(2, 1, {1, 0, 0});
  m.obj.CalcNormals();
  for (int i = 0; i < 3; ++i) ExpectVec(m.Normal(i), {0, 0, 1});
}

TEST(MeshNormals, DisabledListsAndBadIndicesContributeNothing) {
  Mesh m({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, GL_TRIANGLES, {0, 2, 1});
  const int32_t extra = m.obj.AddPrimitiveArray(GL_TRIANGLES);
  for (int32_t i : {0, 1, 2, 0, 1, 99}) m.obj.AddIndex(i, extra);
  m.obj.GetPrimitive(0)->SetEnabled(false);
  m.obj.CalcNormals();
  // Only (0,1,2) counts: (0,1,99) names no point.
  for (int i = 0; i < 3; ++i) ExpectVec(m.Normal(i), {0, 0, 1});
}

TEST(MeshNormals, WithoutPositionsEveryNormalIsUp) {
  TQelPrimitiveObj obj(nullptr);
  TQelPrimitivePoints* p = obj.GetPoints();
  p->SetDefineArrays({daFlag});
  p->SetCount(3);
  const int32_t list = obj.AddPrimitiveArray(GL_TRIANGLES);
  for (int32_t i : {0, 1, 2}) obj.AddIndex(i, list);
  obj.CalcNormals();
  EXPECT_TRUE(p->GetDefineArrays().Contains(daNormal));
  for (int i = 0; i < 3; ++i) ExpectVec(p->GetVector(i, 1), {0, 0, 1});
}

TEST(MeshNormals, CalcNormalsLeavesUseArraysAndDoesNotMoveLinkedPositions) {
  Mesh m({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}}, GL_TRIANGLES, {0, 1, 2});
  for (int i = 0; i < 4; ++i) m.obj.GetPoints()->SetFlag(i, 1, true);
  const TQelArrays use = m.obj.GetPoints()->GetUseArrays();
  m.obj.CalcNormals();
  EXPECT_EQ(m.obj.GetPoints()->GetUseArrays(), use);
  ExpectVec(m.obj.GetPoints()->GetVector(3, 0), {0, 0, 0});
  // Point 3 has no link bit 0: it keeps its own (empty) sum.
  ExpectVec(m.Normal(3), {0, 0, 1});
}

// --- brute-force reference ---------------------------------------------------

// The face normal by its own cross product: (p1 - p2) x (p2 - p3), unit
// length, zero below 1e-10.
V RefFaceNormal(const V& a, const V& b, const V& c) {
  const V d1{a.x - b.x, a.y - b.y, a.z - b.z}, d2{b.x - c.x, b.y - c.y, b.z - c.z};
  V n{d1.y * d2.z - d1.z * d2.y, d1.z * d2.x - d1.x * d2.z, d1.x * d2.y - d1.y * d2.x};
  const double len = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
  if (!(len > 1e-10)) return {};
  return {n.x / len, n.y / len, n.z / len};
}

// Every face normal added to every point at the same position as its
// corner when the corner has the link bit (and the point too), else to the
// corner alone.
std::vector<V> ReferenceNormals(const TQelPrimitiveObj& obj) {
  const TQelPrimitivePoints& pts = *obj.GetPoints();
  const int32_t n = pts.GetCount();
  std::vector<V> sum(n);
  auto pos = [&](int32_t i) { return pts.GetVector(i, 0); };
  auto linked = [&](int32_t i) { return pts.GetFlag(i, 0); };
  auto add = [&](int32_t corner, const V& f) {
    for (int32_t p = 0; p < n; ++p)
      if (p == corner || (linked(corner) && linked(p) && pos(p) == pos(corner)))
        sum[p] = {sum[p].x + f.x, sum[p].y + f.y, sum[p].z + f.z};
  };
  auto tri = [&](int32_t a, int32_t b, int32_t c) {
    const V f = RefFaceNormal(pos(a), pos(b), pos(c));
    for (int32_t k : {a, b, c}) add(k, f);
  };
  for (int32_t l = 0; l < obj.GetPrimitiveCount(); ++l) {
    const TQelPrimitiveArray& a = *obj.GetPrimitive(l);
    if (!a.GetEnabled()) continue;
    const int32_t c = a.GetCount();
    auto I = [&](int32_t k) { return a.GetIndices(k); };
    switch (a.GetType()) {
      case GL_TRIANGLES:
        for (int32_t k = 0; k + 2 < c; k += 3) tri(I(k), I(k + 1), I(k + 2));
        break;
      case GL_TRIANGLE_STRIP:
        for (int32_t k = 0; k + 2 < c; ++k)
          k % 2 ? tri(I(k + 1), I(k), I(k + 2)) : tri(I(k), I(k + 1), I(k + 2));
        break;
      case GL_TRIANGLE_FAN:
        for (int32_t k = 1; k + 1 < c; ++k) tri(I(0), I(k), I(k + 1));
        break;
      case GL_QUADS:
        for (int32_t k = 0; k + 3 < c; k += 4) {
          tri(I(k), I(k + 1), I(k + 2));
          tri(I(k + 2), I(k + 3), I(k));
        }
        break;
      case GL_QUAD_STRIP:
        for (int32_t k = 0; 2 * k + 3 < c; ++k) {
          const int32_t q0 = I(2 * k), q1 = I(2 * k + 1), q2 = I(2 * k + 2), q3 = I(2 * k + 3);
          V f = RefFaceNormal(pos(q0), pos(q1), pos(q2));
          if (f == V{}) f = RefFaceNormal(pos(q0), pos(q3), pos(q2));
          if (f == V{}) f = RefFaceNormal(pos(q0), pos(q1), pos(q3));
          for (int32_t q : {q0, q1, q2, q3}) add(q, f);
        }
        break;
      case GL_POLYGON:
        for (int32_t k = 0; k < c; ++k) tri(I(k), I((k + 1) % c), I((k + 2) % c));
        break;
      default:
        for (int32_t k = 0; k < c; ++k) add(I(k), {0, 0, 1});
    }
  }
  for (V& s : sum) s = s == V{} ? V{0, 0, 1} : Normalized(s);
  return sum;
}

// Points on a coarse lattice, so that many coincide exactly and positions
// that differ are far apart compared with the tolerance; flags random;
// indices random with repeats.
void FillRandom(TQelPrimitiveObj& obj, std::mt19937& rng, int32_t type, int32_t points,
                int32_t indices) {
  std::uniform_int_distribution<int> coord(0, 3), point(0, points - 1), coin(0, 2);
  TQelPrimitivePoints* p = obj.GetPoints();
  for (int32_t i = 0; i < points; ++i) {
    p->Add(0.5 * coord(rng), 0.5 * coord(rng) - 0.25, 0.75 * coord(rng));
    p->SetFlag(i, 0, coin(rng) != 0);
  }
  const int32_t list = obj.AddPrimitiveArray(type);
  for (int32_t k = 0; k < indices; ++k) obj.AddIndex(point(rng), list);
}

TEST(MeshNormals, AgreeWithBruteForceOnRandomMeshesOfEveryKind) {
  std::mt19937 rng(7);
  for (int32_t type = GL_POINTS; type <= GL_POLYGON; ++type)
    for (int round = 0; round < 12; ++round) {
      SCOPED_TRACE(testing::Message() << "type " << type << " round " << round);
      TQelPrimitiveObj obj(nullptr);
      const int32_t points = 5 + round * 7;
      FillRandom(obj, rng, type, points, 4 * (3 + round * 5) + round % 4);
      if (round % 3 == 0) FillRandom(obj, rng, (type + 5) % 10, 0 + points, 24);  // a second list
      obj.CalcNormals();
      const std::vector<V> want = ReferenceNormals(obj);
      for (int32_t i = 0; i < obj.GetPoints()->GetCount(); ++i) {
        SCOPED_TRACE(i);
        ExpectVec(obj.GetPoints()->GetVector(i, 1), want[i], 1e-9);
      }
    }
}

TEST(MeshNormals, AgreeWithBruteForceOnAClosedLinkedSurface) {
  // The box with every point linked: each corner's three points share the
  // sum of the triangles of three faces.
  TQelBox box(nullptr);
  box.Init();
  TQelPrimitivePoints* p = box.GetPoints();
  for (int32_t i = 0; i < p->GetCount(); ++i) p->SetFlag(i, 0, true);
  box.CalcNormals();
  const std::vector<V> want = ReferenceNormals(box);
  for (int32_t i = 0; i < p->GetCount(); ++i) {
    ExpectVec(p->GetVector(i, 1), want[i]);
    const V pos = p->GetVector(i, 0), n = p->GetVector(i, 1);
    EXPECT_GT(n.x * pos.x, 0);  // pointing out of the corner
    EXPECT_GT(n.y * pos.y, 0);
    EXPECT_GT(n.z * pos.z, 0);
  }
}

// --- the coincidence map ---------------------------------------------------------

TEST(MeshMaster, LinkedCoincidentPointsShareAMasterOthersStandAlone) {
  TQelPrimitiveObj obj(nullptr);
  TQelPrimitivePoints* p = obj.GetPoints();
  // 0, 2, 4 at A (0 and 4 linked), 1 and 3 at B (linked), 5 alone, 6 at A
  // within the tolerance (0.0005 off on every axis).
  const V a{1, 2, 3}, b{-1, 0.5, 2};
  for (const V& v : {a, b, a, b, a, V{7, 7, 7}, V{1.0005, 2.0005, 3.0005}}) p->Add(v.x, v.y, v.z);
  for (int32_t i : {0, 1, 3, 4, 5, 6}) p->SetFlag(i, 0, true);
  iArray master;
  obj.CalcMaster(0, master);
  ASSERT_EQ(master.size(), 7u);
  EXPECT_EQ(master[0], master[4]);
  EXPECT_EQ(master[1], master[3]);
  EXPECT_NE(master[0], master[1]);
  EXPECT_EQ(master[2], 2);  // no bit: its own master
  EXPECT_EQ(master[5], 5);
  for (int32_t i : {0, 1, 3, 4}) EXPECT_EQ(master[master[i]], master[i]);
  EXPECT_TRUE(master[0] == 0 || master[0] == 4);
  EXPECT_TRUE(master[1] == 1 || master[1] == 3);
  // Other bits select nobody here.
  obj.CalcMaster(5, master);
  for (int32_t i = 0; i < 7; ++i) EXPECT_EQ(master[i], i);
  obj.CalcMaster(-1, master);
  for (int32_t i = 0; i < 7; ++i) EXPECT_EQ(master[i], i);
}

TEST(MeshMaster, RandomCloudsMatchThePairwiseSearch) {
  std::mt19937 rng(11);
  for (int round = 0; round < 20; ++round) {
    TQelPrimitiveObj obj(nullptr);
    TQelPrimitivePoints* p = obj.GetPoints();
    std::uniform_int_distribution<int> coord(-20, 20), coin(0, 3);
    const int32_t n = 50 + 40 * round;
    for (int32_t i = 0; i < n; ++i) {
      p->Add(0.3 * coord(rng), 0.2 * coord(rng), 0.1 * (coord(rng) % 4));
      p->SetFlag(i, 0, coin(rng) != 0);
    }
    iArray master;
    obj.CalcMaster(0, master);
    for (int32_t i = 0; i < n; ++i)
      for (int32_t j = 0; j < n; ++j) {
        const bool same = p->GetFlag(i, 0) && p->GetFlag(j, 0) &&
                          p->GetVector(i, 0) == p->GetVector(j, 0);
        ASSERT_EQ(master[i] == master[j], same || i == j) << i << " " << j;
      }
  }
}

TEST(MeshMaster, AllPointsAtOnePositionShareOne) {
  TQelPrimitiveObj obj(nullptr);
  for (int i = 0; i < 1000; ++i) {
    obj.GetPoints()->Add(1, 1, 1);
    obj.GetPoints()->SetFlag(i, 0, true);
  }
  iArray master;
  obj.CalcMaster(0, master);
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(master[i], master[0]);
}

TEST(MeshMaster, HugeAndNonFiniteCoordinatesDoNotBreakTheSearch) {
  TQelPrimitiveObj obj(nullptr);
  TQelPrimitivePoints* p = obj.GetPoints();
  for (const V& v : {V{1e300, 0, 0}, V{1e300, 0, 0}, V{NAN, 0, 0}, V{INFINITY, 1, 1},
                     V{2e9, 0, 0}, V{2e9, 0, 0}, V{0, 0, 0}})
    p->Add(v.x, v.y, v.z);
  for (int32_t i = 0; i < p->GetCount(); ++i) p->SetFlag(i, 0, true);
  iArray master;
  obj.CalcMaster(0, master);
  EXPECT_EQ(master[4], master[5]);
  EXPECT_EQ(master[2], 2);
  EXPECT_EQ(master[6], 6);
}

// --- texture coordinates -----------------------------------------------------------

TEST(MeshTexture, ModesMapPositionsToCoordinates) {
  const V p{2, 3, 4};
  struct Case {
    uint8_t mode;
    V want;
  } cases[] = {
      {1, {2 * 2 + 0.5, 0, 0}},
      {2, {3 * 2 + 0.5, 0, 0}},
      {3, {4 * 2 + 0.5, 0, 0}},
      {4, {2 * 2 + 0.5, 3 * 3 - 1, 0}},
      {5, {3 * 2 + 0.5, 4 * 3 - 1, 0}},
      {6, {4 * 2 + 0.5, 2 * 3 - 1, 0}},
      {7, {std::sqrt(1 + 1 + 9.0) * 2 + 0.5, 0, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(int(c.mode));
    TQelPrimitiveObj obj(nullptr);
    obj.GetPoints()->Add(p, {0, 0, 1}, {9, 9, 9});
    TQelTextureFlags* f = obj.GetTextureFlags();
    f->SetMode(c.mode);
    f->SetScaleX(2);
    f->SetShiftX(0.5);
    f->SetScaleY(3);
    f->SetShiftY(-1);
    f->GetParamVector()->SetValues(1, 2, 1);
    obj.CalcTexture();
    ExpectVec(obj.GetPoints()->GetVector(0, 2), c.want, 1e-6);
  }
}

TEST(MeshTexture, ModeFourWithUnitScaleIsThePlainXY) {
  TQelPrimitiveObj obj(nullptr);
  obj.GetPoints()->Add(2, 3, 4);
  obj.GetTextureFlags()->SetMode(4);
  obj.CalcTexture();
  ExpectVec(obj.GetPoints()->GetVector(0, 2), {2, 3, 0});
}

TEST(MeshTexture, ModeZeroAndModesAboveSevenLeaveCoordinatesAndBadPointsAreIgnored) {
  for (uint8_t mode : {0, 8, 200}) {
    TQelPrimitiveObj obj(nullptr);
    obj.GetPoints()->Add({2, 3, 4}, {}, {7, 8, 9});
    obj.GetTextureFlags()->SetMode(mode);
    obj.CalcTexture();
    ExpectVec(obj.GetPoints()->GetVector(0, 2), {7, 8, 9});
  }
  TQelPrimitiveObj obj(nullptr);
  obj.GetPoints()->Add({2, 3, 4}, {}, {7, 8, 9});
  obj.GetTextureFlags()->SetMode(4);
  obj.CalcTexturePoint(-1);
  obj.CalcTexturePoint(1);
  ExpectVec(obj.GetPoints()->GetVector(0, 2), {7, 8, 9});
}

TEST(MeshTexture, CalcTextureDefinesTheTextureArray) {
  TQelPrimitiveObj obj(nullptr);
  obj.GetPoints()->SetDefineArrays({daVertex, daNormal});
  obj.GetPoints()->Add(1, 2, 3);
  obj.GetTextureFlags()->SetMode(4);
  obj.CalcTexture();
  EXPECT_TRUE(obj.GetPoints()->GetDefineArrays().Contains(daTexture));
  ExpectVec(obj.GetPoints()->GetVector(0, 2), {1, 2, 0});
}

}  // namespace
