// The mesh object without drawing: the generation template, the index lists
// and their appearance, and the editing operations, which must keep every
// index on the position it named.
#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

using V = TQelMathVector;

void ExpectVec(const V& got, const V& want, double eps = 1e-9) {
  EXPECT_NEAR(got.x, want.x, eps);
  EXPECT_NEAR(got.y, want.y, eps);
  EXPECT_NEAR(got.z, want.z, eps);
}

std::vector<int32_t> Indices(const TQelPrimitiveArray* a) {
  std::vector<int32_t> r;
  for (int32_t k = 0; k < a->GetCount(); ++k) r.push_back(a->GetIndices(k));
  return r;
}

// The position every index of every list names, list by list.
std::vector<std::vector<V>> NamedPositions(const TQelPrimitiveObj& obj) {
  std::vector<std::vector<V>> r;
  for (int32_t l = 0; l < obj.GetPrimitiveCount(); ++l) {
    r.emplace_back();
    for (int32_t i : Indices(obj.GetPrimitive(l))) r.back().push_back(obj.GetPoints()->GetVector(i, 0));
  }
  return r;
}

// A mesh whose InitPoints/InitPrimitives log the template's steps.
class TStepMesh : public TQelPrimitiveObj {
public:
  using TQelPrimitiveObj::TQelPrimitiveObj;
  void ClearAll() override { log += "ClearAll "; TQelPrimitiveObj::ClearAll(); }
  void ClearPoints() override { log += "ClearPoints "; TQelPrimitiveObj::ClearPoints(); }
  void ClearPrimitives() override { log += "ClearPrimitives "; TQelPrimitiveObj::ClearPrimitives(); }
  void InitPoints() override {
    log += "InitPoints ";
    GetPoints()->Add(2, 3, 4);
    GetPoints()->Add(5, 6, 7);
  }
  void InitPrimitives() override {
    // Texture coordinates are already made here.
    log += "InitPrimitives(s=" + std::to_string(int(GetPoints()->GetValues(0, 0, 2))) + ") ";
    AddIndex(0, AddPrimitiveArray(GL_LINES));
    AddIndex(1);
  }
  std::string log;
};

TEST(MeshObject, InitRunsTheTemplateInOrderThenRaisesOnAfterInit) {
  TStepMesh m(nullptr);
  m.GetTextureFlags()->SetMode(1);
  m.SetStoreMode(smAll);
  EXPECT_FALSE(m.GetInited());
  bool initedInEvent = false;
  TObject* sender = nullptr;
  m.OnAfterInit = [&](TObject* s) {
    sender = s;
    initedInEvent = m.GetInited();
    m.log += "OnAfterInit";
  };
  m.Init();
  EXPECT_EQ(m.log, "ClearAll ClearPoints ClearPrimitives InitPoints InitPrimitives(s=2) OnAfterInit");
  EXPECT_TRUE(initedInEvent);
  EXPECT_EQ(sender, &m);
  EXPECT_EQ(m.GetStoreMode(), smDefault);  // every regeneration returns to parameters only
  EXPECT_EQ(m.GetPoints()->GetCount(), 2);
  ASSERT_EQ(m.GetPrimitiveCount(), 1);
  EXPECT_EQ(Indices(m.GetPrimitive(0)), (std::vector<int32_t>{0, 1}));
  // Again: the old mesh is cleared first.
  m.Init();
  EXPECT_EQ(m.GetPoints()->GetCount(), 2);
  EXPECT_EQ(m.GetPrimitiveCount(), 1);
}

TEST(MeshObject, StoreModeNamesAndRange) {
  EXPECT_STREQ(TQelStoreModeStr[smDefault], "smDefault");
  EXPECT_STREQ(TQelStoreModeStr[smPoints], "smPoints");
  EXPECT_STREQ(TQelStoreModeStr[smAll], "smAll");
  TQelPrimitiveObj m(nullptr);
  m.SetStoreMode(smPoints);
  m.SetStoreMode(static_cast<TQelStoreMode>(7));
  EXPECT_EQ(m.GetStoreMode(), smPoints);
}

TEST(MeshObject, ListsAreFoundMadeAndDeletedByPosition) {
  TQelPrimitiveObj m(nullptr);
  m.AddIndex(5);  // no list yet: ignored
  EXPECT_EQ(m.AddPrimitiveArray(GL_TRIANGLES), 0);
  EXPECT_EQ(m.AddPrimitiveArray(GL_QUADS), 1);
  EXPECT_EQ(m.AddPrimitiveArray(GL_TRIANGLES), 2);
  EXPECT_EQ(m.GetPrimitiveArray(GL_TRIANGLES), m.GetPrimitive(0));
  TQelPrimitiveArray* lines = m.GetPrimitiveArray(GL_LINES);  // made on demand
  EXPECT_EQ(m.GetPrimitiveCount(), 4);
  EXPECT_EQ(lines, m.GetPrimitive(3));
  EXPECT_EQ(lines->GetType(), GL_LINES);
  EXPECT_EQ(m.GetPrimitive(4), nullptr);
  EXPECT_EQ(m.GetPrimitive(-1), nullptr);

  m.AddIndex(7);         // the last list
  m.AddIndex(8, 1);      // the given one
  m.AddIndex(9, 10);     // none: ignored
  m.AddIndex(-1, 1);     // no point: ignored
  EXPECT_EQ(Indices(lines), (std::vector<int32_t>{7}));
  EXPECT_EQ(Indices(m.GetPrimitive(1)), (std::vector<int32_t>{8}));

  TQelPrimitiveArray* quads = m.GetPrimitive(1);
  m.DeletePrimitiveArray(2, 10);  // 2 and 3; the rest is outside
  EXPECT_EQ(m.GetPrimitiveCount(), 2);
  EXPECT_EQ(m.GetPrimitive(1), quads);
  m.DeletePrimitiveArray(-1, 2);  // -1 is skipped, 0 goes
  EXPECT_EQ(m.GetPrimitiveCount(), 1);
  EXPECT_EQ(m.GetPrimitive(0), quads);
  m.DeletePrimitiveArray(5);
  EXPECT_EQ(m.GetPrimitiveCount(), 1);
  m.DeletePrimitiveArray(0);
  EXPECT_EQ(m.GetPrimitiveCount(), 0);
}

