#pragma once
// A mouse navigator: a left drag turns (sideways) and tilts (up and down),
// a right drag moves sideways and back and forth; arrows move up and down
// and roll.
#include "qelcntrl.h"

class TQelMouseController : public TQelCustomController {
  QEL_CLASS(TQelMouseController)
public:
  explicit TQelMouseController(TComponent* AOwner);

  // Swaps what the left and the right button do.
  bool GetSwitchButtons() const { return switchButtons_; }
  void SetSwitchButtons(bool value) { switchButtons_ = value; }

  bool HandleMouseDown(TMouseButton button, TShiftState shift, int32_t x, int32_t y) override;
  void Assign(TPersistent* Source) override;

  // The base's values and "SwitchButtons".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  bool switchButtons_ = false;
};
