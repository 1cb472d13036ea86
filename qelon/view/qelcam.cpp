#include "qelcam.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <cmath>

#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"

// --- TQelRect ---------------------------------------------------------------

TQelRect::TQelRect() { TQelRect::Clear(); }

void TQelRect::SetLeft(int32_t value) {
  if (value == left_) return;
  left_ = value;
  Changed();
}

void TQelRect::SetRight(int32_t value) {
  if (value == right_) return;
  right_ = value;
  Changed();
}

void TQelRect::SetTop(int32_t value) {
  if (value == top_) return;
  top_ = value;
  Changed();
}

void TQelRect::SetBottom(int32_t value) {
  if (value == bottom_) return;
  bottom_ = value;
  Changed();
}

void TQelRect::SetRect(const TRect& rect) {
  if (rect == GetRect()) return;
  left_ = rect.Left;
  top_ = rect.Top;
  right_ = rect.Right;
  bottom_ = rect.Bottom;
  Changed();
}

void TQelRect::Clear() {
  TQelProperty::Clear();
  left_ = 0;
  right_ = 100;
  top_ = 0;
  bottom_ = 100;
}

void TQelRect::Assign(TPersistent* Source) {
  if (auto* r = dynamic_cast<TQelRect*>(Source)) {
    left_ = r->left_;
    right_ = r->right_;
    top_ = r->top_;
    bottom_ = r->bottom_;
    Changed();
  }
  TQelProperty::Assign(Source);
}

// --- TQelCamera -------------------------------------------------------------

TQelCamera::TQelCamera(TComponent* AOwner)
    : TQelTransformed(AOwner), viewport_(std::make_unique<TQelRect>()) {
  projectionMatrix_ = std::make_unique<TQelMatrix>();
  // A viewing transformation: executed inverted, where the scale is
  // negated; (-1, -1, -1) makes that an identity instead of a mirror.
  transformation_->SetInverted(true);
  transformation_->GetScale()->SetValues(-1, -1, -1);
  WireViewport();
}

TQelCamera::~TQelCamera() = default;

void TQelCamera::WireViewport() { viewport_->OnChange = SubChangeHandler(); }

void TQelCamera::SetViewNear(float value) {
  if (value == viewNear_ || !(value > 0)) return;
  viewNear_ = value;
  Changed();
}

void TQelCamera::SetViewFar(float value) {
  if (value == viewFar_ || !(value > 0)) return;
  viewFar_ = value;
  Changed();
}

void TQelCamera::SetViewport(TQelRect* value) {
  if (!value) return;
  viewport_->Assign(value);
  WireViewport();  // Assign hands over the source's handler
}

void TQelCamera::SetEnableViewport(bool value) {
  if (value == enableViewport_) return;
  enableViewport_ = value;
  Changed();
}

void TQelCamera::Render(TQelCustomView* view) {
  if (!view) return;
  const int32_t width = view->GetClientWidth();
  const int32_t height = view->GetClientHeight();
  if (enableViewport_)
    // The rectangle is in window pixels with y down; GL counts from the bottom.
    glViewport(viewport_->GetLeft(), height - viewport_->GetBottom(), viewport_->GetWidth(),
               viewport_->GetHeight());
  else
    glViewport(0, 0, width, height);

  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  const TQelDrawingMode mode = view->GetDrawingMode();
  if (mode == dmSelect || mode == dmPointQuery) {
    GLint viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    gluPickMatrix(view->GetSelectX(), viewport[3] - view->GetSelectY(), view->GetSelectWidth(),
                  view->GetSelectHeight(), viewport);
  }
  Adjust(width, height);

  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  transformation_->Execute(true);
  projectionMatrix_->PickGLModelviewMatrix();
  // The inverted scale is a glScalef even at (1, 1, 1). Drivers remember a
  // scaled modelview (a glLoadIdentity does not clear that) and then rescale
  // the normals of every vertex drawn. Multiplying the same matrix onto an
  // identity makes them classify it afresh; loading it would be skipped as
  // unchanged.
  glLoadIdentity();
  glMultMatrixd(projectionMatrix_->Data());
}

