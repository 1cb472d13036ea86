#include "qeltransformation.h"

#include <GL/gl.h>

#include <array>
#include <cmath>

#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"

const char* const TQelRotationOrderStr[6] = {"roXYZ", "roXZY", "roYXZ",
                                             "roZYX", "roYZX", "roZXY"};
const char* const TQelTransformationOrderStr[6] = {"toRotTraSca", "toRotScaTra", "toTraRotSca",
                                                   "toScaTraRot", "toTraScaRot", "toScaRotTra"};

namespace {

constexpr double kRadToDeg = 57.295779513082320876;

// The axes (0 x, 1 y, 2 z) a rotation turns about, in sequence, for k =
// order (forwards) or order + 3 (inverted: the reversed sequence).
constexpr int kRotationAxes[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2},
                                     {2, 1, 0}, {1, 2, 0}, {2, 0, 1}};

enum { kRotation = 0, kScale = 1, kTranslation = 2 };
// The parts a transformation executes, in sequence, for k as above.
constexpr int kPartSequence[6][3] = {
    {kRotation, kTranslation, kScale}, {kRotation, kScale, kTranslation},
    {kTranslation, kRotation, kScale}, {kScale, kTranslation, kRotation},
    {kTranslation, kScale, kRotation}, {kScale, kRotation, kTranslation}};

int Sequence(int order, bool inverse) { return (order + (inverse ? 3 : 0)) % 6; }

// --- 3x3 helpers for decomposing and turning ------------------------------

using Mat3 = std::array<std::array<double, 3>, 3>;  // [row][column]
using Vec3 = TQelMathVector;

Mat3 Identity3() { return {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}; }

Mat3 Mul(const Mat3& a, const Mat3& b) {
  Mat3 r{};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 3; ++k) r[i][j] += a[i][k] * b[k][j];
  return r;
}

Vec3 Mul(const Mat3& a, const Vec3& v) {
  Vec3 r;
  for (int i = 0; i < 3; ++i) r[i] = a[i][0] * v.x + a[i][1] * v.y + a[i][2] * v.z;
  return r;
}

Mat3 Transposed(const Mat3& a) {
  Mat3 r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) r[i][j] = a[j][i];
  return r;
}

Vec3 Column(const Mat3& a, int j) { return {a[0][j], a[1][j], a[2][j]}; }

void SetColumn(Mat3& a, int j, const Vec3& v) {
  for (int i = 0; i < 3; ++i) a[i][j] = v[i];
}

Mat3 Linear(const TQelMatrix& m) {
  Mat3 r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) r[i][j] = m.GetValue(i, j);
  return r;
}

double Det(const Mat3& a) {
  return a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
         a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
         a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
}

// Rotation about axis 0, 1 or 2 by rad, right-handed (as glRotate).
Mat3 AxisRotation(int axis, double rad) {
  Mat3 r = Identity3();
  const int b = (axis + 1) % 3, c = (axis + 2) % 3;
  r[b][b] = r[c][c] = std::cos(rad);
  r[c][b] = std::sin(rad);
  r[b][c] = -r[c][b];
  return r;
}

// Rotation about the unit vector u by angle degrees, exactly as
// QelMathRotateVec turns a vector.
Mat3 RotationAbout(const Vec3& u, double angle) {
  Mat3 r;
  for (int j = 0; j < 3; ++j) {
    Vec3 e, turned;
    e[j] = 1;
    QelMathRotateVec(e, u, angle, turned);
    SetColumn(r, j, turned);
  }
  return r;
}

// Angles (degrees, indexed by axis) with R = Ra(alpha) Rb(beta) Rc(gamma) for
// the axis sequence (a, b, c). When the middle angle is +-90 degrees only
// alpha +- gamma is defined; gamma is then 0.
Vec3 EulerAngles(const Mat3& R, const int (&axes)[3]) {
  const int a = axes[0], b = axes[1], c = axes[2];
  const double e = b == (a + 1) % 3 ? 1.0 : -1.0;  // +1 for a cyclic sequence
  const double cosBeta = std::hypot(R[a][a], R[a][b]);
  const double beta = std::atan2(e * R[a][c], cosBeta);
  const double gamma = cosBeta > 1e-12 ? std::atan2(-e * R[a][b], R[a][a]) : 0.0;
  // alpha from what is left: R Rc(-gamma) Rb(-beta) = Ra(alpha).
  const Mat3 rest = Mul(Mul(R, AxisRotation(c, -gamma)), AxisRotation(b, -beta));
  const int b1 = (a + 1) % 3, c1 = (a + 2) % 3;
  const double alpha = std::atan2(rest[c1][b1], rest[b1][b1]);
  Vec3 angles;
  angles[a] = alpha * kRadToDeg;
  angles[b] = beta * kRadToDeg;
  angles[c] = gamma * kRadToDeg;
  return angles;
}

