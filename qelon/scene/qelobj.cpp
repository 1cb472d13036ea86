#include "qelobj.h"

#include <algorithm>
#include <cctype>

#include <typeinfo>

#include "qelon/appearance/qelappearancerefs.h"
#include "qelon/appearance/qelattr.h"
#include "qelon/appearance/qelmat.h"
#include "qelon/appearance/qeltex.h"
#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/platform/qelerror.h"
#include "qelon/scene/qelrenderstate.h"

// --- render-class registry ---------------------------------------------------

namespace {

TQelRenderClassList& Registry() {
  static TQelRenderClassList registry;
  return registry;
}

bool SameText(const std::string& a, const std::string& b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](unsigned char x, unsigned char y) {
           return std::tolower(x) == std::tolower(y);
         });
}

}  // namespace

void RegisterRenderClass(TQelRenderClass AClass) {
  if (!AClass || !AClass->ClassName) return;
  if (GetRenderClass(AClass->ClassName)) throw EQelError("This class was already registered.");
  Registry().emplace_back(AClass->ClassName, AClass);
}

TQelRenderClass GetRenderClass(const std::string& name) {
  for (const auto& [registered, cls] : Registry())
    if (SameText(registered, name)) return cls;
  return nullptr;
}

void GetRenderClassList(TQelRenderClassList& list) { list = Registry(); }

// --- TQelNode ----------------------------------------------------------------

TQelNode::TQelNode(TComponent* AOwner) : TQelCustomNode(AOwner) {}

TQelNode::~TQelNode() {
  Destroying();
  Notify(this, opRemove);
  Clear();
}

void TQelNode::Notify(TComponent* AComponent, TOperation Operation) {
  if (OnNotify) OnNotify(AComponent, Operation);
}

void TQelNode::ClearCachesUpward() {
  ClearCache();
  std::vector<const TQelRender*> seen{this};  // a linked cycle must not loop here
  for (TQelCustomNode* n = GetNode(); n && std::find(seen.begin(), seen.end(), n) == seen.end();
       n = n->GetNode()) {
    seen.push_back(n);
    n->ClearCache();
  }
}

int32_t TQelNode::Remove(TQelRender* item) {
  // The item being removed calls back while it leaves; it is gone already.
  int32_t index = item == removing_ && !mayRepeat_ ? -1 : IndexOf(item);
  if (index >= 0) {
    bool indirect = entries_[index].indirect;
    entries_.erase(entries_.begin() + index);
    ClearCachesUpward();
    if (!indirect && item) {
      item->OnChange = nullptr;
      auto life = item->GetLifeToken();
      const TQelRender* outer = removing_;
      removing_ = item;
      item->SetNode(nullptr);  // calls back here, finds nothing and notifies
      if (life.expired()) {
        removing_ = outer;
        return index;
      }
      if (item->GetOwner() == this && !item->IsDestroying()) {
        Notify(item, opRemove);  // while the item still exists
        delete item;
        removing_ = outer;
        return index;
      }
      removing_ = outer;
    }
  }
  Notify(item, opRemove);
  return index;
}

int32_t TQelNode::Add(TQelRender* item) {
  if (!item) return -1;
  Insert(GetCount(), item);
  // Inserted, the item is last (it left this list first if it was here);
  // no search, so that loading many items stays linear.
  return !entries_.empty() && entries_.back().item == item ? GetCount() - 1 : -1;
}

int32_t TQelNode::AddIndirect(TQelRender* item) {
  if (item == this) throw EQelError("Can not create a link to myself.");
  if (!item) return -1;
  entries_.push_back({item, true});
  mayRepeat_ = true;
  FreeNotification(item);  // a dead item must not stay listed
  ClearCachesUpward();
  return GetCount() - 1;
}

void TQelNode::Insert(int32_t index, TQelRender* item) {
  if (item == this) throw EQelError("Can not create a link to myself.");
  if (!item) return;
  // Leaving a node that owns the item would destroy it: the item moves here
  // together with its ownership.
  TQelCustomNode* from = item->GetNode();
  bool takeOver = from && item->GetOwner() == from;
  if (takeOver) from->RemoveComponent(item);
  auto life = item->GetLifeToken();
  item->SetNodeDirect(this);
  if (life.expired()) return;
  if (takeOver) InsertComponent(item);
  index = std::clamp(index, 0, GetCount());  // leaving this node may have shortened the list
  entries_.insert(entries_.begin() + index, {item, false});
  item->OnChange = SubChangeHandler();
  Notify(item, opInsert);
  ClearCachesUpward();
}

void TQelNode::Delete(int32_t index) {
  if (InRange(index)) Remove(entries_[index].item);
}

