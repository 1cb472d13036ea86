// The mesh algorithms on a bare store and index lists, without an object or
// GL: small meshes whose results are worked out by hand.
#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {

using V = TQelMathVector;

V Unit(V v) {
  QelMathNormalize(v);
  return v;
}

void ExpectVec(const V& got, const V& want, const char* what) {
  EXPECT_NEAR(got.x, want.x, 1e-9) << what;
  EXPECT_NEAR(got.y, want.y, 1e-9) << what;
  EXPECT_NEAR(got.z, want.z, 1e-9) << what;
}

// A store and its lists, each list given as (GL mode, indices).
struct Mesh {
  TQelPrimitivePoints points;
  std::vector<std::unique_ptr<TQelPrimitiveArray>> owned;
  std::vector<TQelPrimitiveArray*> lists;

  Mesh(std::initializer_list<V> positions,
       std::initializer_list<std::pair<int32_t, std::vector<uint32_t>>> indexLists) {
    for (const V& p : positions) points.Add(p.x, p.y, p.z);
    for (const auto& [type, indices] : indexLists) {
      owned.push_back(std::make_unique<TQelPrimitiveArray>(type));
      for (uint32_t i : indices) owned.back()->AddIndex(i);
      lists.push_back(owned.back().get());
    }
  }
  std::vector<uint32_t> Indices(size_t list) const {
    return {lists[list]->GetIndexArray(), lists[list]->GetIndexArray() + lists[list]->GetCount()};
  }
};

// The enclosed volume by the divergence theorem, every face fanned into
// triangles; positive when the faces point outwards.
double SignedVolume(const TQelPrimitivePoints& p, TQelPrimitiveArrays lists) {
  double six = 0;
  for (const TQelPrimitiveArray* a : lists)
    QelMeshForEachFace(*a, p.GetCount(), [&](const uint32_t* c, int32_t n) {
      for (int32_t k = 1; k + 1 < n; ++k) {
        const V a0 = p.GetVector(c[0], 0), b = p.GetVector(c[k], 0), d = p.GetVector(c[k + 1], 0);
        V cross;
        QelMathCrossProduct(b, d, cross);
        six += QelMathDotProduct(a0, cross);
      }
    });
  return six / 6;
}

const double r2 = std::sqrt(0.5), r3 = 1 / std::sqrt(3.0);

// --- normals: one row per kind of face list --------------------------------------

struct NormalCase {
  const char* name;
  Mesh* (*make)();
  std::vector<V> want;
};

const NormalCase kNormalCases[] = {
    // Two triangles at a right angle: (0,1,2) faces +z, (0,2,3) faces +x.
    {"fan", [] { return new Mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{GL_TRIANGLE_FAN, {0, 1, 2, 3}}}); },
     {{r2, 0, r2}, {0, 0, 1}, {r2, 0, r2}, {1, 0, 0}}},
    // The same two triangles as a strip: its odd triangle is turned back.
    {"strip", [] { return new Mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{GL_TRIANGLE_STRIP, {1, 2, 0, 3}}}); },
     {{r2, 0, r2}, {0, 0, 1}, {r2, 0, r2}, {1, 0, 0}}},
    // A bent quad: (0,1,2) faces +z, (2,3,0) faces (1,-1,1)/sqrt3.
    {"quad", [] { return new Mesh({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 1}}, {{GL_QUADS, {0, 1, 2, 3}}}); },
     {Unit({r3, -r3, 1 + r3}), {0, 0, 1}, Unit({r3, -r3, 1 + r3}), {r3, -r3, r3}}},
    // Points 0 and 2 coincide: the first two triangles of the strip's quad
    // are degenerate, the third, (0,1,3), gives all four corners its normal.
    {"quad strip", [] { return new Mesh({{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {1, 1, 1}}, {{GL_QUAD_STRIP, {0, 1, 2, 3}}}); },
     {{0, -r2, r2}, {0, -r2, r2}, {0, -r2, r2}, {0, -r2, r2}}},
    // A tilted polygon; the unused point 3 and the line's points face up.
    {"polygon and lines", [] { return new Mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 1}, {5, 5, 5}}, {{GL_POLYGON, {0, 1, 2}}, {GL_LINES, {3, 3}}}); },
     {{0, -r2, r2}, {0, -r2, r2}, {0, -r2, r2}, {0, 0, 1}}},
};

