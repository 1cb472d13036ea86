#pragma once
// Scene trees: nodes holding ordered lists of render components, the objects
// that carry colour and appearance references, and the registry that maps
// class names to render classes.
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "qelon/scene/qelcomp.h"

class TQelNode;
class TQelAnchor;
class TQelTexture;
class TQelAttributes;
class TQelMaterial;

// --- render classes ----------------------------------------------------------

// What the registry and the class searches know of a render class: its name,
// how to make one, and whether an object is one (or of a subclass).
using TQelRenderFactory = TQelRender* (*)(TComponent* AOwner);
struct TQelRenderClassRec {
  const char* ClassName;
  // Makes an instance with the given owner; null for abstract classes.
  TQelRenderFactory Create;
  bool (*IsInstance)(const TObject* obj);
};
using TQelRenderClass = const TQelRenderClassRec*;

template <class T>
TQelRenderFactory QelRenderFactoryOf() {
  if constexpr (std::is_abstract_v<T>)
    return nullptr;
  else
    return [](TComponent* AOwner) -> TQelRender* { return new T(AOwner); };
}

// The class record of T, one per class.
template <class T>
TQelRenderClass QelClassOf() {
  static_assert(std::is_base_of_v<TQelRender, T>, "render classes derive from TQelRender");
  static const TQelRenderClassRec rec{
      T::StaticClassName(),
      QelRenderFactoryOf<T>(),
      [](const TObject* obj) { return dynamic_cast<const T*>(obj) != nullptr; }};
  return &rec;
}

// Registers AClass under its name. Names compare ignoring case; a name
// registered twice raises "This class was already registered.".
void RegisterRenderClass(TQelRenderClass AClass);
// The class registered under name (any letter case), or null.
TQelRenderClass GetRenderClass(const std::string& name);
using TQelRenderClassList = std::vector<std::pair<std::string, TQelRenderClass>>;
// Replaces list's contents with the registry's, in registration order.
void GetRenderClassList(TQelRenderClassList& list);

// --- nodes -----------------------------------------------------------------

using TQelRenderArray = std::vector<TQelRender*>;
using TQelNodeNotifyEvent = std::function<void(TComponent* AComponent, TOperation Operation)>;
using TQelTraverseEvent = std::function<void(TObject* Sender, TQelRender* Item, int32_t Level)>;
using TQelTraverseDownEvent =
    std::function<void(TObject* Sender, TQelRender* Item, int32_t Level, bool& Break)>;

// An ordered list of render components, rendered in order inside the node's
// own transformation. A direct item (Add, Insert) is linked to this node:
// its Node is this node and its changes come up here. An indirect item
// (AddIndirect) is only listed: the node neither owns nor claims it.
class TQelNode : public TQelCustomNode {
  QEL_CLASS(TQelNode)
public:
  explicit TQelNode(TComponent* AOwner);
  ~TQelNode() override;

  // List operations. Removing a direct item destroys it when this node owns
  // it. Inserting an item another node owns moves it here, owner included.
  int32_t Remove(TQelRender* item) override;
  int32_t Add(TQelRender* item) override;
  int32_t AddIndirect(TQelRender* item) override;
  // "Can not create a link to myself." when item is this node.
  void Insert(int32_t index, TQelRender* item) override;
  void Delete(int32_t index) override;
  void Exchange(int32_t index1, int32_t index2) override;
  // Both indices are clamped into the list.
  void Move(int32_t curIndex, int32_t newIndex) override;
  int32_t IndexOf(const TQelRender* item) const override;
  // Removes every item, last first, and destroys the anchor.
  void Clear() override;

  int32_t GetCount() const { return static_cast<int32_t>(entries_.size()); }
  TQelRender* GetItems(int32_t index) const;
  // Plain list access: the item is not linked, the flag stays.
  void SetItems(int32_t index, TQelRender* item);
  // Whether the entry was added with AddIndirect.
  bool GetIndirect(int32_t index) const;

  // Leaves below this node (nodes themselves are not counted), skipping
  // disabled items and all they hold when onlyEnabled; the anchor's leaves
  // count too.
  int32_t CountAllItems(bool onlyEnabled) const;
  void RenderItems(TQelCustomView* view);
  // The last of this node's own items named name (case-sensitive), or null.
  TQelRender* FindItem(const std::string& name) const;
  // Every item at any depth, depth first in list order, that is of the class
  // (TQelRender when not given) and has the name (when given); a matching
  // node comes before its own matches.
  void FindItemList(TQelRenderClass AClass, const std::string& name, TQelRenderArray& list) const;
  void FindItemList(TQelRenderClass AClass, TQelRenderArray& list) const;
  void FindItemList(const std::string& name, TQelRenderArray& list) const;

  void Traverse();
  void DoTraverse(TObject* Sender, int32_t Level, const TQelTraverseEvent& up,
                  const TQelTraverseEvent& each, const TQelTraverseDownEvent& down);

  // Holds items kept with the node but not drawn; made on first use.
  TQelAnchor* GetAnchor();
  bool HasAnchor() const { return anchor_ != nullptr; }

