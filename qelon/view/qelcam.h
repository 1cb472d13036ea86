#pragma once
// Cameras: the viewport, the projection and the viewing transformation of a
// view, set up at the start of every render.
#include <cstdint>
#include <memory>

#include "qelon/platform/qelrect.h"
#include "qelon/scene/qelcomp.h"

// A rectangle in window pixels (y down): Left, Right, Top, Bottom, default
// 0, 100, 0, 100. Width and Height are derived; setting them moves Right or
// Bottom.
class TQelRect : public TQelProperty {
  QEL_CLASS(TQelRect)
public:
  TQelRect();

  int32_t GetLeft() const { return left_; }
  void SetLeft(int32_t value);
  int32_t GetRight() const { return right_; }
  void SetRight(int32_t value);
  int32_t GetTop() const { return top_; }
  void SetTop(int32_t value);
  int32_t GetBottom() const { return bottom_; }
  void SetBottom(int32_t value);
  int32_t GetWidth() const { return right_ - left_; }
  void SetWidth(int32_t value) { SetRight(left_ + value); }
  int32_t GetHeight() const { return bottom_ - top_; }
  void SetHeight(int32_t value) { SetBottom(top_ + value); }

  // From and to the platform rectangle; SetRect notifies once.
  void SetRect(const TRect& rect);
  TRect GetRect() const { return {left_, top_, right_, bottom_}; }

  void Clear() override;  // 0, 100, 0, 100; drops the handler
  void Assign(TPersistent* Source) override;

  // "Left", "Right", "Top", "Bottom".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  int32_t left_ = 0, right_ = 100, top_ = 0, bottom_ = 100;
};

// The camera base: near and far planes, an optional sub-viewport, and a
// placement executed as a viewing transformation (inverted).
//
// Conventions. The inverted transformation negates the scale on purpose, so
// a camera starts with the scale (-1, -1, -1): the view matrix then carries
// no scaling at all, and the picture is OpenGL's usual right-handed one (a
// scale of (1, 1, 1) would mirror it through the eye). Clearing the
// transformation brings that mirror back. With the rotation at zero the
// camera sits at its translation and looks along world -z with +y up.
// TurnAt and LookAt place it at a position looking at a target with the
// orders toTraRotSca and roZXY, so that the translation is the eye
// position.
class TQelCamera : public TQelTransformed {
  QEL_CLASS(TQelCamera)
public:
  explicit TQelCamera(TComponent* AOwner);
  ~TQelCamera() override;

  // Accepted only when positive (no check that near < far).
  float GetViewNear() const { return viewNear_; }
  void SetViewNear(float value);
  float GetViewFar() const { return viewFar_; }
  void SetViewFar(float value);
  TQelRect* GetViewport() const { return viewport_.get(); }
  void SetViewport(TQelRect* value);  // copies; null is ignored
  bool GetEnableViewport() const { return enableViewport_; }
  void SetEnableViewport(bool value);

  // Sets the viewport, the projection (with the pick region in dmSelect and
  // dmPointQuery) and the viewing transformation for view, and keeps the
  // resulting modelview matrix as the projection matrix. Nothing for none.
  virtual void Render(TQelCustomView* view);
  // Multiplies the projection of a viewport of width by height pixels onto
  // the current matrix; nothing in the base.
  virtual void Adjust(int32_t width, int32_t height) {}

  // Places the camera at position looking at target, world +y up on the
  // screen; LookAt then rolls it by angle degrees about the viewing
  // direction (right-handed about it, as TurnZ: the picture turns
  // counter-clockwise). Looking straight up or down, world -z or +z is up
  // on the screen; position = target looks along -z. The scale is kept.
  void TurnAt(const TQelMathVector& position, const TQelMathVector& target);
  void LookAt(const TQelMathVector& position, const TQelMathVector& target, double angle);

  // vector carried from transformed's frame into the camera's frame; the
  // zero vector unless transformed has a projection matrix too.
  virtual TQelMathVector ProjectVector(TQelTransformed* transformed, const TQelMathVector& vector);

  // Near and far, then the transformation.
  void Assign(TPersistent* Source) override;

  // A camera is saved on its own (it is not in the scene tree): the
  // component's values, "ViewNear", "ViewFar", "EnableViewport" and the
  // child "Viewport".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

private:
  void WireViewport();
  float viewNear_ = 0.1f;
  float viewFar_ = 10.0f;
  std::unique_ptr<TQelRect> viewport_;
  bool enableViewport_ = false;
};

// A perspective projection with a vertical field of view.
class TQelPerspectiveCamera : public TQelCamera {
  QEL_CLASS(TQelPerspectiveCamera)
public:
  explicit TQelPerspectiveCamera(TComponent* AOwner);

  // Degrees, 0..180; other values are ignored.
  float GetViewAngle() const { return viewAngle_; }
  void SetViewAngle(float value);

  // gluPerspective(ViewAngle, width / height, ViewNear, ViewFar).
  void Adjust(int32_t width, int32_t height) override;
  void Assign(TPersistent* Source) override;

  // "ViewAngle" after the camera's values.
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  float viewAngle_ = 45.0f;
};

// A parallel projection ViewHeight high; the width is ViewWidth stretched
// by the viewport's aspect ratio.
class TQelOrthographicCamera : public TQelCamera {
  QEL_CLASS(TQelOrthographicCamera)
public:
  explicit TQelOrthographicCamera(TComponent* AOwner);

  // Accepted only when positive.
  float GetViewWidth() const { return viewWidth_; }
  void SetViewWidth(float value);
  float GetViewHeight() const { return viewHeight_; }
  void SetViewHeight(float value);

  void Adjust(int32_t width, int32_t height) override;
  void Assign(TPersistent* Source) override;

  // "ViewWidth" and "ViewHeight" after the camera's values.
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  float viewWidth_ = 2.0f;
  float viewHeight_ = 2.0f;
};