TEST(MeshObject, NewListsTakeTheObjectsAppearanceAndTexturedFromTheStore) {
  TQelMaterial mat(nullptr);
  TQelAttributes attr(nullptr);
  TQelTexture tex(nullptr);
  TQelPrimitiveObj m(nullptr);
  m.SetMaterial(&mat);
  m.SetAttributes(&attr);
  m.SetTexture(&tex);
  TQelPrimitiveArray* plain = m.GetPrimitive(m.AddPrimitiveArray(GL_TRIANGLES));
  EXPECT_EQ(plain->GetMaterial(), &mat);
  EXPECT_EQ(plain->GetAttributes(), &attr);
  EXPECT_EQ(plain->GetTexture(), &tex);
  EXPECT_FALSE(plain->GetTextured());
  m.GetPoints()->SetUseArrays(m.GetPoints()->GetUseArrays() + daTexture);
  EXPECT_TRUE(m.GetPrimitive(m.AddPrimitiveArray(GL_QUADS))->GetTextured());
}

TEST(MeshObject, TexturedSwitchesTheStoreAndEveryList) {
  TQelPrimitiveObj m(nullptr);
  m.AddPrimitiveArray(GL_TRIANGLES);
  m.AddPrimitiveArray(GL_QUADS);
  int changes = 0;
  m.OnChange = [&](TObject*) { ++changes; };
  m.SetTextured(true);
  EXPECT_TRUE(m.GetTextured());
  EXPECT_TRUE(m.GetPoints()->GetUseArrays().Contains(daTexture));
  EXPECT_TRUE(m.GetPrimitive(0)->GetTextured());
  EXPECT_TRUE(m.GetPrimitive(1)->GetTextured());
  EXPECT_EQ(changes, 1);
  m.SetTextured(false);
  EXPECT_FALSE(m.GetTextured());
  EXPECT_FALSE(m.GetPrimitive(1)->GetTextured());
  EXPECT_EQ(changes, 2);
  m.SetTextured(false);
  EXPECT_EQ(changes, 2);
}

TEST(MeshObject, AppearanceGoesToEveryListWithOneChangeSignal) {
  TQelMaterial a(nullptr), b(nullptr);
  TQelPrimitiveObj m(nullptr);
  m.AddPrimitiveArray(GL_TRIANGLES);
  m.AddPrimitiveArray(GL_QUADS);
  int changes = 0;
  m.OnChange = [&](TObject*) { ++changes; };
  m.SetMaterial(&a);
  EXPECT_EQ(m.GetMaterial(), &a);
  EXPECT_EQ(m.GetPrimitive(0)->GetMaterial(), &a);
  EXPECT_EQ(m.GetPrimitive(1)->GetMaterial(), &a);
  EXPECT_EQ(changes, 1);
  m.SetMaterial(&a);
  EXPECT_EQ(changes, 1);
  // A list changed on its own reports through the object.
  m.GetPrimitive(1)->SetMaterial(&b);
  EXPECT_EQ(changes, 2);
  m.GetPrimitive(0)->SetEnabled(false);
  EXPECT_EQ(changes, 3);
}

TEST(MeshObject, ADyingAppearanceLeavesTheObjectAndEveryListHoweverTheyGotIt) {
  TQelPrimitiveObj m(nullptr);
  auto* mat = new TQelMaterial(nullptr);
  auto* attr = new TQelAttributes(nullptr);
  auto* tex = new TQelTexture(nullptr);
  auto* own = new TQelMaterial(nullptr);  // given to one list only
  m.AddPrimitiveArray(GL_TRIANGLES);
  m.SetMaterial(mat);
  m.SetAttributes(attr);
  m.SetTexture(tex);
  m.AddPrimitiveArray(GL_QUADS);
  m.GetPrimitive(1)->SetMaterial(own);
  delete mat;
  EXPECT_EQ(m.GetMaterial(), nullptr);
  EXPECT_EQ(m.GetPrimitive(0)->GetMaterial(), nullptr);
  EXPECT_EQ(m.GetPrimitive(1)->GetMaterial(), own);
  delete own;
  EXPECT_EQ(m.GetPrimitive(1)->GetMaterial(), nullptr);
  delete attr;
  delete tex;
  for (int l = 0; l < 2; ++l) {
    EXPECT_EQ(m.GetPrimitive(l)->GetAttributes(), nullptr);
    EXPECT_EQ(m.GetPrimitive(l)->GetTexture(), nullptr);
  }
  EXPECT_EQ(m.GetAttributes(), nullptr);
  EXPECT_EQ(m.GetTexture(), nullptr);
}

TEST(MeshObject, AMeshAndItsMaterialOwnedByOneNodeDieInEitherOrder) {
  for (bool materialFirst : {true, false}) {
    auto* node = new TQelNode(nullptr);
    TQelMaterial* mat = materialFirst ? new TQelMaterial(node) : nullptr;
    auto* box = new TQelBox(node);
    if (!mat) mat = new TQelMaterial(node);
    box->Init();
    box->SetMaterial(mat);
    node->Add(box);
    int changes = 0;
    node->OnChange = [&](TObject*) { ++changes; };
    delete node;  // under AddressSanitizer: no access to the dead
  }
  // The material dies first while the mesh lives on in the node.
  TQelNode node(nullptr);
  auto* box = new TQelBox(&node);
  node.Add(box);
  box->Init();
  auto* mat = new TQelMaterial(nullptr);
  box->SetMaterial(mat);
  int changes = 0;
  node.OnChange = [&](TObject*) { ++changes; };
  delete mat;
  EXPECT_EQ(box->GetPrimitive(0)->GetMaterial(), nullptr);
  EXPECT_EQ(changes, 1);
}