void TQelNode::Exchange(int32_t index1, int32_t index2) {
  if (!InRange(index1) || !InRange(index2)) return;
  std::swap(entries_[index1], entries_[index2]);
  ClearCachesUpward();
}

void TQelNode::Move(int32_t curIndex, int32_t newIndex) {
  if (entries_.empty()) return;
  curIndex = std::clamp(curIndex, 0, GetCount() - 1);
  newIndex = std::clamp(newIndex, 0, GetCount() - 1);
  if (curIndex == newIndex) return;
  Entry moved = entries_[curIndex];
  entries_.erase(entries_.begin() + curIndex);
  entries_.insert(entries_.begin() + newIndex, moved);
  ClearCachesUpward();
}

int32_t TQelNode::IndexOf(const TQelRender* item) const {
  if (!mayRepeat_) {
    for (int32_t i = GetCount() - 1; i >= 0; --i)
      if (entries_[i].item == item) return i;
    return -1;
  }
  for (int32_t i = 0; i < GetCount(); ++i)
    if (entries_[i].item == item) return i;
  return -1;
}

void TQelNode::Clear() {
  for (int32_t i = GetCount() - 1; i >= 0; --i)
    if (i < GetCount()) Delete(i);
  entries_.clear();
  TQelAnchor* anchor = anchor_;
  anchor_ = nullptr;
  delete anchor;
}

TQelRender* TQelNode::GetItems(int32_t index) const {
  return InRange(index) ? entries_[index].item : nullptr;
}

void TQelNode::SetItems(int32_t index, TQelRender* item) {
  if (!InRange(index)) return;
  // Both are watched: the new item must leave the list when it dies, and a
  // displaced direct item, still naming this node, must hear of its death.
  if (TQelRender* displaced = entries_[index].item) FreeNotification(displaced);
  mayRepeat_ = true;
  entries_[index].item = item;
  if (item) FreeNotification(item);
  ClearCachesUpward();
}

bool TQelNode::GetIndirect(int32_t index) const { return InRange(index) && entries_[index].indirect; }

int32_t TQelNode::CountAllItems(bool onlyEnabled) const {
  int32_t count = 0;
  for (const Entry& e : entries_) {
    if (!e.item || (onlyEnabled && !e.item->GetEnabled())) continue;
    if (auto* node = dynamic_cast<const TQelNode*>(e.item))
      count += node->CountAllItems(onlyEnabled);
    else
      ++count;
  }
  // The anchor is disabled, but what it holds is counted.
  if (anchor_) count += anchor_->CountAllItems(onlyEnabled);
  return count;
}

void TQelNode::RenderItems(TQelCustomView* view) {
  TQelRenderState& state = QelRenderStateOf(view);
  const int32_t count = GetCount();
  auto own = [&](int32_t i) {
    return i < count && entries_[i].item && entries_[i].item->GetRunsOnlyLibraryCode(view);
  };
  bool itemOwn = own(0);
  for (int32_t i = 0; i < count; ++i) {
    TQelRender* item = entries_[i].item;
    const bool nextOwn = own(i + 1);
    if (item) {
      // The object itself furthest ahead, then stage by stage what it points to.
      constexpr int stages = TQelRender::kPrefetchStages;
      if (i + stages + 1 < count) QelPrefetch(entries_[i + stages + 1].item, 640);
      for (int stage = 0; stage < stages; ++stage)
        if (TQelRender* ahead = i + stages - stage < count ? entries_[i + stages - stage].item : nullptr)
          ahead->PrefetchRender(stage);
      // An item followed by another that runs library code alone may leave
      // it its client arrays; the last one resets them.
      state.RenderItem(item, view, itemOwn, itemOwn && nextOwn);
    }
    itemOwn = nextOwn;
  }
}

TQelRender* TQelNode::FindItem(const std::string& name) const {
  TQelRender* found = nullptr;
  for (const Entry& e : entries_)
    if (e.item && e.item->GetObjectName() == name) found = e.item;  // the last one wins
  return found;
}

void TQelNode::CollectItems(TQelRenderClass AClass, const std::string* name,
                            TQelRenderArray& list) const {
  for (const Entry& e : entries_) {
    TQelRender* item = e.item;
    if (!item) continue;
    if ((!AClass || AClass->IsInstance(item)) && (!name || item->GetObjectName() == *name)) {
      if (list.size() == list.capacity()) list.reserve(list.size() + 1 + 20);
      list.push_back(item);
    }
    if (auto* node = dynamic_cast<const TQelNode*>(item)) node->CollectItems(AClass, name, list);
  }
}

void TQelNode::FindItemList(TQelRenderClass AClass, const std::string& name,
                            TQelRenderArray& list) const {
  list.clear();
  CollectItems(AClass, &name, list);
  list.shrink_to_fit();
}