// Splits L into rho * diag(sigma) with rho a rotation (its columns the
// directions of L's columns). preferred holds the signs wanted for sigma.
void SplitColumns(const Mat3& L, const Vec3& preferred, Mat3& rho, Vec3& sigma) {
  const double det = Det(L);
  Vec3 sign = preferred;
  if (det != 0 && (sign.x * sign.y * sign.z > 0) != (det > 0)) {
    const double s = det > 0 ? 1.0 : -1.0;  // a mirror gets three negative factors
    sign = {s, s, s};
  }
  int missing = -1, missingCount = 0;
  for (int j = 0; j < 3; ++j) {
    const Vec3 col = Column(L, j);
    sigma[j] = sign[j] * QelMathVectorLength(col);
    if (sigma[j] != 0) {
      SetColumn(rho, j, {col.x / sigma[j], col.y / sigma[j], col.z / sigma[j]});
    } else {
      missing = j;
      ++missingCount;
      SetColumn(rho, j, Column(Identity3(), j));
    }
  }
  // A single collapsed axis is completed from the other two.
  if (missingCount == 1) {
    Vec3 n;
    QelMathCrossProduct(Column(rho, (missing + 1) % 3), Column(rho, (missing + 2) % 3), n);
    SetColumn(rho, missing, n);
  }
}

Vec3 Signs(const Vec3& v) {
  return {v.x < 0 ? -1.0 : 1.0, v.y < 0 ? -1.0 : 1.0, v.z < 0 ? -1.0 : 1.0};
}

Vec3 Scaled(const Vec3& v, double s) { return {v.x * s, v.y * s, v.z * s}; }

}  // namespace

// --- TQelRotation -----------------------------------------------------------

TQelRotation::TQelRotation() { TQelRotation::Clear(); }

void TQelRotation::Execute(bool inverse) {
  if (GetEmpty()) return;
  const float s = inverse ? -1.0f : 1.0f;
  const float angle[3] = {x_, y_, z_};
  for (int axis : kRotationAxes[Sequence(order_, inverse)])
    glRotatef(angle[axis], axis == 0 ? s : 0.0f, axis == 1 ? s : 0.0f, axis == 2 ? s : 0.0f);
}

bool TQelRotation::GetEmpty() const { return x_ == 0 && y_ == 0 && z_ == 0; }

void TQelRotation::CalcMatrix(TQelMatrix& matrix, bool inverse) {
  if (GetEmpty()) return;
  const double s = inverse ? -1.0 : 1.0;
  const double angle[3] = {x_, y_, z_};
  for (int axis : kRotationAxes[Sequence(order_, inverse)]) {
    if (axis == 0) matrix.RotateX(s * angle[0]);
    if (axis == 1) matrix.RotateY(s * angle[1]);
    if (axis == 2) matrix.RotateZ(s * angle[2]);
  }
}

void TQelRotation::SetOrder(TQelRotationOrder order) {
  if (order < roXYZ || order > roZXY || order == order_) return;
  order_ = order;
  Changed();
}

void TQelRotation::Assign(TPersistent* Source) {
  if (auto* r = dynamic_cast<TQelRotation*>(Source)) order_ = r->order_;
  TQelVector::Assign(Source);
}

void TQelRotation::Clear() {
  TQelVector::Clear();
  order_ = roXYZ;
}

void TQelRotation::WriteValues(IQelExchange* exchange) {
  TQelTransform::WriteValues(exchange);
  exchange->addtag("Order", order_, TQelRotationOrderStr, roXYZ);
}

void TQelRotation::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelTransform::ReadValues(exchange, tag);
  TQelRotationOrder order = order_;
  if (exchange->getenum("Order", TQelRotationOrderStr, order)) SetOrder(order);
}

// --- TQelScale --------------------------------------------------------------

TQelScale::TQelScale() { TQelScale::Clear(); }

void TQelScale::Execute(bool inverse) {
  if (inverse)
    glScalef(-x_, -y_, -z_);
  else if (!GetEmpty())
    glScalef(x_, y_, z_);
}

bool TQelScale::GetEmpty() const { return x_ == 1 && y_ == 1 && z_ == 1; }

void TQelScale::CalcMatrix(TQelMatrix& matrix, bool inverse) {
  if (inverse)
    matrix.Scale(ToVec4D(-x_, -y_, -z_, 1));
  else if (!GetEmpty())
    matrix.Scale(ToVec4D(x_, y_, z_, 1));
}