TEST(MeshObject, TextureFlagsAreCopiedAndStayWiredToTheObject) {
  TQelPrimitiveObj m(nullptr);
  TQelTextureFlags flags;
  flags.SetMode(5);
  flags.SetScaleY(3);
  int changes = 0;
  m.OnChange = [&](TObject*) { ++changes; };
  m.SetTextureFlags(&flags);
  EXPECT_EQ(m.GetTextureFlags()->GetMode(), 5);
  EXPECT_EQ(m.GetTextureFlags()->GetScaleY(), 3);
  EXPECT_NE(m.GetTextureFlags(), &flags);
  const int before = changes;
  m.GetTextureFlags()->SetShiftX(2);
  EXPECT_EQ(changes, before + 1);
}

// --- merging and removing points --------------------------------------------------

// A mesh of n random points and a few random lists over them.
void FillRandom(TQelPrimitiveObj& m, std::mt19937& rng, int32_t n, int lists) {
  std::uniform_real_distribution<double> c(-5, 5);
  for (int32_t i = 0; i < n; ++i) m.GetPoints()->Add(c(rng), c(rng), c(rng));
  std::uniform_int_distribution<int32_t> point(0, n - 1), type(GL_POINTS, GL_POLYGON), len(0, 30);
  for (int l = 0; l < lists; ++l) {
    const int32_t list = m.AddPrimitiveArray(type(rng));
    for (int32_t k = len(rng); k > 0; --k) m.AddIndex(point(rng), list);
  }
}

TEST(MeshObject, FreeUnusedPointsKeepsEveryIndexOnItsPosition) {
  std::mt19937 rng(3);
  for (int round = 0; round < 30; ++round) {
    TQelPrimitiveObj m(nullptr);
    FillRandom(m, rng, 10 + round * 13, 1 + round % 4);
    const int32_t size = m.GetPoints()->GetSize();
    const auto before = NamedPositions(m);
    std::vector<bool> used(m.GetPoints()->GetCount());
    for (int32_t l = 0; l < m.GetPrimitiveCount(); ++l)
      for (int32_t i : Indices(m.GetPrimitive(l))) used[i] = true;
    m.FreeUnusedPoints();
    EXPECT_EQ(NamedPositions(m), before);
    EXPECT_EQ(m.GetPoints()->GetCount(), std::count(used.begin(), used.end(), true));
    EXPECT_EQ(m.GetPoints()->GetSize(), size);
  }
}

TEST(MeshObject, FreeUnusedPointsCountsOnlyEnabledListsAndMovesOtherData) {
  TQelPrimitiveObj m(nullptr);
  TQelPrimitivePoints* p = m.GetPoints();
  p->SetDefineArrays({daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag});
  for (int i = 0; i < 5; ++i) {
    p->Add({double(i), 0, 0}, {0, double(i), 0}, {0, 0, double(i)});
    p->SetValues(i, 0, 3, i / 10.0);
    p->SetFlag(i, 3, i % 2);
    p->SetEdgeFlag(i, i == 3 ? 0 : 255);
  }
  const int32_t on = m.AddPrimitiveArray(GL_LINES), off = m.AddPrimitiveArray(GL_LINES);
  m.AddIndex(1, on);
  m.AddIndex(3, on);
  m.AddIndex(4, off);
  m.GetPrimitive(off)->SetEnabled(false);
  m.FreeUnusedPoints();
  ASSERT_EQ(p->GetCount(), 2);
  EXPECT_EQ(Indices(m.GetPrimitive(on)), (std::vector<int32_t>{0, 1}));
  EXPECT_EQ(Indices(m.GetPrimitive(off)), (std::vector<int32_t>{2}));  // 4 minus the three below
  ExpectVec(p->GetVector(1, 0), {3, 0, 0});
  ExpectVec(p->GetVector(1, 1), {0, 3, 0});
  ExpectVec(p->GetVector(1, 2), {0, 0, 3});
  EXPECT_FLOAT_EQ(p->GetValues(1, 0, 3), 0.3f);
  EXPECT_TRUE(p->GetFlag(0, 3));
  EXPECT_TRUE(p->GetFlag(1, 3));
  EXPECT_EQ(p->GetEdgeFlag(1), 0);

  // With every list disabled nothing is used.
  m.GetPrimitive(on)->SetEnabled(false);
  m.FreeUnusedPoints();
  EXPECT_EQ(p->GetCount(), 0);
}

TEST(MeshObject, FreePointsRenumbersTheIndicesAboveInEveryList) {
  std::mt19937 rng(5);
  for (int round = 0; round < 30; ++round) {
    TQelPrimitiveObj m(nullptr);
    FillRandom(m, rng, 20 + round, 3);
    if (round % 2) m.GetPrimitive(1)->SetEnabled(false);  // all lists are renumbered
    std::uniform_int_distribution<int32_t> start(0, 25), len(1, 6);
    const int32_t i = start(rng), n = len(rng);
    const int32_t count = m.GetPoints()->GetCount();
    const int32_t removed = i < count ? std::min(n, count - i) : 0;
    const auto before = NamedPositions(m);
    std::vector<std::vector<int32_t>> was;
    for (int32_t l = 0; l < 3; ++l) was.push_back(Indices(m.GetPrimitive(l)));
    m.FreePoints(i, n);
    EXPECT_EQ(m.GetPoints()->GetCount(), count - removed);
    const auto after = NamedPositions(m);
    for (int32_t l = 0; l < 3; ++l)
      for (size_t k = 0; k < was[l].size(); ++k) {
        const int32_t v = was[l][k];
        if (v >= i && v < i + removed) {
          EXPECT_EQ(m.GetPrimitive(l)->GetIndices(k), v);  // names a removed point: left
        } else {
          EXPECT_EQ(after[l][k], before[l][k]);
        }
      }
  }
}

