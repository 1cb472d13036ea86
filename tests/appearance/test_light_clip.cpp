// Lights and clip planes, and the images they produce, checked against the
// fixed-function formulas worked out by hand.
#include "qeltestbed.h"

#include <qelon/qelon.h>

#include <cmath>

namespace {

class LightTest : public QelGLTest {
protected:
  void SetUp() override {
    QelGLTest::SetUp();
    SetLastRenderedAttributes(nullptr);
    SetLastRenderedMaterial(nullptr);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-1, 1, -1, 1, -10, 10);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
  }
  // A square over the whole viewport facing the viewer (+z) at depth z.
  static void FullQuad(float z = 0) {
    glNormal3f(0, 0, 1);
    glBegin(GL_QUADS);
    glVertex3f(-1, -1, z);
    glVertex3f(1, -1, z);
    glVertex3f(1, 1, z);
    glVertex3f(-1, 1, z);
    glEnd();
  }
  TQelCustomView view{nullptr};
};

TEST_F(LightTest, KindAndCutOffRules) {
  TQelLight l(nullptr);
  EXPECT_EQ(l.GetCutOff(), 180.0f);
  l.SetKind(lkSpot);
  EXPECT_EQ(l.GetCutOff(), 90.0f);
  l.SetCutOff(120);
  EXPECT_EQ(l.GetCutOff(), 90.0f);
  l.SetCutOff(-5);
  EXPECT_EQ(l.GetCutOff(), 0.0f);
  l.SetCutOff(30);
  EXPECT_EQ(l.GetCutOff(), 30.0f);
  l.SetKind(lkPoint);
  EXPECT_EQ(l.GetCutOff(), 180.0f);
  l.SetCutOff(45);
  EXPECT_EQ(l.GetCutOff(), 180.0f);
}

TEST_F(LightTest, DirectionalLightSendsWZeroAndSpotSendsItsDirection) {
  TQelLight l(nullptr);
  l.SetID(idLight3);
  l.SetKind(lkDirection);
  l.GetDirection()->SetValues(0, 1, 0);
  l.Render(&view);
  EXPECT_TRUE(glIsEnabled(GL_LIGHT3));
  GLfloat p[4];
  glGetLightfv(GL_LIGHT3, GL_POSITION, p);
  EXPECT_FLOAT_EQ(p[1], 1);
  EXPECT_FLOAT_EQ(p[3], 0);

  TQelLight spot(nullptr);
  spot.SetKind(lkSpot);
  spot.GetDirection()->SetValues(0, 0, -1);
  spot.GetTransformation()->GetTranslation()->SetValues(1, 2, 3);
  spot.Render(&view);
  glGetLightfv(GL_LIGHT0, GL_POSITION, p);  // the light sits at its frame's origin
  EXPECT_FLOAT_EQ(p[0], 1);
  EXPECT_FLOAT_EQ(p[2], 3);
  EXPECT_FLOAT_EQ(p[3], 1);
  glGetLightfv(GL_LIGHT0, GL_SPOT_DIRECTION, p);
  EXPECT_FLOAT_EQ(p[2], -1);
  glGetLightfv(GL_LIGHT0, GL_SPOT_CUTOFF, p);
  EXPECT_FLOAT_EQ(p[0], 90);

  spot.SetEnabled(false);
  spot.Render(&view);
  EXPECT_FALSE(glIsEnabled(GL_LIGHT0));
}

TEST_F(LightTest, LitSquareHasTheFixedFunctionShading) {
  ExpectGLErrors();  // untouched attributes hand line width 0 to GL, which rejects it
  // Material ambient 0.2, diffuse 0.8 (the defaults); global ambient 0.2;
  // a white directional light from (0, 0.6, 0.8): n·l = 0.8.
  // colour = 0.2·0.2 + 0.8·1·0.8 = 0.68 -> 173 of 255.
  TQelAttributes attributes(nullptr);
  attributes.SetLighting(true);
  TQelMaterial material(nullptr);
  TQelLight light(nullptr);
  light.SetKind(lkDirection);
  light.GetDirection()->SetValues(0, 0.6f, 0.8f);
  light.Render(&view);
  attributes.Render(&view);
  material.Render(&view);
  FullQuad();
  const double expected = 0.2 * 0.2 + 0.8 * 0.8;
  auto p = ReadPixel(kWidth / 2, kHeight / 2);
  EXPECT_NEAR(p[0], expected * 255, 1.5);
  EXPECT_NEAR(p[1], expected * 255, 1.5);
  EXPECT_NEAR(p[2], expected * 255, 1.5);
}