  // Told of every insertion and removal, and of the death of any component
  // this node watches.
  TQelNodeNotifyEvent OnNotify;
  // When set, replaces the drawing of the items.
  TQelRenderEvent OnRender;
  TQelTraverseDownEvent OnTraverseDown;
  TQelTraverseEvent OnTraverse;
  TQelTraverseEvent OnTraverseUp;

  void SubChange(TObject* Sender) override;
  void DoRender(TQelCustomView* view) override;
  void Notification(TComponent* AComponent, TOperation Operation) override;

protected:
  bool HasApplicationEvents() const override { return static_cast<bool>(OnRender); }

public:
  // The node's own values, then each enabled item under its class name in
  // upper case, then the anchor ("Anchor") when it holds anything.
  void WriteValues(IQelExchange* exchange) override;
  // A tag naming a registered class becomes a new item owned by this node;
  // "Anchor" goes to the anchor; an unknown tag is reported (level 10).
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

private:
  struct Entry {
    TQelRender* item;
    bool indirect;
  };
  void Notify(TComponent* AComponent, TOperation Operation);
  // Drops the display lists of this node and of every node above it, which
  // all replay the old list contents.
  void ClearCachesUpward();
  void CollectItems(TQelRenderClass AClass, const std::string* name, TQelRenderArray& list) const;
  bool InRange(int32_t index) const { return index >= 0 && index < GetCount(); }

  std::vector<Entry> entries_;
  TQelAnchor* anchor_ = nullptr;
  // Without AddIndirect and SetItems an item is listed at most once, so
  // searches may start at the end (where removals happen) and the item
  // being removed need not be searched for again when it calls back.
  bool mayRepeat_ = false;
  const TQelRender* removing_ = nullptr;
};

// A node that is never drawn.
class TQelAnchor : public TQelNode {
  QEL_CLASS(TQelAnchor)
public:
  explicit TQelAnchor(TComponent* AOwner);
};

// --- objects ---------------------------------------------------------------

enum TQelColorAsMaterial { cmNone, cmAmbient, cmDiffuse, cmSpecular, cmEmission, cmAmbientDiffuse };
extern const char* const TQelColorAsMaterialStr[6];

// The base of everything visible: a colour, a pick name while drawing, and
// references to appearance (material, attributes, texture) that geometry
// classes apply.
class TQelObject : public TQelRender {
  QEL_CLASS(TQelObject)
public:
  explicit TQelObject(TComponent* AOwner);
  ~TQelObject() override;

  int32_t GetObjectID() const { return objectID_; }
  void SetObjectID(int32_t value);
  TQelColor* GetColor() const { return color_.get(); }
  void SetColor(TQelColor* value);
  TQelColorAsMaterial GetColorAsMaterial() const { return colorAsMaterial_; }
  void SetColorAsMaterial(TQelColorAsMaterial value);

  // Appearance accessors; empty here, geometry classes implement them.
  virtual bool GetTextured() const { return false; }
  virtual void SetTextured(bool value) {}
  virtual TQelTexture* GetTexture() const { return nullptr; }
  virtual void SetTexture(TQelTexture* value) {}
  virtual TQelAttributes* GetAttributes() const { return nullptr; }
  virtual void SetAttributes(TQelAttributes* value) {}
  virtual TQelMaterial* GetMaterial() const { return nullptr; }
  virtual void SetMaterial(TQelMaterial* value) {}

  // The Name, and the ObjectName with it while they agree (not while the
  // owner is loading).
  void SetName(const std::string& NewName) override;

  void BeforeRender(TQelCustomView* view) override;
  void DoRender(TQelCustomView* view) override;
  void AfterRender(TQelCustomView* view) override;
  void Notification(TComponent* AComponent, TOperation Operation) override;
  void Assign(TPersistent* Source) override;

  // "ObjectID", "Textured", "ColorAsMaterial", the references "Attributes",
  // "Texture" and "Material" (resolved in ReadRef), and the child "Color".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;
  void ReadRef(IQelExchange* exchange) override;

protected:
  void PrefetchRender(int stage) const override;

  // The stored references, not owned, cleared when the component dies. The
  // geometry classes' accessors store through these (every appearance class
  // is a render component) and cast back where the types are complete.
  TQelRender* GetTextureRef() const { return texture_; }
  void SetTextureRef(TQelRender* value) { Link(texture_, value); }
  TQelRender* GetAttributesRef() const { return attributes_; }
  void SetAttributesRef(TQelRender* value) { Link(attributes_, value); }
  TQelRender* GetMaterialRef() const { return material_; }
  void SetMaterialRef(TQelRender* value) { Link(material_, value); }

private:
  void Link(TQelRender*& field, TQelRender* value);
  // Pick names are pushed unless the view draws without them.
  static bool PushesNames(TQelCustomView* view) { return view && view->GetPushNames(); }
  void WireColor();

  int32_t objectID_ = -1;
  TQelInlinePart<TQelColor> color_;
  TQelColorAsMaterial colorAsMaterial_ = cmNone;
  TQelRender* texture_ = nullptr;
  TQelRender* attributes_ = nullptr;
  TQelRender* material_ = nullptr;
};