TEST(MeshObject, FreePointIgnoresPointsOutsideTheStore) {
  TQelPrimitiveObj m(nullptr);
  for (int i = 0; i < 3; ++i) m.GetPoints()->Add(i, 0, 0);
  m.AddIndex(2, m.AddPrimitiveArray(GL_POINTS));
  m.FreePoint(-1);
  m.FreePoint(3);
  m.FreePoints(0, 0);
  EXPECT_EQ(m.GetPoints()->GetCount(), 3);
  m.FreePoint(0);
  EXPECT_EQ(Indices(m.GetPrimitive(0)), (std::vector<int32_t>{1}));
  ExpectVec(m.GetPoints()->GetVector(1, 0), {2, 0, 0});
}

TEST(MeshObject, AddPrimitiveObjAppendsTheOtherMeshWithMovedIndices) {
  std::mt19937 rng(9);
  TQelPrimitiveObj a(nullptr), b(nullptr);
  FillRandom(a, rng, 17, 2);
  a.SetInited(true);
  FillRandom(b, rng, 11, 3);
  b.SetInited(true);
  const auto beforeA = NamedPositions(a), beforeB = NamedPositions(b);
  EXPECT_EQ(a.AddPrimitiveObj(&b), 17);
  EXPECT_EQ(a.GetPoints()->GetCount(), 28);
  ASSERT_EQ(a.GetPrimitiveCount(), 5);
  const auto after = NamedPositions(a);
  EXPECT_EQ(std::vector(after.begin(), after.begin() + 2), beforeA);
  EXPECT_EQ(std::vector(after.begin() + 2, after.end()), beforeB);
  for (int l = 0; l < 3; ++l) EXPECT_EQ(a.GetPrimitive(2 + l)->GetType(), b.GetPrimitive(l)->GetType());
  EXPECT_EQ(NamedPositions(b), beforeB);  // the other is unchanged

  // Merging itself doubles the mesh.
  EXPECT_EQ(b.AddPrimitiveObj(&b), 11);
  const auto doubled = NamedPositions(b);
  ASSERT_EQ(doubled.size(), 6u);
  EXPECT_EQ(std::vector(doubled.begin() + 3, doubled.end()), beforeB);
  EXPECT_EQ(a.AddPrimitiveObj(nullptr), -1);
}

TEST(MeshObject, AddPrimitiveObjGeneratesBothMeshesFirst) {
  TQelBox box(nullptr), other(nullptr);
  other.SetWidth(3);
  EXPECT_EQ(box.AddPrimitiveObj(&other), 24);
  EXPECT_TRUE(other.GetInited());
  EXPECT_TRUE(box.GetInited());
  EXPECT_EQ(box.GetPoints()->GetCount(), 48);
  EXPECT_EQ(box.GetPrimitiveCount(), 2);
  EXPECT_DOUBLE_EQ(box.GetPoints()->GetVector(24, 0).x, -1.5);
}

// --- editing ---------------------------------------------------------------------------

TEST(MeshObject, SplitTriangleMakesFourTrianglesOfTheSameWinding) {
  TQelPrimitiveObj m(nullptr);
  TQelPrimitivePoints* p = m.GetPoints();
  p->SetDefineArrays(p->GetDefineArrays() + daColor);
  p->Add({9, 9, 9}, {}, {});
  p->Add({0, 0, 0}, {0, 0, 1}, {0, 0, 0});
  p->Add({2, 0, 0}, {0, 1, 0}, {1, 0, 0});
  p->Add({0, 2, 0}, {1, 0, 0}, {0, 1, 0});
  for (int32_t i = 1; i <= 3; ++i) p->SetFlag(i, 0, true);
  p->SetFlag(2, 4, true);
  p->SetFlag(3, 4, true);
  p->SetValues(1, 0, 3, 1.0);
  const int32_t list = m.AddPrimitiveArray(GL_TRIANGLES);
  for (int32_t i : {0, 0, 0, 1, 2, 3}) m.AddIndex(i, list);
  m.SplitTriangle(list, 1);
  ASSERT_EQ(p->GetCount(), 7);
  // ab = 4, bc = 5, ca = 6.
  ExpectVec(p->GetVector(4, 0), {1, 0, 0});
  ExpectVec(p->GetVector(5, 0), {1, 1, 0});
  ExpectVec(p->GetVector(6, 0), {0, 1, 0});
  ExpectVec(p->GetVector(4, 1), {0, 0.5, 0.5});
  ExpectVec(p->GetVector(5, 2), {0.5, 0.5, 0});
  EXPECT_FLOAT_EQ(p->GetValues(4, 0, 3), 0.5f);
  EXPECT_TRUE(p->GetFlag(4, 0));
  EXPECT_FALSE(p->GetFlag(4, 4));
  EXPECT_TRUE(p->GetFlag(5, 4));
  EXPECT_EQ(Indices(m.GetPrimitive(list)),
            (std::vector<int32_t>{0, 0, 0, 1, 4, 6, 4, 2, 5, 6, 5, 3, 4, 5, 6}));
  // Every triangle still faces +z.
  m.CalcNormals();
  for (int32_t i = 1; i < 7; ++i) ExpectVec(p->GetVector(i, 1), {0, 0, 1});

  // Other lists and triangles are ignored.
  m.SplitTriangle(list, 5);
  m.SplitTriangle(list, -1);
  m.SplitTriangle(7, 0);
  m.AddIndex(0, m.AddPrimitiveArray(GL_QUADS));
  m.SplitTriangle(1, 0);
  EXPECT_EQ(p->GetCount(), 7);
}

