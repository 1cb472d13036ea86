#include "qelcntrlmouse.h"

#include "qelon/exchange/qeliexchange.h"

TQelMouseController::TQelMouseController(TComponent* AOwner) : TQelCustomController(AOwner) {
  SetTurnAngle(1.6);
  SetStepLength(0.07);
  TQelControllerActions* a = GetActions();
  a->SetCode(caTurnLeft, QelMouseLeftX);
  a->SetCode(caTurnDown, QelMouseLeftY);
  a->SetCode(caMoveLeft, QelMouseRightX);
  a->SetCode(caMoveBack, QelMouseRightY);
  a->SetCode(caMoveUp, VK_UP);
  a->SetCode(caMoveDown, VK_DOWN);
  a->SetCode(caRollLeft, VK_LEFT);
  a->SetCode(caRollRight, VK_RIGHT);
  a->KeepAsDefaults();
}

bool TQelMouseController::HandleMouseDown(TMouseButton button, TShiftState shift, int32_t x, int32_t y) {
  if (switchButtons_ && button == mbLeft)
    button = mbRight;
  else if (switchButtons_ && button == mbRight)
    button = mbLeft;
  return TQelCustomController::HandleMouseDown(button, shift, x, y);
}

void TQelMouseController::Assign(TPersistent* Source) {
  if (auto* m = dynamic_cast<TQelMouseController*>(Source)) switchButtons_ = m->switchButtons_;
  TQelCustomController::Assign(Source);
}

void TQelMouseController::WriteValues(IQelExchange* exchange) {
  TQelCustomController::WriteValues(exchange);
  exchange->addtag("SwitchButtons", switchButtons_, false);
}

void TQelMouseController::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelCustomController::ReadValues(exchange, tag);
  exchange->getvalue("SwitchButtons", switchButtons_);
}