TEST(MeshTools, NormalsOfEveryKindOfFaceList) {
  for (const NormalCase& c : kNormalCases) {
    std::unique_ptr<Mesh> m(c.make());
    m->points.SetDefineArrays({daVertex, daFlag});  // the normal array is made on demand
    QelMeshCalcNormals(m->points, m->lists);
    for (size_t i = 0; i < c.want.size(); ++i) ExpectVec(m->points.GetVector(i, 1), c.want[i], c.name);
  }
}

TEST(MeshTools, TheLinkBitSharesOneNormalPerPosition) {
  // (0,1,2) faces +z, (4,5,3) faces (1,1,1)/sqrt3; each has its own copy
  // of the shared edge (points 1 = 4 and 2 = 5).
  for (bool link : {false, true}) {
    Mesh m({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}},
           {{GL_TRIANGLES, {0, 1, 2, 4, 5, 3}}});
    for (int i = 0; i < 6; ++i) m.points.SetFlag(i, TQelPrimitivePoints::NormalLinkBit, link);
    QelMeshCalcNormals(m.points, m.lists);
    const V shared = Unit({r3, r3, 1 + r3});
    ExpectVec(m.points.GetVector(1, 1), link ? shared : V{0, 0, 1}, "point 1");
    ExpectVec(m.points.GetVector(4, 1), link ? shared : V{r3, r3, r3}, "point 4");
  }
}

// --- coincidence ------------------------------------------------------------------

TEST(MeshTools, MasterJoinsFlaggedPointsWithinTheTolerance) {
  Mesh m({{1, 1, 1}, {0.9991, 1.0009, 0.9991}, {1.001, 1, 1}, {1, 1, 1}, {1, 1, 1}}, {});
  for (int i : {0, 1, 2, 3}) m.points.SetFlag(i, 3, true);  // point 4 is not flagged
  // Which point of a group stands for it depends on the random reference
  // point; the groups do not.
  const struct {
    int32_t bit;
    iArray group;
  } rows[] = {{3, {0, 0, 2, 0, 4}}, {2, {0, 1, 2, 3, 4}}, {-1, {0, 1, 2, 3, 4}}, {9, {0, 1, 2, 3, 4}}};
  for (const auto& r : rows) {
    iArray master;
    QelMeshCalcMaster(m.points, r.bit, master);
    ASSERT_EQ(master.size(), 5u);
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(r.group[master[i]], r.group[i]) << "bit " << r.bit << ", point " << i;
      for (int j = 0; j < 5; ++j)
        EXPECT_EQ(master[i] == master[j], r.group[i] == r.group[j]) << "bit " << r.bit;
    }
  }
}

// --- texture coordinates -------------------------------------------------------------

TEST(MeshTools, TextureModesMapThePositionThroughScaleAndShift) {
  // Point (2, 3, 4); s = axis * 2 + 1, t = axis * 3 - 1; ParamVector (2, 3, 0)
  // is 4 away. Coordinates start at (7, 7, 7).
  const struct {
    uint8_t mode;
    V want;
  } rows[] = {{txStandard, {7, 7, 7}}, {txLinearX, {5, 0, 0}},  {txLinearY, {7, 0, 0}},
              {txLinearZ, {9, 0, 0}},  {txLinearXY, {5, 8, 0}}, {txLinearYZ, {7, 11, 0}},
              {txLinearZX, {9, 5, 0}}, {txSphereZ, {9, 0, 0}},  {txSphereZ + 1, {7, 7, 7}}};
  for (const auto& r : rows) {
    SCOPED_TRACE(int(r.mode));
    TQelPrimitivePoints p;
    p.SetDefineArrays({daVertex});
    p.Add(2, 3, 4);
    TQelTextureFlags flags;
    flags.SetMode(r.mode);
    flags.SetScaleX(2);
    flags.SetShiftX(1);
    flags.SetScaleY(3);
    flags.SetShiftY(-1);
    flags.GetParamVector()->SetValues(2, 3, 0);
    QelMeshCalcTexture(p, flags);  // defines the texture array
    p.SetVector(0, 2, {7, 7, 7});
    QelMeshCalcTexturePoint(p, flags, 0);
    QelMeshCalcTexturePoint(p, flags, 1);  // no such point: ignored
    ExpectVec(p.GetVector(0, 2), r.want, "texture");
  }
}