TEST(MeshObject, InvertTurnsEveryList) {
  TQelPrimitiveObj m(nullptr);
  const int32_t t = m.AddPrimitiveArray(GL_TRIANGLES), q = m.AddPrimitiveArray(GL_QUADS);
  for (int32_t i : {0, 1, 2}) m.AddIndex(i, t);
  for (int32_t i : {0, 1, 2, 3}) m.AddIndex(i, q);
  m.Invert();
  EXPECT_EQ(Indices(m.GetPrimitive(t)), (std::vector<int32_t>{1, 0, 2}));
  EXPECT_EQ(Indices(m.GetPrimitive(q)), (std::vector<int32_t>{0, 3, 2, 1}));
}

TEST(MeshObject, GetNearPointSearchesOneListAndPrefersTheFirst) {
  TQelPrimitiveObj m(nullptr);
  for (const V& v : {V{0, 0, 0}, V{1, 0, 0}, V{-1, 0, 0}, V{0, 0, 0.2}}) m.GetPoints()->Add(v.x, v.y, v.z);
  const int32_t a = m.AddPrimitiveArray(GL_POINTS), b = m.AddPrimitiveArray(GL_POINTS);
  for (int32_t i : {2, 1, 0}) m.AddIndex(i, a);
  m.AddIndex(3, b);
  EXPECT_EQ(m.GetNearPoint(a, {0, 0, 0}), 0);
  EXPECT_EQ(m.GetNearPoint(a, {0.9, 0, 0}), 1);
  EXPECT_EQ(m.GetNearPoint(b, {5, 5, 5}), 3);  // the only one
  EXPECT_EQ(m.GetNearPoint(m.AddPrimitiveArray(GL_POINTS), {0, 0, 0}), -1);
  EXPECT_EQ(m.GetNearPoint(9, {0, 0, 0}), -1);
}

TEST(MeshObject, GetNearPointTakesTheFirstOfEquallyNearPoints) {
  TQelPrimitiveObj m(nullptr);
  for (const V& v : {V{1, 0, 0}, V{-1, 0, 0}, V{0, 1, 0}}) m.GetPoints()->Add(v.x, v.y, v.z);
  const int32_t a = m.AddPrimitiveArray(GL_POINTS);
  for (int32_t i : {1, 0, 2}) m.AddIndex(i, a);
  EXPECT_EQ(m.GetNearPoint(a, {0, 0, 0}), 1);
}

// --- open edges and extrusion ----------------------------------------------------------

// A unit square in z = 0 facing +z, with its normals.
void Square(TQelPrimitiveObj& m, int32_t type = GL_QUADS) {
  for (const V& v : {V{0, 0, 0}, V{1, 0, 0}, V{1, 1, 0}, V{0, 1, 0}}) m.GetPoints()->Add(v, {0, 0, 1}, v);
  const int32_t list = m.AddPrimitiveArray(type);
  for (int32_t i : {0, 1, 2, 3}) m.AddIndex(i, list);
}

TEST(MeshObject, OpenEdgesAreTheBorderRunningAsTheirFaces) {
  TQelPrimitiveObj quad(nullptr);
  Square(quad);
  TQelEdgeArray edges;
  quad.GetOpenEdges(edges);
  EXPECT_EQ(edges, (TQelEdgeArray{{0, 1}, {1, 2}, {2, 3}, {3, 0}}));

  // The same square as two triangles: the diagonal is shared.
  TQelPrimitiveObj tris(nullptr);
  Square(tris);
  tris.DeletePrimitiveArray(0);
  const int32_t list = tris.AddPrimitiveArray(GL_TRIANGLES);
  for (int32_t i : {0, 1, 2, 0, 2, 3}) tris.AddIndex(i, list);
  tris.GetOpenEdges(edges);
  EXPECT_EQ(edges, (TQelEdgeArray{{0, 1}, {1, 2}, {2, 3}, {3, 0}}));
}

TEST(MeshObject, ABoxWithSplitNormalsIsClosedAndDegenerateFacesAreLeftOut) {
  TQelBox box(nullptr);
  box.Init();
  TQelEdgeArray edges;
  box.GetOpenEdges(edges);
  EXPECT_TRUE(edges.empty());
  // A sliver (two corners at one position) adds no edges.
  box.AddIndex(0);
  box.AddIndex(1);
  box.AddIndex(0);
  box.GetOpenEdges(edges);
  EXPECT_TRUE(edges.empty());
  // Without its last face (the bottom) the box is open along four edges.
  box.GetPrimitive(0)->SetCount(30);
  box.GetOpenEdges(edges);
  EXPECT_EQ(edges.size(), 4u);
  for (const TQelEdge& e : edges) {
    EXPECT_EQ(box.GetPoints()->GetVector(e.a, 0).y, -0.5);
    EXPECT_EQ(box.GetPoints()->GetVector(e.b, 0).y, -0.5);
  }
}

