#include <gtest/gtest.h>

#include <qelon/qelon.h>

#include <string>
#include <vector>

namespace {

// Logs every notification it receives and drops its link to a dying peer.
class Listener : public TComponent {
public:
  using TComponent::TComponent;
  std::vector<std::string> log;
  TComponent* peer = nullptr;
  void Notification(TComponent* c, TOperation op) override {
    TComponent::Notification(c, op);
    log.push_back(std::string(op == opInsert ? "insert " : "remove ") + c->GetName());
    if (op == opRemove && c == peer) peer = nullptr;
  }
};

TEST(Component, OwnerDeletesWhatItOwnsAndIsToldOfInsertAndRemoval) {
  auto* owner = new Listener(nullptr);
  auto* a = new Listener(nullptr);
  a->SetName("a");
  owner->InsertComponent(a);
  auto* b = new Listener(owner);  // named after construction: the insert log shows ""
  b->SetName("b");
  EXPECT_EQ(owner->GetComponentCount(), 2);
  EXPECT_EQ(a->GetOwner(), owner);
  delete a;  // leaves its owner
  EXPECT_EQ(owner->GetComponentCount(), 1);
  EXPECT_EQ(owner->GetComponents(0), b);
  EXPECT_EQ(owner->log, (std::vector<std::string>{"insert a", "insert ", "remove a"}));
  delete owner;  // deletes b; AddressSanitizer would see a leak or a double delete
}

TEST(Component, FreeNotificationClearsReferencesBothWays) {
  auto* x = new Listener(nullptr);
  auto* y = new Listener(nullptr);
  y->SetName("y");
  x->peer = y;
  x->FreeNotification(y);
  delete y;
  EXPECT_EQ(x->peer, nullptr);
  EXPECT_EQ(x->log, std::vector<std::string>{"remove y"});

  auto* z = new Listener(nullptr);
  z->SetName("z");
  x->FreeNotification(z);
  x->RemoveFreeNotification(z);
  delete z;
  EXPECT_EQ(x->log.size(), 1u);
  delete x;
}

TEST(Component, DestroyingFlagIsSetWhileListenersAreTold) {
  struct Watcher : TComponent {
    using TComponent::TComponent;
    bool sawDestroying = false;
    void Notification(TComponent* c, TOperation op) override {
      TComponent::Notification(c, op);
      if (op == opRemove) sawDestroying = c->IsDestroying();
    }
  };
  Watcher w(nullptr);
  auto* dying = new TComponent(nullptr);
  w.FreeNotification(dying);
  delete dying;
  EXPECT_TRUE(w.sawDestroying);
}

TEST(Component, DesigningSpreadsToOwnedComponents) {
  TComponent owner(nullptr);
  auto* child = new TComponent(&owner);
  owner.SetDesigning(true);
  EXPECT_TRUE(child->IsDesigning());
  EXPECT_TRUE(owner.GetComponentState().Contains(csDesigning));
  EXPECT_FALSE(owner.GetComponentState().Contains(csLoading));
}

TEST(Component, InsertingIntoANewOwnerMovesIt) {
  TComponent first(nullptr), second(nullptr);
  auto* c = new TComponent(&first);
  second.InsertComponent(c);
  EXPECT_EQ(first.GetComponentCount(), 0);
  EXPECT_EQ(c->GetOwner(), &second);
}

TEST(Set, IncludeExcludeAndBits) {
  enum E { e0, e1, e2 };
  TSet<E> s{e0, e2};
  EXPECT_TRUE(s.Contains(e2));
  EXPECT_FALSE(s.Contains(e1));
  EXPECT_EQ(s.ToBits(), 5u);
  s.Exclude(e0).Include(e1);
  EXPECT_EQ(s, (TSet<E>{e1, e2}));
}

TEST(Errors, FileErrorNamesTheFile) {
  EQelFileError e("scene.xml", "No such file or directory");
  EXPECT_NE(std::string(e.what()).find("scene.xml"), std::string::npos);
  EXPECT_THROW(throw EQelError("x"), std::runtime_error);
}

TEST(Product, NameAndVersion) {
  EXPECT_EQ(QelProductName(), "Qelon");
  EXPECT_FALSE(QelProductVersion().empty());
}

}  // namespace

namespace {
// A listener that deletes another listener when told of a death.
class Deleter : public TComponent {
public:
  using TComponent::TComponent;
  TComponent* victim = nullptr;
  void Notification(TComponent* c, TOperation op) override {
    TComponent::Notification(c, op);
    if (op == opRemove && victim) {
      TComponent* v = victim;
      victim = nullptr;
      delete v;
    }
  }
};
}  // namespace

TEST(Component, AListenerMayDeleteAnotherListenerWhileBeingTold) {
  auto* dying = new TComponent(nullptr);
  auto* second = new Deleter(nullptr);
  auto* first = new Deleter(nullptr);
  dying->FreeNotification(second);
  dying->FreeNotification(first);  // told first: deletes second
  first->victim = second;
  delete dying;  // AddressSanitizer catches a use of the deleted listener
  EXPECT_EQ(first->victim, nullptr);
  delete first;
}