void TQelScale::Clear() {
  TQelVector::Clear();
  x_ = y_ = z_ = 1;
}

// --- TQelTranslation --------------------------------------------------------

TQelTranslation::TQelTranslation() = default;

void TQelTranslation::Execute(bool inverse) {
  if (inverse)
    glTranslatef(-x_, -y_, -z_);
  else if (!GetEmpty())
    glTranslatef(x_, y_, z_);
}

bool TQelTranslation::GetEmpty() const { return x_ == 0 && y_ == 0 && z_ == 0; }

void TQelTranslation::CalcMatrix(TQelMatrix& matrix, bool inverse) {
  if (inverse)
    matrix.Translate(ToVec4D(-x_, -y_, -z_, 0));
  else if (!GetEmpty())
    matrix.Translate(ToVec4D(x_, y_, z_, 0));
}

// --- TQelTransformation -----------------------------------------------------

TQelTransformation::TQelTransformation() { TQelTransformation::Clear(); }

TQelTransformation::~TQelTransformation() = default;

void TQelTransformation::WireParts() {
  for (TQelTransform* part : {static_cast<TQelTransform*>(rotation_),
                              static_cast<TQelTransform*>(scale_),
                              static_cast<TQelTransform*>(translation_)})
    part->OnChange = TQelChangeLink<TQelTransformation>{this, life_.Ref()};
}

TQelTransform* TQelTransformation::GetTransform(int i) const {
  switch (i) {
    case kRotation: return rotation_;
    case kScale: return scale_;
    case kTranslation: return translation_;
    default: return nullptr;
  }
}

void TQelTransformation::SetOrder(TQelTransformationOrder order) {
  if (order < toRotTraSca || order > toScaRotTra) return;
  orderSwitched_ = false;
  if (order == order_) return;
  order_ = order;
  Changed();
}

void TQelTransformation::Execute(bool inverse) {
  // Forwards an identity is skipped; inverted, scale and translation always
  // run. The parts are this class's own, so their calls need no dispatch.
  if (!inverse) {
    const bool rotates = !rotation_->TQelRotation::GetEmpty();
    const bool scales = !scale_->TQelScale::GetEmpty();
    if (!rotates && !scales) {
      translation_->TQelTranslation::Execute(false);  // a mere move: the common case
      return;
    }
  }
  for (int part : kPartSequence[Sequence(order_, inverse)]) GetTransform(part)->Execute(inverse);
}

void TQelTransformation::CalcMatrix(TQelMatrix& matrix, bool inverse) {
  matrix.SetIdentityMatrix();
  for (int part : kPartSequence[Sequence(order_, inverse)])
    GetTransform(part)->CalcMatrix(matrix, inverse);
}

void TQelTransformation::GetFromMatrix(const TQelMatrix& matrix) {
  GetFromMatrix(matrix, inverted_);
}

void TQelTransformation::GetFromMatrix(const TQelMatrix& matrix, bool inverse) {
  // The matrix is P1 P2 P3 (the parts in sequence), each part executed forwards
  // or inverted: a rotation rho, a scale sigma and a translation tau. Its
  // linear part is rho sigma when the rotation comes first, otherwise sigma rho.
  const int* sequence = kPartSequence[Sequence(order_, inverse)];
  int rotationAt = 0, scaleAt = 0;
  for (int i = 0; i < 3; ++i) {
    if (sequence[i] == kRotation) rotationAt = i;
    if (sequence[i] == kScale) scaleAt = i;
  }
  const double sign = inverse ? -1.0 : 1.0;
  const Vec3 preferred = Signs(Scaled(scale_->GetAsMathVector(), sign));
  const Mat3 L = Linear(matrix);
  Mat3 rho;
  Vec3 sigma;
  if (rotationAt < scaleAt) {
    SplitColumns(L, preferred, rho, sigma);
  } else {
    Mat3 rhoT;
    SplitColumns(Transposed(L), preferred, rhoT, sigma);
    rho = Transposed(rhoT);
  }

  // The offset is tau carried through the parts executed before it.
  Vec3 tau{matrix.GetValue(0, 3), matrix.GetValue(1, 3), matrix.GetValue(2, 3)};
  for (int i = 0; sequence[i] != kTranslation; ++i) {
    if (sequence[i] == kRotation) tau = Mul(Transposed(rho), tau);
    if (sequence[i] == kScale)
      for (int k = 0; k < 3; ++k) tau[k] = sigma[k] != 0 ? tau[k] / sigma[k] : 0.0;
  }

  // Inverted, rho is the inverse of the forward rotation of the order.
  const Vec3 angles = EulerAngles(inverse ? Transposed(rho) : rho, kRotationAxes[rotation_->GetOrder()]);
  rotation_->SetValues(angles.x, angles.y, angles.z);
  scale_->SetValues(sign * sigma.x, sign * sigma.y, sign * sigma.z);
  translation_->SetValues(sign * tau.x, sign * tau.y, sign * tau.z);
}

