// The render protocol of a single component: order of GL calls, events,
// disabled components, axes, projection matrix, change signals and Assign.
#include <cmath>

#include "scenetest.h"

using qeltest::GLCall;
using qeltest::GLRecorder;

namespace {

using Calls = std::vector<std::string>;

const std::string kPush = "glPushMatrix()";
const std::string kPop = "glPopMatrix()";

TEST_F(QelGLTest, RenderRunsPushTransformationEventAxesContentAfterPop) {
  TTestView view(context.get());
  TMarker m(nullptr, 5);
  m.GetTransformation()->GetTranslation()->SetValues(1, 2, 3);
  TQelCustomView* seenBefore = nullptr;
  m.OnBeforeRender = [&](TQelCustomView* v) { seenBefore = v; glPassThrough(10); };
  m.OnAfterRender = [](TQelCustomView*) { glPassThrough(20); };
  m.GetCoordinates()->SetVisible(true);

  GLRecorder rec;
  m.Render(&view);
  const Calls& c = rec.Calls();
  ASSERT_GE(c.size(), 8u);
  EXPECT_EQ(c[0], kPush);
  EXPECT_EQ(c[1], GLCall("glTranslatef", 1.0f, 2.0f, 3.0f));
  EXPECT_EQ(c[2], Mark(10));
  EXPECT_EQ(c[3], GLCall("glPushAttrib", GL_ALL_ATTRIB_BITS));  // the axes
  EXPECT_EQ(c[c.size() - 4], "glPopAttrib()");
  EXPECT_EQ(Calls(c.end() - 3, c.end()), (Calls{Mark(5), Mark(20), kPop}));
  EXPECT_EQ(seenBefore, &view);
  // The matrix stack is back where it was.
  auto mv = GetMatrix(GL_MODELVIEW_MATRIX);
  EXPECT_EQ(mv[12], 0.0);
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(QelGLTest, AxesDrawSolidPositiveAndStippledNegativeHalvesInTheirColours) {
  TQelCoordinates axes;
  axes.SetVisible(true);
  axes.SetLength(2);
  axes.SetColorY(0xFF8000);  // blue 255, green 128, red 0
  glEnable(GL_LIGHTING);

  GLRecorder rec;
  axes.Render();
  const float g = 128 / 255.0f;
  Calls half = {GLCall("glBegin", GL_LINES),
                GLCall("glColor3f", 1.0f, 0.0f, 0.0f), GLCall("glVertex3f", 0.0f, 0.0f, 0.0f),
                "X",
                GLCall("glColor3f", 0.0f, g, 1.0f), GLCall("glVertex3f", 0.0f, 0.0f, 0.0f),
                "Y",
                GLCall("glColor3f", 0.0f, 0.0f, 1.0f), GLCall("glVertex3f", 0.0f, 0.0f, 0.0f),
                "Z",
                "glEnd()"};
  auto withEnds = [&](float s) {
    Calls h = half;
    h[3] = GLCall("glVertex3f", 2 * s, 0.0f, 0.0f);
    h[6] = GLCall("glVertex3f", 0.0f, 2 * s, 0.0f);
    h[9] = GLCall("glVertex3f", 0.0f, 0.0f, 2 * s);
    return h;
  };
  Calls expected = {GLCall("glPushAttrib", GL_ALL_ATTRIB_BITS), GLCall("glDisable", GL_LIGHTING),
                    GLCall("glDisable", GL_BLEND),   GLCall("glDisable", GL_FOG),
                    GLCall("glDisable", GL_LINE_SMOOTH), GLCall("glLineWidth", 1.0f),
                    GLCall("glDisable", GL_LINE_STIPPLE)};
  for (auto& s : withEnds(1)) expected.push_back(s);
  expected.push_back(GLCall("glEnable", GL_LINE_STIPPLE));
  expected.push_back(GLCall("glLineStipple", 10, 0x5555));
  for (auto& s : withEnds(-1)) expected.push_back(s);
  expected.push_back("glPopAttrib()");
  EXPECT_EQ(rec.Calls(), expected);
  // Everything the axes switched is restored.
  EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
  EXPECT_FALSE(glIsEnabled(GL_LINE_STIPPLE));

  rec.Clear();
  axes.SetVisible(false);
  axes.Render();
  EXPECT_TRUE(rec.Calls().empty());
}

TEST_F(QelGLTest, AxesAreDrawnInTheComponentsFrameAndLandOnThePixels) {
  TTestView view(context.get());
  TMarker m(nullptr);
  m.GetCoordinates()->SetVisible(true);
  m.GetCoordinates()->SetLength(0.9f);
  m.GetTransformation()->GetTranslation()->SetValues(0, -127 / 256.0f, 0);  // row 64's centre
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  m.Render(&view);
  // The red x axis runs along pixel row 64, not along the centre row.
  EXPECT_EQ(ReadPixel(200, 64)[0], 255);
  EXPECT_EQ(ReadPixel(200, 128)[0], 0);
}

TEST_F(QelGLTest, ADisabledComponentOnlyCallsDoDisable) {
  TTestView view(context.get());
  TMarker m(nullptr);
  int events = 0;
  m.OnBeforeRender = [&](TQelCustomView*) { ++events; };
  m.OnAfterRender = [&](TQelCustomView*) { ++events; };
  m.OnTransform = [&](TObject*) { ++events; };
  m.GetCoordinates()->SetVisible(true);
  m.SetCached(true);
  m.SetEnabled(false);
  GLRecorder rec;
  m.Render(&view);
  EXPECT_TRUE(rec.Calls().empty());
  EXPECT_EQ(events, 0);
  EXPECT_EQ(m.drawn, 0);
  EXPECT_EQ(m.disabled, 1);
  EXPECT_EQ(m.GetView(), nullptr);  // not even the cache view is taken
  m.Disable(&view);
  EXPECT_EQ(m.disabled, 2);
}

TEST_F(QelGLTest, OnTransformReplacesTheTransformation) {
  TTestView view(context.get());
  TMarker m(nullptr);
  m.GetTransformation()->GetTranslation()->SetValues(1, 2, 3);
  TObject* sender = nullptr;
  m.OnTransform = [&](TObject* s) { sender = s; glRotatef(90, 0, 0, 1); };
  GLRecorder rec;
  m.Render(&view);
  EXPECT_EQ(rec.Calls(), (Calls{kPush, GLCall("glRotatef", 90.0f, 0.0f, 0.0f, 1.0f), Mark(1), kPop}));
  EXPECT_EQ(sender, &m);
}

TEST_F(QelGLTest, TreeRendersItemsInOrderInsideTheNodesFrame) {
  TTestView view(context.get());
  TQelNode node(nullptr);
  node.GetTransformation()->GetTranslation()->SetValues(1, 0, 0);
  auto* obj = new TQelObject(&node);
  obj->GetTransformation()->GetTranslation()->SetValues(0, 1, 0);
  node.Add(obj);
  node.Add(new TMarker(&node, 7));
  auto* hidden = new TMarker(&node, 8);
  hidden->SetEnabled(false);
  node.Add(hidden);
  node.GetAnchor()->Add(new TMarker(node.GetAnchor(), 9));  // never drawn

  GLRecorder rec;
  node.Render(&view);
  EXPECT_EQ(rec.Calls(), (Calls{kPush, GLCall("glTranslatef", 1.0f, 0.0f, 0.0f),
                                kPush, GLCall("glTranslatef", 0.0f, 1.0f, 0.0f),
                                GLCall("glPushName", 1), "glColor4fv([1,1,1,1])",
                                kPop, "glPopName()",
                                kPush, Mark(7), kPop,
                                kPop}));
}

TEST_F(QelGLTest, OnRenderOfANodeReplacesItsItems) {
  TTestView view(context.get());
  TQelNode node(nullptr);
  node.Add(new TMarker(&node, 7));
  node.OnRender = [](TQelCustomView*) { glPassThrough(3); };
  GLRecorder rec;
  node.Render(&view);
  EXPECT_EQ(rec.Calls(), (Calls{kPush, Mark(3), kPop}));
}

TEST_F(QelGLTest, ProjectionMatrixHoldsTheModelviewOfTheLastRender) {
  TTestView view(context.get());
  TMarker a(nullptr), b(nullptr);
  EXPECT_EQ(a.GetProjectionMatrix(), nullptr);
  a.SetProjectionEnabled(true);
  ASSERT_NE(a.GetProjectionMatrix(), nullptr);
  EXPECT_EQ(a.GetProjectionMatrix()->GetValue(0, 0), 0.0);  // zero until rendered
  a.GetTransformation()->GetTranslation()->SetValues(1, 0, 0);
  b.GetTransformation()->GetTranslation()->SetValues(0, 2, 0);

  GLRecorder rec;
  a.Render(&view);
  EXPECT_EQ(rec.Names(), (std::vector<std::string>{"glPushMatrix", "glTranslatef", "glGetDoublev",
                                                   "glPassThrough", "glPopMatrix"}));
  EXPECT_EQ(a.GetProjectionMatrix()->GetValue(0, 3), 1.0);
  EXPECT_EQ(a.GetProjectionMatrix()->GetValue(3, 3), 1.0);

  // Either matrix missing: the zero vector.
  EXPECT_EQ(a.ProjectVector(static_cast<TQelTransformed*>(&b), ToVec(1, 1, 1)), ZEROVEC);
  EXPECT_EQ(b.ProjectVector(static_cast<TQelTransformed*>(&a), ToVec(1, 1, 1)), ZEROVEC);
  b.SetProjectionEnabled(true);
  b.Render(&view);
  // The origin of b's frame, seen from a's frame: (0,2,0) - (1,0,0).
  TQelMathVector p = a.ProjectVector(static_cast<TQelTransformed*>(&b), ZEROVEC);
  EXPECT_NEAR(p.x, -1, 1e-12);
  EXPECT_NEAR(p.y, 2, 1e-12);
  EXPECT_NEAR(p.z, 0, 1e-12);

  // Through the view's camera.
  EXPECT_EQ(a.ProjectVector(&view, ZEROVEC), ZEROVEC);  // no camera
  TQelCamera camera(nullptr);
  ASSERT_NE(camera.GetProjectionMatrix(), nullptr);  // always there
  camera.GetProjectionMatrix()->SetIdentityMatrix();
  view.camera = &camera;
  p = a.ProjectVector(&view, ToVec(0, 0, 5));
  EXPECT_NEAR(p.x, -1, 1e-12);
  EXPECT_NEAR(p.z, 5, 1e-12);
  EXPECT_EQ(a.ProjectVector(static_cast<TQelCustomView*>(nullptr), ToVec(1, 0, 0)), ZEROVEC);

  a.SetProjectionEnabled(false);
  EXPECT_EQ(a.GetProjectionMatrix(), nullptr);
}

TEST(Render, ProjectionWhileDesigningStoresTheFlagOnly) {
  TMarker a(nullptr), b(nullptr);
  b.SetProjectionEnabled(true);
  a.SetDesigning(true);
  a.SetProjectionEnabled(true);
  EXPECT_TRUE(a.GetProjectionEnabled());
  EXPECT_EQ(a.GetProjectionMatrix(), nullptr);
  EXPECT_EQ(a.ProjectVector(static_cast<TQelTransformed*>(&b), ToVec(1, 2, 3)), ZEROVEC);
}

TEST(Render, ChangesOfOwnedPropertiesReachOnChange) {
  TMarker m(nullptr);
  std::vector<TObject*> senders;
  m.OnChange = [&](TObject* s) { senders.push_back(s); };
  m.GetTransformation()->GetTranslation()->SetX(4);
  m.GetCoordinates()->SetVisible(true);
  m.GetCoordinates()->SetColor(5, 0x123456);  // no such axis: ignored
  m.SetEnabled(true);                          // unchanged: silent
  m.SetObjectName("a");
  m.SetObjectName("a");
  EXPECT_EQ(senders, (std::vector<TObject*>{&m, &m, &m}));

  // Copying a transformation in keeps it wired to this component.
  TQelTransformation other;
  other.GetScale()->SetValues(2, 2, 2);
  senders.clear();
  m.SetTransformation(&other);
  m.SetTransformation(nullptr);
  EXPECT_EQ(m.GetTransformation()->GetScale()->GetX(), 2.0f);
  size_t afterSet = senders.size();
  EXPECT_GE(afterSet, 1u);
  other.GetScale()->SetX(3);  // the source does not talk to this component
  m.GetTransformation()->GetScale()->SetX(5);
  EXPECT_EQ(senders.size(), afterSet + 1);
}

TEST(Render, AssignCopiesEnabledOnTransformNameAndPlacementButNotCacheOrEvents) {
  TMarker source(nullptr), target(nullptr);
  int transforms = 0, changes = 0;
  source.SetEnabled(false);
  source.SetObjectName("src");
  source.OnTransform = [&](TObject*) { ++transforms; };
  source.OnBeforeRender = [](TQelCustomView*) {};
  source.OnAfterRender = [](TQelCustomView*) {};
  source.SetCached(true);
  source.SetProjectionEnabled(true);
  source.GetTransformation()->GetTranslation()->SetValues(1, 2, 3);
  source.OnChange = [&](TObject*) { ++changes; };

  target.Assign(&source);
  EXPECT_FALSE(target.GetEnabled());
  EXPECT_EQ(target.GetObjectName(), "src");
  ASSERT_TRUE(target.OnTransform);
  target.OnTransform(&target);
  EXPECT_EQ(transforms, 1);
  EXPECT_FALSE(target.OnBeforeRender);
  EXPECT_FALSE(target.OnAfterRender);
  EXPECT_FALSE(target.GetCached());
  EXPECT_FALSE(target.GetProjectionEnabled());
  EXPECT_EQ(target.GetTransformation()->GetTranslation()->GetZ(), 3.0f);
  // The change handler itself is copied, deliberately, and a change is signalled.
  EXPECT_EQ(changes, 1);
  target.GetTransformation()->GetTranslation()->SetZ(9);
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(source.GetTransformation()->GetTranslation()->GetZ(), 3.0f);
}

}  // namespace
