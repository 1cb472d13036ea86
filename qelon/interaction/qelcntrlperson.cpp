#include "qelcntrlperson.h"

TQelPersonController::TQelPersonController(TComponent* AOwner) : TQelCustomController(AOwner) {
  TQelControllerActions* a = GetActions();
  a->SetCode(caMoveForward, VK_UP);
  a->SetCode(caMoveBack, VK_DOWN);
  a->SetCode(caTurnLeft, VK_LEFT);
  a->SetCode(caTurnRight, VK_RIGHT);
  a->SetCode(caTurnUp, VK_PRIOR);
  a->SetCode(caTurnDown, VK_NEXT);
  a->KeepAsDefaults();
}
