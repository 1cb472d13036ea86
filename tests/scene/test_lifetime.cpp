// Whatever dies, nothing keeps a pointer to it. Run these under
// AddressSanitizer: a dangling pointer shows up there as a report.
#include "scenetest.h"

namespace {

// An object whose geometry would apply appearance; it stores references the
// way geometry classes do. Any render component stands in for a material.
class TRefObject : public TQelObject {
  QEL_CLASS(TRefObject)
public:
  using TQelObject::TQelObject;
  using TQelObject::GetAttributesRef;
  using TQelObject::GetMaterialRef;
  using TQelObject::GetTextureRef;
  using TQelObject::SetAttributesRef;
  using TQelObject::SetMaterialRef;
  using TQelObject::SetTextureRef;
};

// Reads the item in every notification: a dead item would be caught.
void Observe(TQelNode& node, std::vector<std::string>& seen) {
  node.OnNotify = [&seen](TComponent* c, TOperation op) {
    if (auto* r = dynamic_cast<TQelRender*>(c)) seen.push_back(r->GetObjectName());
  };
}

TEST(Lifetime, ADeadItemLeavesEveryListHoweverItGotThere) {
  TQelNode direct(nullptr), indirect(nullptr), plain(nullptr);
  TQelObject filler(nullptr);
  auto* item = new TQelObject(nullptr);
  direct.Add(item);
  indirect.AddIndirect(item);
  indirect.AddIndirect(item);
  plain.Add(&filler);
  plain.SetItems(0, item);
  std::vector<std::string> seen;
  Observe(direct, seen);
  delete item;
  EXPECT_EQ(direct.GetCount(), 0);
  EXPECT_EQ(indirect.GetCount(), 0);
  EXPECT_EQ(plain.GetCount(), 0);
  EXPECT_FALSE(seen.empty());
  direct.OnNotify = nullptr;
}

TEST(Lifetime, ARemovedOwnedItemIsStillWholeWhileObserversAreTold) {
  TQelNode node(nullptr);
  auto* item = new TQelObject(&node);
  item->SetObjectName("item");
  node.Add(item);
  std::vector<std::string> seen;
  Observe(node, seen);
  node.Remove(item);
  EXPECT_EQ(seen, (std::vector<std::string>(3, "item")));
  node.OnNotify = nullptr;
}

TEST(Lifetime, ADyingNodeUnlinksWhatItDoesNotOwnAndDestroysWhatItDoes) {
  TQelObject foreign(nullptr), displaced(nullptr), other(nullptr);
  TQelNode keeper(nullptr);
  auto* node = new TQelNode(nullptr);
  node->Add(&foreign);
  node->Add(&displaced);
  node->SetItems(1, &other);  // displaced still names the node
  keeper.AddIndirect(node);
  auto* owned = new TQelObject(node);
  node->Add(owned);
  auto* child = new TQelNode(node);
  node->Add(child);
  child->Add(new TQelObject(child));
  child->AddIndirect(&foreign);

  delete node;
  EXPECT_EQ(foreign.GetNode(), nullptr);
  EXPECT_FALSE(foreign.OnChange);
  EXPECT_EQ(displaced.GetNode(), nullptr);
  EXPECT_EQ(keeper.GetCount(), 0);
  foreign.SetObjectID(2);  // must reach nobody
}

TEST(Lifetime, ChangeHandlersHandedOnByAssignOutliveTheirComponents) {
  TQelObject copy(nullptr);
  TQelTransformation placement;
  {
    TQelNode node(nullptr);
    TQelObject item(nullptr);
    node.Add(&item);
    copy.Assign(&item);  // takes over the node's handler, deliberately
    placement.Assign(item.GetTransformation());  // takes over the item's handler
  }
  copy.SetObjectID(1);
  placement.GetScale()->SetX(2);
}

TEST(Lifetime, ADyingChildNodeLeavesItsParent) {
  TQelNode parent(nullptr);
  auto* child = new TQelNode(nullptr);
  parent.Add(child);
  child->Add(new TQelObject(child));
  int changes = 0;
  parent.OnChange = [&](TObject*) { ++changes; };
  delete child;
  EXPECT_EQ(parent.GetCount(), 0);
  EXPECT_EQ(parent.CountAllItems(false), 0);
}

TEST(Lifetime, AnAnchorDestroyedFromOutsideIsForgotten) {
  TQelNode node(nullptr);
  TQelAnchor* anchor = node.GetAnchor();
  anchor->Add(new TQelObject(anchor));
  delete anchor;
  EXPECT_FALSE(node.HasAnchor());
  EXPECT_EQ(node.CountAllItems(false), 0);
  EXPECT_NE(node.GetAnchor(), nullptr);  // made anew
}

TEST(Lifetime, ADyingAppearanceComponentIsClearedFromEveryObject) {
  auto* material = new TMarker(nullptr);
  auto* texture = new TMarker(nullptr);
  TRefObject a(nullptr), b(nullptr);
  a.SetMaterialRef(material);
  b.SetMaterialRef(material);
  b.SetTextureRef(texture);
  b.SetAttributesRef(texture);  // one component in two roles
  delete material;
  EXPECT_EQ(a.GetMaterialRef(), nullptr);
  EXPECT_EQ(b.GetMaterialRef(), nullptr);
  EXPECT_EQ(b.GetTextureRef(), texture);
  delete texture;
  EXPECT_EQ(b.GetTextureRef(), nullptr);
  EXPECT_EQ(b.GetAttributesRef(), nullptr);

  // The other way round: the object dies first, the material later.
  auto* later = new TMarker(nullptr);
  auto* holder = new TRefObject(nullptr);
  holder->SetMaterialRef(later);
  delete holder;
  delete later;
}

TEST(Lifetime, AnOwnerDestroysAMixedSceneInAnyOrder) {
  for (int order = 0; order < 2; ++order) {
    auto* form = new TComponent(nullptr);
    TQelNode* top = nullptr;
    std::vector<TQelObject*> items;
    if (order == 1) top = new TQelNode(form);
    for (int i = 0; i < 4; ++i) items.push_back(new TQelObject(form));
    if (order == 0) top = new TQelNode(form);
    auto* branch = new TQelNode(form);
    top->Add(branch);
    top->Add(items[0]);
    branch->Add(items[1]);
    branch->AddIndirect(items[0]);
    top->GetAnchor()->AddIndirect(items[2]);
    top->GetAnchor()->Add(items[3]);
    delete form;  // ASan reports any use of what died first
  }
}

TEST_F(QelGLTest, ComponentsAndViewsDieInEitherOrder) {
  auto* view = new TTestView(context.get());
  auto* cached = new TMarker(nullptr);
  cached->SetCached(true);
  cached->Render(view);
  delete cached;  // the view forgets it
  delete view;

  view = new TTestView(context.get());
  TQelNode node(nullptr);
  node.SetCached(true);
  node.Render(view);
  delete view;
  EXPECT_EQ(node.GetView(), nullptr);
}

}  // namespace
