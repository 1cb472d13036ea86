// Drawing the mesh object: per-list appearance and pick names in the GL call
// log, pick hits in selection mode, and a box in the framebuffer.
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "qeltestbed.h"

namespace {

using qeltest::GLCall;
using qeltest::GLRecorder;
using Strings = std::vector<std::string>;

constexpr const void* kPtr = nullptr;

std::string Mark(float m) { return GLCall("glPassThrough", m); }

// Appearance components that only mark where they were rendered.
class TMarkAttributes : public TQelAttributes {
public:
  using TQelAttributes::TQelAttributes;
  void DoRender(TQelCustomView*) override { glPassThrough(3); }
};
class TMarkMaterial : public TQelMaterial {
public:
  using TQelMaterial::TQelMaterial;
  void DoRender(TQelCustomView*) override { glPassThrough(2); }
};
class TMarkTexture : public TQelTexture {
public:
  using TQelTexture::TQelTexture;
  void DoRender(TQelCustomView*) override { glPassThrough(4); }
};

// A view whose pick names can be switched off, as a window view does while
// painting.
class TNamesView : public TQelCustomView {
public:
  explicit TNamesView(bool names) : TQelCustomView(nullptr), names_(names) {}
  bool GetPushNames() const override { return names_; }

private:
  bool names_;
};

class MeshRender : public QelGLTest {
protected:
  void SetUp() override {
    QelGLTest::SetUp();
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    SetLastRenderedMaterial(nullptr);
    SetLastRenderedAttributes(nullptr);
  }

  // Three triangle lists over one store: 0 with attributes, material and a
  // textured texture, 1 disabled, 2 plain.
  void BuildLists(TQelPrimitiveObj& m) {
    for (int i = 0; i < 3; ++i) m.GetPoints()->Add(i, i % 2, 0);
    for (int l = 0; l < 3; ++l) {
      const int32_t list = m.AddPrimitiveArray(GL_TRIANGLES);
      for (int32_t i : {0, 1, 2}) m.AddIndex(i, list);
    }
    TQelPrimitiveArray* first = m.GetPrimitive(0);
    first->SetAttributes(&attributes);
    first->SetMaterial(&material);
    first->SetTexture(&texture);
    first->SetTextured(true);
    m.GetPrimitive(1)->SetEnabled(false);
    m.SetInited(true);
  }

  static Strings Interesting(const GLRecorder& rec) {
    return rec.Only({"glPassThrough", "glPushName", "glPopName", "glDrawElements", "glEnable",
                     "glDisable", "glTexGeni"});
  }

