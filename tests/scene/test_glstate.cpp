// Consecutive meshes of a node share client arrays, colour, texturing and
// edge flag instead of resetting and setting them again; anything that is
// not the library's own render code sees the state the literal calls leave.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <vector>

#include "qeltestbed.h"
#include "scenetest.h"

namespace {

using qeltest::GLCall;
using qeltest::GLRecorder;
using Strings = std::vector<std::string>;

const std::string kDraw = GLCall("glDrawElements", GL_TRIANGLES, 36, GL_UNSIGNED_INT, "ptr");

// The GL state that decides how a mesh is drawn.
struct DrawState {
  bool normal, color, texCoord, edgeFlags, vertex, texture2D;
  GLboolean edgeFlag;
  bool operator==(const DrawState&) const = default;
};

DrawState ReadDrawState() {
  DrawState s{};
  s.normal = glIsEnabled(GL_NORMAL_ARRAY);
  s.color = glIsEnabled(GL_COLOR_ARRAY);
  s.texCoord = glIsEnabled(GL_TEXTURE_COORD_ARRAY);
  s.edgeFlags = glIsEnabled(GL_EDGE_FLAG_ARRAY);
  s.vertex = glIsEnabled(GL_VERTEX_ARRAY);
  s.texture2D = glIsEnabled(GL_TEXTURE_2D);
  glGetBooleanv(GL_EDGE_FLAG, &s.edgeFlag);
  return s;
}

// What a mesh leaves behind, and what code running between two meshes must
// find: every client array off, the edge flag reset.
constexpr DrawState kReset{false, false, false, false, false, false, GL_TRUE};

// Records what the state was when it was rendered: a class of the
// application, so the library must not leave it anything.
class TStateProbe : public TQelRender {
public:
  using TQelRender::TQelRender;
  void DoRender(TQelCustomView*) override { seen.push_back(ReadDrawState()); }
  std::vector<DrawState> seen;
};

// Application boxes: one that overrides no drawing operation, and ones that
// override one (and still draw as a box does).
class TAppBox : public TQelBox {
public:
  using TQelBox::TQelBox;
};
class TDrawingAppBox : public TQelBox {
public:
  using TQelBox::TQelBox;
  void DoRender(TQelCustomView* view) override { TQelBox::DoRender(view); }
};
class TBeforeAppBox : public TQelBox {
public:
  using TQelBox::TQelBox;
  void BeforeRender(TQelCustomView* view) override { TQelBox::BeforeRender(view); }
};
class TAfterAppBox : public TQelBox {
public:
  using TQelBox::TQelBox;
  void AfterRender(TQelCustomView* view) override { TQelBox::AfterRender(view); }
};


class GLStateTest : public QelGLTest {
protected:
  void SetUp() override {
    QelGLTest::SetUp();
    view = std::make_unique<TModeView>(context.get());
    view->SetDrawingMode(dmPaint);  // no pick names
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-4, 4, -4, 4, -10, 10);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glClearColor(0, 0, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  }
  void TearDown() override {
    top.reset();
    view.reset();
    QelGLTest::TearDown();
  }

  // A box of side 2 at x; the default colour is white.
  template <class Box = TQelBox>
  Box* AddBox(double x) {
    auto* box = new Box(top.get());
    box->SetWidth(2);
    box->SetHeight(2);
    box->SetDepth(2);
    box->GetTransformation()->GetTranslation()->SetValues(x, 0, 0);
    top->Add(box);
    return box;
  }

  template <class Box>
  TQelBox* AddBoxAs(double x) {
    return AddBox<Box>(x);
  }

