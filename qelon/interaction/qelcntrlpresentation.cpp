#include "qelcntrlpresentation.h"

#include "qelon/exchange/qeliexchange.h"

const char* const TQelPresentationModeStr[3] = {"pmStop", "pmLeft", "pmRight"};

TQelPresentationController::TQelPresentationController(TComponent* AOwner) : TQelCustomController(AOwner) {}

void TQelPresentationController::SetControlled(TQelTransformed* value) {
  if (value) {
    TQelTransformation* t = value->GetTransformation();
    TQelMatrix m;
    t->CalcMatrix(m, t->GetInverted());
    t->SetOrder(toRotTraSca);
    t->GetFromMatrix(m);
  }
  TQelCustomController::SetControlled(value);
}

void TQelPresentationController::SetMode(TQelPresentationMode value) {
  if (value >= pmStop && value <= pmRight) mode_ = value;
}

double TQelPresentationController::GetDistance() const {
  return GetControlled() ? GetControlled()->GetTransformation()->GetTranslation()->GetZ() : 0;
}

void TQelPresentationController::SetDistance(double value) {
  if (GetControlled()) GetControlled()->GetTransformation()->GetTranslation()->SetZ(static_cast<float>(value));
}

double TQelPresentationController::GetEyeHeight() const {
  return GetControlled() ? GetControlled()->GetTransformation()->GetTranslation()->GetY() : 0;
}

void TQelPresentationController::SetEyeHeight(double value) {
  if (GetControlled()) GetControlled()->GetTransformation()->GetTranslation()->SetY(static_cast<float>(value));
}

void TQelPresentationController::Present() {
  if (!GetControlled() || mode_ == pmStop) return;
  const double step = mode_ == pmLeft ? -GetTurnAngle() : GetTurnAngle();
  GetControlled()->GetTransformation()->GetRotation()->incY(static_cast<float>(step));
}

bool TQelPresentationController::HandleKey(uint16_t key, TShiftState shift) {
  if (!GetControlled()) return false;
  switch (key) {
    case VK_END: mode_ = pmStop; return true;
    case VK_LEFT: mode_ = pmLeft; return true;
    case VK_RIGHT: mode_ = pmRight; return true;
    case VK_UP: SetDistance(GetDistance() + distanceStep_); return true;
    case VK_DOWN: SetDistance(GetDistance() - distanceStep_); return true;
    default: return false;
  }
}

bool TQelPresentationController::Tick() {
  if (!GetControlled() || mode_ == pmStop) return false;
  Present();
  return true;
}

void TQelPresentationController::Assign(TPersistent* Source) {
  if (auto* p = dynamic_cast<TQelPresentationController*>(Source)) {
    distanceStep_ = p->distanceStep_;
    mode_ = p->mode_;
  }
  TQelCustomController::Assign(Source);
}

void TQelPresentationController::WriteValues(IQelExchange* exchange) {
  TQelCustomController::WriteValues(exchange);
  exchange->addtag("DistanceStep", distanceStep_, 0.1);
  exchange->addtag("Mode", mode_, TQelPresentationModeStr, pmStop);
}

void TQelPresentationController::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelCustomController::ReadValues(exchange, tag);
  exchange->getvalue("DistanceStep", distanceStep_);
  TQelPresentationMode mode = mode_;
  if (exchange->getenum("Mode", TQelPresentationModeStr, mode)) SetMode(mode);
}
