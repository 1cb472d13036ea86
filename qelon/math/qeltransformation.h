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

class TQelTransform : public TQelVector {
  QEL_CLASS(TQelTransform)
public:
  void Execute() { Execute(false); }
  virtual void Execute(bool inverse) = 0;
  virtual bool GetEmpty() const = 0;
  virtual void CalcMatrix(TQelMatrix& matrix, bool inverse) = 0;
};

class TQelRotation : public TQelTransform {
  QEL_CLASS(TQelRotation)
public:
  TQelRotation();
  using TQelTransform::Execute;
  void Execute(bool inverse) override;
  bool GetEmpty() const override;
  void CalcMatrix(TQelMatrix& matrix, bool inverse) override;
  TQelRotationOrder GetOrder() const { return order_; }
  void SetOrder(TQelRotationOrder order);
  void Assign(TPersistent* Source) override;
  void Clear() override;

private:
  TQelRotationOrder order_ = roXYZ;
};

class TQelScale : public TQelTransform {
  QEL_CLASS(TQelScale)
public:
  TQelScale();
  using TQelTransform::Execute;
  void Execute(bool inverse) override;
  bool GetEmpty() const override;
  void CalcMatrix(TQelMatrix& matrix, bool inverse) override;
  void Clear() override;  // (1, 1, 1)
};

class TQelTranslation : public TQelTransform {
  QEL_CLASS(TQelTranslation)
public:
  TQelTranslation();
  using TQelTransform::Execute;
  void Execute(bool inverse) override;
  bool GetEmpty() const override;
  void CalcMatrix(TQelMatrix& matrix, bool inverse) override;
};

class TQelTransformation : public TQelProperty {
  QEL_CLASS(TQelTransformation)
public:
  TQelTransformation();
  ~TQelTransformation() override;

  TQelRotation* GetRotation() const { return rotation_; }
  TQelScale* GetScale() const { return scale_; }
  TQelTranslation* GetTranslation() const { return translation_; }
  // Part i: 0 rotation, 1 scale, 2 translation.
  TQelTransform* GetTransform(int i) const;
  TQelTransformationOrder GetOrder() const { return order_; }
  void SetOrder(TQelTransformationOrder order);

  void Execute() { Execute(false); }
  virtual void Execute(bool inverse);
  void CalcMatrix(TQelMatrix& matrix, bool inverse = false);
  // Decomposes matrix into translation, scale and the angles of the current
  // rotation order.
  void GetFromMatrix(const TQelMatrix& matrix);

  // Movement, as the controllers drive it. Inverted: the transformation is a
  // viewing transformation (a camera), executed inverted.
  void SetInverted(bool inverted);  // set by cameras
  bool GetInverted() const { return inverted_; }
  void SetDefaultOrder();
  TQelMathVector GetMoveVector(int axis);  // local x, y, z axis in parent coordinates
  void MoveVec(double distance, const TQelMathVector& direction);
  void MoveX(double distance);
  void MoveY(double distance);
  void MoveZ(double distance);
  void TurnX(double angle);
  void TurnY(double angle);
  void TurnZ(double angle);
  void TurnVec(double angle, const TQelMathVector& axis);

  static double ModAngle(double a);

  void SubChange(TObject* Sender);
  void Clear() override;
  void Assign(TPersistent* Source) override;

private:
  void UpdateCoordinates();
  TQelRotation* rotation_ = nullptr;
  TQelScale* scale_ = nullptr;
  TQelTranslation* translation_ = nullptr;
  TQelTransformationOrder order_ = toRotTraSca;
  bool coordinatesOutOfDate_ = true;
  TQelMathVector coordinates_[3];
  bool orderSwitched_ = false;
  bool inverted_ = false;
};