TEST(MeshObject, OpenEdgesOfStripsFansAndQuadStrips) {
  // A strip of two squares: 6 border edges whichever way it is drawn.
  for (int32_t type : {GL_TRIANGLE_STRIP, GL_QUAD_STRIP}) {
    TQelPrimitiveObj m(nullptr);
    for (const V& v : {V{0, 1, 0}, V{0, 0, 0}, V{1, 1, 0}, V{1, 0, 0}, V{2, 1, 0}, V{2, 0, 0}})
      m.GetPoints()->Add(v.x, v.y, v.z);
    const int32_t list = m.AddPrimitiveArray(type);
    for (int32_t i = 0; i < 6; ++i) m.AddIndex(i, list);
    TQelEdgeArray edges;
    m.GetOpenEdges(edges);
    EXPECT_EQ(edges.size(), 6u) << type;
  }
  TQelPrimitiveObj fan(nullptr);
  for (const V& v : {V{0, 0, 0}, V{1, 0, 0}, V{1, 1, 0}, V{0, 1, 0}, V{-1, 0, 0}})
    fan.GetPoints()->Add(v.x, v.y, v.z);
  const int32_t list = fan.AddPrimitiveArray(GL_TRIANGLE_FAN);
  for (int32_t i = 0; i < 5; ++i) fan.AddIndex(i, list);
  TQelEdgeArray edges;
  fan.GetOpenEdges(edges);
  EXPECT_EQ(edges, (TQelEdgeArray{{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 0}}));
}

// Signed volume of the enabled triangle and quad lists (positive when the
// faces point outwards), by the divergence theorem.
double SignedVolume(const TQelPrimitiveObj& m) {
  double v = 0;
  auto tri = [&](int32_t a, int32_t b, int32_t c) {
    const V p = m.GetPoints()->GetVector(a, 0), q = m.GetPoints()->GetVector(b, 0),
            r = m.GetPoints()->GetVector(c, 0);
    v += (p.x * (q.y * r.z - q.z * r.y) - p.y * (q.x * r.z - q.z * r.x) +
          p.z * (q.x * r.y - q.y * r.x)) / 6;
  };
  for (int32_t l = 0; l < m.GetPrimitiveCount(); ++l) {
    const auto i = Indices(m.GetPrimitive(l));
    if (!m.GetPrimitive(l)->GetEnabled()) continue;
    if (m.GetPrimitive(l)->GetType() == GL_TRIANGLES)
      for (size_t k = 0; k + 2 < i.size(); k += 3) tri(i[k], i[k + 1], i[k + 2]);
    if (m.GetPrimitive(l)->GetType() == GL_QUADS)
      for (size_t k = 0; k + 3 < i.size(); k += 4) {
        tri(i[k], i[k + 1], i[k + 2]);
        tri(i[k], i[k + 2], i[k + 3]);
      }
  }
  return v;
}

TEST(MeshObject, ExtrudingASquareEitherWayMakesAClosedOutwardCube) {
  for (double depth : {1.0, -1.0}) {
    SCOPED_TRACE(depth);
    TQelPrimitiveObj m(nullptr);
    Square(m);
    m.Extrude(depth);
    // The square, its copy and one wall list of four quads.
    ASSERT_EQ(m.GetPrimitiveCount(), 3);
    EXPECT_EQ(m.GetPrimitive(2)->GetCount(), 16);
    TQelEdgeArray edges;
    m.GetOpenEdges(edges);
    EXPECT_TRUE(edges.empty());
    EXPECT_NEAR(SignedVolume(m), 1.0, 1e-12);
    // The copy lies at z = depth.
    ExpectVec(m.GetPoints()->GetVector(m.GetPrimitive(1)->GetIndices(0), 0), {0, 0, depth});
    // Every stored normal points out of the cube's centre.
    const V centre{0.5, 0.5, depth / 2};
    for (int32_t l = 0; l < 3; ++l)
      for (int32_t i : Indices(m.GetPrimitive(l))) {
        const V p = m.GetPoints()->GetVector(i, 0), n = m.GetPoints()->GetVector(i, 1);
        EXPECT_GT(n.x * (p.x - centre.x) + n.y * (p.y - centre.y) + n.z * (p.z - centre.z), 0)
            << "list " << l << " point " << i;
      }
  }
}

TEST(MeshObject, ExtrudeByVecShearsAndTheWallTextureGoesToTheWalls) {
  TQelTexture tex(nullptr);
  TQelPrimitiveObj m(nullptr);
  Square(m);
  m.ExtrudeByVec({0.5, 0, -2}, &tex);
  EXPECT_NEAR(SignedVolume(m), 2.0, 1e-12);  // base 1, height 2
  TQelPrimitiveArray* wall = m.GetPrimitive(m.GetPrimitiveCount() - 1);
  EXPECT_EQ(wall->GetTexture(), &tex);
  EXPECT_TRUE(wall->GetTextured());
  EXPECT_FALSE(m.GetPrimitive(0)->GetTextured());
  EXPECT_TRUE(m.GetPoints()->GetUseArrays().Contains(daTexture));
  // Wall corners run s 0..1 along the edge, t 0..1 towards the copy.
  const auto w = Indices(wall);
  ExpectVec(m.GetPoints()->GetVector(w[0], 2), {0, 0, 0});
  ExpectVec(m.GetPoints()->GetVector(w[2], 2), {1, 1, 0});
  EXPECT_NEAR(m.GetPoints()->GetVector(w[2], 0).z, -2, 1e-12);
}

TEST(MeshObject, ClosedMeshesAndZeroVectorsAreNotExtruded) {
  TQelBox box(nullptr);
  box.Init();
  box.Extrude(1);
  EXPECT_EQ(box.GetPrimitiveCount(), 1);
  EXPECT_EQ(box.GetPoints()->GetCount(), 24);
  TQelPrimitiveObj m(nullptr);
  Square(m);
  m.ExtrudeByVec({0, 0, 0});
  m.Extrude(0);
  EXPECT_EQ(m.GetPrimitiveCount(), 1);
}

