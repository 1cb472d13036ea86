#pragma once
// The component model: persistent objects that can copy each other, and
// owned, named components that tell each other when they die.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "qellife.h"
#include "qelset.h"

// Gives a class its run-time name, used by the render-class registry and
// the exchange format.
#define QEL_CLASS(Name)                                              \
public:                                                              \
  static const char* StaticClassName() { return #Name; }             \
  const char* ClassName() const override { return #Name; }           \
                                                                     \
private:

class TObject {
public:
  virtual ~TObject() = default;
  static const char* StaticClassName() { return "TObject"; }
  virtual const char* ClassName() const { return "TObject"; }
};

using TColor = uint32_t;  // 0x00BBGGRR: red in the low byte
using TNotifyEvent = std::function<void(TObject* Sender)>;

class IQelExchange;
class TXMLTag;

class TPersistent : public TObject {
  QEL_CLASS(TPersistent)
public:
  // Copies what this class knows of Source; the base knows nothing.
  virtual void Assign(TPersistent* Source) {}

  // Exchange with scene files (qelon/exchange/qeliexchange.h), the same for
  // components and their sub-properties.
  // StartTag(tagName), WriteValues, EndTag.
  virtual void WriteComp(IQelExchange* exchange, const std::string& tagName);
  // Own attributes, then child elements; derived classes call the base first.
  virtual void WriteValues(IQelExchange* exchange) {}
  // The mirror image, on the attributes of the tag being opened.
  virtual void ReadValues(IQelExchange* exchange, TXMLTag* tag) {}
  // Offered each child tag: the object that stands for it (after reading its
  // values), or null for a tag it does not know (its content is skipped).
  virtual TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) { return nullptr; }
  // After the whole file: resolve the references read with GetRef.
  virtual void ReadRef(IQelExchange* exchange) {}
};

enum TOperation { opInsert, opRemove };

enum TComponentStateFlag { csLoading, csDesigning, csDestroying };
using TComponentState = TSet<TComponentStateFlag>;

class TComponent : public TPersistent {
  QEL_CLASS(TComponent)
public:
  explicit TComponent(TComponent* AOwner);
  ~TComponent() override;
  TComponent(const TComponent&) = delete;
  TComponent& operator=(const TComponent&) = delete;

  TComponent* GetOwner() const { return owner_; }
  const std::string& GetName() const { return name_; }
  virtual void SetName(const std::string& NewName) { name_ = NewName; }

  TComponentState GetComponentState() const { return state_; }
  bool IsDesigning() const { return state_.Contains(csDesigning); }
  bool IsLoading() const { return state_.Contains(csLoading); }
  bool IsDestroying() const { return state_.Contains(csDestroying); }
  // Designing spreads to the owned components, as a designer would set it.
  void SetDesigning(bool Value);
  void SetLoading(bool Value);

  int GetComponentCount() const { return static_cast<int>(components_.size()); }
  TComponent* GetComponents(int Index) const;
  // Takes over AComponent: it leaves its old owner and is deleted with this one.
  void InsertComponent(TComponent* AComponent);
  // Gives AComponent up without deleting it; it is left without an owner.
  void RemoveComponent(TComponent* AComponent);
  // Deletes every owned component, last first.
  void DestroyComponents();

  // AComponent is told through Notification(this, opRemove) when this dies,
  // and this is told when AComponent dies.
  void FreeNotification(TComponent* AComponent);
  void RemoveFreeNotification(TComponent* AComponent);

  // Told of components inserted into or removed from this one, and of the
  // death of components linked by FreeNotification. The base forgets the
  // free-notification link of a removed component.
  virtual void Notification(TComponent* AComponent, TOperation Operation);

protected:
  // Marks this component as dying and tells its owner and everyone who asked,
  // once. The destructor calls it; a class whose listeners may call back into
  // it calls it first thing in its own destructor, while it is still whole.
  void Destroying();
  // The components linked to this one by FreeNotification.
  const std::vector<TComponent*>& GetFreeNotifies() const { return freeNotifies_; }

private:
  void Insert(TComponent* AComponent);
  void Remove(TComponent* AComponent);
  void AddFreeNotify(TComponent* AComponent);
  void DropFreeNotify(TComponent* AComponent);

  TComponent* owner_ = nullptr;
  std::string name_;
  TComponentState state_;
  bool removalSent_ = false;
  std::vector<TComponent*> components_;
  std::vector<TComponent*> freeNotifies_;
  // Positions in freeNotifies_, made once the list is long (a material
  // that thousands of objects refer to), so that linking and unlinking
  // stay constant time.
  std::unique_ptr<std::unordered_map<TComponent*, size_t>> freeNotifyIndex_;
};
