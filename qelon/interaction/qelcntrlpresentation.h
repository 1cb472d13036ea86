#pragma once
// A turntable: Left and Right set it turning, End stops it, Up and Down
// change the distance; every Tick turns the controlled component about the
// vertical axis through its parent's origin.
#include "qelcntrl.h"

enum TQelPresentationMode { pmStop, pmLeft, pmRight };
extern const char* const TQelPresentationModeStr[3];

class TQelPresentationController : public TQelCustomController {
  QEL_CLASS(TQelPresentationController)
public:
  explicit TQelPresentationController(TComponent* AOwner);

  // Switches the controlled transformation to the order that turns about
  // the parent's origin (rotation first), keeping its placement.
  void SetControlled(TQelTransformed* value) override;

  double GetDistanceStep() const { return distanceStep_; }
  void SetDistanceStep(double value) { distanceStep_ = value; }
  TQelPresentationMode GetMode() const { return mode_; }
  void SetMode(TQelPresentationMode value);
  // The controlled translation's z (a camera's distance from the centre)
  // and y (its height); 0 without a Controlled component.
  double GetDistance() const;
  void SetDistance(double value);
  double GetEyeHeight() const;
  void SetEyeHeight(double value);

  // One step of the turntable: pmLeft turns the rotation's y angle down by
  // TurnAngle, pmRight up.
  void Present();

  // End, Left, Right, Up, Down; other keys are not handled. Nothing without
  // a Controlled component.
  bool HandleKey(uint16_t key, TShiftState shift) override;
  bool Tick() override;
  void Assign(TPersistent* Source) override;

  // The base's values, "DistanceStep", "Mode".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  double distanceStep_ = 0.1;
  TQelPresentationMode mode_ = pmStop;
};
