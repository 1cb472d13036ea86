#pragma once
// A walking viewer: arrows walk and turn, Page Up and Page Down look up and
// down.
#include "qelcntrl.h"

class TQelPersonController : public TQelCustomController {
  QEL_CLASS(TQelPersonController)
public:
  explicit TQelPersonController(TComponent* AOwner);

  // The height of the eye (of an object: its origin) above the parent's
  // origin; setting it moves straight up or down.
  double GetEyeHeight() const { return GetHeight(); }
  void SetEyeHeight(double value) { SetHeight(value); }
  // Looks up or down by angle degrees (positive: down), as TurnDown does.
  void NodHead(double angle) { TurnX(angle); }
  // Looks straight ahead again: levels the view as Adjust does.
  void HeadForward() { Adjust(); }
};