void TQelTransformation::SetInverted(bool inverted) {
  if (inverted == inverted_) return;
  inverted_ = inverted;
  coordinatesOutOfDate_ = true;
}

void TQelTransformation::SetDefaultOrder() {
  const TQelTransformationOrder order = inverted_ ? toScaRotTra : toTraRotSca;
  const TQelRotationOrder rotationOrder = inverted_ ? roZXY : roYXZ;
  if (order_ == order && rotation_->GetOrder() == rotationOrder) return;
  TQelMatrix matrix;
  CalcMatrix(matrix, inverted_);
  SetOrder(order);
  rotation_->SetOrder(rotationOrder);
  GetFromMatrix(matrix, inverted_);
  orderSwitched_ = true;
}

void TQelTransformation::UpdateCoordinates() {
  TQelMatrix matrix;
  CalcMatrix(matrix, inverted_);
  // Forwards the local axes are the matrix's columns. Inverted, the columns
  // of the inverse are the eye's axes in the world; negated, they point left,
  // down and along the view.
  double sign = 1;
  if (inverted_) {
    sign = -1;
    if (!matrix.Invert()) matrix.SetConstMatrix(0);
  }
  for (int j = 0; j < 3; ++j) {
    Vec3 axis = Scaled({matrix.GetValue(0, j), matrix.GetValue(1, j), matrix.GetValue(2, j)}, sign);
    QelMathNormalize(axis);
    coordinates_[j] = axis;
  }
  coordinatesOutOfDate_ = false;
}

TQelMathVector TQelTransformation::GetMoveVector(int axis) {
  if (axis < 0 || axis > 2) return ZEROVEC;
  if (coordinatesOutOfDate_) UpdateCoordinates();
  return coordinates_[axis];
}

void TQelTransformation::MoveVec(double distance, const TQelMathVector& direction) {
  SetDefaultOrder();
  Vec3 offset;
  if (inverted_) {
    // The matrix is T(-t) L: moving the eye by d in the world adds L d to t.
    TQelMatrix matrix;
    CalcMatrix(matrix, true);
    offset = Mul(Linear(matrix), Scaled(direction, distance));
  } else {
    offset = Scaled(direction, -distance);
  }
  translation_->incX(static_cast<float>(offset.x));
  translation_->incY(static_cast<float>(offset.y));
  translation_->incZ(static_cast<float>(offset.z));
}

void TQelTransformation::MoveX(double distance) {
  MoveVec(inverted_ ? distance : -distance, GetMoveVector(0));
}

void TQelTransformation::MoveY(double distance) {
  MoveVec(inverted_ ? distance : -distance, GetMoveVector(1));
}

void TQelTransformation::MoveZ(double distance) {
  MoveVec(inverted_ ? distance : -distance, GetMoveVector(2));
}

double TQelTransformation::TurnSense(int axis) {
  if (!inverted_) return 1;
  // A camera turns as its picture shows: about x the view goes down, about
  // y to the left, about z clockwise. In a right-handed frame of left, down
  // and ahead (a mirrored picture) that is -, +, - about the axes; in the
  // usual left-handed one the signs flip.
  const TQelMathVector x = GetMoveVector(0), y = GetMoveVector(1), z = GetMoveVector(2);
  TQelMathVector n;
  QelMathCrossProduct(x, y, n);
  const double handedness = QelMathDotProduct(n, z) < 0 ? -1.0 : 1.0;
  return (axis == 1 ? 1.0 : -1.0) * handedness;
}

void TQelTransformation::TurnX(double angle) { TurnVec(TurnSense(0) * angle, GetMoveVector(0)); }
void TQelTransformation::TurnY(double angle) { TurnVec(TurnSense(1) * angle, GetMoveVector(1)); }
void TQelTransformation::TurnZ(double angle) { TurnVec(TurnSense(2) * angle, GetMoveVector(2)); }