// --- open edges ------------------------------------------------------------------------

TEST(MeshTools, OpenEdgesRunAsTheirFacesInFaceOrder) {
  // The unit square's corners 0..3 counter-clockwise; point 4 lies on point 0.
  const auto square = std::initializer_list<V>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 0}};
  const struct {
    const char* name;
    int32_t type;
    std::vector<uint32_t> indices;
    TQelEdgeArray want;
  } rows[] = {
      {"two triangles", GL_TRIANGLES, {0, 1, 2, 0, 2, 3}, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}},
      {"strip", GL_TRIANGLE_STRIP, {0, 1, 3, 2}, {{0, 1}, {3, 0}, {1, 2}, {2, 3}}},
      {"quad strip", GL_QUAD_STRIP, {0, 1, 3, 2}, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}},
      {"both sides, one by a coincident point", GL_TRIANGLES, {0, 1, 2, 4, 2, 1}, {}},
      {"a degenerate face is left out", GL_TRIANGLES, {0, 1, 2, 0, 4, 1}, {{0, 1}, {1, 2}, {2, 0}}},
      {"lines have no faces", GL_LINES, {0, 1, 1, 2}, {}},
  };
  for (const auto& r : rows) {
    Mesh m(square, {{r.type, r.indices}});
    TQelEdgeArray edges{{9, 9}};
    QelMeshGetOpenEdges(m.points, m.lists, edges);
    EXPECT_EQ(edges, r.want) << r.name;
  }
}

// --- editing ---------------------------------------------------------------------------

TEST(MeshTools, SplitTriangleMakesFourByTheMidpoints) {
  Mesh m({{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}, {{GL_TRIANGLES, {0, 1, 2}}, {GL_QUADS, {0, 1, 2, 0}}});
  EXPECT_FALSE(QelMeshSplitTriangle(m.points, *m.lists[1], 0));  // not triangles
  EXPECT_FALSE(QelMeshSplitTriangle(m.points, *m.lists[0], 1));  // no such triangle
  ASSERT_TRUE(QelMeshSplitTriangle(m.points, *m.lists[0], 0));
  EXPECT_EQ(m.Indices(0), (std::vector<uint32_t>{0, 3, 5, 3, 1, 4, 5, 4, 2, 3, 4, 5}));
  const V mids[3] = {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  for (int k = 0; k < 3; ++k) ExpectVec(m.points.GetVector(3 + k, 0), mids[k], "midpoint");
  // Twice the area along the facing: all four still face +z.
  ExpectVec(QelMeshFrontVector(m.points, {m.lists.data(), 1}), {0, 0, 4}, "front");
}

TEST(MeshTools, FreeingPointsRenumbersEveryList) {
  // Points 0..4 at x = 0..4; the enabled list uses 0, 3 and 4.
  const struct {
    const char* name;
    int32_t i, n;  // n < 0: free the unused points
    bool changed;
    std::vector<uint32_t> want;
    int32_t count;
  } rows[] = {
      {"unused", 0, -1, true, {0, 1, 2}, 3},
      {"1 and 2", 1, 2, true, {0, 1, 2}, 3},
      {"past the end is cut", 4, 9, true, {0, 3, 4}, 4},
      {"outside", 5, 1, false, {0, 3, 4}, 5},
  };
  for (const auto& r : rows) {
    Mesh m({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}},
           {{GL_TRIANGLES, {0, 3, 4}}, {GL_POINTS, {1}}});
    m.lists[1]->SetEnabled(false);
    const bool changed = r.n < 0 ? QelMeshFreeUnusedPoints(m.points, m.lists)
                                 : QelMeshFreePoints(m.points, m.lists, r.i, r.n);
    EXPECT_EQ(changed, r.changed) << r.name;
    EXPECT_EQ(m.points.GetCount(), r.count) << r.name;
    EXPECT_EQ(m.Indices(0), r.want) << r.name;
    if (r.count == 3) EXPECT_EQ(m.points.GetVector(1, 0).x, 3) << r.name;
  }
}

TEST(MeshTools, NearPointSearchesOnlyTheListAndPrefersTheFirst) {
  Mesh m({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}}, {{GL_POINTS, {3, 2, 1}}, {GL_POINTS, {}}});
  const struct {
    double x;
    int32_t want;
  } rows[] = {{0, 1}, {2.5, 3}, {1.9, 2}, {9, 3}};
  for (const auto& r : rows) EXPECT_EQ(QelMeshGetNearPoint(m.points, *m.lists[0], {r.x, 0, 0}), r.want) << r.x;
  EXPECT_EQ(QelMeshGetNearPoint(m.points, *m.lists[1], {0, 0, 0}), -1);
}

