// Objects: colour, colour as material, pick names, names and Assign.
#include "scenetest.h"

using qeltest::GLCall;
using qeltest::GLRecorder;

namespace {

using Calls = std::vector<std::string>;

// Covers the whole viewport, so that every name it carries is hit.
class TQuad : public TQelObject {
  QEL_CLASS(TQuad)
public:
  using TQelObject::TQelObject;
  void DoRender(TQelCustomView* view) override {
    TQelObject::DoRender(view);
    glRectf(-1, -1, 1, 1);
  }
};

TEST_F(QelGLTest, ObjectsPushTheViewsNextNameAroundTheirDrawing) {
  TTestView view(context.get());
  TQelNode node(nullptr);
  std::vector<std::pair<TObject*, int32_t>> handedOut;
  view.OnNextID = [&](TObject* obj, int32_t num) { handedOut.emplace_back(obj, num); };
  TQuad* quads[3];
  for (auto*& q : quads) {
    q = new TQuad(&node);
    node.Add(q);
  }

  GLuint buffer[64] = {};
  glSelectBuffer(64, buffer);
  glRenderMode(GL_SELECT);
  glInitNames();
  view.ResetNextID();
  node.Render(&view);
  GLint hits = glRenderMode(GL_RENDER);
  // Each quad is one hit holding its own name: 1, 2, 3 in render order.
  ASSERT_EQ(hits, 3);
  for (GLuint i = 0, at = 0; i < 3; ++i) {
    ASSERT_EQ(buffer[at], 1u);
    EXPECT_EQ(buffer[at + 3], i + 1);
    at += 4;
  }
  ASSERT_EQ(handedOut.size(), 3u);
  EXPECT_EQ(handedOut[2], (std::pair<TObject*, int32_t>{quads[2], -1}));
  EXPECT_EQ(view.GetLastID(), 3);

  view.ResetNextID();
  EXPECT_EQ(view.GetNextID(nullptr, 7), 1);
}

TEST_F(QelGLTest, TheWindowViewPushesNamesOnlyWhenIdleOrPicking) {
  TModeView view(context.get());
  TQelObject obj(nullptr);
  for (uint8_t mode = 0; mode <= 4; ++mode) {
    view.SetDrawingMode(TQelDrawingMode(mode));
    GLRecorder rec;
    obj.Render(&view);
    int expected = (mode == 0 || mode == 3 || mode == 4) ? 1 : 0;
    EXPECT_EQ(rec.Count("glPushName"), expected) << int(mode);
    EXPECT_EQ(rec.Count("glPopName"), expected) << int(mode);
  }
  // Any other view always has names pushed.
  TTestView plain(context.get());
  plain.SetDrawingMode(dmPaint);
  GLRecorder rec;
  obj.Render(&plain);
  EXPECT_EQ(rec.Count("glPushName"), 1);
}

TEST_F(QelGLTest, ColorAsMaterialEnablesBeforeChoosingAndDisablesAfter) {
  TTestView view(context.get());
  TQelObject obj(nullptr);
  obj.GetColor()->SetColor(0x00FF00);
  obj.GetColor()->SetAlpha(0.5f);
  obj.SetColorAsMaterial(cmDiffuse);
  glEnable(GL_LIGHTING);

  GLRecorder rec;
  obj.Render(&view);
  EXPECT_EQ(rec.Calls(), (Calls{"glPushMatrix()", GLCall("glPushName", 1), "glColor4fv([0,1,0,0.5])",
                                GLCall("glEnable", GL_COLOR_MATERIAL),
                                GLCall("glColorMaterial", GL_FRONT_AND_BACK, GL_DIFFUSE),
                                "glPopMatrix()", GLCall("glDisable", GL_COLOR_MATERIAL),
                                "glPopName()"}));
  // The colour went into the diffuse material, as GL tracks it.
  float diffuse[4];
  glGetMaterialfv(GL_FRONT, GL_DIFFUSE, diffuse);
  EXPECT_EQ(diffuse[1], 1.0f);
  EXPECT_EQ(diffuse[3], 0.5f);
  EXPECT_FALSE(glIsEnabled(GL_COLOR_MATERIAL));

  const GLenum modes[] = {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION, GL_AMBIENT_AND_DIFFUSE};
  for (int m = cmAmbient; m <= cmAmbientDiffuse; ++m) {
    obj.SetColorAsMaterial(static_cast<TQelColorAsMaterial>(m));
    rec.Clear();
    obj.Render(&view);
    EXPECT_EQ(rec.Only({"glColorMaterial"}),
              Calls{GLCall("glColorMaterial", GL_FRONT_AND_BACK, modes[m - 1])});
  }
}

TEST(Object, SettersSignalRealChangesOnly) {
  TQelObject obj(nullptr);
  obj.SetTextured(true);  // the appearance accessors are empty here
  EXPECT_FALSE(obj.GetTextured());
  int changes = 0;
  obj.OnChange = [&](TObject*) { ++changes; };
  obj.SetObjectID(3);
  obj.SetObjectID(3);
  obj.SetColorAsMaterial(cmEmission);
  obj.SetColorAsMaterial(static_cast<TQelColorAsMaterial>(9));  // out of range: ignored
  obj.GetColor()->SetColor(0x010203);
  EXPECT_EQ(changes, 3);
  EXPECT_EQ(obj.GetColorAsMaterial(), cmEmission);
  EXPECT_STREQ(TQelColorAsMaterialStr[cmAmbientDiffuse], "cmAmbientDiffuse");
  EXPECT_STREQ(TQelColorAsMaterialStr[cmNone], "cmNone");

  TQelColor blue;
  blue.SetColor(0xFF0000);
  obj.SetColor(&blue);
  EXPECT_EQ(obj.GetColor()->GetColor(), 0xFF0000u);
  EXPECT_EQ(changes, 4);
  blue.SetColor(0x00FF00);  // the source stays its own
  obj.GetColor()->SetAlpha(0.5f);
  EXPECT_EQ(changes, 5);
}

TEST(Object, TheObjectNameFollowsTheNameWhileTheyAgreeAndNotWhileLoading) {
  TComponent form(nullptr);
  auto* obj = new TQelObject(&form);
  obj->SetName("Sphere1");
  EXPECT_EQ(obj->GetObjectName(), "Sphere1");
  obj->SetName("Sphere2");
  EXPECT_EQ(obj->GetObjectName(), "Sphere2");
  obj->SetObjectName("ball");
  obj->SetName("Sphere3");
  EXPECT_EQ(obj->GetObjectName(), "ball");

  obj->SetObjectName("Sphere3");
  form.SetLoading(true);
  obj->SetName("Loaded");
  EXPECT_EQ(obj->GetName(), "Loaded");
  EXPECT_EQ(obj->GetObjectName(), "Sphere3");
}

TEST(Object, AssignCopiesIdAndColourAndKeepsTheColourWired) {
  TQelObject source(nullptr), target(nullptr);
  source.SetObjectID(12);
  source.GetColor()->SetColor(0x112233);
  source.SetColorAsMaterial(cmSpecular);
  source.SetObjectName("src");
  int targetChanges = 0;
  target.OnChange = [&](TObject*) { ++targetChanges; };
  target.Assign(&source);
  EXPECT_EQ(target.GetObjectID(), 12);
  EXPECT_EQ(target.GetColor()->GetColor(), 0x112233u);
  EXPECT_EQ(target.GetColorAsMaterial(), cmNone);  // not copied
  EXPECT_EQ(target.GetObjectName(), "src");
  EXPECT_GE(targetChanges, 1);  // told before the handler was replaced
  // Assign took over the source's (empty) change handler, deliberately.
  EXPECT_FALSE(target.OnChange);
  int after = 0;
  target.OnChange = [&](TObject*) { ++after; };
  target.GetColor()->SetColor(0x445566);
  EXPECT_EQ(after, 1);
  EXPECT_EQ(source.GetColor()->GetColor(), 0x112233u);
}

}  // namespace
