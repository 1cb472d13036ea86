#include "qelmatrix.h"

#include <GL/gl.h>

#include <cmath>
#include <cstring>
#include <utility>

namespace {
constexpr long double kIdentityTolerance = 1e-15L;
inline bool InRange(int i) { return i >= 0 && i <= 3; }
}  // namespace

const TQelMathVector4d TQelMatrix::DefaultViewport{0, 0, 1, 1};

TQelMatrix::TQelMatrix() { SetConstMatrix(0); }

void TQelMatrix::Clear() {
  TQelProperty::Clear();
  SetConstMatrix(0);
}

double TQelMatrix::GetValue(int i, int j) const {
  return InRange(i) && InRange(j) ? at(i, j) : 0.0;
}

void TQelMatrix::SetValue(int i, int j, double value) {
  if (InRange(i) && InRange(j)) at(i, j) = value;
}

TQelMathVector4d TQelMatrix::GetRow(int r) const {
  if (!InRange(r)) return {};
  return {m_[4 * r], m_[4 * r + 1], m_[4 * r + 2], m_[4 * r + 3]};
}

void TQelMatrix::SetRow(int r, const TQelMathVector4d& v) {
  if (!InRange(r)) return;
  for (int k = 0; k < 4; ++k) m_[4 * r + k] = v[k];
}

void TQelMatrix::Assign(TPersistent* Source) {
  TQelProperty::Assign(Source);
  if (auto* m = dynamic_cast<TQelMatrix*>(Source)) std::memcpy(m_, m->m_, sizeof m_);
}

void TQelMatrix::SetConstMatrix(double value) {
  for (double& e : m_) e = value;
}

void TQelMatrix::SetIdentityMatrix() {
  SetConstMatrix(0);
  for (int k = 0; k < 4; ++k) at(k, k) = 1.0;
}

void TQelMatrix::MultMatrix(const TQelMatrix& B) {
  double r[16];
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      double sum = 0;
      for (int k = 0; k < 4; ++k) sum += B.at(i, k) * at(k, j);
      r[4 * j + i] = sum;
    }
  std::memcpy(m_, r, sizeof m_);
}

void TQelMatrix::Add(const TQelMatrix& B) {
  for (int k = 0; k < 16; ++k) m_[k] += B.m_[k];
}

void TQelMatrix::Mult(double value) {
  for (double& e : m_) e *= value;
}

bool TQelMatrix::Invert() {
  // Gauss-Jordan elimination with partial pivoting on [self | identity].
  double a[4][8];
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      a[i][j] = at(i, j);
      a[i][j + 4] = i == j ? 1.0 : 0.0;
    }
  for (int col = 0; col < 4; ++col) {
    int pivot = col;
    for (int r = col + 1; r < 4; ++r)
      if (std::fabs(a[r][col]) > std::fabs(a[pivot][col])) pivot = r;
    if (a[pivot][col] == 0) return false;  // singular; self stays as it was
    if (pivot != col) std::swap(a[pivot], a[col]);
    const double p = a[col][col];
    for (int j = 0; j < 8; ++j) a[col][j] /= p;
    for (int r = 0; r < 4; ++r) {
      if (r == col) continue;
      const double f = a[r][col];
      if (f == 0) continue;
      for (int j = 0; j < 8; ++j) a[r][j] -= f * a[col][j];
    }
  }
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) at(i, j) = a[i][j + 4];
  return true;
}

void TQelMatrix::Transpose() {
  const TQelMatrix copy(*this);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) at(i, j) = copy.at(j, i);
}

void TQelMatrix::GLMultMatrix() const { glMultMatrixd(m_); }

void TQelMatrix::PickGLModelviewMatrix() { glGetDoublev(GL_MODELVIEW_MATRIX, m_); }

void TQelMatrix::PickGLProjectionMatrix() { glGetDoublev(GL_PROJECTION_MATRIX, m_); }

bool TQelMatrix::IsIdentityMatrix() const {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      const double expected = i == j ? 1.0 : 0.0;
      if (!(std::fabs(at(i, j) - expected) <= kIdentityTolerance)) return false;
    }
  return true;
}

