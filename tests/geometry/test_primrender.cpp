// Drawing a store with its index lists: the client-array calls and what
// ends up in the framebuffer.
#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <string>
#include <vector>

#include "qeltestbed.h"

namespace {

using qeltest::GLCall;
using qeltest::GLRecorder;
using Strings = std::vector<std::string>;

constexpr const void* kPtr = nullptr;  // the recorder prints every pointer as "ptr"

const TQelArrays kAllArrays{daVertex, daNormal, daTexture, daColor, daEdgeFlag, daFlag};

// Window pixel centre to normalised device coordinates, for identity matrices.
double Ndc(double pixel) { return (pixel + 0.5) / 128.0 - 1.0; }

class PrimitiveRender : public QelGLTest {
protected:
  void SetUp() override {
    QelGLTest::SetUp();
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
  }

  // A point at window pixel (x, y) in the given colour.
  static int32_t AddPoint(TQelPrimitivePoints& p, double x, double y, float r, float g, float b) {
    const int32_t i = p.Add(Ndc(x), Ndc(y), 0);
    p.SetValues(i, 0, 3, r);
    p.SetValues(i, 1, 3, g);
    p.SetValues(i, 2, 3, b);
    p.SetValues(i, 3, 3, 1);
    return i;
  }

  static void Draw(TQelPrimitivePoints& p, std::vector<TQelPrimitiveArray*> lists) {
    p.BeforeRender(nullptr);
    for (TQelPrimitiveArray* a : lists) a->ProceedDirectRendering();
    p.AfterRender(nullptr);
  }

  static bool Lit(int x, int y) { return ReadPixel(x, y)[0] + ReadPixel(x, y)[1] + ReadPixel(x, y)[2] > 0; }

