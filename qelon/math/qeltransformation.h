#pragma once
// Transformations: a rotation, a scale and a translation applied to the GL
// modelview matrix in one of six orders, forwards or inverted.
#include "qelmatrix.h"

enum TQelRotationOrder { roXYZ, roXZY, roYXZ, roZYX, roYZX, roZXY };
extern const char* const TQelRotationOrderStr[6];

enum TQelTransformationOrder {
  toRotTraSca, toRotScaTra, toTraRotSca, toScaTraRot, toTraScaRot, toScaRotTra
};
extern const char* const TQelTransformationOrderStr[6];

// One part of a transformation. Execute multiplies the part onto the current
// GL matrix; CalcMatrix multiplies the same product onto matrix
// (matrix := matrix x part), so that both agree.
class TQelTransform : public TQelVector {
  QEL_CLASS(TQelTransform)
public:
  void Execute() { Execute(false); }
  virtual void Execute(bool inverse) = 0;
  virtual bool GetEmpty() const = 0;
  virtual void CalcMatrix(TQelMatrix& matrix, bool inverse) = 0;
};

// X, Y, Z: angles in degrees. Forwards, the axes are turned in the order's
// sequence (roXYZ: glRotatef about x, then y, then z); inverted, the reversed
// sequence with negated angles, which undoes the forward rotation.
class TQelRotation : public TQelTransform {
  QEL_CLASS(TQelRotation)
public:
  TQelRotation();
  using TQelTransform::Execute;
  void Execute(bool inverse) override;
  bool GetEmpty() const override;  // all three angles 0
  void CalcMatrix(TQelMatrix& matrix, bool inverse) override;
  TQelRotationOrder GetOrder() const { return order_; }
  void SetOrder(TQelRotationOrder order);  // values outside the enumeration are ignored
  void Assign(TPersistent* Source) override;  // angles and order
  void Clear() override;                      // angles 0, roXYZ

  // "P" and "Order".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  TQelRotationOrder order_ = roXYZ;
};

// X, Y, Z factors. Inverted it scales by the negated factors, even (1, 1, 1):
// the inverse negates rather than takes reciprocals, on purpose.
class TQelScale : public TQelTransform {
  QEL_CLASS(TQelScale)
public:
  TQelScale();
  using TQelTransform::Execute;
  void Execute(bool inverse) override;
  bool GetEmpty() const override;  // (1, 1, 1)
  void CalcMatrix(TQelMatrix& matrix, bool inverse) override;
  void Clear() override;  // (1, 1, 1)
  TQelMathVector GetDefault() const override { return {1, 1, 1}; }
};

// X, Y, Z offsets. Inverted it translates by the negated offsets, even (0, 0, 0).
class TQelTranslation : public TQelTransform {
  QEL_CLASS(TQelTranslation)
public:
  TQelTranslation();
  using TQelTransform::Execute;
  void Execute(bool inverse) override;
  bool GetEmpty() const override;  // (0, 0, 0)
  void CalcMatrix(TQelMatrix& matrix, bool inverse) override;
};

// The placement of an object (executed forwards) or the viewing
// transformation of a camera (executed inverted, SetInverted(true)).
//
// Movement. The local axes of a placement (GetMoveVector) are unit vectors in
// parent (for a camera: world) coordinates:
// - forward: the directions of the matrix's x, y and z columns, the object's
//   own axes (a negative scale factor reverses its axis);
// - inverted: the camera's eye axes negated, that is, in the picture: x points
//   left, y down, z forward (the viewing direction). With the default scale
//   the inverted transformation mirrors through the origin, and these are the
//   axes of the rotation itself.
// MoveX/MoveY/MoveZ(d) move the placement by d along its own local axis;
// TurnX/TurnY/TurnZ(a) turn it by a degrees about its own local axis, through
// its own position, and the position is unchanged. An object turns
// right-handed in parent coordinates (as QelMathRotateVec): after TurnY(a)
// its local z axis is the old one turned by a about the local y axis. A
// camera turns as its picture shows it: TurnX(a) tilts the view down by a,
// TurnY(a) turns it to the left, TurnZ(a) rolls it clockwise (whatever the
// handedness of its local axes, which a mirroring scale flips). It turns
// exactly so when its three scale factors have the same magnitude (the
// usual case).
// Every movement first calls SetDefaultOrder.
class TQelTransformation : public TQelProperty {
  QEL_CLASS(TQelTransformation)
public:
  TQelTransformation();
  ~TQelTransformation() override;
  TQelTransformation(const TQelTransformation&) = delete;
  TQelTransformation& operator=(const TQelTransformation&) = delete;

