#pragma once
// A car: Up accelerates, Down brakes, Left and Right steer; every Tick
// rolls the controlled component on at the current speed along its
// viewing direction (an object under a camera moves as the scene does
// when the viewer drives).
#include "qelcntrl.h"

class TQelCarController : public TQelCustomController {
  QEL_CLASS(TQelCarController)
public:
  explicit TQelCarController(TComponent* AOwner);

  // Kept between ReverseSpeed and MaxSpeed.
  double GetCurrentSpeed() const { return currentSpeed_; }
  void SetCurrentSpeed(double value);
  double GetMaxSpeed() const { return maxSpeed_; }
  void SetMaxSpeed(double value);  // >= 0; lowers the current speed
  double GetReverseSpeed() const { return reverseSpeed_; }
  void SetReverseSpeed(double value);  // <= 0; raises the current speed
  double GetAcceleration() const { return acceleration_; }
  void SetAcceleration(double value);  // >= 0
  double GetBraking() const { return braking_; }
  void SetBraking(double value);  // >= 0
  void SetTurnAngle(double value) override;  // >= 0
  double GetEyeHeight() const { return GetHeight(); }
  void SetEyeHeight(double value) { SetHeight(value); }

  void Accelerate(double a);  // by |a|, up to MaxSpeed
  void Brake(double b);       // by |b|, down to ReverseSpeed
  void Stop() { currentSpeed_ = 0; }
  // Steers by angle degrees about the vertical axis; positive turns right.
  void Turn(double angle);
  // Rolls on by the current speed.
  void Move();

  // The arrows only; other keys are not handled. Nothing without a
  // Controlled component.
  bool HandleKey(uint16_t key, TShiftState shift) override;
  bool Tick() override;
  void Assign(TPersistent* Source) override;

  // The base's values, "MaxSpeed", "ReverseSpeed", "CurrentSpeed",
  // "Acceleration", "Braking".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  double currentSpeed_ = 0.0;
  double maxSpeed_ = 1.0;
  double reverseSpeed_ = 0.0;
  double acceleration_ = 0.05;
  double braking_ = 0.1;
};
