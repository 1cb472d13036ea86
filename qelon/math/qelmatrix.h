#pragma once
// The 4x4 double matrix. Element (i, j) (row i, column j) is stored at
// 4j + i: column-major, exactly what glMultMatrixd and glGetDoublev use.
#include "qelclass.h"

class TQelMatrix : public TQelProperty {
  QEL_CLASS(TQelMatrix)
public:
  TQelMatrix();  // all zero, not identity

  // The viewport (x, y, width, height) of the overloads that take none.
  static const TQelMathVector4d DefaultViewport;  // (0, 0, 1, 1)

  // Indices 0..3; out of range reads 0 and writes nothing.
  double GetValue(int i, int j) const;
  void SetValue(int i, int j, double value);
  // The stored group r (elements 4r..4r+3), that is, mathematical column r.
  TQelMathVector4d GetRow(int r) const;
  void SetRow(int r, const TQelMathVector4d& v);
  // Copies the handler (as every property does), then the sixteen values.
  void Assign(TPersistent* Source) override;
  void Clear() override;  // drops the handler, all zero

  void SetConstMatrix(double value);
  void SetIdentityMatrix();
  void MultMatrix(const TQelMatrix& B);  // self := B x self
  void Add(const TQelMatrix& B);
  void Mult(double value);
  // Gauss-Jordan with partial pivoting; false (self unchanged) when singular.
  bool Invert();
  void Transpose();
  void GLMultMatrix() const;
  void PickGLModelviewMatrix();
  void PickGLProjectionMatrix();
  bool IsIdentityMatrix() const;  // every element within 1e-15 of the identity
  TQelMathVector4d MultVector(const TQelMathVector4d& v) const;  // self x v

  // Object to window coordinates through P x self, like gluProject except that
  // y is flipped (window rows grow downwards): y = viewport.y + viewport.w -
  // (gluProject's y - viewport.y). z lies in 0..1. The overloads without P use
  // the identity, those without a viewport DefaultViewport.
  virtual TQelMathVector4d Project(const TQelMathVector4d& v, const TQelMathVector4d& viewport,
                                   const TQelMatrix& P) const;
  virtual TQelMathVector4d Project(const TQelMathVector4d& v, const TQelMathVector4d& viewport) const;
  virtual TQelMathVector4d Project(const TQelMathVector4d& v) const;
  virtual TQelMathVector ProjectMatrix(const TQelMatrix& M, const TQelMathVector& v) const;
  // inverse(self) x M x v: v carried from M's frame into self's frame; the
  // zero vector when self is singular. The 3-vector form takes w = 1.
  virtual TQelMathVector4d ProjectMatrix(const TQelMatrix& M, const TQelMathVector4d& v) const;
  // The inverse of Project: window (x, y, z) to object coordinates (w = 1);
  // v.w is not used. The zero vector when P x self is singular.
  virtual TQelMathVector4d UnProject(const TQelMathVector4d& v, const TQelMathVector4d& viewport,
                                     const TQelMatrix& P) const;
  virtual TQelMathVector4d UnProject(const TQelMathVector4d& v, const TQelMathVector4d& viewport) const;
  virtual TQelMathVector4d UnProject(const TQelMathVector4d& v) const;

  // The same products that glTranslate, glRotate and glScale form.
  void Translate(const TQelMathVector4d& v);  // self := self x T; v.w adds to (3, 3)
  void RotateX(double angle);                 // degrees; self := self x R
  void RotateY(double angle);
  void RotateZ(double angle);
  void Scale(const TQelMathVector4d& v);  // self := self x diag(v)

  double* Data() { return m_; }
  const double* Data() const { return m_; }

private:
  double& at(int i, int j) { return m_[4 * j + i]; }
  double at(int i, int j) const { return m_[4 * j + i]; }
  void RotateColumns(int a, int b, double angle);
  double m_[16];
};