  TQelRotation* GetRotation() const { return rotation_; }
  TQelScale* GetScale() const { return scale_; }
  TQelTranslation* GetTranslation() const { return translation_; }
  // Part i: 0 rotation, 1 scale, 2 translation; null for other i.
  TQelTransform* GetTransform(int i) const;
  TQelTransformationOrder GetOrder() const { return order_; }
  void SetOrder(TQelTransformationOrder order);  // values outside the enumeration are ignored

  // Multiplies the parts onto the current GL matrix in the order's sequence
  // (inverted: the reversed sequence of inverted parts). Forwards an identity
  // issues nothing; inverted the scale and translation are always issued.
  // Cameras call Execute(true).
  void Execute() { Execute(false); }
  virtual void Execute(bool inverse);
  // matrix := the matrix that Execute(inverse) multiplies onto the GL matrix.
  void CalcMatrix(TQelMatrix& matrix, bool inverse = false);
  // Decomposes matrix, taken as this transformation's matrix executed forwards
  // or inverted (GetInverted() for the one-argument form), into translation,
  // scale and the angles of the current orders, so that CalcMatrix gives it
  // back. Exact when the orders can represent matrix: always for a matrix
  // that CalcMatrix made under the same orders; under another order a
  // non-uniform scale combined with a rotation may not be representable, and
  // then the position is kept and the rest approximated. The scale keeps the
  // signs it had when they fit the matrix's handedness; otherwise a mirroring
  // matrix gets three negative factors. Angles come out in -180..180.
  void GetFromMatrix(const TQelMatrix& matrix);
  void GetFromMatrix(const TQelMatrix& matrix, bool inverse);

  // Inverted: the transformation is a viewing transformation (a camera),
  // executed inverted. The movement operations read this flag.
  void SetInverted(bool inverted);  // set by cameras
  bool GetInverted() const { return inverted_; }
  // Switches to the orders movement needs (forward: toTraRotSca with roYXZ;
  // inverted: toScaRotTra with roZXY), keeping the matrix (see GetFromMatrix).
  void SetDefaultOrder();
  // True after SetDefaultOrder switched the order; SetOrder, Clear reset it.
  bool GetOrderSwitched() const { return orderSwitched_; }
  // Local axis 0..2 (x, y, z) in parent coordinates (see above); the zero
  // vector for another axis or a collapsed (zero-scale) one.
  TQelMathVector GetMoveVector(int axis);
  // Moves the viewer by distance along direction (parent coordinates)
  // relative to this placement, as the controllers need: an inverted
  // transformation (a camera) moves by distance * direction; a forward one
  // (an object) by -distance * direction, so that the scene appears to move
  // as when the viewer moves. Calls SetDefaultOrder and adds the offset to the
  // translation with incX/incY/incZ (inverted: carried into the frame in
  // which the translation acts).
  void MoveVec(double distance, const TQelMathVector& direction);
  void MoveX(double distance);
  void MoveY(double distance);
  void MoveZ(double distance);
  void TurnX(double angle);
  void TurnY(double angle);
  void TurnZ(double angle);
  // The sign that turns the placement as TurnX/TurnY/TurnZ describe about
  // axis 0..2 with TurnVec: +1 for an object; for a camera it depends on the
  // axis and on the handedness of its local axes.
  double TurnSense(int axis);
  // Turns the placement by angle degrees about axis (parent coordinates,
  // need not be unit) through its own position. The new angles pass through
  // ModAngle. A zero axis does nothing.
  void TurnVec(double angle, const TQelMathVector& axis);

  // a in [0, 360); 0 for infinities and NaN.
  static double ModAngle(double a);

  void SubChange(TObject* Sender);
  void Changed() override;
  // Resets the parts (rotation 0, scale 1, translation 0) and the order to
  // toRotTraSca, without notification. The parts stay wired to this
  // transformation, and this transformation keeps its own handler, so that an
  // owner goes on hearing of changes after a reset.
  void Clear() override;
  // Copies the three parts and the order (not the inverted flag), notifies,
  // and takes over the source's handler as every property's Assign does
  // (owners re-wire it); the parts stay wired to this transformation.
  void Assign(TPersistent* Source) override;

  // "Order", then the parts as "Rotation", "Scale" and "Translation".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

private:
  void WireParts();
  void UpdateCoordinates();
  // The parts live inside the transformation: rendering reads all three,
  // and one block of memory is one cache miss instead of four.
  TQelRotation rotationPart_;
  TQelScale scalePart_;
  TQelTranslation translationPart_;
  TQelRotation* const rotation_ = &rotationPart_;
  TQelScale* const scale_ = &scalePart_;
  TQelTranslation* const translation_ = &translationPart_;
  TQelTransformationOrder order_ = toRotTraSca;
  bool coordinatesOutOfDate_ = true;
  TQelMathVector coordinates_[3];
  bool orderSwitched_ = false;
  bool inverted_ = false;
  TQelLife life_;  // what the parts' links ask
};