  static int LitPixels() {
    std::vector<uint8_t> rgba(4 * kWidth * kHeight);
    glReadPixels(0, 0, kWidth, kHeight, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    int n = 0;
    for (size_t i = 0; i < rgba.size(); i += 4) n += (rgba[i] | rgba[i + 1] | rgba[i + 2]) != 0;
    return n;
  }
};

TEST_F(PrimitiveRender, DefaultArraysHandOverNormalsAndPositionsOnly) {
  TQelPrimitivePoints p;
  p.Add(0, 0, 0);
  GLRecorder rec;
  p.BeforeRender(nullptr);
  EXPECT_EQ(rec.Calls(), (Strings{
                             GLCall("glEnableClientState", GL_NORMAL_ARRAY),
                             GLCall("glNormalPointer", GL_DOUBLE, 0, kPtr),
                             GLCall("glDisable", GL_TEXTURE_2D),
                             GLCall("glEnableClientState", GL_VERTEX_ARRAY),
                             GLCall("glVertexPointer", 3, GL_DOUBLE, 0, kPtr),
                         }));
}

TEST_F(PrimitiveRender, EveryUsedArrayIsHandedOverVertexLast) {
  TQelPrimitivePoints p;
  p.SetDefineArrays(kAllArrays);
  p.SetUseArrays(kAllArrays);
  p.Add(0, 0, 0);
  GLRecorder rec;
  p.BeforeRender(nullptr);
  EXPECT_EQ(rec.Calls(), (Strings{
                             GLCall("glEnableClientState", GL_NORMAL_ARRAY),
                             GLCall("glNormalPointer", GL_DOUBLE, 0, kPtr),
                             GLCall("glEnable", GL_TEXTURE_2D),
                             GLCall("glEnableClientState", GL_TEXTURE_COORD_ARRAY),
                             GLCall("glTexCoordPointer", 3, GL_DOUBLE, 0, kPtr),
                             GLCall("glEnableClientState", GL_COLOR_ARRAY),
                             GLCall("glColorPointer", 4, GL_FLOAT, 0, kPtr),
                             GLCall("glEnableClientState", GL_EDGE_FLAG_ARRAY),
                             GLCall("glEdgeFlagPointer", 0, kPtr),
                             GLCall("glEnableClientState", GL_VERTEX_ARRAY),
                             GLCall("glVertexPointer", 3, GL_DOUBLE, 0, kPtr),
                         }));
  // OpenGL reads the store in place: no copies are made.
  void* ptr = nullptr;
  glGetPointerv(GL_VERTEX_ARRAY_POINTER, &ptr);
  EXPECT_EQ(ptr, p.GetVertexArray());
  glGetPointerv(GL_NORMAL_ARRAY_POINTER, &ptr);
  EXPECT_EQ(ptr, p.GetNormalArray());
  glGetPointerv(GL_TEXTURE_COORD_ARRAY_POINTER, &ptr);
  EXPECT_EQ(ptr, p.GetTextureArray());
  glGetPointerv(GL_COLOR_ARRAY_POINTER, &ptr);
  EXPECT_EQ(ptr, p.GetColorArray());
  glGetPointerv(GL_EDGE_FLAG_ARRAY_POINTER, &ptr);
  EXPECT_EQ(ptr, p.GetEdgeFlagArray());
  EXPECT_TRUE(glIsEnabled(GL_TEXTURE_2D));
  EXPECT_TRUE(glIsEnabled(GL_EDGE_FLAG_ARRAY));
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(PrimitiveRender, ArraysUsedButNotStoredAreNotHandedOver) {
  TQelPrimitivePoints p;
  p.SetDefineArrays({daVertex});
  p.SetUseArrays(kAllArrays);
  p.Add(0, 0, 0);
  TQelPrimitivePoints empty;  // nothing allocated at all
  GLRecorder rec;
  p.BeforeRender(nullptr);
  EXPECT_EQ(rec.Calls(), (Strings{
                             GLCall("glDisable", GL_TEXTURE_2D),
                             GLCall("glEnableClientState", GL_VERTEX_ARRAY),
                             GLCall("glVertexPointer", 3, GL_DOUBLE, 0, kPtr),
                         }));
  rec.Clear();
  empty.BeforeRender(nullptr);
  EXPECT_EQ(rec.Calls(), (Strings{GLCall("glDisable", GL_TEXTURE_2D)}));
}

TEST_F(PrimitiveRender, AfterRenderTakesEveryClientArrayBack) {
  TQelPrimitivePoints p;
  p.SetDefineArrays(kAllArrays);
  p.SetUseArrays(kAllArrays);
  p.Add(0, 0, 0);
  p.BeforeRender(nullptr);
  glEdgeFlag(GL_FALSE);
  GLRecorder rec;
  p.AfterRender(nullptr);
  EXPECT_EQ(rec.Calls(), (Strings{
                             GLCall("glDisableClientState", GL_NORMAL_ARRAY),
                             GLCall("glDisableClientState", GL_COLOR_ARRAY),
                             GLCall("glDisableClientState", GL_TEXTURE_COORD_ARRAY),
                             GLCall("glDisableClientState", GL_EDGE_FLAG_ARRAY),
                             GLCall("glDisableClientState", GL_VERTEX_ARRAY),
                             GLCall("glEdgeFlag", GL_TRUE),
                         }));
  for (GLenum a : {GL_NORMAL_ARRAY, GL_COLOR_ARRAY, GL_TEXTURE_COORD_ARRAY, GL_EDGE_FLAG_ARRAY,
                   GL_VERTEX_ARRAY})
    EXPECT_FALSE(glIsEnabled(a)) << a;
  GLboolean edge = GL_FALSE;
  glGetBooleanv(GL_EDGE_FLAG, &edge);
  EXPECT_TRUE(edge);
}

TEST_F(PrimitiveRender, EachListIsOneDrawElementsCall) {
  TQelPrimitivePoints p;
  for (int i = 0; i < 4; ++i) p.Add(i, 0, 0);
  TQelPrimitiveArray tris(GL_TRIANGLES), lines(GL_LINE_STRIP), none(GL_POINTS);
  for (uint32_t i : {0u, 1u, 2u, 1u, 2u, 3u}) tris.AddIndex(i);
  for (uint32_t i : {0u, 3u}) lines.AddIndex(i);
  GLRecorder rec;
  Draw(p, {&tris, &lines, &none});
  EXPECT_EQ(rec.Only({"glDrawElements"}),
            (Strings{GLCall("glDrawElements", GL_TRIANGLES, 6, GL_UNSIGNED_INT, kPtr),
                     GLCall("glDrawElements", GL_LINE_STRIP, 2, GL_UNSIGNED_INT, kPtr),
                     GLCall("glDrawElements", GL_POINTS, 0, GL_UNSIGNED_INT, kPtr)}));
  EXPECT_EQ(rec.Count("glBegin"), 0);  // no immediate mode
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(PrimitiveRender, ACheckedDrawSkipsListsReachingPastTheStore) {
  TQelPrimitivePoints p;
  for (int i = 0; i < 3; ++i) p.Add(i, 0, 0);
  TQelPrimitiveArray good(GL_TRIANGLES), bad(GL_TRIANGLES);
  for (uint32_t i : {0u, 1u, 2u}) good.AddIndex(i);
  for (uint32_t i : {0u, 1u, 5000000u}) bad.AddIndex(i);
  GLRecorder rec;
  p.BeforeRender(nullptr);
  good.ProceedDirectRendering(p.GetSize());
  bad.ProceedDirectRendering(p.GetSize());
  bad.ProceedDirectRendering(-1);
  p.AfterRender(nullptr);
  EXPECT_EQ(rec.Count("glDrawElements"), 1);
}

TEST_F(PrimitiveRender, ATriangleListLandsInTheFramebufferWithItsColours) {
  TQelPrimitivePoints p;
  p.SetDefineArrays(p.GetDefineArrays() + daColor);
  p.SetUseArrays({daVertex, daColor});
  // A red triangle on the left, a green one on the right, two lists.
  AddPoint(p, 20, 20, 1, 0, 0);
  AddPoint(p, 110, 20, 1, 0, 0);
  AddPoint(p, 20, 200, 1, 0, 0);
  AddPoint(p, 230, 20, 0, 1, 0);
  AddPoint(p, 230, 200, 0, 1, 0);
  AddPoint(p, 140, 200, 0, 1, 0);
  TQelPrimitiveArray left(GL_TRIANGLES), right(GL_TRIANGLES);
  for (uint32_t i : {0u, 1u, 2u}) left.AddIndex(i);
  for (uint32_t i : {3u, 4u, 5u}) right.AddIndex(i);
  Draw(p, {&left, &right});
  EXPECT_EQ(ReadPixel(40, 40), (std::array<uint8_t, 4>{255, 0, 0, 255}));
  EXPECT_EQ(ReadPixel(215, 180), (std::array<uint8_t, 4>{0, 255, 0, 255}));
  EXPECT_EQ(ReadPixel(128, 128), (std::array<uint8_t, 4>{0, 0, 0, 255}));
  EXPECT_EQ(ReadPixel(5, 250), (std::array<uint8_t, 4>{0, 0, 0, 255}));
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(PrimitiveRender, EdgeFlagsHideEdgesInLineMode) {
  TQelPrimitivePoints p;
  p.SetDefineArrays({daVertex, daColor, daEdgeFlag});
  p.SetUseArrays({daVertex, daColor, daEdgeFlag});
  AddPoint(p, 40, 40, 1, 1, 1);
  AddPoint(p, 200, 40, 1, 1, 1);
  AddPoint(p, 40, 200, 1, 1, 1);
  TQelPrimitiveArray tri(GL_TRIANGLES);
  for (uint32_t i : {0u, 1u, 2u}) tri.AddIndex(i);
  glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
  Draw(p, {&tri});  // new points are edges
  EXPECT_TRUE(Lit(120, 40));   // edge 0-1
  EXPECT_TRUE(Lit(40, 120));   // edge 2-0
  EXPECT_TRUE(Lit(120, 120));  // edge 1-2
  glClear(GL_COLOR_BUFFER_BIT);
  p.SetEdgeFlag(1, 0);  // the edge starting at point 1 is not drawn
  Draw(p, {&tri});
  EXPECT_TRUE(Lit(120, 40));
  EXPECT_TRUE(Lit(40, 120));
  EXPECT_FALSE(Lit(120, 120));
  EXPECT_FALSE(Lit(119, 121));
  EXPECT_FALSE(Lit(121, 119));
}

// Converted and inverted lists cover the same pixels as the original;
// conversions keep every face towards the viewer and inverting turns every
// face away, so that with back faces culled nothing is left.
class ListGeometry : public PrimitiveRender {
protected:
  void SetUp() override {
    PrimitiveRender::SetUp();
    points.SetDefineArrays({daVertex, daColor});
    points.SetUseArrays({daVertex, daColor});
    // Two rows of four points, a zigzag usable as any strip or fan.
    const double xs[4] = {30, 100, 160, 220};
    for (int k = 0; k < 4; ++k) {
      AddPoint(points, xs[k], 40, 1, 1, 1);
      AddPoint(points, xs[k] + 5, 210, 1, 1, 1);
    }
  }
  int Coverage(TQelPrimitiveArray& a, bool cullBack) {
    glClear(GL_COLOR_BUFFER_BIT);
    if (cullBack) {
      glEnable(GL_CULL_FACE);
      glCullFace(GL_BACK);
    } else {
      glDisable(GL_CULL_FACE);
    }
    Draw(points, {&a});
    return LitPixels();
  }
  TQelPrimitivePoints points;
};

TEST_F(ListGeometry, ConversionsKeepCoverageAndFacing) {
  struct Case {
    int32_t from;
    std::vector<uint32_t> indices;
    int32_t to;
  };
  const Case cases[] = {
      {GL_TRIANGLE_STRIP, {1, 0, 3, 2, 5, 4, 7, 6}, GL_TRIANGLES},
      {GL_TRIANGLE_STRIP, {1, 0, 3, 2, 5, 4, 7, 6}, GL_QUADS},
      {GL_QUAD_STRIP, {1, 0, 3, 2, 5, 4, 7, 6}, GL_TRIANGLES},
      {GL_QUAD_STRIP, {1, 0, 3, 2, 5, 4, 7, 6}, GL_QUADS},
      {GL_QUADS, {0, 2, 3, 1, 4, 6, 7, 5}, GL_TRIANGLES},
      {GL_TRIANGLE_FAN, {0, 2, 4, 6, 7, 5, 3, 1}, GL_TRIANGLES},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.from << " to " << c.to);
    TQelPrimitiveArray a(c.from);
    for (uint32_t i : c.indices) a.AddIndex(i);
    const int all = Coverage(a, false);
    ASSERT_GT(all, 20000);
    ASSERT_EQ(Coverage(a, true), all);  // every face is seen from the front
    a.SetType(c.to);
    ASSERT_EQ(a.GetType(), c.to);
    EXPECT_EQ(Coverage(a, false), all);
    EXPECT_EQ(Coverage(a, true), all);
  }
}

TEST_F(ListGeometry, InvertTurnsEveryFaceAround) {
  struct Case {
    int32_t type;
    std::vector<uint32_t> indices;
  };
  const Case cases[] = {
      {GL_TRIANGLES, {0, 2, 1, 1, 2, 3}},
      {GL_TRIANGLE_STRIP, {1, 0, 3, 2, 5, 4, 7, 6}},
      {GL_TRIANGLE_STRIP, {1, 0, 3, 2, 5, 4, 7}},
      {GL_TRIANGLE_FAN, {0, 2, 4, 6, 7, 5, 3, 1}},
      {GL_QUADS, {0, 2, 3, 1, 4, 6, 7, 5}},
      {GL_QUAD_STRIP, {1, 0, 3, 2, 5, 4, 7, 6}},
      {GL_POLYGON, {0, 2, 4, 6, 7, 5, 3, 1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.type);
    TQelPrimitiveArray a(c.type);
    for (uint32_t i : c.indices) a.AddIndex(i);
    const int all = Coverage(a, false);
    ASSERT_GT(all, 10000);
    ASSERT_EQ(Coverage(a, true), all);  // every face is seen from the front
    a.Invert();
    EXPECT_EQ(Coverage(a, false), all);
    EXPECT_EQ(Coverage(a, true), 0);
  }
}

}  // namespace
