// Attributes and fog: the state they issue, read back from GL or the call
// recorder, and their setter rules.
#include "qeltestbed.h"

#include <qelon/qelon.h>

using qeltest::GLRecorder;

namespace {

class AttributesTest : public QelGLTest {
protected:
  void SetUp() override {
    QelGLTest::SetUp();
    SetLastRenderedAttributes(nullptr);
  }
  static GLint Int(GLenum pname) {
    GLint v = 0;
    glGetIntegerv(pname, &v);
    return v;
  }
  TQelCustomView view{nullptr};
};

TEST_F(AttributesTest, SameAttributesTwiceIssueNothingTheSecondTimeButAChangeIsIssuedAgain) {
  ExpectGLErrors();  // untouched attributes hand line width 0 to GL, which rejects it
  TQelAttributes a(nullptr);
  GLRecorder rec;
  a.Render(&view);
  const int first = rec.Count("glLightModelfv");
  EXPECT_EQ(first, 1);
  a.Render(&view);
  EXPECT_EQ(rec.Count("glLightModelfv"), 1);
  a.SetCullFace(cfBack);  // changed within the frame: issued again
  a.Render(&view);
  EXPECT_EQ(rec.Count("glLightModelfv"), 2);
  EXPECT_EQ(rec.Count("glCullFace"), 1);
  SetLastRenderedAttributes(nullptr);  // frame reset
  a.Render(&view);
  EXPECT_EQ(rec.Count("glLightModelfv"), 3);
}

TEST_F(AttributesTest, DefaultStateReachesGL) {
  ExpectGLErrors();  // untouched attributes hand line width 0 to GL, which rejects it
  TQelAttributes a(nullptr);
  glEnable(GL_LIGHTING);
  glEnable(GL_CULL_FACE);
  glLineWidth(3);
  a.DoRender(&view);
  EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
  EXPECT_FALSE(glIsEnabled(GL_CULL_FACE));
  EXPECT_FALSE(glIsEnabled(GL_BLEND));
  EXPECT_FALSE(glIsEnabled(GL_LINE_STIPPLE));
  EXPECT_EQ(Int(GL_SHADE_MODEL), GL_SMOOTH);
  GLint polygonMode[2];
  glGetIntegerv(GL_POLYGON_MODE, polygonMode);
  EXPECT_EQ(polygonMode[0], GL_FILL);
  GLfloat ambient[4];
  glGetFloatv(GL_LIGHT_MODEL_AMBIENT, ambient);
  EXPECT_FLOAT_EQ(ambient[0], 0.2f);
  // The untouched line width 0 is rejected by GL: the width in force stays.
  GLfloat width = 0;
  glGetFloatv(GL_LINE_WIDTH, &width);
  EXPECT_FLOAT_EQ(width, 3.0f);
  EXPECT_EQ(a.GetLineWidth(), 0.0f);
}

TEST_F(AttributesTest, AntialiasingKeepsItsBlendingAndItsHintsAreRejected) {
  TQelAttributes a(nullptr);
  a.SetAntialiasing(true);
  ExpectGLErrors();
  a.DoRender(&view);
  EXPECT_NE(glGetError(), GLenum(GL_NO_ERROR));  // the hints name the capability as target
  EXPECT_TRUE(glIsEnabled(GL_BLEND));
  EXPECT_TRUE(glIsEnabled(GL_LINE_SMOOTH));
  EXPECT_EQ(Int(GL_BLEND_SRC), GL_SRC_ALPHA);
  EXPECT_EQ(Int(GL_BLEND_DST), GL_ONE_MINUS_SRC_ALPHA);
  EXPECT_EQ(Int(GL_LINE_SMOOTH_HINT), GL_DONT_CARE);
}

TEST_F(AttributesTest, TransparencyModesSetTheBlendFunction) {
  ExpectGLErrors();  // untouched attributes hand line width 0 to GL, which rejects it
  struct Case {
    TQelTransparencyMode mode;
    GLint src, dst;
  } cases[] = {{tmAlpha, GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA},
               {tmAddAlpha, GL_SRC_ALPHA, GL_ONE},
               {tmAddColor, GL_DST_COLOR, GL_SRC_COLOR},
               {tmSubColor, GL_ONE_MINUS_DST_COLOR, GL_ONE_MINUS_SRC_COLOR}};
  for (const Case& c : cases) {
    TQelAttributes a(nullptr);
    a.SetTransparency(c.mode);
    a.DoRender(&view);
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    EXPECT_EQ(Int(GL_BLEND_SRC), c.src);
    EXPECT_EQ(Int(GL_BLEND_DST), c.dst);
  }
}

TEST_F(AttributesTest, StipplePatternRotatesByTheShiftModulo16) {
  ExpectGLErrors();  // untouched attributes hand line width 0 to GL, which rejects it
  TQelAttributes a(nullptr);
  a.SetLineStipple(lsDash);
  a.StippleShift = 4;
  EXPECT_EQ(a.GetStipplePattern(), 0x0F0F);
  a.StippleShift = 20;
  EXPECT_EQ(a.GetStipplePattern(), 0x0F0F);
  a.StippleShift = 0;
  EXPECT_EQ(a.GetStipplePattern(), 0xF0F0);
  a.SetLineStipple(lsDashDot);
  a.StippleShift = 1;
  a.StippleFactor = 3;
  a.DoRender(&view);
  EXPECT_TRUE(glIsEnabled(GL_LINE_STIPPLE));
  EXPECT_EQ(Int(GL_LINE_STIPPLE_PATTERN), 0xE4E4);
  EXPECT_EQ(Int(GL_LINE_STIPPLE_REPEAT), 3);
}

TEST_F(AttributesTest, SizesAcceptOnlyPositiveValues) {
  TQelAttributes a(nullptr);
  int changes = 0;
  a.OnChange = [&](TObject*) { ++changes; };
  a.SetPointSize(0.0f);
  a.SetLineWidth(-1.0f);
  EXPECT_EQ(changes, 0);
  EXPECT_EQ(a.GetPointSize(), 1.0f);
  a.SetLineWidth(0.5f);
  EXPECT_EQ(a.GetLineWidth(), 0.5f);
  EXPECT_EQ(changes, 1);
  a.SetLighting(false);  // unchanged: no notification
  EXPECT_EQ(changes, 1);
}

TEST_F(AttributesTest, AssignLeavesSizesDitheringAndStippleFieldsAsTheyWere) {
  TQelAttributes a(nullptr), b(nullptr);
  a.SetLighting(true);
  a.SetPointSize(4);
  a.SetLineWidth(2);
  a.SetDithering(true);
  a.SetPolygonMode(pmLine);
  a.StippleFactor = 7;
  b.Assign(&a);
  EXPECT_TRUE(b.GetLighting());
  EXPECT_EQ(b.GetPolygonMode(), pmLine);
  EXPECT_EQ(b.GetPointSize(), 1.0f);
  EXPECT_EQ(b.GetLineWidth(), 0.0f);
  EXPECT_FALSE(b.GetDithering());
  EXPECT_EQ(b.StippleFactor, 1);
}

TEST_F(AttributesTest, FogConfiguresAndItsDisableStepSwitchesItOff) {
  TQelFog fog(nullptr);
  fog.SetMode(fmLinear);
  fog.SetStartDepth(1);
  fog.SetEndDepth(5);
  fog.GetColor()->SetColor(0x00FF00);
  fog.Render(&view);
  EXPECT_TRUE(glIsEnabled(GL_FOG));
  EXPECT_EQ(Int(GL_FOG_MODE), GL_LINEAR);
  GLfloat v[4];
  glGetFloatv(GL_FOG_END, v);
  EXPECT_FLOAT_EQ(v[0], 5);
  glGetFloatv(GL_FOG_COLOR, v);
  EXPECT_FLOAT_EQ(v[1], 1);
  fog.SetEnabled(false);
  fog.Render(&view);
  EXPECT_FALSE(glIsEnabled(GL_FOG));
}

TEST_F(AttributesTest, FogAssignTakesOnlyFogsAndNotTheQuality) {
  TQelFog a(nullptr), b(nullptr);
  a.SetDensity(0.7f);
  a.SetQuality(quNicest);
  b.Assign(&a);
  EXPECT_EQ(b.GetDensity(), 0.7f);
  EXPECT_EQ(b.GetQuality(), quDontCare);
  TQelRender other(nullptr);
  other.SetObjectName("x");
  b.Assign(&other);
  EXPECT_EQ(b.GetObjectName(), "");
}

}  // namespace
