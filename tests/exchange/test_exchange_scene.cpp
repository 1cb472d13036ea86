// The math, scene and camera classes in scene files: every value survives a
// save and a load, the text of a small scene, the tree with its anchor and
// references, and unknown tags.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include <qelon/qelon.h>

#include "exchangetest.h"

namespace fs = std::filesystem;

namespace {

using qeltest::ReadFile;
using qeltest::WriteFile;

class SceneExchange : public qeltest::ExchangeTest {};

// Every exchanged value of c's class, as text.
using Values = std::vector<std::string>;
template <class... T>
void Add(Values& out, const T&... v) {
  ((out.push_back((std::ostringstream() << v).str())), ...);
}
void AddVector(Values& out, const TQelVector* v) { Add(out, v->GetX(), v->GetY(), v->GetZ()); }
Values AllValues(TQelTransformed* c) {
  Values out;
  const TQelTransformation* t = c->GetTransformation();
  Add(out, c->GetName(), int(t->GetOrder()), int(t->GetRotation()->GetOrder()));
  AddVector(out, t->GetRotation());
  AddVector(out, t->GetScale());
  AddVector(out, t->GetTranslation());
  if (auto* r = dynamic_cast<TQelRender*>(c)) {
    const TQelCoordinates* a = r->GetCoordinates();
    Add(out, r->GetObjectName(), r->GetEnabled(), r->GetCached(), r->GetProjectionEnabled(),
        a->GetVisible(), a->GetLength(), a->GetColorX(), a->GetColorY(), a->GetColorZ());
  }
  if (auto* o = dynamic_cast<TQelObject*>(c))
    Add(out, o->GetObjectID(), int(o->GetColorAsMaterial()), o->GetColor()->GetColor(),
        o->GetColor()->GetAlpha());
  if (auto* cam = dynamic_cast<TQelCamera*>(c)) {
    const TQelRect* r = cam->GetViewport();
    Add(out, cam->GetViewNear(), cam->GetViewFar(), cam->GetEnableViewport(), r->GetLeft(),
        r->GetRight(), r->GetTop(), r->GetBottom());
  }
  if (auto* p = dynamic_cast<TQelPerspectiveCamera*>(c)) Add(out, p->GetViewAngle());
  if (auto* o = dynamic_cast<TQelOrthographicCamera*>(c))
    Add(out, o->GetViewWidth(), o->GetViewHeight());
  return out;
}

// Sets every value AllValues lists away from its default.
void ChangeAll(TQelTransformed* c) {
  TQelTransformation* t = c->GetTransformation();
  c->SetName("n");
  t->SetOrder(toScaRotTra);
  t->GetRotation()->SetValues(5, -6, 7.5f);
  t->GetRotation()->SetOrder(roYZX);
  t->GetScale()->SetValues(2, 3, 0.25f);
  t->GetTranslation()->SetValues(-1, 0.5f, 8);
  if (auto* r = dynamic_cast<TQelRender*>(c)) {
    r->SetObjectName("label");
    r->SetEnabled(false);
    r->SetCached(true);
    r->SetProjectionEnabled(true);
    TQelCoordinates* a = r->GetCoordinates();
    a->SetVisible(true);
    a->SetLength(2.5f);
    for (int i = 0; i < 3; ++i) a->SetColor(i, 0x010203 * (i + 1));
  }
  if (auto* o = dynamic_cast<TQelObject*>(c)) {
    o->SetObjectID(42);
    o->SetColorAsMaterial(cmDiffuse);
    o->GetColor()->SetColor(0x00FF80);
    o->GetColor()->SetAlpha(0.5f);
  }
  if (auto* cam = dynamic_cast<TQelCamera*>(c)) {
    cam->SetViewNear(0.5f);
    cam->SetViewFar(250);
    cam->SetEnableViewport(true);
    cam->GetViewport()->SetRect({10, 20, 300, 400});
  }
  if (auto* p = dynamic_cast<TQelPerspectiveCamera*>(c)) p->SetViewAngle(60);
  if (auto* o = dynamic_cast<TQelOrthographicCamera*>(c)) {
    o->SetViewWidth(3);
    o->SetViewHeight(5);
  }
}

template <class T>
TQelTransformed* Make() {
  return new T(nullptr);
}
using MakeFn = TQelTransformed* (*)();
const std::pair<const char*, MakeFn> kRoundTrips[] = {
    {"node", Make<TQelNode>},
    {"object", Make<TQelObject>},
    {"perspective camera", Make<TQelPerspectiveCamera>},
    {"orthographic camera", Make<TQelOrthographicCamera>},
};

TEST_F(SceneExchange, EveryValueSurvivesSaveAndLoad) {
  for (const auto& [name, make] : kRoundTrips) {
    for (bool noDefaults : {false, true}) {
      SCOPED_TRACE(std::string(name) + (noDefaults ? " without defaults" : ""));
      std::unique_ptr<TQelTransformed> saved(make()), loaded(make()), fresh(make());
      ChangeAll(saved.get());
      const Values expected = AllValues(saved.get()), defaults = AllValues(fresh.get());
      for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_NE(expected[i], defaults[i]) << "value " << i << " is not changed by the case";

      ex.SetNoDefaultValues(noDefaults);
      ASSERT_TRUE(ex.SaveToFile(File("saved.xml"), saved.get()));
      ASSERT_TRUE(ex.LoadFromFile(File("saved.xml"), loaded.get()));
      EXPECT_EQ(AllValues(loaded.get()), expected) << ReadFile(dir / "saved.xml");
      EXPECT_TRUE(ex.GetMessages().empty()) << ::testing::PrintToString(ex.GetMessages());
    }
  }
}

TEST_F(SceneExchange, TextOfASmallNode) {
  TQelNode top(nullptr);
  top.SetName("top");
  auto* box = new TQelObject(&top);
  box->SetName("box");
  box->GetTransformation()->GetTranslation()->SetValues(1, 2.5f, -3);
  box->GetColor()->SetColor(0x00FF00);
  top.Add(box);
  ASSERT_TRUE(ex.SaveToFile(File("s.xml"), &top));
  EXPECT_EQ(ReadFile(dir / "s.xml"),
            "<QELGL version=\"" + QelProductVersion() +
                "\" program=\"Qelon\" description=\"\">\r\n"
                "  <Objects ID=\"0\" Name=\"top\" Enabled=\"true\" Cached=\"false\" "
                "ProjectionEnabled=\"false\" ObjectName=\"\">\r\n"
                "    <Transformation Order=\"toRotTraSca\">\r\n"
                "      <Rotation P=\"0,0,0\" Order=\"roXYZ\"/>\r\n"
                "      <Scale P=\"1,1,1\"/>\r\n"
                "      <Translation P=\"0,0,0\"/>\r\n"
                "    </Transformation>\r\n"
                "    <TQELOBJECT ID=\"1\" Name=\"box\" Enabled=\"true\" Cached=\"false\" "
                "ProjectionEnabled=\"false\" ObjectName=\"box\" ObjectID=\"-1\" "
                "Textured=\"false\" ColorAsMaterial=\"cmNone\">\r\n"
                "      <Transformation Order=\"toRotTraSca\">\r\n"
                "        <Rotation P=\"0,0,0\" Order=\"roXYZ\"/>\r\n"
                "        <Scale P=\"1,1,1\"/>\r\n"
                "        <Translation P=\"1,2.5,-3\"/>\r\n"
                "      </Transformation>\r\n"
                "      <Color Color=\"65280\" Alpha=\"1\"/>\r\n"
                "    </TQELOBJECT>\r\n"
                "  </Objects>\r\n"
                "  <Anchor/>\r\n"
                "</QELGL>\r\n");
}

// An object that keeps its appearance references, as geometry classes do.
class TXRefObject : public TQelObject {
  QEL_CLASS(TXRefObject)
public:
  using TQelObject::TQelObject;
  TQelAttributes* GetAttributes() const override { return (TQelAttributes*)GetAttributesRef(); }
  void SetAttributes(TQelAttributes* value) override { SetAttributesRef(value); }
  TQelTexture* GetTexture() const override { return (TQelTexture*)GetTextureRef(); }
  void SetTexture(TQelTexture* value) override { SetTextureRef(value); }
  TQelMaterial* GetMaterial() const override { return (TQelMaterial*)GetMaterialRef(); }
  void SetMaterial(TQelMaterial* value) override { SetMaterialRef(value); }
};

// The class of each item, depth first, the anchor's items marked.
void Describe(TQelNode* node, const std::string& indent, Values& out) {
  for (int32_t i = 0; i < node->GetCount(); ++i) {
    out.push_back(indent + node->GetItems(i)->ClassName());
    if (auto* sub = dynamic_cast<TQelNode*>(node->GetItems(i))) Describe(sub, indent + "  ", out);
  }
  if (node->HasAnchor()) Describe(node->GetAnchor(), indent + "anchor: ", out);
}

TEST_F(SceneExchange, TreeAnchorAndReferencesSurvive) {
  static const bool registered = (RegisterRenderClass(QelClassOf<TXRefObject>()), true);
  (void)registered;
  TQelNode top(nullptr), fresh(nullptr);
  TQelTexture texture(nullptr);  // outside the tree: written in the references section
  auto* attributes = new TQelAttributes(&top);
  auto* sub = new TQelNode(&top);
  auto* off = new TQelObject(&top);
  auto* obj = new TXRefObject(&top);
  auto* material = new TQelMaterial(&top);
  for (TQelRender* item : {(TQelRender*)attributes, (TQelRender*)sub, (TQelRender*)off,
                           (TQelRender*)obj})
    top.Add(item);
  sub->Add(new TQelObject(sub));
  off->SetEnabled(false);  // disabled items are not saved
  top.GetAnchor()->Add(material);
  obj->SetAttributes(attributes);
  obj->SetMaterial(material);
  obj->SetTexture(&texture);

  ASSERT_TRUE(ex.SaveToFile(File("s.xml"), &top));
  ASSERT_TRUE(ex.LoadFromFile(File("s.xml"), &fresh));
  Values tree;
  Describe(&fresh, "", tree);
  ASSERT_EQ(tree, (Values{"TQelAttributes", "TQelNode", "  TQelObject", "TXRefObject",
                          "anchor: TQelMaterial", "anchor: TQelTexture"}))
      << ReadFile(dir / "s.xml");
  auto* loaded = static_cast<TXRefObject*>(fresh.GetItems(2));
  EXPECT_EQ(loaded->GetAttributes(), fresh.GetItems(0));
  EXPECT_EQ(loaded->GetMaterial(), fresh.GetAnchor()->GetItems(0));
  EXPECT_EQ(loaded->GetTexture(), fresh.GetAnchor()->GetItems(1));
}

TEST_F(SceneExchange, UnknownClassIsReportedAndSkipped) {
  std::ofstream(dir / "s.xml", std::ios::binary)
      << "<QELGL><Objects ID=\"0\">"
         "<TQELNOSUCHTHING Name=\"x\"><TQELOBJECT Name=\"inside\"/></TQELNOSUCHTHING>"
         "<TQELOBJECT Name=\"after\"/>"
         "</Objects></QELGL>";
  TQelNode fresh(nullptr);
  ASSERT_TRUE(ex.LoadFromFile(File("s.xml"), &fresh));
  EXPECT_EQ(ex.GetMessages(), Values{" Error: Class TQELNOSUCHTHING not found."});
  ASSERT_EQ(fresh.GetCount(), 1);
  EXPECT_EQ(fresh.GetItems(0)->GetName(), "after");
}

}  // namespace
