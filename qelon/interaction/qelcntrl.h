#pragma once
// Controllers: keyboard and mouse input turned into movements of a camera or
// of an object seen through a camera.
//
// Directions are those of the picture. On a camera, MoveLeft moves the eye
// to the left (the scene slides right), TurnLeft turns the view to the left
// (what was ahead moves right), TurnUp raises it (what was ahead moves
// down), RollLeft tilts it as a head tilting left does (the horizon turns
// clockwise). An object under a camera answers to the same actions so that
// the picture changes the same way: it moves relative to the camera's axes
// the way the scene slides, and turns about its own origin so that its side
// facing the viewer goes where the scene would go. A mouse drag runs the
// action bound to its axis with one step per 30 pixels; a drag to the left
// or down counts positive.
#include <cstdint>
#include <memory>

#include "qelcntrlactions.h"
#include "qelon/platform/qelinput.h"
#include "qelon/scene/qelcomp.h"

class TQelCamera;

enum TQelControlCommand {
  ccNone, ccMoveRight, ccMoveLeft, ccMoveUp, ccMoveDown, ccMoveBack, ccMoveForward,
  ccTurnRight, ccTurnLeft, ccTurnUp, ccTurnDown, ccRoll, ccRollBack
};
enum TQelCntrlFlag { teMoveX, teMoveY, teMoveZ, teTurnX, teTurnY, teTurnZ };
using TQelCntrlFlags = TSet<TQelCntrlFlag>;

class TQelCustomController : public TQelComponent {
  QEL_CLASS(TQelCustomController)
public:
  explicit TQelCustomController(TComponent* AOwner);
  ~TQelCustomController() override;

  // Not owned; forgotten when destroyed. Setting it keeps a copy of its
  // transformation for Reset, and a camera also becomes the Camera when
  // none is set.
  TQelTransformed* GetControlled() const { return controlled_; }
  virtual void SetControlled(TQelTransformed* value);
  // The viewer whose axes objects move and turn along. Not owned.
  TQelCamera* GetCamera() const { return camera_; }
  void SetCamera(TQelCamera* value);
  TQelControllerActions* GetActions() const { return actions_.get(); }
  void SetActions(TQelControllerActions* value);  // copies; null is ignored
  double GetStepLength() const { return stepLength_; }
  void SetStepLength(double value) { stepLength_ = value; }
  double GetTurnAngle() const { return turnAngle_; }
  virtual void SetTurnAngle(double value) { turnAngle_ = value; }
  // The placement Reset restores.
  TQelTransformation* GetSavedTransformation() const { return saved_.get(); }

  // Runs the action of slot index scaled by factor; false without a
  // Controlled component or for an index out of range.
  virtual bool DoAction(int index, double factor);
  void MoveXYZ(double distance, int axis);
  void MoveX(double distance) { MoveXYZ(distance, 0); }
  void MoveY(double distance) { MoveXYZ(distance, 1); }
  void MoveZ(double distance) { MoveXYZ(distance, 2); }
  void TurnXYZ(double angle, int axis);
  void TurnX(double angle) { TurnXYZ(angle, 0); }
  void TurnY(double angle) { TurnXYZ(angle, 1); }
  void TurnZ(double angle) { TurnXYZ(angle, 2); }
  virtual void Reset();
  // Levels the controlled component: no roll, no pitch, same heading and
  // position.
  virtual void Adjust();

  // Input; each returns whether it moved something (the view then repaints).
  virtual bool HandleKey(uint16_t key, TShiftState shift);
  virtual bool HandleMouseDown(TMouseButton button, TShiftState shift, int32_t x, int32_t y);
  virtual bool HandleMouseMove(TShiftState shift, int32_t x, int32_t y);
  virtual bool HandleMouseUp(TMouseButton button, TShiftState shift, int32_t x, int32_t y);
  // One step of a controller that moves by itself (a car rolling on, a
  // turntable turning), called by a timer or the application; returns
  // whether it moved something. Nothing in the base.
  virtual bool Tick() { return false; }

  // Button held: 0 none, 1 left, 2 right.
  int GetMouseMode() const { return mouseMode_; }

  void Notification(TComponent* AComponent, TOperation Operation) override;
  void Assign(TPersistent* Source) override;

  // "Controlled" and "Camera" by ID, "StepLength", "TurnAngle", the child
  // "Actions".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;
  void ReadRef(IQelExchange* exchange) override;

protected:
  // The controlled transformation, or none.
  TQelTransformation* Controlled() const;
  bool ControlsCamera() const;
  void SetMouseMode(int mode) { mouseMode_ = mode; }
  // Where the controlled component sits in its parent's frame (a camera:
  // its eye), and moving it there.
  TQelMathVector GetPosition() const;
  void SetHeight(double y);
  double GetHeight() const { return GetPosition().y; }

private:
  void Link(TComponent* oldValue, TComponent* newValue);
  TQelTransformed* controlled_ = nullptr;
  TQelCamera* camera_ = nullptr;
  std::unique_ptr<TQelTransformation> saved_;
  std::unique_ptr<TQelControllerActions> actions_;
  int mouseMode_ = 0;
  int32_t lastX_ = 0, lastY_ = 0;
  double stepLength_ = 0.1;
  double turnAngle_ = 1.0;
};