  std::unique_ptr<TModeView> view;
  std::unique_ptr<TQelNode> top = std::make_unique<TQelNode>(nullptr);
};

TEST_F(GLStateTest, ConsecutiveBoxesOfANodeLeaveOutWhatTheNextWouldUndo) {
  for (double x : {-2.0, 0.0, 2.0}) AddBox(x);
  top->Render(view.get());  // generates the meshes
  GLRecorder rec;
  top->Render(view.get());
  const Strings first = {
      "glPushMatrix()",
      GLCall("glTranslatef", -2.0f, 0.0f, 0.0f),
      "glColor4fv([1,1,1,1])",
      GLCall("glEnableClientState", GL_NORMAL_ARRAY),
      GLCall("glNormalPointer", GL_DOUBLE, 0, "ptr"),
      GLCall("glDisable", GL_TEXTURE_2D),
      GLCall("glEnableClientState", GL_VERTEX_ARRAY),
      GLCall("glVertexPointer", 3, GL_DOUBLE, 0, "ptr"),
      GLCall("glDisable", GL_TEXTURE_2D),
      kDraw,
      "glPopMatrix()"};
  // The second box sets its pointers and resets the edge flag the first
  // one held back; colour, texturing and arrays are as the first left them.
  const Strings second = {"glPushMatrix()",
                          "glNormalPointer(5130,0,ptr)",
                          "glVertexPointer(3,5130,0,ptr)",
                          GLCall("glEdgeFlag", GL_TRUE),
                          kDraw,
                          "glPopMatrix()"};
  // The last box of the node resets everything, as every box alone does.
  const Strings third = {"glPushMatrix()",
                         GLCall("glTranslatef", 2.0f, 0.0f, 0.0f),
                         "glNormalPointer(5130,0,ptr)",
                         "glVertexPointer(3,5130,0,ptr)",
                         kDraw,
                         GLCall("glDisableClientState", GL_NORMAL_ARRAY),
                         GLCall("glDisableClientState", GL_COLOR_ARRAY),
                         GLCall("glDisableClientState", GL_TEXTURE_COORD_ARRAY),
                         GLCall("glDisableClientState", GL_EDGE_FLAG_ARRAY),
                         GLCall("glDisableClientState", GL_VERTEX_ARRAY),
                         GLCall("glEdgeFlag", GL_TRUE),
                         "glPopMatrix()"};
  Strings expected = {"glPushMatrix()"};
  for (const Strings* part : {&first, &second, &third})
    expected.insert(expected.end(), part->begin(), part->end());
  expected.push_back("glPopMatrix()");
  EXPECT_EQ(rec.Calls(), expected);
  EXPECT_EQ(ReadDrawState(), kReset);
}

TEST_F(GLStateTest, CodeOfTheApplicationBetweenBoxesSeesEverythingReset) {
  AddBox(-2);
  auto* probe = new TStateProbe(top.get());
  top->Add(probe);
  auto* box = AddBox(0);
  std::vector<DrawState> inEvents;
  box->OnBeforeRender = [&](TQelCustomView*) { inEvents.push_back(ReadDrawState()); };
  TQelBox* beforeApp = AddBox(2);
  beforeApp->OnAfterRender = [&](TQelCustomView*) { inEvents.push_back(ReadDrawState()); };
  AddBox<TDrawingAppBox>(3);
  for (int frame = 0; frame < 2; ++frame) top->Render(view.get());
  ASSERT_EQ(probe->seen.size(), 2u);
  for (const DrawState& s : probe->seen) EXPECT_EQ(s, kReset);
  ASSERT_EQ(inEvents.size(), 4u);
  EXPECT_EQ(inEvents[0], kReset);
  // After its draw, inside its protocol, a mesh has reset its arrays.
  EXPECT_EQ(inEvents[1], kReset);

  // A box whose class overrides DoRender follows the library's: nothing is
  // held back for it.
  beforeApp->OnAfterRender = nullptr;
  top->Render(view.get());
  GLRecorder rec;
  top->Render(view.get());
  const Strings calls = rec.Calls();
  const auto last = std::find(calls.begin(), calls.end(), GLCall("glTranslatef", 3.0f, 0.0f, 0.0f));
  ASSERT_NE(last, calls.end());
  const auto draw = std::find(std::make_reverse_iterator(last), calls.rend(), kDraw);
  ASSERT_NE(draw, calls.rend());
  const Strings between(draw.base(), last);
  EXPECT_EQ(between, (Strings{GLCall("glDisableClientState", GL_NORMAL_ARRAY),
                              GLCall("glDisableClientState", GL_COLOR_ARRAY),
                              GLCall("glDisableClientState", GL_TEXTURE_COORD_ARRAY),
                              GLCall("glDisableClientState", GL_EDGE_FLAG_ARRAY),
                              GLCall("glDisableClientState", GL_VERTEX_ARRAY),
                              GLCall("glEdgeFlag", GL_TRUE), "glPopMatrix()", "glPushMatrix()"}));
  // and it sets everything itself
  EXPECT_EQ(std::count(last, calls.end(), "glColor4fv([1,1,1,1])"), 1);
  EXPECT_EQ(std::count(last, calls.end(), GLCall("glEnableClientState", GL_VERTEX_ARRAY)), 1);
}

TEST_F(GLStateTest, TheNextBoxDrawsWithOnlyItsOwnArrays) {
  // The first box brings per-vertex red and texture coordinates; the white
  // box after it must use neither.
  TQelBox* coloured = AddBox(-2);
  coloured->Init();
  TQelPrimitivePoints* points = coloured->GetPoints();
  points->SetDefineArrays(points->GetDefineArrays() + daColor);
  points->SetUseArrays(points->GetUseArrays() + daColor + daTexture);
  for (int32_t i = 0; i < points->GetCount(); ++i) {
    float* c = points->GetColorArray() + 4 * i;
    c[0] = 1, c[1] = 0, c[2] = 0, c[3] = 1;
  }
  AddBox(2);
  top->Render(view.get());
  const auto left = ReadPixel(kWidth / 4, kHeight / 2);
  const auto right = ReadPixel(3 * kWidth / 4, kHeight / 2);
  EXPECT_EQ(left[0], 255);
  EXPECT_EQ(left[1], 0);
  EXPECT_EQ(right[0], 255);
  EXPECT_EQ(right[1], 255);  // white, not the first box's red
  EXPECT_EQ(right[2], 255);
  EXPECT_EQ(ReadDrawState(), kReset);
}

TEST_F(GLStateTest, ACachedNodeDrawsWhatItDrewDirectly) {
  ExpectGLErrors();  // untouched attributes hand line width 0 to GL, which rejects it
  auto* attributes = new TQelAttributes(top.get());
  attributes->SetLighting(true);
  auto* light = new TQelLight(top.get());
  light->SetKind(lkDirection);
  light->GetDirection()->SetValues(0.3, 0.4, 1);
  top->Add(light);
  for (double x : {-2.0, 0.0, 2.0}) {
    TQelBox* box = AddBox(x);
    box->SetAttributes(attributes);
    box->GetTransformation()->GetRotation()->SetValues(20, 30, 0);
  }
  top->Render(view.get());
  std::vector<std::array<uint8_t, 4>> direct;
  for (int x = 8; x < kWidth; x += 16) direct.push_back(ReadPixel(x, kHeight / 2));

  top->SetCached(true);
  for (int frame = 0; frame < 2; ++frame) {  // records, then replays
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    top->Render(view.get());
    std::vector<std::array<uint8_t, 4>> cached;
    for (int x = 8; x < kWidth; x += 16) cached.push_back(ReadPixel(x, kHeight / 2));
    EXPECT_EQ(cached, direct) << "frame " << frame;
    EXPECT_EQ(ReadDrawState(), kReset);
  }
  ASSERT_NE(top->GetDisplayList(), 0u);
}

// Boxes each cached in its own list draw, when their lists are recorded and
// when they replay, what they drew uncached: with one material for all, a
// material each, and a box whose two index lists have different materials.
TEST_F(GLStateTest, BoxesCachedOneByOneDrawWhatTheyDrewDirectly) {
  ExpectGLErrors();  // untouched attributes hand line width 0 to GL, which rejects it
  enum Materials { kShared, kOwn, kPerList };
  for (Materials kind : {kShared, kOwn, kPerList}) {
    top = std::make_unique<TQelNode>(nullptr);
    TComponent owner(nullptr);
    auto* attributes = new TQelAttributes(&owner);
    attributes->SetLighting(true);
    auto* light = new TQelLight(top.get());
    light->SetKind(lkDirection);
    light->GetDirection()->SetValues(0.3, 0.4, 1);
    top->Add(light);
    auto* shared = new TQelMaterial(&owner);
    const TColor colors[3] = {0x0000FF, 0x00FF00, 0xFF0000};
    std::vector<TQelBox*> boxes;
    for (int i = 0; i < 3; ++i) {
      TQelBox* box = AddBox(-2.0 + 2 * i);
      box->SetAttributes(attributes);
      box->GetTransformation()->GetRotation()->SetValues(20, 30, 0);
      auto* own = new TQelMaterial(&owner);
      own->GetColorDiffuse()->SetColor(colors[i]);
      box->SetMaterial(kind == kOwn ? own : shared);
      box->Init();
      if (kind == kPerList) {  // a second list over the first, in the box's own colour
        TQelPrimitiveArray* first = box->GetPrimitive(0);
        TQelPrimitiveArray* second = box->GetPrimitive(box->AddPrimitiveArray(GL_TRIANGLES));
        for (int32_t k = 0; k < first->GetCount(); ++k) second->AddIndex(first->GetIndexArray()[k]);
        second->SetMaterial(own);
      }
      boxes.push_back(box);
    }
    auto pixels = [&] {
      glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
      top->Render(view.get());
      std::vector<std::array<uint8_t, 4>> row;
      for (int x = 4; x < kWidth; x += 8) row.push_back(ReadPixel(x, kHeight / 2));
      return row;
    };
    const auto direct = pixels();
    for (TQelBox* box : boxes) box->SetCached(true);
    for (int frame = 0; frame < 2; ++frame) {  // records, then replays
      EXPECT_EQ(pixels(), direct) << "materials " << kind << ", frame " << frame;
      EXPECT_EQ(ReadDrawState(), kReset);
    }
    for (TQelBox* box : boxes) EXPECT_NE(box->GetDisplayList(), 0u);
    top.reset();  // the boxes go before their appearance
  }
}

// Three boxes of one class in a node: a box whose class draws with library
// code alone leaves its arrays to the next one, so only the last disables
// the five arrays; every other box disables them itself.
TEST_F(GLStateTest, ApplicationClassesKeepTheFastPathUnlessTheyOverrideDrawing) {
  struct Case {
    const char* name;
    TQelBox* (GLStateTest::*add)(double);
    int disables;
  };
  const Case cases[] = {
      {"library box", &GLStateTest::AddBoxAs<TQelBox>, 5},
      {"application box", &GLStateTest::AddBoxAs<TAppBox>, 5},
      {"overrides DoRender", &GLStateTest::AddBoxAs<TDrawingAppBox>, 15},
      {"overrides BeforeRender", &GLStateTest::AddBoxAs<TBeforeAppBox>, 15},
      {"overrides AfterRender", &GLStateTest::AddBoxAs<TAfterAppBox>, 15},
  };
  for (const Case& c : cases) {
    top = std::make_unique<TQelNode>(nullptr);
    for (double x : {-2.0, 0.0, 2.0}) (this->*c.add)(x);
    top->Render(view.get());  // generates the meshes
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    GLRecorder rec;
    top->Render(view.get());
    const Strings calls = rec.Calls();
    int disables = 0;
    for (const std::string& call : calls) disables += call.starts_with("glDisableClientState");
    EXPECT_EQ(disables, c.disables) << c.name;
    EXPECT_EQ(ReadDrawState(), kReset) << c.name;
    // All three white boxes are drawn.
    for (int x : {kWidth / 4, kWidth / 2, 3 * kWidth / 4})
      EXPECT_EQ(ReadPixel(x, kHeight / 2)[1], 255) << c.name << " at " << x;
  }
}

}  // namespace