TEST(MeshObject, ExtrudePrimitiveObjAppendsTheExtrusionAndLeavesTheSource) {
  TQelPrimitiveObj source(nullptr), target(nullptr);
  Square(source);
  source.SetInited(true);
  TQelTexture tex(nullptr);
  target.ExtrudePrimitiveObj(&source, 2, &tex);
  EXPECT_EQ(source.GetPrimitiveCount(), 1);
  EXPECT_EQ(source.GetPoints()->GetCount(), 4);
  EXPECT_EQ(target.GetPrimitiveCount(), 3);
  EXPECT_NEAR(SignedVolume(target), 2.0, 1e-12);
  EXPECT_EQ(target.GetPrimitive(2)->GetTexture(), &tex);
  EXPECT_TRUE(target.GetPrimitive(2)->GetTextured());
}

// --- relief and helper objects ---------------------------------------------------------

TEST(MeshObject, ReliefLiftsPointsAlongTheirNormalsByTheirPixel) {
  TQelPrimitiveObj m(nullptr);
  // Texture coordinates in the four quarters of a 2 x 2 bitmap, and one
  // beyond 1 that repeats onto the first column of the bottom row.
  const V tex[5] = {{0.25, 0.25, 0}, {0.75, 0.25, 0}, {0.25, 0.75, 0}, {0.75, 0.75, 0}, {1.25, -0.75, 0}};
  for (const V& t : tex) m.GetPoints()->Add({t.x, t.y, 1}, {0, 0, 2}, t);
  TBitmap bmp(2, 2);
  bmp.SetPixel(0, 1, 0x0000FF);  // bottom left: red 255
  bmp.SetPixel(1, 1, 0x00FF00);  // bottom right: green 255
  bmp.SetPixel(0, 0, 0xFF0000);  // top left: blue 255
  bmp.SetPixel(1, 0, 0x808080);  // top right: grey
  m.SetReliefBitmap(&bmp, 1, 2, 4);
  auto z = [&](int32_t i) { return m.GetPoints()->GetVector(i, 0).z; };
  EXPECT_NEAR(z(0), 1 + 2 * 1.0, 1e-12);
  EXPECT_NEAR(z(1), 1 + 2 * 2.0, 1e-12);
  EXPECT_NEAR(z(2), 1 + 2 * 4.0, 1e-12);
  EXPECT_NEAR(z(3), 1 + 2 * 7 * 128 / 255.0, 1e-12);
  EXPECT_NEAR(z(4), z(0), 1e-12);
  ExpectVec(m.GetPoints()->GetVector(1, 0), {0.75, 0.25, 5});

  TBitmap empty;
  m.SetReliefBitmap(&empty, 1, 1, 1);
  m.SetReliefBitmap(nullptr, 1, 1, 1);
  EXPECT_NEAR(z(0), 3, 1e-12);
}

TEST(MeshObject, NormalVectorObjectDrawsOneLinePerPoint) {
  TQelBox box(nullptr);
  box.GetTransformation()->GetTranslation()->SetValues(1, 2, 3);
  box.Init();
  std::unique_ptr<TQelPrimitiveObj> lines(box.CreateNormalVecObj(0.5));
  EXPECT_TRUE(lines->GetInited());
  EXPECT_EQ(lines->GetTransformation()->GetTranslation()->GetY(), 2);
  ASSERT_EQ(lines->GetPrimitiveCount(), 1);
  EXPECT_EQ(lines->GetPrimitive(0)->GetType(), GL_LINES);
  EXPECT_EQ(lines->GetPrimitive(0)->GetCount(), 48);
  for (int32_t i = 0; i < 24; ++i) {
    const V p = box.GetPoints()->GetVector(i, 0), n = box.GetPoints()->GetVector(i, 1);
    const auto idx = Indices(lines->GetPrimitive(0));
    ExpectVec(lines->GetPoints()->GetVector(idx[2 * i], 0), p);
    ExpectVec(lines->GetPoints()->GetVector(idx[2 * i + 1], 0),
              {p.x + 0.5 * n.x, p.y + 0.5 * n.y, p.z + 0.5 * n.z});
  }
}

TEST(MeshObject, LabelNodeHoldsOneSevenSegmentNumberPerPoint) {
  TQelPrimitiveObj m(nullptr);
  for (int i = 0; i < 11; ++i) m.GetPoints()->Add(i, 2 * i, 0);
  std::unique_ptr<TQelNode> node(m.CreateLabelNode(1.0));
  ASSERT_EQ(node->GetCount(), 11);
  auto* ten = dynamic_cast<TQelPrimitiveObj*>(node->GetItems(10));
  ASSERT_NE(ten, nullptr);
  EXPECT_EQ(ten->GetObjectName(), "10");
  EXPECT_EQ(ten->GetOwner(), node.get());
  EXPECT_TRUE(ten->GetInited());
  // "1" has two segments, "0" six: eight lines.
  EXPECT_EQ(ten->GetPrimitive(0)->GetCount(), 16);
  // All strokes lie in the label's box: from the point, 1 high, 1.25 wide.
  for (int32_t i : Indices(ten->GetPrimitive(0))) {
    const V p = ten->GetPoints()->GetVector(i, 0);
    EXPECT_GE(p.x, 10);
    EXPECT_LE(p.x, 11.25);
    EXPECT_GE(p.y, 20);
    EXPECT_LE(p.y, 21);
  }
  // "8" lights all seven.
  TQelPrimitiveObj eight(nullptr);
  for (int i = 0; i < 9; ++i) eight.GetPoints()->Add(0, 0, 0);
  std::unique_ptr<TQelNode> labels(eight.CreateLabelNode(2.0));
  EXPECT_EQ(dynamic_cast<TQelPrimitiveObj*>(labels->GetItems(8))->GetPrimitive(0)->GetCount(), 14);
}