// --- extrusion and relief ------------------------------------------------------------

TEST(MeshTools, ExtrudingASquareMakesAClosedOutwardPrism) {
  // The unit square facing +z; every vector with z = +-1 encloses volume 1.
  for (V vector : {V{0, 0, 1}, V{0, 0, -1}, V{0.5, 0, 1}}) {
    Mesh m({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{GL_QUADS, {0, 1, 2, 3}}});
    std::vector<std::unique_ptr<TQelPrimitiveArray>> added;
    ASSERT_TRUE(QelMeshExtrude(m.points, m.lists, vector, nullptr, added));
    ASSERT_EQ(added.size(), 2u);  // the copy, then the wall
    std::vector<TQelPrimitiveArray*> all = m.lists;
    for (auto& a : added) all.push_back(a.get());
    EXPECT_EQ(m.points.GetCount(), 4 + 4 + 4 * 4);
    EXPECT_NEAR(SignedVolume(m.points, all), 1, 1e-12) << vector.z;
    TQelEdgeArray edges;
    QelMeshGetOpenEdges(m.points, all, edges);
    EXPECT_TRUE(edges.empty());
    // Neither a closed mesh nor a zero vector is extruded.
    std::vector<std::unique_ptr<TQelPrimitiveArray>> none;
    EXPECT_FALSE(QelMeshExtrude(m.points, all, vector, nullptr, none));
    EXPECT_FALSE(QelMeshExtrude(m.points, m.lists, ZEROVEC, nullptr, none));
    EXPECT_TRUE(none.empty());
  }
}

TEST(MeshTools, ReliefLiftsAlongTheNormalByThePixel) {
  TBitmap bmp(2, 1);
  bmp.SetPixel(0, 0, 0x0000FF);  // red
  bmp.SetPixel(1, 0, 0xFF0000);  // blue
  TQelPrimitivePoints p;
  p.Add({0, 0, 0}, {0, 0, 1}, {0.25, 0.5, 0});
  p.Add({0, 0, 0}, {1, 0, 0}, {0.75, 0.5, 0});
  p.Add({0, 0, 0}, {0, 1, 0}, {-0.25, 0.5, 0});  // repeats onto the right pixel
  ASSERT_TRUE(QelMeshSetReliefBitmap(p, bmp, 1, 5, 2));
  ExpectVec(p.GetVector(0, 0), {0, 0, 1}, "red");
  ExpectVec(p.GetVector(1, 0), {2, 0, 0}, "blue");
  ExpectVec(p.GetVector(2, 0), {0, 2, 0}, "blue, repeated");
  EXPECT_FALSE(QelMeshSetReliefBitmap(p, TBitmap(), 1, 1, 1));
}

}  // namespace
