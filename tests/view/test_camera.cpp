// Cameras: property ranges, the GL state a render leaves (against GLU's own
// matrices), the sub-viewport and pick region, and placement by TurnAt and
// LookAt compared with gluLookAt.
#include <cmath>

#include "viewtest.h"

using qeltest::GLCall;
using qeltest::GLRecorder;

namespace {

// A bare view whose client size and pick state a test sets.
class TSizedView : public TQelCustomView {
public:
  TSizedView(int32_t width, int32_t height) : TQelCustomView(nullptr) { StoreClientSize(width, height); }
  void Select(int32_t x, int32_t y) { SetSelectPosition(x, y); }
};

void ExpectMatrixNear(const std::array<double, 16>& actual, const std::array<double, 16>& expected,
                      double tolerance, const std::string& what) {
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(actual[i], expected[i], tolerance) << what << " element " << i;
}

TEST(Camera, DefaultsAndRanges) {
  TQelPerspectiveCamera camera(nullptr);
  int changes = 0;
  camera.OnChange = [&](TObject*) { ++changes; };
  EXPECT_FLOAT_EQ(camera.GetViewNear(), 0.1f);
  EXPECT_FLOAT_EQ(camera.GetViewFar(), 10.0f);
  EXPECT_FLOAT_EQ(camera.GetViewAngle(), 45.0f);
  EXPECT_FALSE(camera.GetEnableViewport());
  EXPECT_NE(camera.GetProjectionMatrix(), nullptr);
  EXPECT_TRUE(camera.GetTransformation()->GetInverted());
  EXPECT_EQ(camera.GetTransformation()->GetScale()->GetAsMathVector(), (TQelMathVector{-1, -1, -1}));
  TQelRect* r = camera.GetViewport();
  EXPECT_EQ(r->GetRect(), (TRect{0, 0, 100, 100}));

  camera.SetViewNear(0);
  camera.SetViewNear(-1);
  camera.SetViewFar(0);
  camera.SetViewAngle(181);
  camera.SetViewAngle(-1);
  camera.SetViewAngle(45);
  EXPECT_EQ(changes, 0);
  EXPECT_FLOAT_EQ(camera.GetViewNear(), 0.1f);
  EXPECT_FLOAT_EQ(camera.GetViewAngle(), 45.0f);
  camera.SetViewNear(20);  // beyond far: not checked
  camera.SetViewAngle(180);
  camera.SetViewAngle(0);
  EXPECT_EQ(changes, 3);
  r->SetWidth(30);
  r->SetHeight(40);
  EXPECT_EQ(r->GetRect(), (TRect{0, 0, 30, 40}));
  EXPECT_EQ(changes, 5);  // the viewport's changes are the camera's

  TQelOrthographicCamera ortho(nullptr);
  EXPECT_FLOAT_EQ(ortho.GetViewWidth(), 2.0f);
  EXPECT_FLOAT_EQ(ortho.GetViewHeight(), 2.0f);
  ortho.SetViewWidth(0);
  ortho.SetViewHeight(-3);
  EXPECT_FLOAT_EQ(ortho.GetViewWidth(), 2.0f);
  EXPECT_FLOAT_EQ(ortho.GetViewHeight(), 2.0f);
}

TEST(Camera, AssignCopiesPlanesAngleAndPlacement) {
  TQelPerspectiveCamera a(nullptr), b(nullptr);
  a.SetViewNear(0.5f);
  a.SetViewFar(50);
  a.SetViewAngle(30);
  a.TurnAt({1, 2, 3}, {0, 0, 0});
  b.Assign(&a);
  EXPECT_FLOAT_EQ(b.GetViewNear(), 0.5f);
  EXPECT_FLOAT_EQ(b.GetViewFar(), 50);
  EXPECT_FLOAT_EQ(b.GetViewAngle(), 30);
  EXPECT_EQ(b.GetTransformation()->GetTranslation()->GetAsMathVector(), (TQelMathVector{1, 2, 3}));
  EXPECT_EQ(b.GetTransformation()->GetRotation()->GetAsMathVector(),
            a.GetTransformation()->GetRotation()->GetAsMathVector());

  TQelOrthographicCamera o1(nullptr), o2(nullptr);
  o1.SetViewWidth(7);
  o1.SetViewHeight(3);
  o2.Assign(&o1);
  EXPECT_FLOAT_EQ(o2.GetViewWidth(), 7);
  EXPECT_FLOAT_EQ(o2.GetViewHeight(), 3);
}

TEST_F(QelGLTest, PerspectiveRenderSetsViewportProjectionAndViewingTransformation) {
  TQelPerspectiveCamera camera(nullptr);
  camera.SetViewAngle(60);
  camera.GetTransformation()->GetTranslation()->SetValues(0, 0, 5);
  TSizedView view(300, 200);

  GLRecorder rec;
  camera.Render(&view);
  EXPECT_EQ(rec.Calls(),
            (std::vector<std::string>{GLCall("glViewport", 0, 0, 300, 200),
                                      GLCall("glMatrixMode", GL_PROJECTION), "glLoadIdentity()",
                                      GLCall("gluPerspective", 60.0, 1.5, double(0.1f), 10.0),
                                      GLCall("glMatrixMode", GL_MODELVIEW), "glLoadIdentity()",
                                      // the default order, inverted: scale, translation, rotation
                                      GLCall("glScalef", 1.0f, 1.0f, 1.0f),
                                      GLCall("glTranslatef", -0.0f, -0.0f, -5.0f),
                                      GLCall("glGetDoublev", GL_MODELVIEW_MATRIX, "ptr"),
                                      // the same matrix again, classified afresh
                                      "glLoadIdentity()",
                                      "glMultMatrixd([1,0,0,0,0,1,0,0,0,0,1,0,0,0,-5,1])"}));
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(viewport[2], 300);
  ExpectMatrixNear(GetMatrix(GL_PROJECTION_MATRIX), PerspectiveMatrix(60, 1.5, 0.1f, 10), 1e-6,
                   "projection");
  const auto modelview = GetMatrix(GL_MODELVIEW_MATRIX);
  ExpectMatrixNear(modelview, LookAtMatrix({0, 0, 5}, {0, 0, 0}, {0, 1, 0}), 1e-6, "modelview");
  // The matrix read back is the one ProjectVector works with.
  for (int i = 0; i < 16; ++i) EXPECT_EQ(camera.GetProjectionMatrix()->Data()[i], modelview[i]);
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(QelGLTest, RenderWithoutViewDoesNothing) {
  TQelPerspectiveCamera camera(nullptr);
  GLRecorder rec;
  camera.Render(nullptr);
  EXPECT_TRUE(rec.Calls().empty());
}

TEST_F(QelGLTest, EnabledViewportIsTheRectangleCountedFromTheTop) {
  TQelPerspectiveCamera camera(nullptr);
  camera.SetEnableViewport(true);
  camera.GetViewport()->SetRect({10, 20, 110, 70});
  TSizedView view(400, 250);
  GLRecorder rec;
  camera.Render(&view);
  EXPECT_EQ(rec.Only({"glViewport", "gluPerspective"}),
            (std::vector<std::string>{GLCall("glViewport", 10, 250 - 70, 100, 50),
                                      GLCall("gluPerspective", 45.0, 1.6, double(0.1f), 10.0)}));
}

TEST_F(QelGLTest, PickingAndPointQueriesApplyThePickRegion) {
  TQelPerspectiveCamera camera(nullptr);
  TSizedView view(200, 100);
  view.Select(30, 40);
  view.SetSelectWidth(3);
  for (uint8_t mode : {0, 1, 2, 3, 4}) {
    view.SetDrawingMode(TQelDrawingMode(mode));
    GLRecorder rec;
    camera.Render(&view);
    const bool picking = mode == 3 || mode == 4;
    EXPECT_EQ(rec.Only({"gluPickMatrix"}),
              picking ? std::vector<std::string>{GLCall("gluPickMatrix", 30.0, 60.0, 3.0, 5.0, "ptr")}
                      : std::vector<std::string>{})
        << int(mode);
  }
}

TEST_F(QelGLTest, OrthographicWidthFollowsTheAspectRatio) {
  TQelOrthographicCamera camera(nullptr);
  camera.SetViewWidth(3);
  camera.SetViewHeight(2);
  TSizedView view(200, 100);
  GLRecorder rec;
  camera.Render(&view);
  EXPECT_EQ(rec.Only({"glOrtho"}),
            (std::vector<std::string>{GLCall("glOrtho", -3.0, 3.0, -1.0, 1.0, double(0.1f), 10.0)}));
}

// The camera placed by TurnAt/LookAt must give exactly the modelview of
// gluLookAt with world y up (rolled for LookAt).
struct TPlacement {
  TQelMathVector eye, target, up;
};

class TurnAtTest : public QelGLTest, public ::testing::WithParamInterface<TPlacement> {};

TEST_P(TurnAtTest, MatchesGluLookAt) {
  const TPlacement& p = GetParam();
  TQelPerspectiveCamera camera(nullptr);
  camera.TurnAt(p.eye, p.target);
  EXPECT_EQ(camera.GetTransformation()->GetOrder(), toTraRotSca);
  EXPECT_EQ(camera.GetTransformation()->GetRotation()->GetOrder(), roZXY);
  EXPECT_EQ(camera.GetTransformation()->GetTranslation()->GetAsMathVector(), p.eye);
  TSizedView view(100, 100);
  camera.Render(&view);
  ExpectMatrixNear(GetMatrix(GL_MODELVIEW_MATRIX), LookAtMatrix(p.eye, p.target, p.up), 2e-5,
                   "modelview");
}

INSTANTIATE_TEST_SUITE_P(
    Positions, TurnAtTest,
    ::testing::Values(TPlacement{{0, 0, 5}, {0, 0, 0}, {0, 1, 0}},
                      TPlacement{{3, 2, 4}, {0, 0, 0}, {0, 1, 0}},
                      TPlacement{{-4, 1, -2}, {1, 0.5, 0}, {0, 1, 0}},
                      TPlacement{{0, 3, -5}, {0, 0, 0}, {0, 1, 0}},
                      TPlacement{{5, -2, 0}, {0, 0, 0}, {0, 1, 0}},
                      TPlacement{{0, 0, -5}, {0, 0, 0}, {0, 1, 0}},
                      // Straight down and up: world -z and +z are up on the screen.
                      TPlacement{{0, 6, 0}, {0, 0, 0}, {0, 0, -1}},
                      TPlacement{{1, -6, 2}, {1, 0, 2}, {0, 0, 1}}));

TEST_F(QelGLTest, LookAtRollsAboutTheViewingDirection) {
  TQelPerspectiveCamera camera(nullptr);
  TSizedView view(100, 100);
  const TQelMathVector eye{3, 2, 4}, target{0, 0.5, 0};
  for (double angle : {30.0, -75.0, 180.0}) {
    camera.LookAt(eye, target, angle);
    camera.Render(&view);
    // The up vector turned right-handed about the viewing direction.
    TQelMathVector d{target.x - eye.x, target.y - eye.y, target.z - eye.z}, right, up, rolled;
    QelMathNormalize(d);
    QelMathCrossProduct(d, {0, 1, 0}, right);
    QelMathCrossProduct(right, d, up);
    QelMathRotateVec(up, d, angle, rolled);
    ExpectMatrixNear(GetMatrix(GL_MODELVIEW_MATRIX), LookAtMatrix(eye, target, rolled), 2e-5,
                     "roll " + std::to_string(angle));
  }
  // TurnZ turns the same way.
  TQelPerspectiveCamera turned(nullptr);
  turned.TurnAt(eye, target);
  turned.GetTransformation()->TurnZ(30);
  camera.LookAt(eye, target, 30);
  TQelMatrix a, b;
  turned.GetTransformation()->CalcMatrix(a, true);
  camera.GetTransformation()->CalcMatrix(b, true);
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(a.Data()[i], b.Data()[i], 1e-5);
}

// With the camera's scale the movement axes point left, down and along the
// view, and the picture stays unmirrored after moving and turning.
TEST_F(QelGLTest, MovingAPlacedCameraKeepsItRightHanded) {
  TQelPerspectiveCamera camera(nullptr);
  TSizedView view(100, 100);
  camera.TurnAt({0, 0, 5}, {0, 0, 0});
  TQelTransformation* t = camera.GetTransformation();
  t->MoveX(1);   // to the left
  t->MoveY(-2);  // up
  t->MoveZ(3);   // forwards
  camera.Render(&view);
  ExpectMatrixNear(GetMatrix(GL_MODELVIEW_MATRIX), LookAtMatrix({-1, 2, 2}, {-1, 2, 0}, {0, 1, 0}),
                   1e-5, "moved");
  t->TurnY(90);  // a camera turns to its left: now along -x
  camera.Render(&view);
  ExpectMatrixNear(GetMatrix(GL_MODELVIEW_MATRIX), LookAtMatrix({-1, 2, 2}, {-2, 2, 2}, {0, 1, 0}),
                   1e-5, "turned");
  EXPECT_EQ(t->GetScale()->GetAsMathVector(), (TQelMathVector{-1, -1, -1}));
}

TEST_F(QelGLTest, TurnAtItselfLooksAlongMinusZ) {
  TQelPerspectiveCamera camera(nullptr);
  camera.TurnAt({1, 2, 3}, {1, 2, 3});
  TSizedView view(100, 100);
  camera.Render(&view);
  ExpectMatrixNear(GetMatrix(GL_MODELVIEW_MATRIX), LookAtMatrix({1, 2, 3}, {1, 2, 2}, {0, 1, 0}),
                   1e-6, "modelview");
}

TEST_F(QelGLTest, ProjectVectorCarriesAPointIntoTheCameraFrame) {
  TQelPerspectiveCamera camera(nullptr);
  camera.TurnAt({0, 0, 5}, {0, 0, 0});
  TSizedView view(100, 100);
  camera.Render(&view);
  TQelObject object(nullptr);
  object.SetProjectionEnabled(true);
  object.GetTransformation()->GetTranslation()->SetValues(1, 0, 0);
  EXPECT_EQ(camera.ProjectVector(&object, {0, 0, 0}), ZEROVEC);  // not rendered yet
  object.Render(&view);
  const TQelMathVector v = camera.ProjectVector(&object, {0, 1, 0});
  // Object point (0,1,0) is world (1,1,0); the camera looks from z = 5.
  EXPECT_NEAR(v.x, 1, 1e-9);
  EXPECT_NEAR(v.y, 1, 1e-9);
  EXPECT_NEAR(v.z, 0, 1e-9);
}

}  // namespace
