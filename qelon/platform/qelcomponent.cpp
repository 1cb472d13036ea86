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
    DropFreeNotify(c);
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
  // Owned components mostly leave last first: search from the end.
  auto it = std::find(components_.rbegin(), components_.rend(), AComponent);
  if (it != components_.rend()) components_.erase(std::next(it).base());
  AComponent->owner_ = nullptr;
}

namespace {
constexpr size_t kIndexedFreeNotifies = 32;
}  // namespace

void TComponent::AddFreeNotify(TComponent* AComponent) {
  if (freeNotifyIndex_) {
    if (freeNotifyIndex_->try_emplace(AComponent, freeNotifies_.size()).second)
      freeNotifies_.push_back(AComponent);
    return;
  }
  if (std::find(freeNotifies_.begin(), freeNotifies_.end(), AComponent) != freeNotifies_.end())
    return;
  freeNotifies_.push_back(AComponent);
  if (freeNotifies_.size() >= kIndexedFreeNotifies) {
    freeNotifyIndex_ = std::make_unique<std::unordered_map<TComponent*, size_t>>();
    for (size_t i = 0; i < freeNotifies_.size(); ++i) freeNotifyIndex_->emplace(freeNotifies_[i], i);
  }
}

void TComponent::DropFreeNotify(TComponent* AComponent) {
  if (freeNotifyIndex_) {
    auto found = freeNotifyIndex_->find(AComponent);
    if (found == freeNotifyIndex_->end()) return;
    // The last entry takes the place of the dropped one.
    const size_t at = found->second;
    freeNotifyIndex_->erase(found);
    if (at + 1 != freeNotifies_.size()) {
      freeNotifies_[at] = freeNotifies_.back();
      (*freeNotifyIndex_)[freeNotifies_[at]] = at;
    }
    freeNotifies_.pop_back();
    return;
  }
  auto it = std::find(freeNotifies_.begin(), freeNotifies_.end(), AComponent);
  if (it != freeNotifies_.end()) freeNotifies_.erase(it);
}
