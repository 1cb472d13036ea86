// Materials: GL calls issued once per frame while unchanged, and the
// setter rules.
#include "qeltestbed.h"

#include <qelon/qelon.h>

using qeltest::GLRecorder;

namespace {

class MaterialTest : public QelGLTest {
protected:
  void SetUp() override {
    QelGLTest::SetUp();
    SetLastRenderedMaterial(nullptr);
  }
  TQelCustomView view{nullptr};
};

TEST_F(MaterialTest, IssuesItsStateInOrderWithTheDefaults) {
  TQelMaterial m(nullptr);
  GLRecorder rec;
  m.DoRender(&view);
  EXPECT_EQ(rec.Calls(), (std::vector<std::string>{
                             "glMaterialfv(1032,4608,[0.2,0.2,0.2,1])",
                             "glMaterialfv(1032,4609,[0.8,0.8,0.8,1])",
                             "glMaterialfv(1032,4610,[0,0,0,1])",
                             "glMaterialfv(1032,5632,[0,0,0,1])",
                             "glMateriali(1032,5633,0)",
                         }));
}

TEST_F(MaterialTest, SameMaterialTwiceInAFrameIssuesOnceAndAgainAfterTheFrameReset) {
  TQelMaterial m(nullptr);
  GLRecorder rec;
  m.Render(&view);
  m.Render(&view);
  EXPECT_EQ(rec.Count("glMaterialfv"), 4);
  SetLastRenderedMaterial(nullptr);  // what the view does at the start of a frame
  m.Render(&view);
  EXPECT_EQ(rec.Count("glMaterialfv"), 8);
}

TEST_F(MaterialTest, AChangeWithinTheFrameWaitsForTheNextFrame) {
  TQelMaterial m(nullptr);
  m.Render(&view);
  m.SetShininess(40);
  GLRecorder rec;
  m.Render(&view);
  EXPECT_EQ(rec.Count("glMateriali"), 0);
}

TEST_F(MaterialTest, FaceSelectsTheGLFaceAndReachesTheDriver) {
  TQelMaterial m(nullptr);
  m.SetFace(mfBack);
  TQelColor red;
  red.SetColor(0x0000FF);
  m.SetColorDiffuse(&red);
  m.SetShininess(77);
  m.DoRender(&view);
  GLfloat diffuse[4];
  glGetMaterialfv(GL_BACK, GL_DIFFUSE, diffuse);
  EXPECT_FLOAT_EQ(diffuse[0], 1.0f);
  EXPECT_FLOAT_EQ(diffuse[1], 0.0f);
  GLfloat shininess = 0;
  glGetMaterialfv(GL_BACK, GL_SHININESS, &shininess);
  EXPECT_FLOAT_EQ(shininess, 77.0f);
  glGetMaterialfv(GL_FRONT, GL_DIFFUSE, diffuse);
  EXPECT_FLOAT_EQ(diffuse[1], 0.8f);  // front untouched
}

TEST_F(MaterialTest, ShininessRangeAndNotification) {
  TQelMaterial m(nullptr);
  int changes = 0;
  m.OnChange = [&](TObject*) { ++changes; };
  m.SetShininess(129);
  m.SetShininess(-1);
  EXPECT_EQ(m.GetShininess(), 0);
  EXPECT_EQ(changes, 0);
  m.SetShininess(128);
  EXPECT_EQ(m.GetShininess(), 128);
  EXPECT_EQ(changes, 1);
  m.GetColorSpecular()->SetColor(0x123456);  // a part colour notifies the material
  EXPECT_EQ(changes, 2);
}

TEST_F(MaterialTest, SetPartColorCopiesAndKeepsListeningToItsOwnColour) {
  TQelMaterial m(nullptr);
  TQelColor c;
  int foreign = 0, own = 0;
  c.OnChange = [&](TObject*) { ++foreign; };
  c.SetColor(0x010203);
  foreign = 0;
  m.OnChange = [&](TObject*) { ++own; };
  m.SetPartColor(1, &c);
  EXPECT_EQ(m.GetColorAmbient()->GetColor(), 0x010203u);
  EXPECT_NE(m.GetColorAmbient(), &c);
  own = foreign = 0;
  m.GetColorAmbient()->SetColor(0);
  EXPECT_EQ(own, 1);
  EXPECT_EQ(foreign, 0);
  m.SetPartColor(5, &c);  // ignored
}

TEST_F(MaterialTest, DestroyingTheStoredMaterialClearsThePointer) {
  auto* m = new TQelMaterial(nullptr);
  m->DoRender(&view);
  EXPECT_TRUE(IsLastRenderedMaterial(m));
  delete m;
  EXPECT_TRUE(IsLastRenderedMaterial(nullptr));
}

TEST_F(MaterialTest, AssignCopiesMaterialValuesAndFromOtherClassesOnlyTheBase) {
  TQelMaterial a(nullptr), b(nullptr);
  a.SetFace(mfFront);
  a.SetShininess(5);
  a.GetColorEmission()->SetColor(0x0000FF);
  a.SetObjectName("gold");
  b.Assign(&a);
  EXPECT_EQ(b.GetFace(), mfFront);
  EXPECT_EQ(b.GetShininess(), 5);
  EXPECT_EQ(b.GetColorEmission()->GetColor(), 0x0000FFu);
  EXPECT_EQ(b.GetObjectName(), "gold");
  TQelRender other(nullptr);
  other.SetObjectName("plain");
  b.Assign(&other);  // not a material: only the render base is copied
  EXPECT_EQ(b.GetObjectName(), "plain");
  EXPECT_EQ(b.GetShininess(), 5);
}

TEST_F(MaterialTest, RegisteredAsRenderClass) {
  EXPECT_EQ(GetRenderClass("tqelmaterial"), QelClassOf<TQelMaterial>());
}

}  // namespace