namespace {
constexpr double kDegrees = 180.0 / 3.14159265358979323846;

TQelMathVector Minus(const TQelMathVector& a, const TQelMathVector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
}  // namespace

void TQelCamera::TurnAt(const TQelMathVector& position, const TQelMathVector& target) {
  LookAt(position, target, 0);
}

void TQelCamera::LookAt(const TQelMathVector& position, const TQelMathVector& target,
                        double angle) {
  // The eye's axes in the world: right, up and back (against the view).
  TQelMathVector view = Minus(target, position);
  QelMathNormalize(view);
  TQelMathVector right{1, 0, 0}, up{0, 1, 0}, back{0, 0, 1};
  if (view != ZEROVEC) {
    QelMathCrossProduct(view, {0, 1, 0}, right);
    QelMathNormalize(right);
    if (right == ZEROVEC) right = {1, 0, 0};  // straight up or down: keep heading 0
    QelMathCrossProduct(right, view, up);
    QelMathNormalize(up);
    back = {-view.x, -view.y, -view.z};
    TQelMathVector rolled;
    QelMathRotateVec(right, view, angle, rolled);
    right = rolled;
    QelMathRotateVec(up, view, angle, rolled);
    up = rolled;
  }

  // The view turns the world by G, whose rows are those axes. Executed
  // inverted under roZXY, G = Ry(h) Rx(e) Rz(r) with the stored angles
  // negated: row 1 (up) = (cos e sin r, cos e cos r, -sin e), and the last
  // column holds sin h cos e (right) and cos h cos e (back).
  const double e = std::asin(std::clamp(-up.z, -1.0, 1.0));
  double h, r;
  if (std::cos(e) > 1e-9) {
    r = std::atan2(up.x, up.y);
    h = std::atan2(right.z, back.z);
  } else {
    // Up is world z: only h - r or h + r is defined; take r = 0, when row 0
    // is (cos h, sin h sin e, 0).
    r = 0;
    h = std::atan2(right.y * std::sin(e), right.x);
  }

  TQelTransformation* t = transformation_.get();
  t->SetOrder(toTraRotSca);
  t->GetRotation()->SetOrder(roZXY);
  t->GetRotation()->SetValues(static_cast<float>(-e * kDegrees), static_cast<float>(-h * kDegrees),
                              static_cast<float>(-r * kDegrees));
  t->GetTranslation()->SetAsMathVector(position);
}

TQelMathVector TQelCamera::ProjectVector(TQelTransformed* transformed,
                                         const TQelMathVector& vector) {
  TQelMathVector result = ZEROVEC;
  if (projectionMatrix_ && transformed && transformed->GetProjectionMatrix())
    result = projectionMatrix_->ProjectMatrix(*transformed->GetProjectionMatrix(), vector);
  return result;
}

void TQelCamera::Assign(TPersistent* Source) {
  if (auto* c = dynamic_cast<TQelCamera*>(Source)) {
    viewNear_ = c->viewNear_;
    viewFar_ = c->viewFar_;
  }
  TQelTransformed::Assign(Source);
}

// --- TQelPerspectiveCamera --------------------------------------------------

TQelPerspectiveCamera::TQelPerspectiveCamera(TComponent* AOwner) : TQelCamera(AOwner) {}

void TQelPerspectiveCamera::SetViewAngle(float value) {
  if (value == viewAngle_ || !(value >= 0 && value <= 180)) return;
  viewAngle_ = value;
  Changed();
}

void TQelPerspectiveCamera::Adjust(int32_t width, int32_t height) {
  // A collapsed window counts as square rather than dividing by zero.
  const double aspect = height > 0 ? static_cast<double>(width) / height : 1.0;
  gluPerspective(viewAngle_, aspect, GetViewNear(), GetViewFar());
}

void TQelPerspectiveCamera::Assign(TPersistent* Source) {
  if (auto* c = dynamic_cast<TQelPerspectiveCamera*>(Source)) viewAngle_ = c->viewAngle_;
  TQelCamera::Assign(Source);
}

// --- TQelOrthographicCamera -------------------------------------------------

TQelOrthographicCamera::TQelOrthographicCamera(TComponent* AOwner) : TQelCamera(AOwner) {}

void TQelOrthographicCamera::SetViewWidth(float value) {
  if (value == viewWidth_ || !(value > 0)) return;
  viewWidth_ = value;
  Changed();
}

void TQelOrthographicCamera::SetViewHeight(float value) {
  if (value == viewHeight_ || !(value > 0)) return;
  viewHeight_ = value;
  Changed();
}

void TQelOrthographicCamera::Adjust(int32_t width, int32_t height) {
  // The width follows the window's aspect ratio; the height is fixed.
  const double aspect = height > 0 ? static_cast<double>(width) / height : 1.0;
  const double halfWidth = viewWidth_ / 2.0 * aspect;
  const double halfHeight = viewHeight_ / 2.0;
  glOrtho(-halfWidth, halfWidth, -halfHeight, halfHeight, GetViewNear(), GetViewFar());
}

void TQelOrthographicCamera::Assign(TPersistent* Source) {
  if (auto* c = dynamic_cast<TQelOrthographicCamera*>(Source)) {
    viewWidth_ = c->viewWidth_;
    viewHeight_ = c->viewHeight_;
  }
  TQelCamera::Assign(Source);
}

// --- exchange -----------------------------------------------------------------

void TQelRect::WriteValues(IQelExchange* exchange) {
  TQelProperty::WriteValues(exchange);
  exchange->addtag("Left", left_, 0);
  exchange->addtag("Right", right_, 100);
  exchange->addtag("Top", top_, 0);
  exchange->addtag("Bottom", bottom_, 100);
}

void TQelRect::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelProperty::ReadValues(exchange, tag);
  int32_t value = left_;
  if (exchange->getvalue("Left", value)) SetLeft(value);
  value = right_;
  if (exchange->getvalue("Right", value)) SetRight(value);
  value = top_;
  if (exchange->getvalue("Top", value)) SetTop(value);
  value = bottom_;
  if (exchange->getvalue("Bottom", value)) SetBottom(value);
}

