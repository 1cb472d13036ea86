// Node lists with their indirect flags, searches, traversal, the anchor,
// ownership on removal and moves, and safety when anything dies.
#include <algorithm>

#include "scenetest.h"

namespace {

using Names = std::vector<std::string>;

// Logs OnNotify as "insert a" / "remove a" by ObjectName (or "self").
struct NotifyLog {
  explicit NotifyLog(TQelNode& node) : node(node) {
    node.OnNotify = [this](TComponent* c, TOperation op) {
      auto* r = dynamic_cast<TQelRender*>(c);
      std::string who = c == &this->node ? "self" : r ? r->GetObjectName() : "?";
      log.push_back(std::string(op == opInsert ? "insert " : "remove ") + who);
    };
  }
  ~NotifyLog() { node.OnNotify = nullptr; }  // the node may outlive the log
  TQelNode& node;
  Names log;
};

TQelRender* Named(TQelRender* r, const std::string& name) {
  r->SetObjectName(name);
  return r;
}

Names ObjectNames(const TQelNode& node) {
  Names out;
  for (int i = 0; i < node.GetCount(); ++i) out.push_back(node.GetItems(i)->GetObjectName());
  return out;
}

Names ObjectNames(const TQelRenderArray& list) {
  Names out;
  for (TQelRender* r : list) out.push_back(r->GetObjectName());
  return out;
}

TEST(Node, AddLinksTheItemAndPassesItsChangesUp) {
  TQelNode top(nullptr);
  auto* node = new TQelNode(&top);
  top.Add(node);
  NotifyLog log(*node);
  TQelObject item(nullptr);
  item.SetObjectName("a");
  EXPECT_EQ(node->Add(&item), 0);
  EXPECT_EQ(item.GetNode(), node);
  EXPECT_FALSE(node->GetIndirect(0));
  EXPECT_EQ(log.log, Names{"insert a"});

  std::vector<TObject*> senders;
  top.OnChange = [&](TObject* s) { senders.push_back(s); };
  item.GetColor()->SetColor(0x123456);
  EXPECT_EQ(senders, std::vector<TObject*>{&top});
  node->Remove(&item);  // unlinks: later changes stay below
  item.GetColor()->SetColor(0x654321);
  EXPECT_EQ(senders.size(), 1u);
}

TEST(Node, LinkingANodeToItselfIsRefusedAndLeavesTheListAlone) {
  TQelNode node(nullptr);
  TQelObject a(nullptr);
  node.Add(&a);
  try {
    node.Add(&node);
    FAIL() << "no error";
  } catch (const EQelError& e) {
    EXPECT_STREQ(e.what(), "Can not create a link to myself.");
  }
  EXPECT_THROW(node.Insert(0, &node), EQelError);
  EXPECT_THROW(node.AddIndirect(&node), EQelError);
  EXPECT_EQ(node.GetCount(), 1);
  EXPECT_EQ(node.GetNode(), nullptr);
}

TEST(Node, RemoveDestroysOnlyWhatTheNodeOwnsAndNotifiesTwice) {
  TQelNode node(nullptr);
  NotifyLog log(node);
  auto* owned = new TQelObject(&node);  // the owner is told: "insert"
  owned->SetObjectName("owned");
  TQelObject foreign(nullptr);
  foreign.SetObjectName("foreign");
  node.Add(owned);
  node.Add(&foreign);
  log.log.clear();

  EXPECT_EQ(node.Remove(&foreign), 1);
  EXPECT_EQ(foreign.GetNode(), nullptr);
  EXPECT_FALSE(foreign.OnChange);
  // Leaving through SetNode(none) asks the node once more, which finds
  // nothing and notifies a second time.
  EXPECT_EQ(log.log, (Names{"remove foreign", "remove foreign"}));

  log.log.clear();
  int ownedGone = 0;
  struct Watch : TComponent {
    int* gone;
    Watch(int* g) : TComponent(nullptr), gone(g) {}
    void Notification(TComponent* c, TOperation op) override {
      TComponent::Notification(c, op);
      if (op == opRemove) ++*gone;
    }
  } watch(&ownedGone);
  watch.FreeNotification(owned);
  node.Delete(0);
  EXPECT_EQ(ownedGone, 1);  // destroyed
  EXPECT_EQ(node.GetCount(), 0);
  EXPECT_EQ(node.GetComponentCount(), 0);
  EXPECT_EQ(log.log.size(), 3u);  // twice from Remove, once as its owner

  log.log.clear();
  EXPECT_EQ(node.Remove(&foreign), -1);
  EXPECT_EQ(log.log, Names{"remove foreign"});
}

TEST(Node, IndirectItemsAreListedButNeitherClaimedNorDestroyed) {
  TQelNode home(nullptr), other(nullptr);
  NotifyLog log(other);
  auto* item = new TQelObject(&other);  // even when the linking node owns it
  item->SetObjectName("i");
  home.Add(item);
  int homeChanges = 0;
  home.OnChange = [&](TObject*) { ++homeChanges; };
  log.log.clear();

  EXPECT_EQ(other.AddIndirect(item), 0);
  EXPECT_TRUE(other.GetIndirect(0));
  EXPECT_EQ(item->GetNode(), &home);
  EXPECT_TRUE(log.log.empty());
  item->SetObjectID(5);
  EXPECT_EQ(homeChanges, 1);  // its changes still go home

  EXPECT_EQ(other.Remove(item), 0);
  EXPECT_EQ(item->GetNode(), &home);
  EXPECT_EQ(home.IndexOf(item), 0);
  EXPECT_EQ(item->GetOwner(), &other);  // not destroyed
  item->SetObjectID(6);
  EXPECT_EQ(homeChanges, 2);
}

TEST(Node, FlagsTravelWithTheirEntries) {
  TQelNode node(nullptr), elsewhere(nullptr);
  TQelObject a(nullptr), b(nullptr), c(nullptr), d(nullptr);
  for (auto [r, n] : {std::pair<TQelRender*, const char*>{&a, "a"}, {&b, "b"}, {&c, "c"}, {&d, "d"}})
    Named(r, n);
  elsewhere.Add(&b);
  node.Add(&a);
  node.AddIndirect(&b);
  node.Add(&c);
  auto flags = [&] {
    std::string f;
    for (int i = 0; i < node.GetCount(); ++i) f += node.GetIndirect(i) ? 'I' : '-';
    return f;
  };
  EXPECT_EQ(flags(), "-I-");

  node.Insert(0, &d);
  EXPECT_EQ(ObjectNames(node), (Names{"d", "a", "b", "c"}));
  EXPECT_EQ(flags(), "--I-");

  node.Exchange(2, 0);
  EXPECT_EQ(ObjectNames(node), (Names{"b", "a", "d", "c"}));
  EXPECT_EQ(flags(), "I---");
  node.Exchange(0, 7);  // out of range: nothing
  EXPECT_EQ(flags(), "I---");

  node.Move(0, 2);
  EXPECT_EQ(ObjectNames(node), (Names{"a", "d", "b", "c"}));
  EXPECT_EQ(flags(), "--I-");

  node.Remove(&a);
  EXPECT_EQ(flags(), "-I-");
  node.Remove(&b);
  EXPECT_EQ(flags(), "--");
  EXPECT_EQ(b.GetNode(), &elsewhere);
}

TEST(Node, MoveClampsBothIndices) {
  TQelNode node(nullptr);
  TQelObject a(nullptr), b(nullptr), c(nullptr);
  node.Add(Named(&a, "a"));
  node.Add(Named(&b, "b"));
  node.AddIndirect(Named(&c, "c"));
  node.Move(10, 0);  // index 10 of three: the last item
  EXPECT_EQ(ObjectNames(node), (Names{"c", "a", "b"}));
  EXPECT_TRUE(node.GetIndirect(0));
  node.Move(-4, 99);
  EXPECT_EQ(ObjectNames(node), (Names{"a", "b", "c"}));
  EXPECT_TRUE(node.GetIndirect(2));
  TQelNode empty(nullptr);
  empty.Move(3, 1);
  EXPECT_EQ(empty.GetCount(), 0);
}

TEST(Node, PlainAccessAndBadIndicesDoNotLink) {
  TQelNode node(nullptr);
  TQelObject a(nullptr), b(nullptr);
  node.Add(&a);
  node.SetItems(0, &b);
  EXPECT_EQ(node.GetItems(0), &b);
  EXPECT_EQ(b.GetNode(), nullptr);
  EXPECT_EQ(a.GetNode(), &node);  // its link is left as it was
  EXPECT_EQ(node.GetItems(1), nullptr);
  EXPECT_EQ(node.GetItems(-1), nullptr);
  node.SetItems(3, &a);
  node.Delete(5);
  node.Insert(9, &a);  // clamped to the end
  EXPECT_EQ(node.IndexOf(&a), 1);
  EXPECT_EQ(node.Add(nullptr), -1);
}

TEST(Node, AddingAnItemAgainMovesItToTheEnd) {
  TQelNode node(nullptr);
  auto* a = new TQelObject(&node);
  auto* b = new TQelObject(&node);
  node.Add(Named(a, "a"));
  node.Add(Named(b, "b"));
  EXPECT_EQ(node.Add(a), 1);  // owned by the node, yet it survives its own move
  EXPECT_EQ(ObjectNames(node), (Names{"b", "a"}));
  EXPECT_EQ(a->GetOwner(), &node);
  EXPECT_EQ(a->GetNode(), &node);
  a->SetNode(&node);  // already there: nothing
  EXPECT_EQ(node.GetCount(), 2);
}

TEST(Node, InsertingAnOwnedItemIntoAnotherNodeMovesItAlive) {
  TQelNode from(nullptr), to(nullptr);
  auto* item = new TQelObject(&from);
  item->SetObjectName("x");
  from.Add(item);
  to.Add(item);
  EXPECT_EQ(from.GetCount(), 0);
  ASSERT_EQ(to.GetCount(), 1);
  EXPECT_EQ(to.GetItems(0), item);
  EXPECT_EQ(item->GetNode(), &to);
  EXPECT_EQ(item->GetOwner(), &to);  // the receiving node took it over
  EXPECT_EQ(item->GetObjectName(), "x");

  // SetNode moves it the same way.
  item->SetNode(&from);
  EXPECT_EQ(item->GetOwner(), &from);
  EXPECT_EQ(from.IndexOf(item), 0);
  // Leaving for no node at all ends an owned item.
  item->SetNode(nullptr);
  EXPECT_EQ(from.GetComponentCount(), 0);
}

TEST(Node, ClearRemovesEverythingAndTheAnchor) {
  TQelNode node(nullptr);
  NotifyLog log(node);
  TQelObject foreign(nullptr);
  auto* owned = new TQelObject(&node);
  node.Add(Named(owned, "owned"));
  node.Add(Named(&foreign, "foreign"));
  node.AddIndirect(&foreign);
  TQelAnchor* anchor = node.GetAnchor();
  EXPECT_EQ(node.GetAnchor(), anchor);
  EXPECT_EQ(anchor->GetObjectName(), "Anchor");
  EXPECT_FALSE(anchor->GetEnabled());
  EXPECT_EQ(anchor->GetOwner(), nullptr);
  log.log.clear();

  node.Clear();
  EXPECT_EQ(node.GetCount(), 0);
  EXPECT_FALSE(node.HasAnchor());
  EXPECT_EQ(node.GetComponentCount(), 0);
  EXPECT_EQ(foreign.GetNode(), nullptr);
  // Last first: the indirect entry, then foreign, then owned.
  EXPECT_EQ(log.log.front(), "remove foreign");
  EXPECT_EQ(std::count(log.log.begin(), log.log.end(), "remove owned"), 3);
}

TEST(Node, CountAllItemsCountsLeavesSkippingDisabledBranchesButNotTheAnchor) {
  TQelNode top(nullptr);
  auto* branch = new TQelNode(&top);
  top.Add(branch);
  branch->Add(new TQelObject(branch));
  branch->Add(new TQelObject(branch));
  auto* off = new TQelObject(&top);
  off->SetEnabled(false);
  top.Add(off);
  top.Add(new TQelObject(&top));
  auto* anchored = new TQelObject(top.GetAnchor());
  top.GetAnchor()->Add(anchored);
  auto* anchoredOff = new TQelObject(top.GetAnchor());
  anchoredOff->SetEnabled(false);
  top.GetAnchor()->Add(anchoredOff);

  EXPECT_EQ(top.CountAllItems(false), 6);  // 2 in the branch, 2 direct, 2 anchored
  EXPECT_EQ(top.CountAllItems(true), 4);
  branch->SetEnabled(false);
  EXPECT_EQ(top.CountAllItems(true), 2);  // the branch goes with all it holds
  EXPECT_EQ(top.CountAllItems(false), 6);
  TQelNode empty(nullptr);
  EXPECT_EQ(empty.CountAllItems(false), 0);
}

TEST(Node, FindItemTakesTheLastMatchOfItsOwnItemsOnly) {
  TQelNode top(nullptr);
  auto* first = Named(new TQelObject(&top), "twin");
  auto* child = static_cast<TQelNode*>(Named(new TQelNode(&top), "child"));
  auto* second = Named(new TQelObject(&top), "twin");
  top.Add(first);
  top.Add(child);
  top.Add(second);
  child->Add(Named(new TQelObject(child), "deep"));
  EXPECT_EQ(top.FindItem("twin"), second);
  EXPECT_EQ(top.FindItem("deep"), nullptr);
  EXPECT_EQ(top.FindItem("TWIN"), nullptr);  // case matters
  TQelRenderArray list;
  top.FindItemList("deep", list);
  EXPECT_EQ(list.size(), 1u);
}

class TQelTestShape : public TQelObject {
  QEL_CLASS(TQelTestShape)
public:
  using TQelObject::TQelObject;
};

TEST(Node, FindItemListWalksDepthFirstWithNodesBeforeTheirMatches) {
  TQelNode top(nullptr);
  auto* a = new TQelNode(&top);
  top.Add(Named(a, "x"));
  a->Add(Named(new TQelTestShape(a), "x"));
  a->Add(Named(new TQelObject(a), "y"));
  auto* b = new TQelNode(a);
  a->Add(Named(b, "x"));
  b->Add(Named(new TQelTestShape(b), "z"));
  top.Add(Named(new TQelObject(&top), "x"));
  top.GetAnchor()->Add(Named(new TQelObject(top.GetAnchor()), "x"));  // not searched

  TQelRenderArray list;
  top.FindItemList(nullptr, list);
  EXPECT_EQ(ObjectNames(list), (Names{"x", "x", "y", "x", "z", "x"}));
  EXPECT_EQ(list.size(), list.capacity());  // cut to the count

  top.FindItemList("x", list);
  ASSERT_EQ(list.size(), 4u);
  EXPECT_EQ(list[0], a);
  EXPECT_EQ(list[2], b);

  top.FindItemList(QelClassOf<TQelNode>(), list);
  EXPECT_EQ(list, (TQelRenderArray{a, b}));
  top.FindItemList(QelClassOf<TQelObject>(), list);  // subclasses too
  EXPECT_EQ(ObjectNames(list), (Names{"x", "y", "z", "x"}));
  top.FindItemList(QelClassOf<TQelTestShape>(), "z", list);
  EXPECT_EQ(ObjectNames(list), Names{"z"});
  top.FindItemList(QelClassOf<TQelTestShape>(), "nothing", list);
  EXPECT_TRUE(list.empty());
}

TEST(Node, TraverseWalksDownEachAndUpAndABreakSkipsOneBranch) {
  TQelNode top(nullptr);
  top.SetObjectName("top");
  auto* a = static_cast<TQelNode*>(Named(new TQelNode(&top), "a"));
  auto* b = static_cast<TQelNode*>(Named(new TQelNode(&top), "b"));
  top.Add(a);
  top.Add(b);
  a->Add(Named(new TQelObject(a), "a1"));
  b->Add(Named(new TQelObject(b), "b1"));
  Names log;
  TObject* sender = nullptr;
  auto line = [](const char* what, TQelRender* item, int level) {
    return std::string(what) + " " + item->GetObjectName() + " " + std::to_string(level);
  };
  top.OnTraverseDown = [&](TObject* s, TQelRender* item, int level, bool& stop) {
    sender = s;
    log.push_back(line("down", item, level));
    stop = item == a;
  };
  top.OnTraverse = [&](TObject*, TQelRender* item, int level) { log.push_back(line("each", item, level)); };
  top.OnTraverseUp = [&](TObject*, TQelRender* item, int level) { log.push_back(line("up", item, level)); };
  top.Traverse();
  EXPECT_EQ(sender, &top);
  EXPECT_EQ(log, (Names{"down top 0", "each a 0", "down a 1", "each b 0", "down b 1", "each b1 1",
                        "up b 1", "up top 0"}));

  log.clear();
  top.OnTraverseDown = nullptr;
  top.OnTraverse = nullptr;
  top.Traverse();
  EXPECT_EQ(log, (Names{"up a 1", "up b 1", "up top 0"}));
}

// --- the registry ----------------------------------------------------------

class TQelRegistryProbe : public TQelObject {
  QEL_CLASS(TQelRegistryProbe)
public:
  using TQelObject::TQelObject;
};

class TQELNODE : public TQelObject {  // differs from TQelNode only in case
  QEL_CLASS(TQELNODE)
public:
  using TQelObject::TQelObject;
};

TEST(Registry, TheScenesClassesAreThereAndLookupsIgnoreCase) {
  EXPECT_EQ(GetRenderClass("TQelNode"), QelClassOf<TQelNode>());
  EXPECT_EQ(GetRenderClass("tqelnode"), QelClassOf<TQelNode>());
  EXPECT_EQ(GetRenderClass("TQELOBJECT"), QelClassOf<TQelObject>());
  EXPECT_EQ(GetRenderClass("TQelNothing"), nullptr);
  EXPECT_EQ(QelClassOf<TQelCustomNode>()->Create, nullptr);  // abstract

  TQelNode owner(nullptr);
  TQelRender* made = GetRenderClass("tqelnode")->Create(&owner);
  EXPECT_STREQ(made->ClassName(), "TQelNode");
  EXPECT_EQ(made->GetOwner(), &owner);
  EXPECT_TRUE(QelClassOf<TQelRender>()->IsInstance(made));
  EXPECT_FALSE(QelClassOf<TQelObject>()->IsInstance(made));
}

TEST(Registry, ANameIsRegisteredOnce) {
  TQelRenderClassList before;
  GetRenderClassList(before);
  try {
    RegisterRenderClass(QelClassOf<TQELNODE>());
    FAIL() << "no error";
  } catch (const EQelError& e) {
    EXPECT_STREQ(e.what(), "This class was already registered.");
  }
  EXPECT_THROW(RegisterRenderClass(QelClassOf<TQelObject>()), EQelError);
  TQelRenderClassList after;
  GetRenderClassList(after);
  EXPECT_EQ(after, before);

  RegisterRenderClass(QelClassOf<TQelRegistryProbe>());
  GetRenderClassList(after);
  ASSERT_EQ(after.size(), before.size() + 1);
  EXPECT_EQ(after.back(), (std::pair<std::string, TQelRenderClass>{
                              "TQelRegistryProbe", QelClassOf<TQelRegistryProbe>()}));
  EXPECT_EQ(GetRenderClass("tqelregistryprobe"), QelClassOf<TQelRegistryProbe>());
}

}  // namespace