void TQelNode::FindItemList(TQelRenderClass AClass, TQelRenderArray& list) const {
  list.clear();
  CollectItems(AClass, nullptr, list);
  list.shrink_to_fit();
}

void TQelNode::FindItemList(const std::string& name, TQelRenderArray& list) const {
  FindItemList(nullptr, name, list);
}

void TQelNode::Traverse() {
  // Copies: a handler may replace the events while the walk goes on.
  TQelTraverseEvent up = OnTraverseUp, each = OnTraverse;
  TQelTraverseDownEvent down = OnTraverseDown;
  DoTraverse(this, 0, up, each, down);
}

void TQelNode::DoTraverse(TObject* Sender, int32_t Level, const TQelTraverseEvent& up,
                          const TQelTraverseEvent& each, const TQelTraverseDownEvent& down) {
  bool stop = false;
  if (down) down(Sender, this, Level, stop);
  if (stop) return;
  for (int32_t i = 0; i < GetCount(); ++i) {
    TQelRender* item = entries_[i].item;
    if (!item) continue;
    if (each) each(Sender, item, Level);
    if (auto* node = dynamic_cast<TQelNode*>(item)) node->DoTraverse(Sender, Level + 1, up, each, down);
  }
  if (up) up(Sender, this, Level);
}

TQelAnchor* TQelNode::GetAnchor() {
  if (!anchor_) {
    anchor_ = new TQelAnchor(nullptr);
    anchor_->SetObjectName("Anchor");
    FreeNotification(anchor_);
  }
  return anchor_;
}

void TQelNode::SubChange(TObject* Sender) {
  TQelCustomNode::SubChange(Sender);
  ClearCache();
}

void TQelNode::DoRender(TQelCustomView* view) {
  if (OnRender) {
    OnRender(view);
  } else {
    RenderItems(view);
  }
}

void TQelNode::Notification(TComponent* AComponent, TOperation Operation) {
  TQelCustomNode::Notification(AComponent, Operation);
  if (Operation == opRemove && AComponent && AComponent->IsDestroying()) {
    // Whatever dies leaves the list, however it got there.
    if (AComponent == anchor_) anchor_ = nullptr;
    // An item that Remove takes out has left the list already.
    const bool gone = AComponent == removing_ && !mayRepeat_;
    auto dead = gone ? entries_.end()
                     : std::remove_if(entries_.begin(), entries_.end(),
                                      [&](const Entry& e) { return e.item == AComponent; });
    if (dead != entries_.end()) {
      entries_.erase(dead, entries_.end());
      ClearCachesUpward();
    }
  }
  Notify(AComponent, Operation);
}

TQelAnchor::TQelAnchor(TComponent* AOwner) : TQelNode(AOwner) {
  // Held items are kept, never drawn.
  TQelRender::SetEnabled(false);
}

// --- TQelObject ----------------------------------------------------------------

const char* const TQelColorAsMaterialStr[6] = {"cmNone",     "cmAmbient",  "cmDiffuse",
                                               "cmSpecular", "cmEmission", "cmAmbientDiffuse"};

TQelObject::TQelObject(TComponent* AOwner) : TQelRender(AOwner) {
  WireColor();
}

TQelObject::~TQelObject() { Destroying(); }

void TQelObject::WireColor() {
  color_->OnChange = SubChangeHandler();
}

void TQelObject::SetObjectID(int32_t value) {
  if (value == objectID_) return;
  objectID_ = value;
  Changed();
}

void TQelObject::SetColor(TQelColor* value) {
  if (!value) return;
  color_->Assign(value);
  WireColor();  // Assign hands over the source's handler
}

void TQelObject::SetColorAsMaterial(TQelColorAsMaterial value) {
  if (value < cmNone || value > cmAmbientDiffuse || value == colorAsMaterial_) return;
  colorAsMaterial_ = value;
  Changed();
}

void TQelObject::SetName(const std::string& NewName) {
  // Loading sets both names from the file; a node being loaded marks only
  // itself, so look up the whole owner chain.
  bool loading = false;
  for (TComponent* o = GetOwner(); o && !loading; o = o->GetOwner()) loading = o->IsLoading();
  const bool follow = GetObjectName() == GetName() && !loading;
  TQelRender::SetName(NewName);
  if (follow) SetObjectName(NewName);
}

void TQelObject::Link(TQelRender*& field, TQelRender* value) {
  field = value;
  if (value) FreeNotification(value);
}

void TQelObject::PrefetchRender(int stage) const {
  TQelRender::PrefetchRender(stage);
  if (stage == 0) {
    QelPrefetch(material_, 512);
    QelPrefetch(attributes_, 512);
  } else if (material_ && stage == 1) {
    material_->PrefetchRender(0);
  }
}