void TQelTransformation::TurnVec(double angle, const TQelMathVector& axis) {
  Vec3 u = axis;
  QelMathNormalize(u);
  if (u == ZEROVEC) return;
  SetDefaultOrder();
  // In both default orders the matrix is T G D, with G = Ry(h) Rx(e) Rz(r) the
  // rotation as executed (inverted: the angles negated) and D the scale.
  auto executedRotation = [this] {
    TQelMatrix m;
    m.SetIdentityMatrix();
    rotation_->CalcMatrix(m, inverted_);
    return Linear(m);
  };
  const Mat3 G = executedRotation();
  const Mat3 Q = RotationAbout(u, angle);
  Mat3 turned;
  if (!inverted_) {
    turned = Mul(Q, G);  // the object turns about its own origin
  } else {
    // The eye turns about itself: G D Q^-1 = G' D; with scale signs S,
    // G' = G S Q^T S.
    const Vec3 s = Signs(Scaled(scale_->GetAsMathVector(), -1));
    Mat3 sign{};
    for (int k = 0; k < 3; ++k) sign[k][k] = s[k];
    turned = Mul(Mul(Mul(G, sign), Transposed(Q)), sign);
  }

  // Back to angles: the turned z axis gives elevation and heading, the turned
  // x axis the roll about it.
  TQelMathVector angles;
  QelMathAxisToAngles(Column(turned, 2), angles, inverted_);
  const double executed = inverted_ ? -1.0 : 1.0;  // angles as executed
  const double e = executed * angles.x / kRadToDeg, h = executed * angles.y / kRadToDeg;
  const Vec3 ux{std::cos(h), 0, -std::sin(h)};
  const Vec3 uy{std::sin(e) * std::sin(h), std::cos(e), std::sin(e) * std::cos(h)};
  const Vec3 x = Column(turned, 0);
  angles.z = executed * std::atan2(QelMathDotProduct(x, uy), QelMathDotProduct(x, ux)) * kRadToDeg;
  rotation_->SetValues(ModAngle(angles.x), ModAngle(angles.y), ModAngle(angles.z));

  if (inverted_) {
    // Keep the eye where it is: t' = G' G^T t, with G' as stored.
    const Vec3 t = Mul(Mul(executedRotation(), Transposed(G)), translation_->GetAsMathVector());
    translation_->SetValues(t.x, t.y, t.z);
  }
}

double TQelTransformation::ModAngle(double a) {
  if (!std::isfinite(a)) return 0;
  // q = round(a - 0.5) div 360 (truncating); nearbyint rounds half to even.
  const double q = std::trunc(std::nearbyint(a - 0.5) / 360.0);
  double r = a - 360.0 * q;
  if (r < 0) r += 360.0;
  if (r >= 360.0) r -= 360.0;  // a tiny negative a rounds up to 360
  return r;
}

void TQelTransformation::SubChange(TObject* Sender) { Changed(); }

void TQelTransformation::Changed() {
  coordinatesOutOfDate_ = true;
  TQelProperty::Changed();
}

void TQelTransformation::Clear() {
  // The parts' Clear drops their handlers: wire them again.
  rotation_->Clear();
  scale_->Clear();
  translation_->Clear();
  WireParts();
  order_ = toRotTraSca;
  orderSwitched_ = false;
  coordinatesOutOfDate_ = true;
}

void TQelTransformation::Assign(TPersistent* Source) {
  if (auto* t = dynamic_cast<TQelTransformation*>(Source)) {
    if (t != this) {
      order_ = t->order_;
      orderSwitched_ = t->orderSwitched_;
      rotation_->Assign(t->rotation_);
      scale_->Assign(t->scale_);
      translation_->Assign(t->translation_);
      // Each part took over the source part's handler.
      WireParts();
    }
    Changed();
  }
  TQelProperty::Assign(Source);
}

namespace {
const char* const kPartTags[3] = {"Rotation", "Scale", "Translation"};  // by part index
}  // namespace

void TQelTransformation::WriteValues(IQelExchange* exchange) {
  TQelProperty::WriteValues(exchange);
  exchange->addtag("Order", order_, TQelTransformationOrderStr, toRotTraSca);
  GetTransform(0)->WriteComp(exchange, kPartTags[0]);
  // A viewing transformation starts at scale (-1, -1, -1).
  const double s = inverted_ ? -1 : 1;
  GetTransform(1)->WriteAs(exchange, kPartTags[1], {s, s, s});
  GetTransform(2)->WriteComp(exchange, kPartTags[2]);
}

void TQelTransformation::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelProperty::ReadValues(exchange, tag);
  TQelTransformationOrder order = order_;
  if (exchange->getenum("Order", TQelTransformationOrderStr, order)) SetOrder(order);
}

TPersistent* TQelTransformation::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  for (int i = 0; i < 3; ++i)
    if (tag->Name == kPartTags[i]) {
      TQelTransform* part = GetTransform(i);
      part->ReadValues(exchange, tag);
      return part;
    }
  return TQelProperty::ReadComp(exchange, tag);
}
