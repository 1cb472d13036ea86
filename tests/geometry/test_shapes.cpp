// The generated shapes: one table over every shape checks the counts its
// parameters imply (worked out by hand), closedness, outward normals,
// texture ranges, a scene-file round trip and ignored bad values; then the
// function surface against its function and the polygon's area against the
// shoelace formula.
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <qelon/qelon.h>

namespace {

using V = TQelMathVector;

V Sub(const V& a, const V& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
V Cross(const V& a, const V& b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
double Dot(const V& a, const V& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// Which way "outwards" is at a face centre.
V FromOrigin(const V& c) { return c; }
V Up(const V&) { return {0, 0, 1}; }
V FromTorusTube(const V& c) {  // major radius 1 about z
  const double r = std::hypot(c.x, c.y);
  return {c.x - c.x / r, c.y - c.y / r, c.z};
}

struct Bad {
  const char* param;
  double value;
};

struct ShapeCase {
  const char* name;
  std::function<TQelShape*(TComponent*)> make;
  int32_t points, triangles, openEdges;
  V (*outward)(const V& faceCentre);
  std::vector<Bad> bad;
  int32_t badListSize = -1;  // a "Points"/"Profile" length the shape refuses
};

template <class T>
std::function<TQelShape*(TComponent*)> Make(std::function<void(T*)> setup = nullptr) {
  return [setup](TComponent* owner) {
    auto* s = new T(owner);
    if (setup) setup(s);
    return s;
  };
}

const TQelPointList kLShape = {{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}};

double Wave(double x, double y) { return 0.5 * std::sin(x) * std::cos(y); }

const ShapeCase kShapes[] = {
    {"Box", Make<TQelBox>(), 24, 12, 0, FromOrigin, {{"Width", 0}, {"Depth", -1}}},
    // Pole rows give one triangle a slice: 2*8*6 - 2*8.
    {"Sphere", Make<TQelSphere>([](TQelSphere* s) { s->SetRadius(2), s->SetSlices(8), s->SetStacks(6); }),
     63, 80, 0, FromOrigin, {{"Radius", 0}, {"Slices", 2}, {"Stacks", 1.5}, {"SweepLatitude", 181}}},
    // A quarter of the northern half: two meridians of 4 edges, the equator of 8.
    {"SphereQuarter", Make<TQelSphere>([](TQelSphere* s) {
       s->SetSlices(8), s->SetStacks(4), s->SetSweepLongitude(90), s->SetStartLatitude(0), s->SetSweepLatitude(90);
     }),
     45, 56, 16, FromOrigin, {{"StartLatitude", 10}, {"SweepLongitude", 0}}},
    // Side 9x3 points, 32 triangles; caps 9x2 points and 8 triangles each.
    {"Cylinder", Make<TQelCylinder>([](TQelCylinder* c) { c->SetSlices(8), c->SetStacks(2); }), 63, 48, 0,
     FromOrigin, {{"Height", 0}, {"BottomRadius", -1}}},
    {"CylinderNoCaps", Make<TQelCylinder>([](TQelCylinder* c) { c->SetSlices(8), c->SetCaps(false); }), 18,
     16, 16, FromOrigin, {}},
    // Side 9x2 points, one triangle a slice at the tip; the bottom cap.
    {"Cone", Make<TQelCone>([](TQelCone* c) { c->SetSlices(8); }), 36, 16, 0, FromOrigin,
     {{"BottomRadius", 0}, {"Slices", 2}}},
    // Outer and inner arcs of 6, two radial sides of 2.
    {"DiscRing", Make<TQelDisc>([](TQelDisc* d) {
       d->SetInnerRadius(0.5), d->SetSweepAngle(180), d->SetSlices(6), d->SetStacks(2);
     }),
     21, 24, 16, Up, {{"InnerRadius", 1}, {"OuterRadius", 0.5}, {"SweepAngle", 400}}},
    {"Disc", Make<TQelDisc>([](TQelDisc* d) { d->SetSlices(8), d->SetStacks(2); }), 27, 24, 8, Up, {}},
    {"Torus", Make<TQelTorus>([](TQelTorus* t) { t->SetSlices(8), t->SetStacks(6); }), 63, 96, 0,
     FromTorusTube, {{"MinorRadius", 1}, {"Stacks", 2}}},
    {"Rectangle", Make<TQelRectangle>([](TQelRectangle* r) { r->SetSlices(3), r->SetStacks(2); }), 12, 12, 10,
     Up, {{"Width", 0}, {"Slices", 0}}},
    {"Point", Make<TQelPoint>([](TQelPoint* p) { p->SetPointsList({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}); }), 3, 0,
     0, Up, {}, 0},
    {"Line", Make<TQelLine>([](TQelLine* l) { l->SetPointsList({{0, 0, 0}, {1, 0, 0}, {1, 2, 0}}); }), 3, 0, 0,
     Up, {}, 1},
    {"Triangle", Make<TQelTriangle>(), 3, 1, 3, Up, {}, 4},
    {"Polygon", Make<TQelPolygon>([](TQelPolygon* p) { p->SetPointsList(kLShape); }), 6, 4, 6, Up, {}, 2},
    {"FunctionSurface", Make<TQelFunctionSurface>([](TQelFunctionSurface* f) {
       f->SetFunction(Wave), f->SetSlices(4), f->SetStacks(3), f->SetYMax(2);
     }),
     20, 24, 14, Up, {{"XMin", 1}, {"YMax", -1}}},
    // A closed body: from the axis up the outside back to the axis.
    {"Revolution", Make<TQelRevolutionSurface>([](TQelRevolutionSurface* r) {
       r->SetProfile({{0, -1, 0}, {1, -0.5, 0}, {1, 0.5, 0}, {0, 1, 0}}), r->SetSlices(8);
     }),
     36, 32, 0, FromOrigin, {{"SweepAngle", -90}}, 1},
};

struct Triangle {
  int32_t c[3];
};

std::vector<Triangle> Triangles(const TQelPrimitiveObj& obj) {
  std::vector<Triangle> out;
  for (int32_t k = 0; k < obj.GetPrimitiveCount(); ++k) {
    const TQelPrimitiveArray* a = obj.GetPrimitive(k);
    if (a->GetType() != GL_TRIANGLES) continue;
    for (int32_t i = 0; i + 2 < a->GetCount(); i += 3)
      out.push_back({{a->GetIndices(i), a->GetIndices(i + 1), a->GetIndices(i + 2)}});
  }
  return out;
}

V Pos(const TQelPrimitiveObj& obj, int32_t i) { return obj.GetPoints()->GetVector(i, 0); }

class Shapes : public ::testing::TestWithParam<ShapeCase> {
protected:
  void SetUp() override {
    shape = GetParam().make(&top);
    top.Add(shape);
    shape->Init();
  }
  TQelNode top{nullptr};
  TQelShape* shape = nullptr;
};

TEST_P(Shapes, CountsAndClosedness) {
  EXPECT_EQ(shape->GetPoints()->GetCount(), GetParam().points);
  EXPECT_EQ(static_cast<int32_t>(Triangles(*shape).size()), GetParam().triangles);
  TQelEdgeArray open;
  shape->GetOpenEdges(open);
  EXPECT_EQ(static_cast<int32_t>(open.size()), GetParam().openEdges);
}

TEST_P(Shapes, FacesAndNormalsPointOutwardsAndTextureIsInRange) {
  const TQelPrimitivePoints* pts = shape->GetPoints();
  for (const Triangle& t : Triangles(*shape)) {
    const V a = Pos(*shape, t.c[0]), b = Pos(*shape, t.c[1]), c = Pos(*shape, t.c[2]);
    const V face = Cross(Sub(b, a), Sub(c, a));
    const V centre{(a.x + b.x + c.x) / 3, (a.y + b.y + c.y) / 3, (a.z + b.z + c.z) / 3};
    if (QelMathVectorLength(face) == 0) continue;  // the tessellator's slivers on collinear outline points
    EXPECT_GT(Dot(face, GetParam().outward(centre)), 0) << "triangle " << t.c[0] << " " << t.c[1] << " " << t.c[2];
    for (int32_t corner : t.c) EXPECT_GT(Dot(pts->GetVector(corner, 1), face), 0) << "normal of " << corner;
  }
  for (int32_t i = 0; i < pts->GetCount(); ++i) {
    EXPECT_NEAR(QelMathVectorLength(pts->GetVector(i, 1)), 1, 1e-9);
    for (int32_t k = 0; k < 2; ++k) {
      EXPECT_GE(pts->GetValues(i, k, 2), 0) << "point " << i;
      EXPECT_LE(pts->GetValues(i, k, 2), 1) << "point " << i;
    }
  }
}

TEST_P(Shapes, SceneFileRoundTripRestoresTheMesh) {
  const std::string file = (std::filesystem::temp_directory_path() /
                            (std::string("qelon-shapes-") + GetParam().name + ".xml")).string();
  TQelExchange ex(nullptr);
  TQelNode loaded(nullptr);
  ASSERT_TRUE(ex.SaveToFile(file, &top));
  ASSERT_TRUE(ex.LoadFromFile(file, &loaded));
  std::filesystem::remove(file);
  ASSERT_EQ(loaded.GetCount(), 1);
  auto* got = dynamic_cast<TQelShape*>(loaded.GetItems(0));
  ASSERT_NE(got, nullptr);
  EXPECT_STREQ(got->ClassName(), shape->ClassName());
  if (!got->GetInited()) got->Init();
  const TQelPrimitivePoints *g = got->GetPoints(), *w = shape->GetPoints();
  ASSERT_EQ(g->GetCount(), w->GetCount());
  for (int32_t i = 0; i < w->GetCount(); ++i)
    for (int32_t kind = 0; kind < 3; ++kind)
      for (int32_t c = 0; c < 3; ++c) EXPECT_NEAR(g->GetValues(i, c, kind), w->GetValues(i, c, kind), 1e-12);
  ASSERT_EQ(got->GetPrimitiveCount(), shape->GetPrimitiveCount());
  for (int32_t k = 0; k < shape->GetPrimitiveCount(); ++k) {
    ASSERT_EQ(got->GetPrimitive(k)->GetCount(), shape->GetPrimitive(k)->GetCount());
    for (int32_t i = 0; i < shape->GetPrimitive(k)->GetCount(); ++i)
      EXPECT_EQ(got->GetPrimitive(k)->GetIndices(i), shape->GetPrimitive(k)->GetIndices(i));
  }
}

TEST_P(Shapes, OutOfRangeValuesAreIgnored) {
  for (const Bad& bad : GetParam().bad) {
    const int32_t i = shape->FindParam(bad.param);
    ASSERT_GE(i, 0) << bad.param;
    const double before = shape->GetParam(i);
    EXPECT_FALSE(shape->SetParam(i, bad.value)) << bad.param << " = " << bad.value;
    EXPECT_EQ(shape->GetParam(i), before) << bad.param;
  }
  if (GetParam().badListSize >= 0)
    EXPECT_FALSE(shape->SetPointList(0, TQelPointList(GetParam().badListSize, V{1, 2, 3})));
  EXPECT_TRUE(shape->GetInited()) << "an ignored value must not regenerate the mesh";
}

INSTANTIATE_TEST_SUITE_P(All, Shapes, ::testing::ValuesIn(kShapes),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(FunctionSurface, MatchesTheFunctionAtEveryGridPoint) {
  TQelFunctionSurface surface(nullptr);
  surface.SetFunction(Wave);
  surface.SetXMin(-2), surface.SetXMax(3), surface.SetYMin(0), surface.SetYMax(1);
  surface.SetSlices(5), surface.SetStacks(4);
  surface.Init();
  ASSERT_EQ(surface.GetPoints()->GetCount(), 6 * 5);
  for (int32_t v = 0; v <= 4; ++v)
    for (int32_t u = 0; u <= 5; ++u) {
      const V p = Pos(surface, v * 6 + u);
      EXPECT_DOUBLE_EQ(p.x, -2 + u);
      EXPECT_DOUBLE_EQ(p.y, v / 4.0);
      EXPECT_DOUBLE_EQ(p.z, Wave(p.x, p.y));
    }
  EXPECT_EQ(surface.GetStoreMode(), smAll) << "a function cannot be saved: the mesh is";
}

struct Outline {
  const char* name;
  TQelPointList points;
  V normal;
};

// Shoelace area of an outline in a coordinate plane: the largest of the
// three projected areas.
double ShoelaceArea(const TQelPointList& p) {
  double xy = 0, yz = 0, zx = 0;
  for (size_t i = 0; i < p.size(); ++i) {
    const V& a = p[i];
    const V& b = p[(i + 1) % p.size()];
    xy += a.x * b.y - b.x * a.y;
    yz += a.y * b.z - b.y * a.z;
    zx += a.z * b.x - b.z * a.x;
  }
  return std::max({std::fabs(xy), std::fabs(yz), std::fabs(zx)}) / 2;
}

class ConcavePolygon : public ::testing::TestWithParam<Outline> {};

TEST_P(ConcavePolygon, TrianglesCoverTheAreaExactly) {
  TQelPolygon polygon(nullptr);
  polygon.SetPointsList(GetParam().points);
  polygon.Init();
  double area = 0;
  for (const Triangle& t : Triangles(polygon)) {
    const V face = Cross(Sub(Pos(polygon, t.c[1]), Pos(polygon, t.c[0])), Sub(Pos(polygon, t.c[2]), Pos(polygon, t.c[0])));
    area += QelMathVectorLength(face) / 2;
    if (QelMathVectorLength(face) > 0) EXPECT_GT(Dot(face, GetParam().normal), 0) << "every triangle faces the outline's front";
  }
  EXPECT_NEAR(area, ShoelaceArea(GetParam().points), 1e-12);
  EXPECT_EQ(static_cast<int32_t>(Triangles(polygon).size()), static_cast<int32_t>(GetParam().points.size()) - 2);
}

INSTANTIATE_TEST_SUITE_P(
    Outlines, ConcavePolygon,
    ::testing::Values(
        Outline{"L", kLShape, {0, 0, 1}},
        // Clockwise seen from +z: it faces -z.
        Outline{"LClockwise", TQelPointList(kLShape.rbegin(), kLShape.rend()), {0, 0, -1}},
        // Clockwise too.
        Outline{"Star", {{0, 3, 0}, {1, 1, 0}, {3, 1, 0}, {1.5, -0.5, 0}, {2, -3, 0}, {0, -1.5, 0},
                         {-2, -3, 0}, {-1.5, -0.5, 0}, {-3, 1, 0}, {-1, 1, 0}}, {0, 0, -1}},
        Outline{"CombInXZ", {{0, 0, 0}, {5, 0, 0}, {5, 0, 3}, {4, 0, 3}, {4, 0, 1}, {3, 0, 1}, {3, 0, 3},
                             {2, 0, 3}, {2, 0, 1}, {1, 0, 1}, {1, 0, 3}, {0, 0, 3}}, {0, -1, 0}}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