TEST_F(LightTest, RedDiffuseMaterialUnderAGreyLight) {
  ExpectGLErrors();  // untouched attributes hand line width 0 to GL, which rejects it
  // Light diffuse 0.5 grey, ambient black, material diffuse pure red,
  // ambient 0: colour = (0.5·1·1, 0, 0) with the light straight on.
  TQelAttributes attributes(nullptr);
  attributes.SetLighting(true);
  attributes.GetColorAmbient()->SetColor(0);
  TQelMaterial material(nullptr);
  material.GetColorAmbient()->SetColor(0);
  material.GetColorDiffuse()->SetColor(0x0000FF);
  TQelLight light(nullptr);
  light.SetKind(lkDirection);
  light.GetColorDiffuse()->SetColor(0x808080);
  light.GetDirection()->SetValues(0, 0, 1);
  light.Render(&view);
  attributes.Render(&view);
  material.Render(&view);
  FullQuad();
  auto p = ReadPixel(10, 10);
  EXPECT_NEAR(p[0], 128, 1.5);
  EXPECT_EQ(p[1], 0);
  EXPECT_EQ(p[2], 0);
}

TEST_F(LightTest, FogBlendsTowardsTheFogColourWithDepth) {
  // Linear fog from 0 to 4 in eye depth: a white square at eye depth d keeps
  // f = (4 - d) / 4 of its colour; the rest is the fog colour (blue).
  TQelFog fog(nullptr);
  fog.SetMode(fmLinear);
  fog.SetStartDepth(0);
  fog.SetEndDepth(4);
  fog.GetColor()->SetColor(0xFF0000);
  fog.Render(&view);
  glColor3f(1, 1, 1);
  for (float depth : {1.0f, 3.0f}) {
    glClear(GL_COLOR_BUFFER_BIT);
    FullQuad(-depth);
    const double f = (4 - depth) / 4;
    auto p = ReadPixel(100, 100);
    EXPECT_NEAR(p[0], 255 * f, 2) << depth;
    EXPECT_NEAR(p[2], 255, 1) << depth;
  }
}

TEST_F(LightTest, ClipPlaneRemovesExactlyOneSide) {
  TQelClip clip(nullptr);
  clip.SetID(idClipPlane5);
  clip.SetPlane(0, 1);  // x >= 0 stays
  clip.SetPlane(3, 0);
  EXPECT_EQ(clip.GetPlane(0), 1);
  EXPECT_EQ(clip.GetPlane(7), 0);
  clip.Render(&view);
  EXPECT_TRUE(glIsEnabled(GL_CLIP_PLANE5));
  glColor3f(1, 1, 1);
  FullQuad();
  for (int x : {0, 60, kWidth / 2 - 1})
    EXPECT_EQ(ReadPixel(x, 128)[0], 0) << x;
  for (int x : {kWidth / 2, 200, kWidth - 1})
    EXPECT_EQ(ReadPixel(x, 128)[0], 255) << x;
  clip.SetEnabled(false);
  clip.Render(&view);
  EXPECT_FALSE(glIsEnabled(GL_CLIP_PLANE5));
}

TEST_F(LightTest, ClipPlaneFollowsItsTransformation) {
  TQelClip clip(nullptr);
  clip.SetPlane(3, 0);
  clip.GetTransformation()->GetTranslation()->SetX(0.5f);  // keeps x >= 0.5
  clip.Render(&view);
  glColor3f(1, 1, 1);
  FullQuad();
  EXPECT_EQ(ReadPixel(180, 128)[0], 0);
  EXPECT_EQ(ReadPixel(200, 128)[0], 255);
  int changes = 0;
  clip.OnChange = [&](TObject*) { ++changes; };
  clip.SetPlane(1, 2);  // no notification, on purpose
  EXPECT_EQ(changes, 0);
}

}  // namespace
