#pragma once
// The 4x4 double matrix. Element (i, j) (row i, column j) is stored at
// 4j + i: column-major, exactly what glMultMatrixd and glGetDoublev use.
#include "qelclass.h"

class TQelMatrix : public TQelProperty {
  QEL_CLASS(TQelMatrix)
public:
  TQelMatrix();  // all zero, not identity

  double GetValue(int i, int j) const;
  void SetValue(int i, int j, double value);
  // The stored group r (elements 4r..4r+3), that is, mathematical column r.
  TQelMathVector4d GetRow(int r) const;
  void SetRow(int r, const TQelMathVector4d& v);
  void Assign(TPersistent* Source) override;

  void SetConstMatrix(double value);
  void SetIdentityMatrix();
  void MultMatrix(const TQelMatrix& B);  // self := B x self
  void Add(const TQelMatrix& B);
  void Mult(double value);
  bool Invert();
  void Transpose();
  void GLMultMatrix() const;
  void PickGLModelviewMatrix();
  void PickGLProjectionMatrix();
  bool IsIdentityMatrix() const;
  TQelMathVector4d MultVector(const TQelMathVector4d& v) const;

  virtual TQelMathVector4d Project(const TQelMathVector4d& v, const TQelMathVector4d& viewport,
                                   const TQelMatrix& P) const;
  virtual TQelMathVector4d Project(const TQelMathVector4d& v, const TQelMathVector4d& viewport) const;
  virtual TQelMathVector4d Project(const TQelMathVector4d& v) const;
  virtual TQelMathVector ProjectMatrix(const TQelMatrix& M, const TQelMathVector& v) const;
  virtual TQelMathVector4d ProjectMatrix(const TQelMatrix& M, const TQelMathVector4d& v) const;
  virtual TQelMathVector4d UnProject(const TQelMathVector4d& v, const TQelMathVector4d& viewport,
                                     const TQelMatrix& P) const;
  virtual TQelMathVector4d UnProject(const TQelMathVector4d& v, const TQelMathVector4d& viewport) const;
  virtual TQelMathVector4d UnProject(const TQelMathVector4d& v) const;

  void Translate(const TQelMathVector4d& v);  // self := self x T
  void RotateX(double angle);                 // degrees; self := self x R
  void RotateY(double angle);
  void RotateZ(double angle);
  void Scale(const TQelMathVector4d& v);  // self := self x diag(v)

  double* Data() { return m_; }
  const double* Data() const { return m_; }

private:
  double m_[16];
};