void TQelObject::BeforeRender(TQelCustomView* view) {
  TQelRender::BeforeRender(view);
  if (PushesNames(view)) glPushName(view->GetNextID(this, -1));
}

void TQelObject::DoRender(TQelCustomView* view) {
  float color[4];
  color_->GetParams(color);
  QelRenderStateOf(view).SetColor(color);
  if (colorAsMaterial_ == cmNone) return;
  static const GLenum modes[6] = {0, GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION,
                                  GL_AMBIENT_AND_DIFFUSE};
  glEnable(GL_COLOR_MATERIAL);
  glColorMaterial(GL_FRONT_AND_BACK, modes[colorAsMaterial_]);
}

void TQelObject::AfterRender(TQelCustomView* view) {
  TQelRender::AfterRender(view);
  if (colorAsMaterial_ != cmNone) glDisable(GL_COLOR_MATERIAL);
  if (PushesNames(view)) glPopName();
}

void TQelObject::Notification(TComponent* AComponent, TOperation Operation) {
  TQelRender::Notification(AComponent, Operation);
  if (Operation != opRemove || !AComponent) return;
  if (AComponent == texture_) texture_ = nullptr;
  if (AComponent == attributes_) attributes_ = nullptr;
  if (AComponent == material_) material_ = nullptr;
}

void TQelObject::Assign(TPersistent* Source) {
  TQelRender::Assign(Source);
  if (auto* o = dynamic_cast<TQelObject*>(Source)) {
    objectID_ = o->objectID_;
    color_->Assign(o->color_.get());
    WireColor();
  }
}

// --- exchange -----------------------------------------------------------------

void TQelNode::WriteValues(IQelExchange* exchange) {
  TQelCustomNode::WriteValues(exchange);
  for (const Entry& e : entries_) {
    if (!e.item || !e.item->GetEnabled()) continue;
    e.item->WriteComp(exchange, QelTagNameOf(e.item));
    // Progress counts the leaves; a node's own items step for it.
    if (!dynamic_cast<TQelNode*>(e.item)) exchange->ProgressStep();
  }
  if (anchor_ && anchor_->GetCount() > 0) anchor_->WriteComp(exchange, "Anchor");
}

TPersistent* TQelNode::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  TPersistent* result = nullptr;
  if (tag->Name != "Anchor") {
    TQelRenderClass cls = GetRenderClass(tag->Name);
    if (cls && cls->Create) {
      TQelRender* item = cls->Create(this);
      Add(item);
      item->ReadValues(exchange, tag);
      result = item;
    }
  } else {
    TQelAnchor* anchor = GetAnchor();
    anchor->ReadValues(exchange, tag);
    result = anchor;
  }
  if (!result) result = TQelCustomNode::ReadComp(exchange, tag);
  if (!result) exchange->Error(qlError, "Class " + tag->Name + " not found.");
  return result;
}

void TQelObject::WriteValues(IQelExchange* exchange) {
  TQelRender::WriteValues(exchange);
  exchange->addtag("ObjectID", objectID_, -1);
  exchange->addtag("Textured", GetTextured(), false);
  exchange->addtag("ColorAsMaterial", colorAsMaterial_, TQelColorAsMaterialStr, cmNone);
  QelWriteAppearanceRefs(exchange, this);
  color_->WriteComp(exchange, "Color");
}

void TQelObject::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelRender::ReadValues(exchange, tag);
  int32_t objectID = objectID_;
  if (exchange->getvalue("ObjectID", objectID)) SetObjectID(objectID);
  bool textured = GetTextured();
  if (exchange->getvalue("Textured", textured)) SetTextured(textured);
  TQelColorAsMaterial colorAsMaterial = colorAsMaterial_;
  if (exchange->getenum("ColorAsMaterial", TQelColorAsMaterialStr, colorAsMaterial))
    SetColorAsMaterial(colorAsMaterial);
  QelReadAppearanceRefs(exchange, this);
}

TPersistent* TQelObject::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name == "Color") {
    color_->ReadValues(exchange, tag);
    return color_.get();
  }
  return TQelRender::ReadComp(exchange, tag);
}

void TQelObject::ReadRef(IQelExchange* exchange) {
  TQelRender::ReadRef(exchange);
  QelResolveAppearanceRefs(exchange, this);
}

// --- the scene's own classes, registered when the library loads -------------

namespace {
const bool sceneClassesRegistered = [] {
  RegisterLibraryRenderClass<TQelNode>();
  RegisterLibraryRenderClass<TQelObject>();
  return true;
}();
}  // namespace