// --- copying -------------------------------------------------------------------------------

TEST(MeshObject, AssignCopiesAppearanceFlagsAndTheWholeMesh) {
  TQelMaterial mat(nullptr);
  TQelTexture tex(nullptr);
  TQelBox src(nullptr);
  src.Init();
  src.SetMaterial(&mat);
  src.SetTexture(&tex);
  src.GetTextureFlags()->SetMode(3);
  src.AddPrimitiveArray(GL_LINES);
  src.GetPrimitive(1)->SetEnabled(false);
  TQelPrimitiveObj copy(nullptr);
  copy.SetStoreMode(smAll);
  copy.Assign(&src);
  EXPECT_EQ(copy.GetMaterial(), &mat);
  EXPECT_EQ(copy.GetTexture(), &tex);
  EXPECT_EQ(copy.GetTextureFlags()->GetMode(), 3);
  EXPECT_TRUE(copy.GetInited());
  EXPECT_EQ(copy.GetStoreMode(), smDefault);
  EXPECT_EQ(NamedPositions(copy), NamedPositions(src));
  ASSERT_EQ(copy.GetPrimitiveCount(), 2);
  EXPECT_NE(copy.GetPrimitive(0), src.GetPrimitive(0));
  EXPECT_FALSE(copy.GetPrimitive(1)->GetEnabled());
  EXPECT_EQ(copy.GetPrimitive(0)->GetMaterial(), &mat);
  // The copy's store and lists report to the copy.
  int changes = 0;
  copy.OnChange = [&](TObject*) { ++changes; };
  src.OnChange = [&](TObject*) { changes += 100; };
  copy.GetPrimitive(0)->SetEnabled(false);
  copy.GetPoints()->SetUseArrays({daVertex});
  EXPECT_EQ(changes, 2);
  copy.Assign(&copy);  // itself: nothing happens
  EXPECT_EQ(copy.GetPrimitiveCount(), 2);
}

// --- the box ---------------------------------------------------------------------------------

TEST(Box, TwentyFourPointsWithFaceNormalsAndTwelveOutwardTriangles) {
  TQelBox box(nullptr);
  box.SetWidth(2);
  box.SetHeight(4);
  box.SetDepth(6);
  box.Init();
  TQelPrimitivePoints* p = box.GetPoints();
  ASSERT_EQ(p->GetCount(), 24);
  ASSERT_EQ(box.GetPrimitiveCount(), 1);
  EXPECT_EQ(box.GetPrimitive(0)->GetType(), GL_TRIANGLES);
  EXPECT_EQ(box.GetPrimitive(0)->GetCount(), 36);
  EXPECT_NEAR(SignedVolume(box), 48, 1e-12);
  for (int32_t i = 0; i < 24; ++i) {
    const V pos = p->GetVector(i, 0);
    EXPECT_EQ(std::fabs(pos.x), 1);
    EXPECT_EQ(std::fabs(pos.y), 2);
    EXPECT_EQ(std::fabs(pos.z), 3);
  }
  // The stored normals are exactly what CalcNormals gives without links.
  std::vector<V> stored;
  for (int32_t i = 0; i < 24; ++i) stored.push_back(p->GetVector(i, 1));
  box.CalcNormals();
  for (int32_t i = 0; i < 24; ++i) {
    ExpectVec(p->GetVector(i, 1), stored[i]);
    const V n = stored[i], pos = p->GetVector(i, 0);
    EXPECT_DOUBLE_EQ(std::fabs(n.x) + std::fabs(n.y) + std::fabs(n.z), 1);
    EXPECT_GT(n.x * pos.x + n.y * pos.y + n.z * pos.z, 0);
  }
  // Each face's texture runs (0,0), (1,0), (1,1), (0,1).
  ExpectVec(p->GetVector(0, 2), {0, 0, 0});
  ExpectVec(p->GetVector(2, 2), {1, 1, 0});
}

TEST(Box, SizeChangesRegenerateAndBadSizesAreIgnored) {
  TQelBox box(nullptr);
  EXPECT_EQ(box.GetWidth(), 1);
  EXPECT_EQ(box.GetHeight(), 1);
  EXPECT_EQ(box.GetDepth(), 1);
  box.Init();
  int changes = 0;
  box.OnChange = [&](TObject*) { ++changes; };
  box.SetWidth(0);
  box.SetHeight(-1);
  box.SetDepth(NAN);
  box.SetWidth(1);
  EXPECT_EQ(changes, 0);
  EXPECT_TRUE(box.GetInited());
  box.SetDepth(3);
  EXPECT_EQ(changes, 1);
  EXPECT_FALSE(box.GetInited());
  TQelBox copy(nullptr);
  copy.Assign(&box);
  EXPECT_EQ(copy.GetDepth(), 3);
}

TEST(Box, MovingACornerMovesTheLinkedCornerPoints) {
  TQelBox box(nullptr);
  box.Init();
  TQelPrimitivePoints* p = box.GetPoints();
  const V corner = p->GetVector(2, 0);  // front top right
  p->SetVector(2, 0, {1, 1, 1});
  int moved = 0;
  for (int32_t i = 0; i < 24; ++i) moved += p->GetVector(i, 0) == V{1, 1, 1};
  EXPECT_EQ(moved, 3);
  EXPECT_EQ(corner, (V{0.5, 0.5, 0.5}));
}

TEST(Box, BothClassesAreRegistered) {
  TQelRenderClass cls = GetRenderClass("tqelbox");
  ASSERT_NE(cls, nullptr);
  std::unique_ptr<TQelRender> made(cls->Create(nullptr));
  EXPECT_STREQ(made->ClassName(), "TQelBox");
  ASSERT_NE(GetRenderClass("TQelPrimitiveObj"), nullptr);
}

}  // namespace
