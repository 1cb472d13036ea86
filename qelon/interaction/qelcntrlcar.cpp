#include "qelcntrlcar.h"

#include <algorithm>
#include <cmath>

#include "qelon/exchange/qeliexchange.h"

TQelCarController::TQelCarController(TComponent* AOwner) : TQelCustomController(AOwner) {}

void TQelCarController::SetCurrentSpeed(double value) {
  if (value == currentSpeed_) return;
  currentSpeed_ = std::max(std::min(value, maxSpeed_), reverseSpeed_);
}

void TQelCarController::SetMaxSpeed(double value) {
  if (value < 0) return;
  maxSpeed_ = value;
  currentSpeed_ = std::min(currentSpeed_, maxSpeed_);
}

void TQelCarController::SetReverseSpeed(double value) {
  if (value > 0) return;
  reverseSpeed_ = value;
  currentSpeed_ = std::max(currentSpeed_, reverseSpeed_);
}

void TQelCarController::SetAcceleration(double value) {
  if (value >= 0) acceleration_ = value;
}

void TQelCarController::SetBraking(double value) {
  if (value >= 0) braking_ = value;
}

void TQelCarController::SetTurnAngle(double value) {
  if (value >= 0) TQelCustomController::SetTurnAngle(value);
}

void TQelCarController::Accelerate(double a) { currentSpeed_ = std::min(currentSpeed_ + std::fabs(a), maxSpeed_); }

void TQelCarController::Brake(double b) { currentSpeed_ = std::max(currentSpeed_ - std::fabs(b), reverseSpeed_); }

void TQelCarController::Turn(double angle) { TurnY(-angle); }

void TQelCarController::Move() {
  if (currentSpeed_ != 0) MoveZ(currentSpeed_);
}

bool TQelCarController::HandleKey(uint16_t key, TShiftState shift) {
  if (!GetControlled()) return false;
  switch (key) {
    case VK_LEFT: Turn(-GetTurnAngle()); return true;
    case VK_RIGHT: Turn(GetTurnAngle()); return true;
    case VK_UP: Accelerate(acceleration_); return true;
    case VK_DOWN: Brake(braking_); return true;
    default: return false;
  }
}

bool TQelCarController::Tick() {
  if (!GetControlled() || currentSpeed_ == 0) return false;
  Move();
  return true;
}

void TQelCarController::Assign(TPersistent* Source) {
  if (auto* c = dynamic_cast<TQelCarController*>(Source)) {
    maxSpeed_ = c->maxSpeed_;
    reverseSpeed_ = c->reverseSpeed_;
    currentSpeed_ = c->currentSpeed_;
    acceleration_ = c->acceleration_;
    braking_ = c->braking_;
  }
  TQelCustomController::Assign(Source);
}

void TQelCarController::WriteValues(IQelExchange* exchange) {
  TQelCustomController::WriteValues(exchange);
  exchange->addtag("MaxSpeed", maxSpeed_, 1.0);
  exchange->addtag("ReverseSpeed", reverseSpeed_, 0.0);
  exchange->addtag("CurrentSpeed", currentSpeed_, 0.0);
  exchange->addtag("Acceleration", acceleration_, 0.05);
  exchange->addtag("Braking", braking_, 0.1);
}

void TQelCarController::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelCustomController::ReadValues(exchange, tag);
  double v = 0;
  if (exchange->getvalue("MaxSpeed", v)) SetMaxSpeed(v);
  if (exchange->getvalue("ReverseSpeed", v)) SetReverseSpeed(v);
  if (exchange->getvalue("CurrentSpeed", v)) SetCurrentSpeed(v);
  if (exchange->getvalue("Acceleration", v)) SetAcceleration(v);
  if (exchange->getvalue("Braking", v)) SetBraking(v);
}