void TQelCamera::WriteValues(IQelExchange* exchange) {
  TQelTransformed::WriteValues(exchange);
  exchange->addtag("ViewNear", viewNear_, 0.1f);
  exchange->addtag("ViewFar", viewFar_, 10.0f);
  exchange->addtag("EnableViewport", enableViewport_, false);
  viewport_->WriteComp(exchange, "Viewport");
}

void TQelCamera::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelTransformed::ReadValues(exchange, tag);
  float value = viewNear_;
  if (exchange->getvalue("ViewNear", value)) SetViewNear(value);
  value = viewFar_;
  if (exchange->getvalue("ViewFar", value)) SetViewFar(value);
  bool enableViewport = enableViewport_;
  if (exchange->getvalue("EnableViewport", enableViewport)) SetEnableViewport(enableViewport);
}

TPersistent* TQelCamera::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name == "Viewport") {
    viewport_->ReadValues(exchange, tag);
    return viewport_.get();
  }
  return TQelTransformed::ReadComp(exchange, tag);
}

void TQelPerspectiveCamera::WriteValues(IQelExchange* exchange) {
  TQelCamera::WriteValues(exchange);
  exchange->addtag("ViewAngle", viewAngle_, 45.0f);
}

void TQelPerspectiveCamera::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelCamera::ReadValues(exchange, tag);
  float value = viewAngle_;
  if (exchange->getvalue("ViewAngle", value)) SetViewAngle(value);
}

void TQelOrthographicCamera::WriteValues(IQelExchange* exchange) {
  TQelCamera::WriteValues(exchange);
  exchange->addtag("ViewWidth", viewWidth_, 2.0f);
  exchange->addtag("ViewHeight", viewHeight_, 2.0f);
}

void TQelOrthographicCamera::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelCamera::ReadValues(exchange, tag);
  float value = viewWidth_;
  if (exchange->getvalue("ViewWidth", value)) SetViewWidth(value);
  value = viewHeight_;
  if (exchange->getvalue("ViewHeight", value)) SetViewHeight(value);
}
