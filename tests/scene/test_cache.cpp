// The display-list cache: recorded once for the first view, replayed after,
// re-recorded after changes below, deleted in the cache view's context, and
// never leaked.
#include <EGL/egl.h>

#include <memory>

#include "scenetest.h"

using qeltest::GLCall;
using qeltest::GLRecorder;

namespace {

using Calls = std::vector<std::string>;

const std::string kPush = "glPushMatrix()";
const std::string kPop = "glPopMatrix()";

std::array<float, 4> CurrentColor() {
  std::array<float, 4> c{};
  glGetFloatv(GL_CURRENT_COLOR, c.data());
  return c;
}

TEST_F(QelGLTest, ACachedNodeRecordsOnceAndThenReplaysItsList) {
  TTestView view(context.get());
  TQelNode node(nullptr);
  auto* obj = new TQelObject(&node);
  obj->GetColor()->SetColor(0x0000FF);  // red
  node.Add(obj);
  auto* marker = new TMarker(&node, 4);
  node.Add(marker);
  node.SetCached(true);
  EXPECT_EQ(node.GetView(), nullptr);  // waiting for its first view

  GLRecorder rec;
  node.Render(&view);
  GLuint list = node.GetDisplayList();
  ASSERT_NE(list, 0u);
  EXPECT_EQ(node.GetView(), &view);
  EXPECT_EQ(rec.Calls(),
            (Calls{kPush, GLCall("glGenLists", 1), GLCall("glNewList", list, GL_COMPILE_AND_EXECUTE),
                   GLCall("glIsList", list),
                   kPush, GLCall("glPushName", 1), "glColor4fv([1,0,0,1])", kPop, "glPopName()",
                   kPush, Mark(4), kPop,
                   "glEndList()", kPop}));

  glColor4f(0, 0, 0, 1);
  rec.Clear();
  node.Render(&view);
  EXPECT_EQ(rec.Calls(), (Calls{kPush, GLCall("glCallList", list), kPop}));
  EXPECT_EQ(marker->drawn, 1);
  // The replay ran the recorded colour.
  EXPECT_EQ(CurrentColor(), (std::array<float, 4>{1, 0, 0, 1}));
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(QelGLTest, ASecondViewAlwaysDrawsDirectly) {
  TQelOffscreenContext shared(64, 64, context.get());
  TTestView first(context.get()), second(&shared);
  TQelNode node(nullptr);
  auto* marker = new TMarker(&node, 4);
  node.Add(marker);
  node.SetCached(true);
  node.Render(&first);
  GLuint list = node.GetDisplayList();

  ASSERT_TRUE(shared.MakeCurrent());
  GLRecorder rec;
  node.Render(&second);
  node.Render(&second);
  EXPECT_EQ(rec.Count("glNewList") + rec.Count("glCallList") + rec.Count("glDeleteLists"), 0);
  EXPECT_EQ(marker->drawn, 3);
  EXPECT_EQ(node.GetView(), &first);
  EXPECT_EQ(node.GetDisplayList(), list);

  ASSERT_TRUE(context->MakeCurrent());
  rec.Clear();
  node.Render(&first);
  EXPECT_EQ(rec.Only({"glCallList"}), Calls{GLCall("glCallList", list)});
}

TEST_F(QelGLTest, AChangeAnywhereBelowMakesEveryCachedAncestorRecordAgain) {
  TTestView view(context.get());
  TQelNode top(nullptr);
  auto* middle = new TQelNode(&top);
  top.Add(middle);
  auto* leaf = new TMarker(middle, 4);
  middle->Add(leaf);
  top.SetCached(true);
  top.Render(&view);
  GLuint list = top.GetDisplayList();
  ASSERT_NE(list, 0u);

  int changes = 0;
  top.OnChange = [&](TObject*) { ++changes; };
  GLRecorder rec;
  leaf->GetTransformation()->GetRotation()->SetX(30);
  EXPECT_EQ(rec.Calls(), Calls{GLCall("glDeleteLists", list, 1)});
  EXPECT_EQ(top.GetDisplayList(), 0u);
  EXPECT_EQ(changes, 1);  // and the change reached the top
  EXPECT_FALSE(glIsList(list));

  rec.Clear();
  top.Render(&view);
  EXPECT_EQ(rec.Count("glNewList"), 1);
  EXPECT_EQ(leaf->drawn, 2);
  EXPECT_NE(top.GetDisplayList(), 0u);
}

TEST_F(QelGLTest, AddingOrRemovingItemsDropsTheListsAbove) {
  TTestView view(context.get());
  TQelNode top(nullptr);
  auto* middle = new TQelNode(&top);
  top.Add(middle);
  top.SetCached(true);
  top.Render(&view);
  ASSERT_NE(top.GetDisplayList(), 0u);

  auto* marker = new TMarker(middle, 6);
  middle->Add(marker);
  EXPECT_EQ(top.GetDisplayList(), 0u);
  GLRecorder rec;
  top.Render(&view);
  EXPECT_EQ(rec.Count("glPassThrough"), 1);  // the new item is in the new recording
  ASSERT_NE(top.GetDisplayList(), 0u);

  middle->Remove(marker);
  EXPECT_EQ(top.GetDisplayList(), 0u);
}

TEST_F(QelGLTest, NestedCachedNodesRecordOneListAtATime) {
  TTestView view(context.get());
  TQelNode top(nullptr);
  auto* inner = new TQelNode(&top);
  top.Add(inner);
  inner->Add(new TMarker(inner, 2));
  inner->SetCached(true);
  top.SetCached(true);

  GLRecorder rec;
  top.Render(&view);
  EXPECT_EQ(rec.Count("glNewList"), 1);
  EXPECT_EQ(rec.Count("glEndList"), 1);
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
  EXPECT_EQ(inner->GetDisplayList(), 0u);  // drawn into the enclosing recording
  rec.Clear();
  top.Render(&view);
  EXPECT_EQ(rec.Calls(), (Calls{kPush, GLCall("glCallList", top.GetDisplayList()), kPop}));

  // On its own, the inner node records its list.
  inner->Render(&view);
  EXPECT_NE(inner->GetDisplayList(), 0u);
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(QelGLTest, ARecordingEndsEvenWhenDrawingThrows) {
  TTestView view(context.get());
  TQelNode failing(nullptr);
  failing.SetCached(true);
  failing.OnRender = [](TQelCustomView*) { throw std::runtime_error("drawing failed"); };
  EXPECT_THROW(failing.Render(&view), std::runtime_error);
  GLint open = -1;
  glGetIntegerv(GL_LIST_INDEX, &open);
  EXPECT_EQ(open, 0);
  glPopMatrix();  // the failed render left its push behind

  TQelNode next(nullptr);  // caching still works afterwards
  next.SetCached(true);
  next.Render(&view);
  EXPECT_NE(next.GetDisplayList(), 0u);
  EXPECT_EQ(Error(), GLenum(GL_NO_ERROR));
}

TEST_F(QelGLTest, ALeafKeepsReplayingItsListWhenItChangesItself) {
  TTestView view(context.get());
  TQelObject obj(nullptr);
  obj.SetCached(true);
  obj.Render(&view);
  GLuint list = obj.GetDisplayList();
  obj.GetColor()->SetColor(0x00FF00);  // its own change does not clear its list
  EXPECT_EQ(obj.GetDisplayList(), list);
  glColor4f(0, 0, 0, 1);
  obj.Render(&view);
  EXPECT_EQ(CurrentColor(), (std::array<float, 4>{1, 1, 1, 1}));  // still the old white

  obj.SetCached(false);
  obj.SetCached(true);
  obj.Render(&view);
  EXPECT_EQ(CurrentColor(), (std::array<float, 4>{0, 1, 0, 1}));
}

TEST_F(QelGLTest, SetCachedFalseDeletesTheListAtOnceInTheCacheViewsContext) {
  // Not sharing lists: deleting in the wrong context would leave the list.
  TQelOffscreenContext other(64, 64);
  TTestView view(context.get());
  TMarker m(nullptr);
  m.SetCached(true);
  m.Render(&view);
  GLuint list = m.GetDisplayList();
  ASSERT_NE(list, 0u);

  GLRecorder rec;
  m.SetCached(true);  // already cached: nothing happens
  EXPECT_TRUE(rec.Calls().empty());

  ASSERT_TRUE(other.MakeCurrent());
  m.SetCached(false);
  EXPECT_EQ(rec.Calls(), Calls{GLCall("glDeleteLists", list, 1)});
  EXPECT_EQ(m.GetDisplayList(), 0u);
  EXPECT_EQ(view.makeCurrents, 1);
  EXPECT_EQ(view.releases, 1);  // released again: no context is current now
  EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);

  ASSERT_TRUE(context->MakeCurrent());
  EXPECT_FALSE(glIsList(list));

  // With the context current already, it is neither switched nor released.
  m.SetCached(true);
  m.Render(&view);
  m.SetCached(false);
  EXPECT_EQ(view.makeCurrents, 1);
  EXPECT_EQ(view.releases, 1);
  EXPECT_TRUE(context->IsCurrent());
}

TEST_F(QelGLTest, AContextThatCannotBeMadeCurrentKeepsTheList) {
  TTestView view(context.get());
  TMarker m(nullptr);
  m.SetCached(true);
  m.Render(&view);
  GLuint list = m.GetDisplayList();

  TQelOffscreenContext::Release();
  view.failMakeCurrent = true;
  EXPECT_NO_THROW(m.SetCached(false));
  EXPECT_EQ(m.GetDisplayList(), list);

  view.failMakeCurrent = false;
  m.ClearCache();
  EXPECT_EQ(m.GetDisplayList(), 0u);
  ASSERT_TRUE(context->MakeCurrent());
  EXPECT_FALSE(glIsList(list));
}

TEST_F(QelGLTest, AnotherCacheViewDropsTheList) {
  TTestView first(context.get()), second(context.get());
  TMarker m(nullptr);
  m.SetCached(true);
  m.Render(&first);
  GLuint list = m.GetDisplayList();
  m.SetView(&second);
  EXPECT_FALSE(glIsList(list));
  EXPECT_EQ(m.GetDisplayList(), 0u);
  GLRecorder rec;
  m.Render(&second);  // cached with view and no list: records for the new view
  EXPECT_EQ(rec.Count("glNewList"), 1);
}

TEST_F(QelGLTest, ADyingViewFreesTheListsMadeForItWhileItsContextLives) {
  TQelOffscreenContext other(64, 64);
  TTestView keep(context.get());
  auto* view = new TTestView(context.get());
  TQelNode node(nullptr);
  auto* leaf = new TMarker(&node);
  node.Add(leaf);
  node.SetCached(true);
  leaf->SetCached(true);
  leaf->Render(view);
  node.Render(view);
  GLuint lists[2] = {node.GetDisplayList(), leaf->GetDisplayList()};
  ASSERT_NE(lists[0], 0u);
  ASSERT_NE(lists[1], 0u);

  ASSERT_TRUE(other.MakeCurrent());  // the dying view's context is not current
  delete view;
  EXPECT_EQ(node.GetView(), nullptr);
  EXPECT_EQ(leaf->GetView(), nullptr);
  EXPECT_EQ(node.GetDisplayList(), 0u);
  ASSERT_TRUE(context->MakeCurrent());
  EXPECT_FALSE(glIsList(lists[0]));
  EXPECT_FALSE(glIsList(lists[1]));

  node.Render(&keep);  // a new first view
  EXPECT_EQ(node.GetView(), &keep);
  EXPECT_NE(node.GetDisplayList(), 0u);
}

TEST_F(QelGLTest, DeletingAWholeSceneLeavesNoListBehind) {
  TQelOffscreenContext shared(64, 64, context.get());
  TTestView view(context.get()), second(&shared);
  auto* top = new TQelNode(nullptr);
  std::vector<TQelRender*> cached;
  for (int i = 0; i < 3; ++i) {
    auto* child = new TQelNode(top);
    top->Add(child);
    child->SetCached(true);
    cached.push_back(child);
    for (int j = 0; j < 2; ++j) {
      auto* obj = new TQelObject(child);
      child->Add(obj);
    }
  }
  auto* loose = new TQelObject(top);
  top->Add(loose);
  loose->SetCached(true);
  cached.push_back(loose);

  top->Render(&view);
  ASSERT_TRUE(shared.MakeCurrent());
  top->Render(&second);
  std::vector<GLuint> lists;
  for (TQelRender* r : cached) {
    ASSERT_NE(r->GetDisplayList(), 0u);
    lists.push_back(r->GetDisplayList());
  }

  delete top;  // from the other view's context
  ASSERT_TRUE(context->MakeCurrent());
  for (GLuint list : lists) EXPECT_FALSE(glIsList(list)) << list;
}

}  // namespace
