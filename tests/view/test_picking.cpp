// Picking on rendered scenes: what a click finds (object, index list, the
// nearer of overlapping objects, depth against GLU's projection), the pick
// region against gluPickMatrix, an overflowing selection buffer, the
// untouched picture; and hit records parsed by hand.
#include <cmath>
#include <memory>

#include "viewtest.h"

namespace {

constexpr int kW = 200, kH = 150;

// A mesh of two flat squares facing the camera at z = 0, each in its own
// index list: list 0 centred on (-1.2, -0.8), list 1 on (-0.4, -0.8).
class TTwoSquares : public TQelPrimitiveObj {
public:
  explicit TTwoSquares(TComponent* AOwner) : TQelPrimitiveObj(AOwner) {
    for (double cx : {-1.2, -0.4}) {
      const int32_t list = AddPrimitiveArray(GL_QUADS);
      for (auto [dx, dy] : {std::pair{-0.3, -0.3}, {0.3, -0.3}, {0.3, 0.3}, {-0.3, 0.3}})
        AddIndex(GetPoints()->Add(cx + dx, -0.8 + dy, 0), list);
    }
    SetInited(true);
  }
};

std::array<TQelMathVector, 4> Square(double x0, double y0, double x1, double y1, double z) {
  return {{{x0, y0, z}, {x1, y0, z}, {x1, y1, z}, {x0, y1, z}}};
}

// A 200 x 150 view, camera at (0, 0, 4) looking down -z, and GLU's
// matrices for the same camera.
class Picking : public ViewTest {
protected:
  void SetUp() override {
    ViewTest::SetUp();
    camera = std::make_unique<TQelPerspectiveCamera>(nullptr);
    camera->GetTransformation()->GetTranslation()->SetValues(0, 0, 4);
    view = std::make_unique<TQelView>(nullptr);
    view->SetSize(kW, kH);
    view->SetCamera(camera.get());
    top = std::make_unique<TQelNode>(nullptr);
    view->OnRender = [this](TQelView* v) { top->Render(v); };
    view->HandleNeeded();
    view->SetCurrent(true);
    ref.modelview = LookAtMatrix({0, 0, 4}, ZEROVEC, {0, 1, 0});
    ref.projection = PerspectiveMatrix(45, double(kW) / kH, 0.1f, 10);
    ref.viewport = {0, 0, kW, kH};
    view->SetCurrent(false);
  }
  void TearDown() override {
    view.reset();
    top.reset();
    camera.reset();
    ViewTest::TearDown();
  }
  template <class T, class... A>
  T* Add(A&&... args) {
    T* item = new T(top.get(), std::forward<A>(args)...);
    top->Add(item);
    return item;
  }
  // The window pixel (y down) a scene point projects into, and its depth.
  std::pair<int, int> Click(const TQelMathVector& p) const {
    auto w = ref.Project(p.x, p.y, p.z);
    return {int(std::floor(w[0])), kH - int(std::ceil(w[1]))};
  }
  double Depth(const TQelMathVector& p) const { return ref.Project(p.x, p.y, p.z)[2]; }
  std::vector<uint8_t> Picture() {
    std::vector<uint8_t> pixels(kW * kH * 4);
    view->SetCurrent(true);
    glReadPixels(0, 0, kW, kH, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    view->SetCurrent(false);
    return pixels;
  }

  std::unique_ptr<TQelPerspectiveCamera> camera;
  std::unique_ptr<TQelView> view;
  std::unique_ptr<TQelNode> top;
  TReference ref;
};

TEST_F(Picking, AClickFindsTheObjectItsIndexListAndTheNearestDepth) {
  TTwoSquares* mesh = Add<TTwoSquares>();
  // A large square behind two small ones, one drawn before it, one after.
  TQuad* nearFirst = Add<TQuad>(Square(1.35, 0.15, 1.65, 0.45, 0.5));
  TQuad* far = Add<TQuad>(Square(0, 0, 2.5, 2, -1));
  TQuad* nearLast = Add<TQuad>(Square(0.7, 0.5, 1.3, 1.1, 0.5));
  const struct {
    const char* what;
    TQelMathVector at;
    TObject* obj;
    int32_t num, hits;
  } cases[] = {
      {"mesh, list 0", {-1.2, -0.8, 0}, mesh, 0, 1},
      {"mesh, list 1", {-0.4, -0.8, 0}, mesh, 1, 1},
      {"near square drawn after the far one", {1.0, 0.8, 0.5}, nearLast, -1, 2},
      {"near square drawn before the far one", {1.5, 0.3, 0.5}, nearFirst, -1, 2},
      {"far square alone", {2.0, 1.6, -1}, far, -1, 1},
      {"empty space", {-1.5, 1.2, 0}, nullptr, -2, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    auto [x, y] = Click(c.at);
    TObject* obj = far;
    EXPECT_EQ(view->GetObj(x, y, obj), c.num);
    EXPECT_EQ(obj, c.obj);
    TQelSelectionList list;
    view->GetSelection(x, y, list);
    ASSERT_EQ(list.GetCount(), c.hits);
    if (!c.hits) continue;
    // The squares face the camera: their depth is the same over the region.
    const TQelSelection* hit = list.GetTopMost();
    EXPECT_NEAR(hit->GetMinZ(), Depth(c.at), 1e-5);
    EXPECT_NEAR(hit->GetMaxZ(), Depth(c.at), 1e-5);
  }
}

// Whether a point is picked is whether GLU's pick matrix puts its
// projection inside the viewport.
TEST_F(Picking, ThePickRegionIsTheOneGluPickMatrixMakes) {
  // A point that projects to GL window position (100.25, 80.25).
  auto p = ref.UnProject(100.25, 80.25, Depth(ZEROVEC));
  Add<TDots>(std::vector<TQelMathVector>{{p[0], p[1], p[2]}}, 1.0f);
  const struct {
    int32_t width, height, dx, dy;
    bool hit;
  } cases[] = {
      {5, 5, 0, 0, true},    {5, 5, 2, 0, true},   {5, 5, -2, 0, true},  {5, 5, 3, 0, false},
      {5, 5, -3, 0, false},  {5, 5, 0, 2, true},   {5, 5, 0, -3, false}, {21, 3, 10, 1, true},
      {21, 3, -11, 0, false}, {21, 3, 0, -2, false}, {1, 1, 0, 0, true},  {1, 1, 1, 0, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message()
                 << c.width << "x" << c.height << " at " << c.dx << "," << c.dy);
    // Window pixel (y down) whose pick centre is GL (100 + dx, 80 - dy).
    const int32_t x = 100 + c.dx, y = kH - 80 + c.dy;
    TReference picked = ref;
    view->SetCurrent(true);  // a scratch projection, replaced by the next render
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPickMatrix(x, kH - y, c.width, c.height, ref.viewport.data());
    glMultMatrixd(ref.projection.data());
    glGetDoublev(GL_PROJECTION_MATRIX, picked.projection.data());
    auto w = picked.Project(p[0], p[1], p[2]);
    ASSERT_EQ(w[0] > 0 && w[0] < kW && w[1] > 0 && w[1] < kH, c.hit) << "table disagrees with GLU";

    view->SetSelectWidth(c.width);
    view->SetSelectHeight(c.height);
    TQelSelectionList list;
    view->GetSelection(x, y, list);
    EXPECT_EQ(list.GetCount(), c.hit ? 1 : 0);
    if (c.hit) EXPECT_NEAR(list.GetItems(0)->GetMinZ(), w[2], 1e-5);
  }
}

TEST_F(Picking, AnOverflowingSelectionBufferGivesAnEmptyList) {
  // 1200 objects under the cursor, one name each: 4800 words of records.
  for (int i = 0; i < 1200; ++i) Add<TDots>(std::vector<TQelMathVector>{ZEROVEC});
  auto [x, y] = Click(ZEROVEC);
  TQelSelectionList list;
  view->GetSelection(x, y, list);
  EXPECT_EQ(list.GetCount(), 0);
  TObject* obj = top.get();
  EXPECT_EQ(view->GetObj(x, y, obj), -2);
  EXPECT_EQ(obj, nullptr);
  // With fewer objects the same click finds them all.
  while (top->GetCount() > 100) top->Delete(0);
  view->GetSelection(x, y, list);
  EXPECT_EQ(list.GetCount(), 100);
}

TEST_F(Picking, PickingSwapsNoBufferAndLeavesThePictureAndTheViewAsTheyWere) {
  TTwoSquares* mesh = Add<TTwoSquares>();
  mesh->GetColor()->SetColor(RGB(255, 128, 0));
  // An animated square: another colour in every render, so that a render
  // that reached the pixels would show.
  TQuad* square = Add<TQuad>(Square(0, 0, 1, 1, 0));
  int renders = 0;
  view->OnRender = [&](TQelView* v) {
    square->GetColor()->SetColor(RGB(0, 128, ++renders % 256));
    top->Render(v);
  };
  int userNames = 0;
  view->OnNextID = [&](TObject*, int32_t) { ++userNames; };
  view->Paint();
  const std::vector<uint8_t> before = Picture();
  ASSERT_NE(before, std::vector<uint8_t>(before.size(), 0)) << "the scene drew nothing";
  int* swaps = Count("SwapBuffers");
  TObject* obj = nullptr;
  auto [x, y] = Click({-0.4, -0.8, 0});
  EXPECT_EQ(view->GetObj(x, y, obj), 1);
  EXPECT_EQ(renders, 3);  // the paint, the selection and the search
  // GetObj hands out names to its own search, not to the user's handler,
  // and puts that back: the selection alone raises it for every name.
  EXPECT_EQ(userNames, 0);
  TQelSelectionList list;
  view->GetSelection(x, y, list);
  EXPECT_EQ(userNames, 4);  // the mesh, its two lists, the square
  EXPECT_EQ(*swaps, 0);
  EXPECT_EQ(Picture(), before);
  EXPECT_EQ(view->GetDrawingMode(), 0);
  EXPECT_FALSE(view->GetCurrent());
}

// GL hit records written by hand: count, names, depths and the top-most hit.
TEST(SelectionList, ParsesHitRecordsWordByWord) {
  constexpr uint32_t kHalf = 0x80000000u, kQuarter = 0x40000000u, kMax = 0xFFFFFFFFu;
  const struct {
    const char* what;
    std::vector<uint32_t> buffer;
    int32_t hits;
    std::vector<std::vector<uint32_t>> names;
    std::vector<float> minZ;
    int top;  // index of the top-most hit, -1 for none
  } cases[] = {
      {"two hits, the second nearer", {1, kHalf, kMax, 7, 2, kQuarter, kHalf, 3, 9}, 2,
       {{7}, {3, 9}}, {0.5f, 0.25f}, 1},
      {"equal depths: the first wins", {1, kQuarter, kMax, 4, 1, kQuarter, kQuarter, 5}, 2,
       {{4}, {5}}, {0.25f, 0.25f}, 0},
      {"a hit without names takes three words and depth 1",
       {0, 0, 0, 1, kMax, kMax, 6}, 2, {{}, {6}}, {1.0f, 1.0f}, 0},
      {"overflow", {1, 0, 0, 1}, -1, {}, {}, -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    TQelSelectionList list;
    list.SetHitRecords(c.buffer.data(), c.hits, c.buffer.size());
    ASSERT_EQ(list.GetCount(), int32_t(c.names.size()));
    for (int32_t i = 0; i < list.GetCount(); ++i) {
      const TQelSelection* hit = list.GetItems(i);
      ASSERT_EQ(hit->GetCount(), int32_t(c.names[i].size()));
      for (int32_t k = 0; k < hit->GetCount(); ++k) {
        EXPECT_EQ(hit->GetNames(k), c.names[i][k]);
        EXPECT_TRUE(list.IsSelected(c.names[i][k]));
      }
      EXPECT_FLOAT_EQ(hit->GetMinZ(), c.minZ[i]);
    }
    EXPECT_EQ(list.GetTopMost(), c.top < 0 ? nullptr : list.GetItems(c.top));
    EXPECT_FALSE(list.IsSelected(8));
  }
}

}  // namespace
