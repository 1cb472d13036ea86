#include "qelcntrl.h"

#include <cmath>

#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/platform/qelshortcut.h"
#include "qelon/view/qelcam.h"

namespace {

constexpr double kPixelsPerStep = 30.0;
constexpr double kRadToDeg = 57.295779513082320876;
const TQelMathVector kUp{0, 1, 0};

TQelMathVector Cross(const TQelMathVector& a, const TQelMathVector& b) {
  TQelMathVector r;
  QelMathCrossProduct(a, b, r);
  return r;
}

TQelMathVector Minus(const TQelMathVector& a, const TQelMathVector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

TQelMathVector Times(const TQelMathVector& a, double s) { return {a.x * s, a.y * s, a.z * s}; }

TQelMathVector Horizontal(const TQelMathVector& v) { return Minus(v, Times(kUp, QelMathDotProduct(v, kUp))); }

// The signed angle (degrees) that turns from onto to about axis (unit,
// perpendicular to both).
double AngleAbout(const TQelMathVector& from, const TQelMathVector& to, const TQelMathVector& axis) {
  return std::atan2(QelMathDotProduct(Cross(from, to), axis), QelMathDotProduct(from, to)) * kRadToDeg;
}

// Turns t so that its local axis `ahead` is horizontal and its local `up`
// (for a camera the picture's up) points up, keeping heading and position.
void Level(TQelTransformation* t) {
  const double upSign = t->GetInverted() ? -1.0 : 1.0;  // a camera's local y points down
  TQelMathVector ahead = t->GetMoveVector(2);
  TQelMathVector heading = Horizontal(ahead);
  if (QelMathVectorLength(heading) < 1e-9) {
    // Looking straight up or down: the heading is where the top of the
    // picture (or the object's up) points.
    const double s = QelMathDotProduct(ahead, kUp) < 0 ? upSign : -upSign;
    heading = Horizontal(Times(t->GetMoveVector(1), s));
  }
  if (QelMathVectorLength(heading) < 1e-9) return;
  QelMathNormalize(heading);
  TQelMathVector pitchAxis = Cross(ahead, heading);
  if (QelMathVectorLength(pitchAxis) > 1e-12) {
    QelMathNormalize(pitchAxis);
    t->TurnVec(AngleAbout(ahead, heading, pitchAxis), pitchAxis);
  }
  ahead = t->GetMoveVector(2);
  const TQelMathVector up = Times(t->GetMoveVector(1), upSign);
  const double roll = AngleAbout(up, kUp, ahead);
  if (std::fabs(roll) > 1e-9) t->TurnVec(roll, ahead);
}

}  // namespace

TQelCustomController::TQelCustomController(TComponent* AOwner)
    : TQelComponent(AOwner),
      saved_(std::make_unique<TQelTransformation>()),
      actions_(std::make_unique<TQelControllerActions>()) {
  actions_->SetCode(caReset, 'R');
  actions_->SetCode(caAdjust, 'A');
  actions_->KeepAsDefaults();
}

TQelCustomController::~TQelCustomController() { Destroying(); }

TQelTransformation* TQelCustomController::Controlled() const {
  return controlled_ ? controlled_->GetTransformation() : nullptr;
}

bool TQelCustomController::ControlsCamera() const {
  return dynamic_cast<TQelCamera*>(controlled_) != nullptr;
}

void TQelCustomController::Link(TComponent* oldValue, TComponent* newValue) {
  if (oldValue && oldValue != controlled_ && oldValue != camera_) RemoveFreeNotification(oldValue);
  if (newValue) FreeNotification(newValue);
}

void TQelCustomController::SetControlled(TQelTransformed* value) {
  TQelTransformed* old = controlled_;
  controlled_ = value;
  Link(old, value);
  if (auto* camera = dynamic_cast<TQelCamera*>(value); camera && !camera_) SetCamera(camera);
  if (value) {
    saved_->Assign(value->GetTransformation());
    saved_->OnChange = nullptr;  // Assign handed over the controlled one's handler
    saved_->SetInverted(value->GetTransformation()->GetInverted());
  }
}

void TQelCustomController::SetCamera(TQelCamera* value) {
  TQelCamera* old = camera_;
  camera_ = value;
  Link(old, value);
}

void TQelCustomController::SetActions(TQelControllerActions* value) {
  if (value) actions_->Assign(value);
  actions_->OnChange = nullptr;
}

bool TQelCustomController::DoAction(int index, double factor) {
  if (!controlled_ || index < 0 || index >= QelActionCount) return false;
  const double s = factor * stepLength_, t = factor * turnAngle_;
  switch (index) {
    case caMoveLeft: MoveX(s); break;
    case caMoveRight: MoveX(-s); break;
    case caMoveUp: MoveY(-s); break;
    case caMoveDown: MoveY(s); break;
    case caMoveForward: MoveZ(s); break;
    case caMoveBack: MoveZ(-s); break;
    case caTurnLeft: TurnY(t); break;
    case caTurnRight: TurnY(-t); break;
    case caTurnUp: TurnX(-t); break;
    case caTurnDown: TurnX(t); break;
    case caRollLeft: TurnZ(-t); break;
    case caRollRight: TurnZ(t); break;
    case caReset: Reset(); break;
    case caAdjust: Adjust(); break;
  }
  return true;
}

void TQelCustomController::MoveXYZ(double distance, int axis) {
  if (!controlled_ || axis < 0 || axis > 2) return;
  if (ControlsCamera()) {
    TQelTransformation* t = Controlled();
    t->MoveVec(distance, t->GetMoveVector(axis));
  } else if (camera_) {
    // Along the viewer's axis; an object moves the opposite way, as the
    // scene does when the viewer moves.
    Controlled()->MoveVec(distance, camera_->GetTransformation()->GetMoveVector(axis));
  }
}

void TQelCustomController::TurnXYZ(double angle, int axis) {
  if (!controlled_ || axis < 0 || axis > 2) return;
  if (ControlsCamera()) {
    TQelTransformation* t = Controlled();
    if (axis == 0) t->TurnX(angle);
    if (axis == 1) t->TurnY(angle);
    if (axis == 2) t->TurnZ(angle);
  } else if (camera_) {
    TQelTransformation* view = camera_->GetTransformation();
    const TQelMathVector a[3] = {view->GetMoveVector(0), view->GetMoveVector(1), view->GetMoveVector(2)};
    // The viewer's left, down and ahead make a left-handed frame unless the
    // camera mirrors its picture; a mirrored picture turns the other way.
    const double mirror = QelMathDotProduct(Cross(a[0], a[1]), a[2]) > 0 ? -1.0 : 1.0;
    Controlled()->TurnVec((axis == 0 ? angle : -angle) * mirror, a[axis]);
  }
}

void TQelCustomController::Reset() {
  if (controlled_) controlled_->SetTransformation(saved_.get());
}

void TQelCustomController::Adjust() {
  if (controlled_) Level(Controlled());
}

TQelMathVector TQelCustomController::GetPosition() const {
  TQelTransformation* t = Controlled();
  if (!t) return ZEROVEC;
  TQelMatrix m;
  t->CalcMatrix(m, t->GetInverted());
  if (t->GetInverted() && !m.Invert()) return ZEROVEC;
  return {m.GetValue(0, 3), m.GetValue(1, 3), m.GetValue(2, 3)};
}

void TQelCustomController::SetHeight(double y) {
  TQelTransformation* t = Controlled();
  if (!t) return;
  const double dy = y - GetPosition().y;
  if (dy != 0) t->MoveVec(t->GetInverted() ? dy : -dy, kUp);
}

bool TQelCustomController::HandleKey(uint16_t key, TShiftState shift) {
  const int32_t shortCut = QelShortCut(key, shift);
  bool ran = false;
  for (int i = 0; i < QelActionCount; ++i)
    if (actions_->GetCode(i) == shortCut && DoAction(i, 1.0)) ran = true;
  return ran;
}

bool TQelCustomController::HandleMouseDown(TMouseButton button, TShiftState shift, int32_t x, int32_t y) {
  mouseMode_ = button == mbLeft ? 1 : button == mbRight ? 2 : 0;
  lastX_ = x;
  lastY_ = y;
  return false;
}

bool TQelCustomController::HandleMouseMove(TShiftState shift, int32_t x, int32_t y) {
  if (mouseMode_ == 0) return false;
  const int32_t codeX = mouseMode_ == 1 ? QelMouseLeftX : QelMouseRightX;
  const int32_t codeY = mouseMode_ == 1 ? QelMouseLeftY : QelMouseRightY;
  const double fx = (lastX_ - x) / kPixelsPerStep, fy = (y - lastY_) / kPixelsPerStep;
  lastX_ = x;
  lastY_ = y;
  bool ran = false;
  for (int i = 0; i < QelActionCount; ++i) {
    const int32_t code = actions_->GetCode(i);
    if (code == codeX && fx != 0 && DoAction(i, fx)) ran = true;
    if (code == codeY && fy != 0 && DoAction(i, fy)) ran = true;
  }
  return ran;
}

bool TQelCustomController::HandleMouseUp(TMouseButton button, TShiftState shift, int32_t x, int32_t y) {
  mouseMode_ = 0;
  return false;
}

void TQelCustomController::Notification(TComponent* AComponent, TOperation Operation) {
  TQelComponent::Notification(AComponent, Operation);
  if (Operation != opRemove || !AComponent) return;
  if (AComponent == controlled_) controlled_ = nullptr;
  if (AComponent == camera_) camera_ = nullptr;
}

void TQelCustomController::Assign(TPersistent* Source) {
  if (auto* c = dynamic_cast<TQelCustomController*>(Source)) {
    actions_->Assign(c->actions_.get());
    actions_->OnChange = nullptr;
    stepLength_ = c->stepLength_;
    SetTurnAngle(c->turnAngle_);
  }
  TQelComponent::Assign(Source);
}

void TQelCustomController::WriteValues(IQelExchange* exchange) {
  TQelComponent::WriteValues(exchange);
  exchange->AddRef("Controlled", controlled_);
  exchange->AddRef("Camera", camera_);
  exchange->addtag("StepLength", stepLength_, QelNoDefault);
  exchange->addtag("TurnAngle", turnAngle_, QelNoDefault);
  actions_->WriteComp(exchange, "Actions");
}

void TQelCustomController::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelComponent::ReadValues(exchange, tag);
  exchange->GetRef("Controlled", this);
  exchange->GetRef("Camera", this);
  double value = stepLength_;
  if (exchange->getvalue("StepLength", value)) SetStepLength(value);
  value = turnAngle_;
  if (exchange->getvalue("TurnAngle", value)) SetTurnAngle(value);
}

TPersistent* TQelCustomController::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name == "Actions") {
    actions_->ReadValues(exchange, tag);
    return actions_.get();
  }
  return TQelComponent::ReadComp(exchange, tag);
}

void TQelCustomController::ReadRef(IQelExchange* exchange) {
  TQelComponent::ReadRef(exchange);
  TQelCamera* camera = nullptr;
  if (exchange->GetRefObj("Camera", camera)) SetCamera(camera);
  TQelTransformed* controlled = nullptr;
  if (exchange->GetRefObj("Controlled", controlled)) SetControlled(controlled);
}