TQelMathVector4d TQelMatrix::MultVector(const TQelMathVector4d& v) const {
  TQelMathVector4d w;
  for (int i = 0; i < 4; ++i) {
    double sum = 0;
    for (int k = 0; k < 4; ++k) sum += at(i, k) * v[k];
    w[i] = sum;
  }
  return w;
}

TQelMathVector4d TQelMatrix::Project(const TQelMathVector4d& v, const TQelMathVector4d& viewport,
                                     const TQelMatrix& P) const {
  TQelMathVector4d u = P.MultVector(MultVector(v));
  const double d = u.w != 0 ? u.w : 1.0;
  for (int k = 0; k < 4; ++k) u[k] = (u[k] / d + 1) / 2;
  // Window rows grow downwards: y is flipped, unlike gluProject.
  u.y = (1 - u.y) * viewport.w + viewport.y;
  u.x = u.x * viewport.z + viewport.x;
  return u;
}

TQelMathVector4d TQelMatrix::Project(const TQelMathVector4d& v,
                                     const TQelMathVector4d& viewport) const {
  TQelMatrix identity;
  identity.SetIdentityMatrix();
  return Project(v, viewport, identity);
}

TQelMathVector4d TQelMatrix::Project(const TQelMathVector4d& v) const {
  return Project(v, DefaultViewport);
}

TQelMathVector4d TQelMatrix::ProjectMatrix(const TQelMatrix& M, const TQelMathVector4d& v) const {
  TQelMatrix inverse(*this);
  if (!inverse.Invert()) return {};
  return inverse.MultVector(M.MultVector(v));
}

TQelMathVector TQelMatrix::ProjectMatrix(const TQelMatrix& M, const TQelMathVector& v) const {
  const TQelMathVector4d r = ProjectMatrix(M, ToVec4D(v, 1));
  return {r.x, r.y, r.z};
}

TQelMathVector4d TQelMatrix::UnProject(const TQelMathVector4d& v, const TQelMathVector4d& viewport,
                                       const TQelMatrix& P) const {
  // Undo the window mapping of Project, then the product P x self.
  TQelMathVector4d n{(v.x - viewport.x) / viewport.z, 1 - (v.y - viewport.y) / viewport.w, v.z, 1};
  for (int k = 0; k < 3; ++k) n[k] = 2 * n[k] - 1;
  TQelMatrix a(*this);
  a.MultMatrix(P);  // P x self
  if (!a.Invert()) return {};
  TQelMathVector4d o = a.MultVector(n);
  if (o.w != 0) {
    for (int k = 0; k < 3; ++k) o[k] /= o.w;
    o.w = 1;
  }
  return o;
}

TQelMathVector4d TQelMatrix::UnProject(const TQelMathVector4d& v,
                                       const TQelMathVector4d& viewport) const {
  TQelMatrix identity;
  identity.SetIdentityMatrix();
  return UnProject(v, viewport, identity);
}

TQelMathVector4d TQelMatrix::UnProject(const TQelMathVector4d& v) const {
  return UnProject(v, DefaultViewport);
}

void TQelMatrix::Translate(const TQelMathVector4d& v) {
  // self x T, T the identity plus v in the fourth column (v.w lands on (3, 3)).
  for (int i = 0; i < 4; ++i)
    at(i, 3) = at(i, 0) * v.x + at(i, 1) * v.y + at(i, 2) * v.z + at(i, 3) * (1 + v.w);
}

void TQelMatrix::RotateColumns(int a, int b, double angle) {
  const double rad = angle / 180 * M_PI;
  const double c = std::cos(rad), s = std::sin(rad);
  for (int i = 0; i < 4; ++i) {
    const double ca = at(i, a), cb = at(i, b);
    at(i, a) = c * ca + s * cb;
    at(i, b) = -s * ca + c * cb;
  }
}

void TQelMatrix::RotateX(double angle) { RotateColumns(1, 2, angle); }
void TQelMatrix::RotateY(double angle) { RotateColumns(2, 0, angle); }
void TQelMatrix::RotateZ(double angle) { RotateColumns(0, 1, angle); }

void TQelMatrix::Scale(const TQelMathVector4d& v) {
  for (int j = 0; j < 4; ++j)
    for (int i = 0; i < 4; ++i) at(i, j) *= v[j];
}
