// The view's life and render cycle: GL calls of a paint in order, when it
// swaps, what an inactive view does, pixel formats, the view list and
// display-list sharing, the three connection errors, stencil presets,
// change signals and input.
#include <functional>
#include <memory>

#include "viewtest.h"

using qeltest::GLCall;
using qeltest::GLRecorder;

namespace {

using Calls = std::vector<std::string>;

std::string Mark(float m) { return GLCall("glPassThrough", m); }

// What a paint of a view with a default camera at (0, 0, 4), a black
// background, the default settings and OnRender drawing Mark(7) calls.
Calls PaintCalls(int width, int height) {
  return {GLCall("glViewport", 0, 0, width, height),
          GLCall("glMatrixMode", GL_PROJECTION),
          "glLoadIdentity()",
          GLCall("gluPerspective", 45.0, double(width) / height, double(0.1f), 10.0),
          GLCall("glMatrixMode", GL_MODELVIEW),
          "glLoadIdentity()",
          GLCall("glScalef", 1.0f, 1.0f, 1.0f),
          GLCall("glTranslatef", -0.0f, -0.0f, -4.0f),
          GLCall("glGetDoublev", GL_MODELVIEW_MATRIX, "ptr"),
          "glLoadIdentity()",
          "glMultMatrixd([1,0,0,0,0,1,0,0,0,0,1,0,0,0,-4,1])",
          GLCall("glClearColor", 0.0f, 0.0f, 0.0f, 1.0f),
          GLCall("glDepthFunc", GL_LESS),
          GLCall("glColorMask", GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE),
          GLCall("glDepthMask", GL_TRUE),
          GLCall("glClear", GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT),
          GLCall("glMatrixMode", GL_MODELVIEW),
          GLCall("glEnable", GL_DEPTH_TEST),
          GLCall("glPushAttrib", GL_ALL_ATTRIB_BITS),
          Mark(7),
          "glFlush()",
          "glPopAttrib()"};
}

class ViewCycle : public ViewTest {
protected:
  void SetUp() override {
    ViewTest::SetUp();
    ASSERT_TRUE(QelViewList().empty());
    camera = std::make_unique<TQelPerspectiveCamera>(nullptr);
    camera->GetTransformation()->GetTranslation()->SetValues(0, 0, 4);
  }
  void TearDown() override {
    views.clear();
    camera.reset();
    EXPECT_TRUE(QelViewList().empty());
    ViewTest::TearDown();
  }
  TQelView* NewView(bool connect = true) {
    views.push_back(std::make_unique<TQelView>(nullptr));
    TQelView* v = views.back().get();
    v->SetSize(64, 48);
    v->SetCamera(camera.get());
    v->OnRender = [this](TQelView*) {
      ++renders;
      glPassThrough(7);
    };
    if (connect) v->HandleNeeded();
    return v;
  }
  std::unique_ptr<TQelPerspectiveCamera> camera;
  std::vector<std::unique_ptr<TQelView>> views;
  int renders = 0;
};

TEST_F(ViewCycle, PaintRunsTheRenderCycleInOrderAndSwaps) {
  TQelView* view = NewView();
  int* swaps = Count("SwapBuffers");
  int* releases = Count("ReleaseCurrent");
  GLRecorder rec;
  view->Paint();
  EXPECT_EQ(rec.Calls(), PaintCalls(64, 48));
  EXPECT_EQ(*swaps, 1);
  EXPECT_EQ(*releases, 1);
  EXPECT_EQ(view->GetDrawingMode(), dmIdle);
  EXPECT_FALSE(view->GetCurrent());
  EXPECT_EQ(view->GetClientWidth(), 64);
  EXPECT_EQ(view->GetClientHeight(), 48);
}

TEST_F(ViewCycle, RenderSceneSwapsOnlyWhenPaintingOrDrawingABitmap) {
  TQelView* view = NewView();
  int* swaps = Count("SwapBuffers");
  for (uint8_t mode : {0, 1, 2, 3, 4, 5}) {
    *swaps = 0;
    view->SetDrawingMode(TQelDrawingMode(mode));
    view->RenderScene();
    EXPECT_EQ(*swaps, mode == 0 || mode == 3 || mode == 4 ? 0 : 1) << int(mode);
  }
  view->SetDrawingMode(dmIdle);
}

TEST_F(ViewCycle, EveryFrameStartsWithFreshAppearanceAndPickNames) {
  TQelView* view = NewView();
  TQelNode top(nullptr);
  auto* material = new TQelMaterial(&top);
  top.Add(material);
  auto* object = new TQelObject(&top);
  top.Add(object);
  int lastName = 0;
  view->OnRender = [&](TQelView* v) {
    top.Render(v);
    lastName = v->GetLastID();
  };
  // Painting pushes no pick names; idle rendering does, from 1 each frame.
  view->SetDrawingMode(dmIdle);
  view->RenderScene();
  view->RenderScene();
  EXPECT_EQ(lastName, 1);
  // The material is applied in full in every frame, not only the first.
  GLRecorder rec;
  view->Paint();
  view->Paint();
  EXPECT_EQ(rec.Count("glMaterialfv"), 8);
  EXPECT_EQ(rec.Count("glPushName"), 0);
}

TEST_F(ViewCycle, TexturesUploadOncePerContextAndBindOncePerFrame) {
  TQelView* view = NewView();
  TQelTexture texture(nullptr);
  TBitmap bitmap(4, 4);
  texture.SetBitmap(&bitmap);
  view->OnRender = [&](TQelView* v) {
    texture.Render(v);
    texture.Render(v);  // skipped within the frame
  };
  GLRecorder rec;
  view->Paint();
  view->Paint();
  EXPECT_EQ(rec.Count("glTexImage2D") + rec.Count("gluBuild2DMipmaps"), 1);
  EXPECT_EQ(rec.Count("glBindTexture"), 2);  // once in each frame
  EXPECT_FALSE(texture.GetNeedsUpload());
  // A new context holds no images: the next render uploads again.
  NewView();
  EXPECT_TRUE(texture.GetNeedsUpload());
}

TEST_F(ViewCycle, PointQueriesAndBitmapsDoNotSwap) {
  TQelView* view = NewView();
  int* swaps = Count("SwapBuffers");
  TQelMathVector p;
  view->GetPoint(10, 10, p);
  TBitmap bitmap(16, 16);
  view->GetImage(bitmap);
  EXPECT_EQ(*swaps, 0);
  EXPECT_EQ(renders, 2);
}

TEST_F(ViewCycle, AnInactiveViewPaintsNothingAndInvalidatesNothing) {
  TQelView* view = NewView(false);
  int* invalidates = Count("Invalidate");
  int* makeCurrents = Count("MakeCurrent");
  GLRecorder rec;
  view->Paint();
  view->RenderScene();
  view->InvalidateGL();
  view->SetBackgroundColor(RGB(9, 9, 9));
  camera->SetViewAngle(30);  // a change signal
  EXPECT_TRUE(rec.Calls().empty());
  EXPECT_EQ(*invalidates, 0);
  EXPECT_EQ(*makeCurrents, 0);
  EXPECT_EQ(renders, 0);
  EXPECT_FALSE(view->GetActive());
  EXPECT_FALSE(view->GetCurrent());

  // Designing: the window is made, GL is not connected.
  TQelView* designed = NewView(false);
  designed->SetDesigning(true);
  designed->HandleNeeded();
  EXPECT_TRUE(designed->HandleAllocated());
  EXPECT_FALSE(designed->GetActive());
}

TEST_F(ViewCycle, InvalidateGLRepaintsThroughTheWindow) {
  TQelView* view = NewView();
  int* invalidates = Count("Invalidate");
  view->InvalidateGL();
  ws->ProcessMessages();
  EXPECT_EQ(*invalidates, 1);
  EXPECT_EQ(renders, 1);
  // Changes of the camera, the axes and the background ask for a repaint.
  camera->SetViewAngle(30);
  view->GetCoordinates()->SetVisible(true);
  view->SetBackgroundColor(RGB(1, 1, 1));
  view->SetBackgroundColor(RGB(1, 1, 1));
  EXPECT_EQ(*invalidates, 4);
  ws->ProcessMessages();
  EXPECT_EQ(renders, 2);  // one paint for them all
}

TEST_F(ViewCycle, CameraIsForgottenWhenDestroyedAndDetachedWhenReplaced) {
  TQelView* view = NewView();
  int* invalidates = Count("Invalidate");
  auto other = std::make_unique<TQelOrthographicCamera>(nullptr);
  view->SetCamera(other.get());
  *invalidates = 0;
  camera->SetViewAngle(20);  // the old camera no longer repaints the view
  EXPECT_EQ(*invalidates, 0);
  EXPECT_FALSE(camera->OnChange);
  other->SetViewWidth(5);
  EXPECT_EQ(*invalidates, 1);
  other.reset();
  EXPECT_EQ(view->GetCamera(), nullptr);
  view->Paint();  // without a camera
  EXPECT_EQ(renders, 1);

  // A camera that outlives its view stays usable.
  view->SetCamera(camera.get());
  views.clear();
  camera->SetViewAngle(50);
}

TEST_F(ViewCycle, SettingTheCameraWhileCurrentRendersItAtOnce) {
  TQelView* view = NewView();
  view->SetCamera(nullptr);
  view->SetCurrent(true);
  GLRecorder rec;
  view->SetCamera(camera.get());
  EXPECT_EQ(rec.Count("gluPerspective"), 1);
  view->SetCurrent(false);
  rec.Clear();
  view->SetCamera(camera.get());
  EXPECT_EQ(rec.Count("gluPerspective"), 0);
}

TEST_F(ViewCycle, OnSetPixelFormatMayPickAnotherFormatFromTheList) {
  TQelView* plain = NewView();
  const int chosen = ws->GetPixelFormat(plain->GetHDC());
  ASSERT_GT(chosen, 0);
  const int count = ws->DescribePixelFormat(plain->GetHDC(), 1, nullptr);

  for (int32_t answer : {-1, count, count + 5}) {
    TQelView* view = NewView(false);
    int32_t offered = -2;
    size_t listed = 0;
    view->OnSetPixelFormat = [&](const TPixelFormatDescriptorArray& list, int32_t& num) {
      offered = num;
      listed = list.size();
      num = answer;
    };
    view->HandleNeeded();
    EXPECT_EQ(offered, chosen - 1);
    EXPECT_EQ(listed, size_t(count));
    EXPECT_EQ(ws->GetPixelFormat(view->GetHDC()), chosen) << answer;
  }
  if (count > 1) {
    TQelView* view = NewView(false);
    const int32_t other = chosen == 1 ? 1 : 0;
    view->OnSetPixelFormat = [&](const TPixelFormatDescriptorArray&, int32_t& num) { num = other; };
    view->HandleNeeded();
    EXPECT_EQ(ws->GetPixelFormat(view->GetHDC()), other + 1);
  }
}

TEST_F(ViewCycle, TheWindowFormatIsRGBAWithDepthAndStencil) {
  TQelView* view = NewView();
  PIXELFORMATDESCRIPTOR pfd;
  ASSERT_GT(ws->DescribePixelFormat(view->GetHDC(), ws->GetPixelFormat(view->GetHDC()), &pfd), 0);
  EXPECT_EQ(pfd.iPixelType, PFD_TYPE_RGBA);
  EXPECT_GE(pfd.cColorBits, 24);
  EXPECT_GE(pfd.cDepthBits, 24);
  EXPECT_GE(pfd.cStencilBits, 1);
  EXPECT_EQ(view->GetPalette(), nullptr);
  EXPECT_TRUE(view->GetPixelFormatError().empty());
}

TEST_F(ViewCycle, TheSecondViewSharesListsWithTheFirstWhichNeverShares) {
  int* shares = Count("ShareLists");
  TQelView* first = NewView();
  EXPECT_EQ(*shares, 0);
  TQelView* second = NewView();
  EXPECT_EQ(*shares, 1);
  EXPECT_EQ(QelViewList(), (std::vector<TQelView*>{first, second}));
  EXPECT_TRUE(ws->SharesLists(first->GetRenderContext(), second->GetRenderContext()));

  // A list made in the first context is valid in the second.
  first->SetCurrent(true);
  const GLuint list = glGenLists(1);
  glNewList(list, GL_COMPILE);
  glPassThrough(1);
  glEndList();
  first->SetCurrent(false);
  second->SetCurrent(true);
  EXPECT_TRUE(glIsList(list));
  glDeleteLists(list, 1);
  second->SetCurrent(false);

  // A view joins the list once; destroying it removes it.
  first->RecreateWnd();
  EXPECT_EQ(QelViewList(), (std::vector<TQelView*>{first, second}));
  EXPECT_EQ(*shares, 1);
  views.erase(views.begin());
  EXPECT_EQ(QelViewList(), (std::vector<TQelView*>{second}));
}

TEST_F(ViewCycle, ACachedNodeReplaysOnlyInItsOwnViewAndBothPicturesAgree) {
  TQelView* first = NewView();
  TQelView* second = NewView();
  TQelNode top(nullptr);
  auto* dots = new TDots(&top, {{0, 0, 0}, {0.5, 0.3, 0}, {-0.4, -0.2, 0.5}}, 5);
  dots->GetColor()->SetColor(RGB(255, 200, 0));
  top.Add(dots);
  top.SetCached(true);
  for (TQelView* v : {first, second}) v->OnRender = [&](TQelView* view) { top.Render(view); };

  GLRecorder rec;
  first->Paint();
  EXPECT_EQ(rec.Count("glNewList"), 1);
  EXPECT_EQ(top.GetView(), first);
  const GLuint list = top.GetDisplayList();
  rec.Clear();
  second->Paint();
  EXPECT_EQ(rec.Count("glCallList") + rec.Count("glNewList"), 0);
  EXPECT_EQ(rec.Count("glBegin"), 1);
  rec.Clear();
  first->Paint();
  EXPECT_EQ(rec.Only({"glCallList", "glBegin"}), (Calls{GLCall("glCallList", list)}));

  // The first view's picture replays the list in a bitmap context sharing
  // its lists; the second draws directly. Both show the same.
  TBitmap a(64, 48), b(64, 48);
  rec.Clear();
  ASSERT_TRUE(first->GetImage(a));
  EXPECT_EQ(rec.Only({"glCallList", "glBegin"}), (Calls{GLCall("glCallList", list)}));
  ASSERT_TRUE(second->GetImage(b));
  int lit = 0;
  for (int y = 0; y < 48; ++y)
    for (int x = 0; x < 64; ++x) {
      ASSERT_EQ(a.GetPixel(x, y), b.GetPixel(x, y)) << x << "," << y;
      if (a.GetPixel(x, y) == RGB(255, 200, 0)) ++lit;
    }
  EXPECT_GE(lit, 3 * 16);

  // Destroying the cache view frees its list, in the shared group.
  views.erase(views.begin());
  EXPECT_EQ(top.GetView(), nullptr);
  second->SetCurrent(true);
  EXPECT_FALSE(glIsList(list));
  second->SetCurrent(false);
}

TEST_F(ViewCycle, DisconnectingDropsTheListsCachedForTheView) {
  TQelView* view = NewView();
  TQelNode top(nullptr);
  auto* dots = new TDots(&top, {{0, 0, 0}}, 9);
  dots->GetColor()->SetColor(RGB(0, 255, 0));
  top.Add(dots);
  top.SetCached(true);
  view->OnRender = [&](TQelView* v) { top.Render(v); };
  view->Paint();
  ASSERT_EQ(top.GetView(), view);
  view->DestroyHandle();
  EXPECT_EQ(top.GetView(), nullptr);
  // A picture of the unconnected view connects for the time being, records
  // the list anew and shows the dot.
  TBitmap image(64, 48);
  ASSERT_TRUE(view->GetImage(image));
  EXPECT_EQ(image.GetPixel(32, 24), RGB(0, 255, 0));
  EXPECT_FALSE(view->HandleAllocated());
  EXPECT_EQ(top.GetView(), nullptr);
  ASSERT_TRUE(view->GetImage(image));
  EXPECT_EQ(image.GetPixel(32, 24), RGB(0, 255, 0));
}

TEST_F(ViewCycle, ConnectionFailuresRaiseTheirMessages) {
  struct TCase {
    TQelWindowSystemFailure failure;
    const char* message;
  };
  for (const TCase& c : {TCase{wfGetDC, "Call to OpenGL function GetDC() failed."},
                         TCase{wfCreateContext, "Call to OpenGL function wglCreateContext() failed."},
                         TCase{wfMakeCurrent, "Call to OpenGL function wglMakeCurrent() failed."}}) {
    TQelView* view = NewView(false);
    ws->SetFailures({c.failure});
    try {
      view->HandleNeeded();
      ADD_FAILURE() << "no error for " << c.message;
    } catch (const EQelError& e) {
      EXPECT_STREQ(e.what(), c.message);
    }
    ws->SetFailures({});
    EXPECT_EQ(view->GetActive(), c.failure == wfMakeCurrent);
  }
}

TEST_F(ViewCycle, AContextThatCannotBeMadeCurrentRaisesButDoesNotPaint) {
  TQelView* view = NewView();
  int* releases = Count("ReleaseCurrent");
  ws->SetFailures({wfMakeCurrent});
  EXPECT_THROW(view->SetCurrent(true), EQelError);
  GLRecorder rec;
  view->Paint();  // quietly nothing
  EXPECT_TRUE(rec.Calls().empty());
  EXPECT_EQ(*releases, 1);
  TBitmap bitmap(8, 8);
  try {
    view->GetImage(bitmap);
    ADD_FAILURE();
  } catch (const EQelError& e) {
    EXPECT_STREQ(e.what(), "Call to OpenGL function wglMakeCurrent() failed.");
  }
  EXPECT_EQ(view->GetDrawingMode(), dmIdle);
  ws->SetFailures({});
  view->Paint();
  EXPECT_EQ(renders, 1);
}

TEST_F(ViewCycle, ToggledDoubleBufferingMakesTheWindowAgain) {
  TQelView* view = NewView();
  int* windows = Count("CreateWindow");
  int* contexts = Count("DeleteContext");
  view->SetDoubleBuffer(false);
  EXPECT_EQ(*windows, 1);
  EXPECT_EQ(*contexts, 1);
  EXPECT_TRUE(view->GetActive());
  view->SetDoubleBuffer(false);
  EXPECT_EQ(*windows, 1);
  view->Paint();
  EXPECT_EQ(renders, 1);
}

TEST_F(ViewCycle, ResizingTheWindowResizesTheNextFrame) {
  TQelView* view = NewView();
  int resized = 0;
  view->OnResize = [&](TObject*) { ++resized; };
  view->SetSize(90, 30);
  EXPECT_EQ(resized, 1);
  EXPECT_EQ(view->GetWidth(), 90);
  GLRecorder rec;
  view->Paint();
  EXPECT_EQ(rec.Only({"glViewport"}), (Calls{GLCall("glViewport", 0, 0, 90, 30)}));
}

// The stencil presets, as GL state and as drawing: draw a stencil, then
// draw through it.
TEST_F(ViewCycle, StencilPresetsSetTheirStateAndMaskTheDrawing) {
  TQelView* view = NewView();
  auto state = [&] {
    view->SetCurrent(true);
    std::array<GLint, 8> s{};
    s[0] = glIsEnabled(GL_STENCIL_TEST);
    glGetIntegerv(GL_STENCIL_FUNC, &s[1]);
    glGetIntegerv(GL_STENCIL_REF, &s[2]);
    glGetIntegerv(GL_STENCIL_FAIL, &s[3]);
    glGetIntegerv(GL_STENCIL_PASS_DEPTH_FAIL, &s[4]);
    glGetIntegerv(GL_STENCIL_PASS_DEPTH_PASS, &s[5]);
    glGetIntegerv(GL_DEPTH_FUNC, &s[6]);
    GLboolean mask[4];
    glGetBooleanv(GL_COLOR_WRITEMASK, mask);
    s[7] = mask[0] + 2 * mask[1] + 4 * mask[2] + 8 * mask[3];
    view->SetCurrent(false);
    return s;
  };
  using S = std::array<GLint, 8>;
  EXPECT_EQ(state(), (S{0, GL_ALWAYS, 1, GL_KEEP, GL_KEEP, GL_KEEP, GL_LESS, 15}));
  view->SetStencilMode(smDrawStencil);
  EXPECT_EQ(state(), (S{1, GL_ALWAYS, 1, GL_REPLACE, GL_REPLACE, GL_REPLACE, GL_ALWAYS, 0}));
  view->SetStencilMode(smInvertStencil);
  EXPECT_EQ(state(), (S{1, GL_ALWAYS, 1, GL_INVERT, GL_INVERT, GL_INVERT, GL_ALWAYS, 0}));
  EXPECT_EQ(view->GetStencilOp(), soInvert);
  view->SetStencilMode(smApplyStencil);
  EXPECT_EQ(state(), (S{1, GL_EQUAL, 1, GL_KEEP, GL_KEEP, GL_KEEP, GL_LESS, 7}));
  EXPECT_EQ(view->GetStencilOp(), soInvert);  // unchanged by the preset
  EXPECT_EQ(view->GetDrawValues(), (TQelDrawValues{dvRed, dvGreen, dvBlue, dvDepth}));
  view->SetStencilMode(smIgnoreStencil);
  EXPECT_EQ(state(), (S{0, GL_ALWAYS, 1, GL_KEEP, GL_KEEP, GL_KEEP, GL_LESS, 7}));

  // Drawing: the left half into the stencil, then white everywhere through it.
  view->SetStencilOp(soRef);
  TQuad left(nullptr, {{{-10, -10, 0}, {0, -10, 0}, {0, 10, 0}, {-10, 10, 0}}});
  TQuad all(nullptr, {{{-10, -10, 0}, {10, -10, 0}, {10, 10, 0}, {-10, 10, 0}}});
  all.GetColor()->SetColor(RGB(255, 255, 255));
  view->OnRender = [&](TQelView* v) {
    v->ClearBuffers({btStencil});
    v->SetStencilMode(smDrawStencil);
    left.Render(v);
    v->SetStencilMode(smApplyStencil);
    all.Render(v);
    v->SetStencilMode(smIgnoreStencil);
  };
  view->Paint();
  view->SetCurrent(true);
  uint8_t px[2][4];
  glReadPixels(10, 24, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, px[0]);
  glReadPixels(54, 24, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, px[1]);
  view->SetCurrent(false);
  EXPECT_EQ(px[0][0], 255);
  EXPECT_EQ(px[1][0], 0);
}

TEST_F(ViewCycle, InputReachesTheUserEvents) {
  TQelView* view = NewView();
  std::vector<std::string> log;
  view->OnMouseDown = [&](TObject* s, TMouseButton b, TShiftState sh, int32_t x, int32_t y) {
    log.push_back("down " + std::to_string(b) + " " + std::to_string(sh.ToBits()) + " " +
                  std::to_string(x) + "," + std::to_string(y) + (s == view ? "" : " ?"));
  };
  view->OnMouseUp = [&](TObject*, TMouseButton b, TShiftState, int32_t x, int32_t y) {
    log.push_back("up " + std::to_string(b) + " " + std::to_string(x) + "," + std::to_string(y));
  };
  view->OnMouseMove = [&](TObject*, TShiftState sh, int32_t x, int32_t y) {
    log.push_back("move " + std::to_string(sh.ToBits()) + " " + std::to_string(x) + "," + std::to_string(y));
  };
  view->OnKeyDown = [&](TObject*, uint16_t& key, TShiftState) {
    log.push_back("key " + std::to_string(key));
    key = 0;  // handled
  };
  view->MouseDown(mbRight, {ssRight, ssShift}, 3, 4);
  view->MouseMove({ssRight}, 5, 6);
  view->MouseUp(mbRight, {}, 7, 8);
  uint16_t key = VK_ESCAPE;
  view->KeyDown(key, {});
  EXPECT_EQ(key, 0);
  EXPECT_EQ(log, (std::vector<std::string>{"down 1 17 3,4", "move 16 5,6", "up 1 7,8", "key 27"}));
  view->SetController(nullptr);
  EXPECT_EQ(view->GetController(), nullptr);
}

// After the user's event the controller gets the input; only what moved
// something repaints. The controller gets the view's camera and is
// forgotten when destroyed.
TEST_F(ViewCycle, InputReachesTheControllerWhichRepaintsWhenItMovesSomething) {
  TQelView* view = NewView();
  TQelObject object(nullptr);
  auto person = std::make_unique<TQelPersonController>(nullptr);
  TQelMouseController mouse(nullptr);
  view->SetController(person.get());
  EXPECT_EQ(person->GetCamera(), camera.get());
  person->SetControlled(&object);
  mouse.SetControlled(&object);
  bool swallow = false;
  view->OnKeyDown = [&](TObject*, uint16_t& key, TShiftState) {
    if (swallow) key = 0;
  };
  int* invalidates = Count("Invalidate");
  struct Row {
    TQelCustomController* controller;
    std::function<void()> input;
    int invalidates;
  };
  auto key = [&](uint16_t k) {
    return [=] {
      uint16_t pressed = k;
      view->KeyDown(pressed, {});
    };
  };
  const Row rows[] = {
      {person.get(), key(VK_UP), 1},
      {person.get(), key('Q'), 0},  // not bound
      {person.get(), [&] { swallow = true; key(VK_UP)(); swallow = false; }, 0},
      {&mouse, [&] { view->MouseDown(mbLeft, {ssLeft}, 10, 10); }, 0},
      {&mouse, [&] { view->MouseMove({ssLeft}, 40, 10); }, 1},
      {&mouse, [&] { view->MouseUp(mbLeft, {}, 40, 10); }, 0},
      {&mouse, [&] { view->MouseMove({}, 70, 10); }, 0},
  };
  for (const Row& r : rows) {
    view->SetController(r.controller);
    *invalidates = 0;
    r.input();
    EXPECT_EQ(*invalidates, r.invalidates) << &r - rows;
  }
  // Walking forward brought the object one step nearer the camera at z 4.
  EXPECT_FLOAT_EQ(object.GetTransformation()->GetTranslation()->GetZ(), 0.1f);
  view->SetController(person.get());
  person.reset();
  EXPECT_EQ(view->GetController(), nullptr);
}

}  // namespace