  TMarkAttributes attributes{nullptr};
  TMarkMaterial material{nullptr};
  TMarkTexture texture{nullptr};
};

const std::string kDraw = GLCall("glDrawElements", GL_TRIANGLES, 3, GL_UNSIGNED_INT, kPtr);

TEST_F(MeshRender, EachListDrawsWithItsAttributesMaterialTextureAndPickName) {
  TQelPrimitiveObj m(nullptr);
  BuildLists(m);
  m.GetTextureFlags()->SetEnvMapping(true);
  TNamesView view(true);
  std::vector<std::pair<TObject*, int32_t>> ids;
  view.OnNextID = [&](TObject* o, int32_t num) { ids.emplace_back(o, num); };

  GLRecorder rec;
  m.Render(&view);
  EXPECT_EQ(Interesting(rec), (Strings{
                                  GLCall("glPushName", 1u),  // the object's own name
                                  GLCall("glDisable", GL_TEXTURE_2D),  // the store: no coordinates used
                                  Mark(3), Mark(2), Mark(4),
                                  GLCall("glEnable", GL_TEXTURE_2D),
                                  GLCall("glTexGeni", GL_S, GL_TEXTURE_GEN_MODE, GL_SPHERE_MAP),
                                  GLCall("glTexGeni", GL_T, GL_TEXTURE_GEN_MODE, GL_SPHERE_MAP),
                                  GLCall("glEnable", GL_TEXTURE_GEN_S),
                                  GLCall("glEnable", GL_TEXTURE_GEN_T),
                                  GLCall("glPushName", 2u), kDraw, "glPopName()",
                                  GLCall("glDisable", GL_TEXTURE_2D),
                                  GLCall("glPushName", 3u), kDraw, "glPopName()",
                                  "glPopName()",
                              }));
  using P = std::pair<TObject*, int32_t>;
  EXPECT_EQ(ids, (std::vector<P>{{&m, -1}, {&m, 0}, {&m, 2}}));
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(MeshRender, APlainListInAPaintingViewMakesExactlyTheseCalls) {
  TQelPrimitiveObj m(nullptr);
  for (int i = 0; i < 3; ++i) m.GetPoints()->Add(i, i % 2, 0);
  const int32_t list = m.AddPrimitiveArray(GL_TRIANGLES);
  for (int32_t i : {0, 1, 2}) m.AddIndex(i, list);
  m.SetInited(true);
  TNamesView view(false);
  GLRecorder rec;
  m.Render(&view);
  EXPECT_EQ(rec.Calls(), (Strings{
                             "glPushMatrix()",
                             "glColor4fv([1,1,1,1])",  // the object's white
                             GLCall("glEnableClientState", GL_NORMAL_ARRAY),
                             GLCall("glNormalPointer", GL_DOUBLE, 0, kPtr),
                             GLCall("glDisable", GL_TEXTURE_2D),
                             GLCall("glEnableClientState", GL_VERTEX_ARRAY),
                             GLCall("glVertexPointer", 3, GL_DOUBLE, 0, kPtr),
                             GLCall("glDisable", GL_TEXTURE_2D),
                             kDraw,
                             GLCall("glDisableClientState", GL_NORMAL_ARRAY),
                             GLCall("glDisableClientState", GL_COLOR_ARRAY),
                             GLCall("glDisableClientState", GL_TEXTURE_COORD_ARRAY),
                             GLCall("glDisableClientState", GL_EDGE_FLAG_ARRAY),
                             GLCall("glDisableClientState", GL_VERTEX_ARRAY),
                             GLCall("glEdgeFlag", GL_TRUE),
                             "glPopMatrix()",
                         }));
}

TEST_F(MeshRender, WithoutEnvironmentMappingTextureGenerationIsSwitchedOff) {
  TQelPrimitiveObj m(nullptr);
  BuildLists(m);
  m.GetPrimitive(0)->SetTexture(nullptr);
  TNamesView view(false);
  GLRecorder rec;
  m.Render(&view);
  EXPECT_EQ(Interesting(rec), (Strings{
                                  GLCall("glDisable", GL_TEXTURE_2D),
                                  Mark(3), Mark(2),
                                  GLCall("glEnable", GL_TEXTURE_2D),
                                  GLCall("glDisable", GL_TEXTURE_GEN_S),
                                  GLCall("glDisable", GL_TEXTURE_GEN_T),
                                  kDraw,
                                  GLCall("glDisable", GL_TEXTURE_2D),
                                  kDraw,
                              }));
}

TEST_F(MeshRender, ClientArraysFrameTheListsAndBadListsAreNotDrawn) {
  TQelPrimitiveObj m(nullptr);
  for (int i = 0; i < 3; ++i) m.GetPoints()->Add(i, 0, 0);
  const int32_t good = m.AddPrimitiveArray(GL_LINES), bad = m.AddPrimitiveArray(GL_LINES);
  for (int32_t i : {0, 1}) m.AddIndex(i, good);
  for (int32_t i : {0, 500}) m.AddIndex(i, bad);  // beyond the store
  m.SetInited(true);
  GLRecorder rec;
  m.DoRender(nullptr);
  const Strings names = rec.Names();
  EXPECT_EQ(rec.Count("glDrawElements"), 1);
  EXPECT_EQ(rec.Count("glPushName"), 0);  // no view, no names
  const auto at = [&](const char* n) { return std::find(names.begin(), names.end(), n) - names.begin(); };
  EXPECT_LT(at("glVertexPointer"), at("glDrawElements"));
  EXPECT_LT(at("glDrawElements"), at("glDisableClientState"));
  EXPECT_LT(at("glColor4fv"), at("glVertexPointer"));
}

TEST_F(MeshRender, AnAppearanceEventThatFreesTheListsEndsTheFrameSafely) {
  TQelPrimitiveObj m(nullptr);
  BuildLists(m);
  TQelMaterial wiper(nullptr);
  wiper.OnBeforeRender = [&](TQelCustomView*) { m.ClearPrimitives(); };
  m.GetPrimitive(0)->SetMaterial(&wiper);
  TNamesView view(false);
  GLRecorder rec;
  m.Render(&view);
  EXPECT_EQ(rec.Count("glDrawElements"), 0);
  EXPECT_EQ(rec.Count("glPushMatrix"), rec.Count("glPopMatrix"));
  EXPECT_EQ(m.GetPrimitiveCount(), 0);
}

TEST_F(MeshRender, TheFirstRenderGeneratesTheMesh) {
  TQelBox box(nullptr);
  TNamesView view(false);
  GLRecorder rec;
  box.Render(&view);
  EXPECT_TRUE(box.GetInited());
  EXPECT_EQ(rec.Only({"glDrawElements"}),
            (Strings{GLCall("glDrawElements", GL_TRIANGLES, 36, GL_UNSIGNED_INT, kPtr)}));
  // A rendered mesh is not generated again.
  box.GetPoints()->SetVector(0, 0, {7, 7, 7});
  box.Render(&view);
  EXPECT_EQ(box.GetPoints()->GetVector(0, 0), (TQelMathVector{7, 7, 7}));
}

TEST_F(MeshRender, PickHitsNameTheObjectAndTheList) {
  TQelPrimitiveObj m(nullptr);
  TQelPrimitivePoints* p = m.GetPoints();
  // List 0 covers the left half of the window, list 1 the right half.
  for (double x0 : {-1.0, 0.0}) {
    const int32_t list = m.AddPrimitiveArray(GL_QUADS);
    for (const auto& [x, y] : {std::pair{x0, -1.0}, {x0 + 1, -1.0}, {x0 + 1, 1.0}, {x0, 1.0}})
      m.AddIndex(p->Add(x, y, 0), list);
  }
  m.SetInited(true);
  TNamesView view(true);

  GLuint buffer[64] = {};
  glSelectBuffer(64, buffer);
  glRenderMode(GL_SELECT);
  glInitNames();
  glMatrixMode(GL_PROJECTION);
  GLint viewport[4] = {0, 0, kWidth, kHeight};
  gluPickMatrix(200, 128, 4, 4, viewport);  // in the right half
  glMatrixMode(GL_MODELVIEW);
  m.Render(&view);
  const GLint hits = glRenderMode(GL_RENDER);
  ASSERT_EQ(hits, 1);
  ASSERT_EQ(buffer[0], 2u);  // two names on the stack
  EXPECT_EQ(buffer[3], 1u);  // the object
  EXPECT_EQ(buffer[4], 3u);  // its second list
}

// --- pixels ---------------------------------------------------------------------------

class BoxPixels : public MeshRender {
protected:
  void SetUp() override {
    MeshRender::SetUp();
    glMatrixMode(GL_PROJECTION);
    glOrtho(-1, 1, -1, 1, -10, 10);  // looking down -z: the +z face is in front
    glMatrixMode(GL_MODELVIEW);
    glEnable(GL_DEPTH_TEST);
  }
  static void Light() {
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);  // white, from the viewer
  }
};

TEST_F(BoxPixels, AUnitBoxCoversTheMiddleHalfInItsColour) {
  TQelBox box(nullptr);
  TQelColor red;
  red.SetColor(0x0000FF);
  box.SetColor(&red);
  TNamesView view(false);
  box.Render(&view);
  for (auto [x, y] : {std::pair{128, 128}, {66, 66}, {189, 189}, {66, 189}}) {
    auto px = ReadPixel(x, y);
    EXPECT_EQ(px[0], 255) << x << "," << y;
    EXPECT_EQ(px[1], 0);
  }
  for (auto [x, y] : {std::pair{61, 128}, {194, 128}, {128, 61}, {128, 194}, {5, 5}})
    EXPECT_EQ(ReadPixel(x, y)[0], 0) << x << "," << y;
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(BoxPixels, FaceNormalsLightEachFaceByItsAngleToTheLight) {
  Light();
  TNamesView view(false);
  // 0.2 * 0.2 ambient plus 0.8 diffuse times the cosine to the light.
  auto expected = [](double cosine) { return (0.04 + 0.8 * cosine) * 255; };
  {
    TQelBox box(nullptr);
    box.Render(&view);
    EXPECT_NEAR(ReadPixel(128, 128)[1], expected(1), 2);
  }
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  TQelBox turned(nullptr);
  turned.GetTransformation()->GetRotation()->SetY(45);  // the left and front faces show
  turned.Render(&view);
  EXPECT_NEAR(ReadPixel(128 - 40, 128)[1], expected(std::sqrt(0.5)), 2);
  EXPECT_NEAR(ReadPixel(128 + 40, 128)[1], expected(std::sqrt(0.5)), 2);
  EXPECT_EQ(ReadPixel(128 + 95, 128)[1], 0);  // past the corner at 90 pixels
}

TEST_F(BoxPixels, TheListMaterialColoursTheLitBox) {
  Light();
  TQelMaterial mat(nullptr);
  TQelColor red;
  red.SetColor(0x0000FF);
  mat.SetColorDiffuse(&red);
  TQelBox box(nullptr);
  box.SetMaterial(&mat);
  TNamesView view(false);
  box.Render(&view);
  const auto px = ReadPixel(128, 128);
  EXPECT_EQ(px[0], 255);                      // 0.04 + 1.0, clamped
  EXPECT_NEAR(px[1], 0.04 * 255, 2);           // ambient only
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

}  // namespace
