#include "qelcomponent.h"

#include <algorithm>

TComponent::TComponent(TComponent* AOwner) {
  if (AOwner) AOwner->InsertComponent(this);
}

TComponent::~TComponent() {
  Destroying();
  DestroyComponents();
}

void TComponent::Destroying() {
  if (removalSent_) return;
  removalSent_ = true;
  state_.Include(csDestroying);
  // One at a time from the live list: a listener told of this death may
  // delete another listener, which then leaves the list itself.
  while (!freeNotifies_.empty()) {
    TComponent* c = freeNotifies_.back();
    freeNotifies_.pop_back();
    c->DropFreeNotify(this);
    c->Notification(this, opRemove);
  }
  if (owner_) owner_->RemoveComponent(this);
}

void TComponent::SetDesigning(bool Value) {
  if (Value) state_.Include(csDesigning); else state_.Exclude(csDesigning);
  for (TComponent* c : components_) c->SetDesigning(Value);
}

void TComponent::SetLoading(bool Value) {
  if (Value) state_.Include(csLoading); else state_.Exclude(csLoading);
}

TComponent* TComponent::GetComponents(int Index) const {
  if (Index < 0 || Index >= GetComponentCount()) return nullptr;
  return components_[Index];
}

void TComponent::InsertComponent(TComponent* AComponent) {
  if (!AComponent || AComponent->owner_ == this) return;
  if (AComponent->owner_) AComponent->owner_->RemoveComponent(AComponent);
  Insert(AComponent);
  Notification(AComponent, opInsert);
}

void TComponent::RemoveComponent(TComponent* AComponent) {
  if (!AComponent || AComponent->owner_ != this) return;
  Notification(AComponent, opRemove);
  Remove(AComponent);
}

void TComponent::DestroyComponents() {
  while (!components_.empty()) {
    TComponent* c = components_.back();
    Remove(c);
    delete c;
  }
}

void TComponent::FreeNotification(TComponent* AComponent) {
  if (!AComponent || AComponent == this) return;
  AddFreeNotify(AComponent);
  AComponent->AddFreeNotify(this);
}

void TComponent::RemoveFreeNotification(TComponent* AComponent) {
  if (!AComponent) return;
  DropFreeNotify(AComponent);
  AComponent->DropFreeNotify(this);
}

void TComponent::Notification(TComponent* AComponent, TOperation Operation) {
  if (Operation == opRemove && AComponent) RemoveFreeNotification(AComponent);
}

void TComponent::Insert(TComponent* AComponent) {
  components_.push_back(AComponent);
  AComponent->owner_ = this;
}

void TComponent::Remove(TComponent* AComponent) {
  auto it = std::find(components_.begin(), components_.end(), AComponent);
  if (it != components_.end()) components_.erase(it);
  AComponent->owner_ = nullptr;
}

void TComponent::AddFreeNotify(TComponent* AComponent) {
  if (std::find(freeNotifies_.begin(), freeNotifies_.end(), AComponent) ==
      freeNotifies_.end())
    freeNotifies_.push_back(AComponent);
}

void TComponent::DropFreeNotify(TComponent* AComponent) {
  auto it = std::find(freeNotifies_.begin(), freeNotifies_.end(), AComponent);
  if (it != freeNotifies_.end()) freeNotifies_.erase(it);
}
