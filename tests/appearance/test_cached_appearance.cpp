// Appearance inside cached display lists: a list holds the state it needs
// even when that state was current while it was recorded, and after a list
// replays, the appearance caches no longer trust what they believed current.
#include "scenetest.h"

#include <qelon/qelon.h>
#include "qelon/scene/qelrenderstate.h"

namespace {

// Draws nothing; its material comes from the item before it in the node.
class CachedAppearanceTest : public QelGLTest {
protected:
  void SetUp() override {
    QelGLTest::SetUp();
    view = std::make_unique<TTestView>(context.get());
    red = new TQelMaterial(&owner);
    red->GetColorDiffuse()->SetColor(0x0000FF);
    blue = new TQelMaterial(&owner);
    blue->GetColorDiffuse()->SetColor(0xFF0000);
    cached = new TQelNode(&owner);
    cached->Add(red);
    cached->SetCached(true);
  }
  void TearDown() override {
    owner.DestroyComponents();  // cached lists go while the view's context lives
    view.reset();
    QelGLTest::TearDown();
  }
  void NewFrame() { view->GetRenderState().ForgetAppearance(); }  // what the view does per frame
  static float Diffuse(int i) {
    GLfloat d[4];
    glGetMaterialfv(GL_FRONT, GL_DIFFUSE, d);
    return d[i];
  }
  TComponent owner{nullptr};
  std::unique_ptr<TTestView> view;
  TQelMaterial *red = nullptr, *blue = nullptr;
  TQelNode* cached = nullptr;
};

TEST_F(CachedAppearanceTest, AMaterialCurrentWhileRecordingStillGoesIntoTheList) {
  NewFrame();
  red->Render(view.get());     // red is current ...
  cached->Render(view.get());  // ... while the node records its list
  ASSERT_NE(cached->GetDisplayList(), 0u);
  NewFrame();
  blue->Render(view.get());
  EXPECT_EQ(Diffuse(2), 1.0f);
  cached->Render(view.get());  // replays: the list must set red
  EXPECT_EQ(Diffuse(0), 1.0f);
  EXPECT_EQ(Diffuse(2), 0.0f);
}

TEST_F(CachedAppearanceTest, AfterAReplayTheNextMaterialIsIssuedAgain) {
  NewFrame();
  cached->Render(view.get());  // records red
  NewFrame();
  blue->Render(view.get());
  cached->Render(view.get());  // GL now holds red, behind blue's back
  blue->Render(view.get());    // must not be skipped as "already current"
  EXPECT_EQ(Diffuse(2), 1.0f);
  EXPECT_EQ(Diffuse(0), 0.0f);
}

}  // namespace

namespace {

TEST_F(CachedAppearanceTest, AMaterialSharedWithinOneListIsRecordedOnce) {
  auto* node = new TQelNode(&owner);
  for (int i = 0; i < 3; ++i) {
    auto* box = new TQelBox(node);
    box->SetMaterial(blue);
    node->Add(box);
  }
  node->SetCached(true);
  NewFrame();
  blue->Render(view.get());  // current before the recording starts
  qeltest::GLRecorder rec;
  node->Render(view.get());
  EXPECT_EQ(rec.Count("glMaterialfv"), 4);  // once, inside the list
  EXPECT_EQ(rec.Count("glNewList"), 1);
}

TEST_F(CachedAppearanceTest, AlreadyCurrentAppearanceSkipsTheWholeProtocolUnlessSomethingWatches) {
  NewFrame();
  blue->Render(view.get());
  qeltest::GLRecorder rec;
  blue->Render(view.get());
  EXPECT_TRUE(rec.Calls().empty());  // no push and pop around nothing
  int events = 0;
  blue->OnBeforeRender = [&](TQelCustomView*) { ++events; };
  blue->Render(view.get());
  EXPECT_EQ(events, 1);  // with a listener the protocol runs as usual
  EXPECT_EQ(rec.Count("glPushMatrix"), 1);
  EXPECT_EQ(rec.Count("glMaterialfv"), 0);
}

}  // namespace
