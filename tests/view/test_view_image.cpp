// What the view draws, read back through GetImage: background, world axes
// where GLU projects them, an asymmetric scene the right way round from
// several sides, the sub-viewport and the orthographic width; and the
// scene points GetPoint and WinTo3D find.
#include <cmath>
#include <memory>

#include "viewtest.h"

namespace {

// A view with a perspective camera and a top node drawn in OnRender.
struct TScene {
  explicit TScene(int width = 200, int height = 150) {
    view = std::make_unique<TQelView>(nullptr);
    view->SetSize(width, height);
    camera = std::make_unique<TQelPerspectiveCamera>(nullptr);
    view->SetCamera(camera.get());
    top = std::make_unique<TQelNode>(nullptr);
    view->OnRender = [this](TQelView* v) { top->Render(v); };
  }
  ~TScene() {
    view.reset();  // before the scene it draws
  }
  // The picture at the view's size.
  std::unique_ptr<TBitmap> Image() {
    auto bitmap = std::make_unique<TBitmap>(view->GetWidth(), view->GetHeight());
    EXPECT_TRUE(view->GetImage(*bitmap));
    return bitmap;
  }
  std::unique_ptr<TQelView> view;
  std::unique_ptr<TQelPerspectiveCamera> camera;
  std::unique_ptr<TQelNode> top;
};

// GLU's matrices for a right-handed camera, and the bitmap pixel (x, row
// from the top) of a scene point.
struct TExpected : TReference {
  TExpected(QelGLTest*, const TQelMathVector& eye, const TQelMathVector& target, int width, int height) {
    modelview = LookAtMatrix(eye, target, {0, 1, 0});
    projection = PerspectiveMatrix(45, double(width) / height, 0.1f, 10);
    viewport = {0, 0, width, height};
    this->height = height;
  }
  std::pair<int, int> Pixel(const TQelMathVector& p) const {
    auto w = Project(p.x, p.y, p.z);
    return {int(std::floor(w[0])), height - 1 - int(std::floor(w[1]))};
  }
  int height;
};

// Whether a pixel within distance of (x, y) has the colour.
bool Near(const TBitmap& b, std::pair<int, int> at, TColor color, int distance = 1) {
  for (int dy = -distance; dy <= distance; ++dy)
    for (int dx = -distance; dx <= distance; ++dx)
      if (b.GetPixel(at.first + dx, at.second + dy) == color) return true;
  return false;
}

class ViewImage : public ViewTest {
protected:
  void SetUp() override {
    ViewTest::SetUp();
    // A scratch context for GLU's reference matrices.
    scratch = std::make_unique<TQelOffscreenContext>(4, 4);
    scratch->MakeCurrent();
  }
  void TearDown() override {
    scratch.reset();
    ViewTest::TearDown();
  }
  TExpected Expected(const TQelMathVector& eye, const TQelMathVector& target, int w, int h) {
    scratch->MakeCurrent();
    TExpected e(nullptr, eye, target, w, h);
    TQelOffscreenContext::Release();
    return e;
  }
  std::unique_ptr<TQelOffscreenContext> scratch;
};

TEST_F(ViewImage, BackgroundAndWorldAxesWhereGluProjectsThem) {
  TScene s(200, 150);
  const TColor background = RGB(20, 40, 60);
  s.view->SetBackgroundColor(background);
  TQelCoordinates* axes = s.view->GetCoordinates();
  axes->SetVisible(true);
  axes->SetLength(1.5f);
  axes->SetColorX(RGB(255, 0, 0));
  axes->SetColorY(RGB(0, 255, 0));
  axes->SetColorZ(RGB(0, 0, 255));
  const TQelMathVector eye{2.5, 2, 3.5};
  s.camera->TurnAt(eye, {0, 0, 0});

  auto image = s.Image();
  TExpected e = Expected(eye, {0, 0, 0}, 200, 150);
  EXPECT_EQ(image->GetPixel(0, 0), background);
  EXPECT_EQ(image->GetPixel(199, 149), background);
  for (double t : {0.4, 0.8, 1.2}) {
    EXPECT_TRUE(Near(*image, e.Pixel({t, 0, 0}), RGB(255, 0, 0))) << "x axis at " << t;
    EXPECT_TRUE(Near(*image, e.Pixel({0, t, 0}), RGB(0, 255, 0))) << "y axis at " << t;
    EXPECT_TRUE(Near(*image, e.Pixel({0, 0, t}), RGB(0, 0, 255))) << "z axis at " << t;
  }
  // Past the axes' length there is background.
  EXPECT_FALSE(Near(*image, e.Pixel({2.0, 0, 0}), RGB(255, 0, 0)));
}

// Red at +x, green at +y, blue at +z: seen from anywhere with world y up,
// red lies right of the middle when x points rightwards on the screen,
// green always above.
class ViewOrientation : public ViewImage, public ::testing::WithParamInterface<TQelMathVector> {};

TEST_P(ViewOrientation, PlusXRightPlusYUpTargetInTheMiddle) {
  const TQelMathVector eye = GetParam();
  const TQelMathVector target{0.3, 0.2, -0.1};
  TScene s(160, 120);
  auto add = [&](TQelMathVector p, TColor c) {
    auto* dots = new TDots(s.top.get(), {p}, 9);
    dots->GetColor()->SetColor(c);
    s.top->Add(dots);
  };
  add({target.x + 1, target.y, target.z}, RGB(255, 0, 0));
  add({target.x, target.y + 1, target.z}, RGB(0, 255, 0));
  add(target, RGB(255, 255, 255));
  s.camera->TurnAt(eye, target);
  auto image = s.Image();

  // The target is in the middle of the picture.
  EXPECT_TRUE(Near(*image, {80, 60}, RGB(255, 255, 255), 2));
  // Green is straight above it: world y is up on the screen.
  TExpected e = Expected(eye, target, 160, 120);
  auto green = e.Pixel({target.x, target.y + 1, target.z});
  EXPECT_LT(green.second, 60);
  EXPECT_NEAR(green.first, 80, 1);
  EXPECT_TRUE(Near(*image, green, RGB(0, 255, 0)));
  // Red where GLU puts it: right of the middle when the camera's right,
  // view x up = (-view.z, 0, view.x), points along +x.
  auto red = e.Pixel({target.x + 1, target.y, target.z});
  EXPECT_TRUE(Near(*image, red, RGB(255, 0, 0)));
  const double dz = target.z - eye.z;  // (view x up).x = -view.z
  if (dz < -0.1) EXPECT_GT(red.first, 80);
  if (dz > 0.1) EXPECT_LT(red.first, 80);
}

INSTANTIATE_TEST_SUITE_P(Eyes, ViewOrientation,
                         ::testing::Values(TQelMathVector{0.3, 0.2, 5}, TQelMathVector{2, 3, 4},
                                           TQelMathVector{-3, 1, 3}, TQelMathVector{3, -2, -4},
                                           TQelMathVector{-1, 0.5, -5}, TQelMathVector{5, 1.2, 0.9}));

TEST_F(ViewImage, EnabledViewportDrawsIntoTheTopLeftSquare) {
  TScene s(300, 200);
  auto* wall = new TQuad(s.top.get(), {{{-50, -50, 0}, {50, -50, 0}, {50, 50, 0}, {-50, 50, 0}}});
  wall->GetColor()->SetColor(RGB(255, 255, 255));
  s.top->Add(wall);
  s.camera->SetViewFar(100);
  s.camera->TurnAt({0, 0, 5}, {0, 0, 0});
  s.camera->SetEnableViewport(true);
  auto image = s.Image();
  const TColor white = RGB(255, 255, 255), black = 0;
  EXPECT_EQ(image->GetPixel(0, 0), white);
  EXPECT_EQ(image->GetPixel(99, 0), white);
  EXPECT_EQ(image->GetPixel(0, 99), white);
  EXPECT_EQ(image->GetPixel(99, 99), white);
  EXPECT_EQ(image->GetPixel(100, 0), black);
  EXPECT_EQ(image->GetPixel(0, 100), black);
  EXPECT_EQ(image->GetPixel(100, 100), black);
  EXPECT_EQ(image->GetPixel(299, 199), black);
}

TEST_F(ViewImage, OrthographicCameraInAWideWindowShowsTwiceTheWidth) {
  TScene s(200, 100);
  auto ortho = std::make_unique<TQelOrthographicCamera>(nullptr);
  ortho->TurnAt({0, 0, 5}, {0, 0, 0});
  s.view->SetCamera(ortho.get());
  // A quad 3 wide and 1 high in the middle of a region 4 by 2.
  auto* quad = new TQuad(s.top.get(), {{{-1.5, -0.5, 0}, {1.5, -0.5, 0}, {1.5, 0.5, 0}, {-1.5, 0.5, 0}}});
  quad->GetColor()->SetColor(RGB(255, 255, 255));
  s.top->Add(quad);
  auto image = s.Image();
  const TColor white = RGB(255, 255, 255);
  // x: (-1.5 + 2) / 4 * 200 = 25 .. 175; y: 25 .. 75.
  EXPECT_EQ(image->GetPixel(26, 50), white);
  EXPECT_EQ(image->GetPixel(173, 50), white);
  EXPECT_EQ(image->GetPixel(23, 50), 0u);
  EXPECT_EQ(image->GetPixel(176, 50), 0u);
  EXPECT_EQ(image->GetPixel(100, 26), white);
  EXPECT_EQ(image->GetPixel(100, 73), white);
  EXPECT_EQ(image->GetPixel(100, 23), 0u);
  EXPECT_EQ(image->GetPixel(100, 76), 0u);
  s.view->SetCamera(nullptr);
}

TEST_F(ViewImage, GetImageOfAnEmptyBitmapIsFalseAndLeavesTheViewAsItWas) {
  TScene s;
  TBitmap empty;
  EXPECT_FALSE(s.view->GetImage(empty));
  EXPECT_FALSE(s.view->HandleAllocated());
  EXPECT_FALSE(s.view->GetActive());
  // A connected view stays connected, in its mode, and gets a picture of
  // the bitmap's size.
  s.view->HandleNeeded();
  TBitmap small(40, 30, pf32bit);
  s.view->SetBackgroundColor(RGB(1, 2, 3));
  EXPECT_TRUE(s.view->GetImage(small));
  EXPECT_TRUE(s.view->GetActive());
  EXPECT_EQ(s.view->GetDrawingMode(), dmIdle);
  EXPECT_EQ(small.GetPixel(39, 29), RGB(1, 2, 3));
}

// The scene point under a pixel, against the ray through that pixel
// intersected with the plane by hand.
class ViewPoint : public ViewImage {};

TEST_F(ViewPoint, GetPointFindsThePointOnAPlaneUnderThePixel) {
  TScene s(240, 180);
  auto* floor = new TQuad(s.top.get(), {{{-20, 0, -20}, {-20, 0, 20}, {20, 0, 20}, {20, 0, -20}}});
  s.top->Add(floor);
  const TQelMathVector eye{1, 3, 4}, target{0, 0, 0};
  s.camera->TurnAt(eye, target);
  s.view->HandleNeeded();
  TExpected e = Expected(eye, target, 240, 180);
  for (auto [x, y] : {std::pair{120, 90}, {30, 170}, {200, 120}, {5, 100}}) {
    TQelMathVector p;
    ASSERT_TRUE(s.view->GetPoint(x, y, p));
    // Window y counts down: GL's row is height - y.
    auto n = e.UnProject(x, 180 - y, 0), f = e.UnProject(x, 180 - y, 1);
    const double t = n[1] / (n[1] - f[1]);  // where the ray meets y = 0
    EXPECT_NEAR(p.x, n[0] + t * (f[0] - n[0]), 1e-3) << x << "," << y;
    EXPECT_NEAR(p.y, 0, 1e-3);
    EXPECT_NEAR(p.z, n[2] + t * (f[2] - n[2]), 1e-3) << x << "," << y;
    // WinFrom3D gives the window position back.
    TQelMathVector w = s.view->WinFrom3D(p);
    EXPECT_NEAR(w.x, x, 1e-2);
    EXPECT_NEAR(w.y, y, 1e-2);
  }
  EXPECT_EQ(s.view->GetDrawingMode(), dmIdle);
  EXPECT_FALSE(s.view->GetCurrent());
}

TEST_F(ViewPoint, WinTo3DAndWinFrom3DInvertEachOther) {
  TScene s(200, 100);
  s.camera->TurnAt({2, -1, 3}, {0, 0.5, 0});
  EXPECT_EQ(s.view->WinTo3D(10, 10, 0.5), ZEROVEC);  // not connected
  s.view->HandleNeeded();
  s.view->Paint();
  for (auto [x, y, z] : {std::tuple{10.0, 10.0, 0.5}, {150.5, 80.25, 0.9}, {100.0, 50.0, 0.1}}) {
    TQelMathVector p = s.view->WinTo3D(x, y, z);
    TQelMathVector w = s.view->WinFrom3D(p);
    EXPECT_NEAR(w.x, x, 1e-6);
    EXPECT_NEAR(w.y, y, 1e-6);
    EXPECT_NEAR(w.z, z, 1e-6);
  }
  // The world origin seen through the camera, against GLU.
  TExpected e = Expected({2, -1, 3}, {0, 0.5, 0}, 200, 100);
  auto o = e.Project(0, 0, 0);
  TQelMathVector w = s.view->WinFrom3D({0, 0, 0});
  EXPECT_NEAR(w.x, o[0], 1e-4);
  EXPECT_NEAR(w.y, 100 - o[1], 1e-4);
  // A picture of another size leaves the window's conversion as it was.
  TBitmap other(50, 70);
  ASSERT_TRUE(s.view->GetImage(other));
  w = s.view->WinFrom3D({0, 0, 0});
  EXPECT_NEAR(w.x, o[0], 1e-4);
  EXPECT_NEAR(w.y, 100 - o[1], 1e-4);
}

}  // namespace
