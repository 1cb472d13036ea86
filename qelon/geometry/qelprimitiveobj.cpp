#include "qelprimitiveobj.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <utility>

#include "qelon/appearance/qelattr.h"
#include "qelon/appearance/qelmat.h"
#include "qelon/appearance/qeltex.h"
#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/platform/qelbitmap.h"
#include "qelon/scene/qelrenderstate.h"

const char* const TQelStoreModeStr[3] = {"smDefault", "smPoints", "smAll"};

namespace {

constexpr int32_t kNormalLinkBit = TQelPrimitivePoints::NormalLinkBit;

bool IsFaceKind(int32_t type) { return type >= GL_TRIANGLES && type <= GL_POLYGON; }

TQelMathVector At(const double* array, uint32_t i) {
  const double* p = array + 3 * static_cast<size_t>(i);
  return {p[0], p[1], p[2]};
}

void Put(double* array, uint32_t i, const TQelMathVector& v) {
  double* p = array + 3 * static_cast<size_t>(i);
  p[0] = v.x;
  p[1] = v.y;
  p[2] = v.z;
}

TQelMathVector Plus(const TQelMathVector& a, const TQelMathVector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

TQelMathVector Times(const TQelMathVector& a, double s) { return {a.x * s, a.y * s, a.z * s}; }

// --- the coincidence search ------------------------------------------------

struct KeyedPoint {
  uint64_t key;
  int32_t point;
};

// Ascending by key, equal keys in their original order. Radix passes of 11
// bits over the bits the largest key needs: linear, and reads and writes
// sequentially, so a million points stay cheap.
void SortByKey(std::vector<KeyedPoint>& v) {
  if (v.size() < 512) {
    std::stable_sort(v.begin(), v.end(),
                     [](const KeyedPoint& a, const KeyedPoint& b) { return a.key < b.key; });
    return;
  }
  uint64_t maxKey = 0;
  for (const KeyedPoint& k : v) maxKey = std::max(maxKey, k.key);
  constexpr int kBits = 11;
  constexpr size_t kBuckets = size_t(1) << kBits;
  std::vector<KeyedPoint> tmp(v.size());
  std::vector<size_t> start(kBuckets);
  for (int shift = 0; shift < 64 && (maxKey >> shift) != 0; shift += kBits) {
    std::fill(start.begin(), start.end(), 0);
    for (const KeyedPoint& k : v) ++start[(k.key >> shift) & (kBuckets - 1)];
    size_t sum = 0;
    for (size_t& s : start) sum += std::exchange(s, sum);
    for (const KeyedPoint& k : v) tmp[start[(k.key >> shift) & (kBuckets - 1)]++] = k;
    v.swap(tmp);
  }
}

uint64_t KeyDistance(uint64_t a, uint64_t b) { return a > b ? a - b : b - a; }

// The key of a squared distance: round(d2 / tolerance), saturated.
uint64_t DistanceKey(double d2) {
  const double q = d2 / static_cast<double>(tolerance);
  if (!(q < 9.0e18)) return UINT64_MAX;  // also NaN
  return static_cast<uint64_t>(std::llround(q));
}

// Positions equal within the tolerance on every axis, as the store's EqualPos.
bool SamePosition(const double* v, int32_t i, int32_t j) {
  const double* a = v + 3 * static_cast<size_t>(i);
  const double* b = v + 3 * static_cast<size_t>(j);
  for (int k = 0; k < 3; ++k) {
    const double d = std::fabs(a[k] - b[k]);
    if (!(d < 1.0 && static_cast<float>(d) < tolerance)) return false;
  }
  return true;
}

std::minstd_rand& Random() {
  static std::minstd_rand random(20250601u);
  return random;
}

// master[i] for the points 0..count-1; candidates are the points whose flag
// byte has the bit, or every point when bit is negative.
void BuildMaster(const TQelPrimitivePoints& points, int32_t bit, iArray& master) {
  const int32_t count = points.GetCount();
  master.assign(static_cast<size_t>(std::max(count, 0)), -1);
  const double* v = points.GetVertexArray();
  const uint8_t* flags = points.GetFlagArray();
  std::vector<KeyedPoint> order;
  if (v && bit < 8 && (bit < 0 || flags)) {
    const uint8_t mask = bit < 0 ? 0 : uint8_t(1u << bit);
    size_t n = 0;
    for (int32_t i = 0; i < count; ++i) n += bit < 0 || (flags[i] & mask);
    order.reserve(n);
    for (int32_t i = 0; i < count; ++i)
      if (bit < 0 || (flags[i] & mask)) order.push_back({0, i});
  }
  const size_t n = order.size();
  if (n >= 2) {
    std::uniform_int_distribution<int32_t> pick(0, count - 1);
    TQelMathVector c;
    for (int k = 0; k < 3; ++k) c = Plus(c, At(v, static_cast<uint32_t>(pick(Random()))));
    c = Times(c, 1.0 / 3.0);
    for (KeyedPoint& k : order) {
      const double* p = v + 3 * static_cast<size_t>(k.point);
      const double dx = p[0] - c.x, dy = p[1] - c.y, dz = p[2] - c.z;
      k.key = DistanceKey(dx * dx + dy * dy + dz * dz);
    }
    SortByKey(order);
    // Look back (wrapping round to the end) while the keys stay within 1 and
    // no master is found; an equal earlier candidate lends its master, or
    // becomes the master itself when it has none yet.
    for (size_t k = 0; k < n; ++k) {
      const int32_t current = order[k].point;
      for (size_t j = (k + n - 1) % n; j != k && master[current] < 0; j = (j + n - 1) % n) {
        if (KeyDistance(order[j].key, order[k].key) > 1) break;
        const int32_t earlier = order[j].point;
        if (SamePosition(v, earlier, current))
          master[current] = master[earlier] >= 0 ? master[earlier] : earlier;
      }
      if (master[current] < 0) master[current] = current;
    }
  }
  for (int32_t i = 0; i < count; ++i)
    if (master[i] < 0) master[i] = i;
}

// --- faces -------------------------------------------------------------------

// Calls fn(corners, n) for every face of a face list, with its corners in
// the order GL draws them; faces with an index outside the store are left
// out.
template <typename Fn>
void ForEachFace(const TQelPrimitiveArray& array, int32_t pointCount, Fn fn) {
  const uint32_t* i = array.GetIndexArray();
  const int32_t n = array.GetCount();
  if (!i || n <= 0) return;
  const uint32_t limit = static_cast<uint32_t>(std::max(pointCount, 0));
  auto face = [&](std::initializer_list<uint32_t> c) {
    for (uint32_t p : c)
      if (p >= limit) return;
    fn(c.begin(), static_cast<int32_t>(c.size()));
  };
  switch (array.GetType()) {
    case GL_TRIANGLES:
      for (int32_t k = 0; k + 2 < n; k += 3) face({i[k], i[k + 1], i[k + 2]});
      break;
    case GL_TRIANGLE_STRIP:
      for (int32_t k = 0; k + 2 < n; ++k)
        if (k % 2 == 0)
          face({i[k], i[k + 1], i[k + 2]});
        else
          face({i[k + 1], i[k], i[k + 2]});
      break;
    case GL_TRIANGLE_FAN:
      for (int32_t k = 1; k + 1 < n; ++k) face({i[0], i[k], i[k + 1]});
      break;
    case GL_QUADS:
      for (int32_t k = 0; k + 3 < n; k += 4) face({i[k], i[k + 1], i[k + 2], i[k + 3]});
      break;
    case GL_QUAD_STRIP:
      for (int32_t k = 0; 2 * k + 3 < n; ++k)
        face({i[2 * k], i[2 * k + 1], i[2 * k + 3], i[2 * k + 2]});
      break;
    case GL_POLYGON: {
      if (n < 3) break;
      for (int32_t k = 0; k < n; ++k)
        if (i[k] >= limit) return;
      fn(i, n);
      break;
    }
    default:
      break;
  }
}

// The area-weighted normal of a face (twice its area long), after Newell.
TQelMathVector FaceArea(const double* v, const uint32_t* c, int32_t n) {
  TQelMathVector s;
  for (int32_t k = 0; k < n; ++k) {
    const TQelMathVector p = At(v, c[k]), q = At(v, c[(k + 1) % n]);
    s.x += (p.y - q.y) * (p.z + q.z);
    s.y += (p.z - q.z) * (p.x + q.x);
    s.z += (p.x - q.x) * (p.y + q.y);
  }
  return s;
}

// --- seven-segment digits for point labels ----------------------------------

// Segments a..g as (x0, y0, x1, y1) in a cell 1 wide and 2 high.
constexpr double kSegments[7][4] = {
    {0, 2, 1, 2}, {1, 2, 1, 1}, {1, 1, 1, 0}, {0, 0, 1, 0},
    {0, 0, 0, 1}, {0, 1, 0, 2}, {0, 1, 1, 1},
};
// Bit s set = segment s lit; digits 0..9, then '-'.
constexpr uint8_t kDigitSegments[11] = {0x3F, 0x06, 0x5B, 0x4F, 0x66, 0x6D,
                                        0x7D, 0x07, 0x7F, 0x6F, 0x40};

}  // namespace

// --- lifecycle -----------------------------------------------------------------

TQelPrimitiveObj::TQelPrimitiveObj(TComponent* AOwner)
    : TQelObject(AOwner),
      points_(std::make_unique<TQelPrimitivePoints>()),
      textureFlags_(std::make_unique<TQelTextureFlags>()) {
  WirePoints();
  WireTextureFlags();
}

TQelPrimitiveObj::~TQelPrimitiveObj() {
  Destroying();
  ClearPrimitives();
}

void TQelPrimitiveObj::WirePoints() {
  points_->OnChange = SubChangeHandler();
}

void TQelPrimitiveObj::WireTextureFlags() {
  textureFlags_->OnChange = SubChangeHandler();
}

void TQelPrimitiveObj::WireArray(TQelPrimitiveArray* array) {
  array->OnChange =
      TQelChangeLink<TQelPrimitiveObj, &TQelPrimitiveObj::ArrayChange>{this, GetLifeToken()};
}

void TQelPrimitiveObj::ArrayChange(TObject* Sender) {
  // Sender is a list of this object, or a copy that took over its handler.
  if (auto* array = dynamic_cast<TQelPrimitiveArray*>(Sender)) WatchAppearance(array);
  if (quiet_)
    changedQuietly_ = true;
  else
    SubChange(Sender);
}

void TQelPrimitiveObj::WatchAppearance(TQelPrimitiveArray* array) {
  if (TQelTexture* t = array->GetTexture()) FreeNotification(t);
  if (TQelMaterial* m = array->GetMaterial()) FreeNotification(m);
  if (TQelAttributes* a = array->GetAttributes()) FreeNotification(a);
}

template <typename Fn>
void TQelPrimitiveObj::Quietly(Fn fn) {
  const bool outer = !quiet_;
  if (outer) changedQuietly_ = false;
  quiet_ = true;
  fn();
  if (!outer) return;
  quiet_ = false;
  if (changedQuietly_) {
    changedQuietly_ = false;
    Changed();
  }
}

void TQelPrimitiveObj::FreeArray(TQelPrimitiveArray* array) {
  ++freedArrays_;
  array->OnChange = nullptr;
  delete array;
}

void TQelPrimitiveObj::SetStoreMode(TQelStoreMode value) {
  if (value < smDefault || value > smAll || value == storeMode_) return;
  storeMode_ = value;
  Changed();
}

void TQelPrimitiveObj::SetTextureFlags(TQelTextureFlags* flags) {
  if (!flags || flags == textureFlags_.get()) return;
  textureFlags_->Assign(flags);
  WireTextureFlags();  // Assign hands over the source's handler
  Changed();
}

// --- appearance ------------------------------------------------------------------

bool TQelPrimitiveObj::GetTextured() const { return points_->GetUseArrays().Contains(daTexture); }

void TQelPrimitiveObj::SetTextured(bool value) {
  Quietly([&] {
    const TQelArrays use = points_->GetUseArrays();
    points_->OnChange = nullptr;
    points_->SetUseArrays(value ? use + daTexture : use - daTexture);
    WirePoints();
    if (points_->GetUseArrays() != use) changedQuietly_ = true;
    for (TQelPrimitiveArray* a : arrays_) a->SetTextured(value);
  });
}

TQelTexture* TQelPrimitiveObj::GetTexture() const {
  return static_cast<TQelTexture*>(GetTextureRef());
}

TQelAttributes* TQelPrimitiveObj::GetAttributes() const {
  return static_cast<TQelAttributes*>(GetAttributesRef());
}

TQelMaterial* TQelPrimitiveObj::GetMaterial() const {
  return static_cast<TQelMaterial*>(GetMaterialRef());
}

void TQelPrimitiveObj::SetTexture(TQelTexture* value) {
  Quietly([&] {
    if (value != GetTexture()) changedQuietly_ = true;
    SetTextureRef(value);
    for (TQelPrimitiveArray* a : arrays_) a->SetTexture(value);
  });
}

void TQelPrimitiveObj::SetAttributes(TQelAttributes* value) {
  Quietly([&] {
    if (value != GetAttributes()) changedQuietly_ = true;
    SetAttributesRef(value);
    for (TQelPrimitiveArray* a : arrays_) a->SetAttributes(value);
  });
}

void TQelPrimitiveObj::SetMaterial(TQelMaterial* value) {
  Quietly([&] {
    if (value != GetMaterial()) changedQuietly_ = true;
    SetMaterialRef(value);
    for (TQelPrimitiveArray* a : arrays_) a->SetMaterial(value);
  });
}

void TQelPrimitiveObj::Notification(TComponent* AComponent, TOperation Operation) {
  TQelObject::Notification(AComponent, Operation);
  if (Operation != opRemove || !AComponent) return;
  // The lists cannot watch what they refer to; a dying appearance leaves
  // them here.
  Quietly([&] {
    for (TQelPrimitiveArray* a : arrays_) {
      if (a->GetTexture() && static_cast<TComponent*>(a->GetTexture()) == AComponent)
        a->SetTexture(nullptr);
      if (a->GetMaterial() && static_cast<TComponent*>(a->GetMaterial()) == AComponent)
        a->SetMaterial(nullptr);
      if (a->GetAttributes() && static_cast<TComponent*>(a->GetAttributes()) == AComponent)
        a->SetAttributes(nullptr);
    }
  });
}

// --- generation ------------------------------------------------------------------

void TQelPrimitiveObj::Init() {
  ClearAll();
  InitPoints();
  CalcTexture();
  InitPrimitives();
  inited_ = true;
  if (OnAfterInit) OnAfterInit(this);
}

void TQelPrimitiveObj::ClearAll() {
  storeMode_ = smDefault;
  ClearPoints();
  ClearPrimitives();
}

void TQelPrimitiveObj::ClearPoints() { points_->SetSize(0); }

void TQelPrimitiveObj::ClearPrimitives() {
  std::vector<TQelPrimitiveArray*> arrays;
  arrays.swap(arrays_);
  for (TQelPrimitiveArray* a : arrays) FreeArray(a);
}

// --- lists ---------------------------------------------------------------------------

int32_t TQelPrimitiveObj::AddPrimitiveArray(int32_t type) {
  auto* array = new TQelPrimitiveArray(type);
  array->SetTexture(GetTexture());
  array->SetMaterial(GetMaterial());
  array->SetAttributes(GetAttributes());
  array->SetTextured(GetTextured());
  WireArray(array);
  arrays_.push_back(array);
  return GetPrimitiveCount() - 1;
}

TQelPrimitiveArray* TQelPrimitiveObj::GetPrimitiveArray(int32_t type) {
  for (TQelPrimitiveArray* a : arrays_)
    if (a->GetType() == type) return a;
  return arrays_[static_cast<size_t>(AddPrimitiveArray(type))];
}

TQelPrimitiveArray* TQelPrimitiveObj::GetPrimitive(int32_t i) const {
  return i >= 0 && i < GetPrimitiveCount() ? arrays_[static_cast<size_t>(i)] : nullptr;
}

void TQelPrimitiveObj::DeletePrimitiveArray(int32_t i, int32_t n) {
  bool deleted = false;
  const int64_t last = std::min<int64_t>(int64_t(i) + n - 1, GetPrimitiveCount() - 1);
  for (int64_t k = last; k >= std::max(i, 0); --k) {
    TQelPrimitiveArray* a = arrays_[static_cast<size_t>(k)];
    arrays_.erase(arrays_.begin() + k);
    FreeArray(a);
    deleted = true;
  }
  if (deleted) Changed();
}

void TQelPrimitiveObj::AddIndex(int32_t index) { AddIndex(index, GetPrimitiveCount() - 1); }

void TQelPrimitiveObj::AddIndex(int32_t index, int32_t array) {
  TQelPrimitiveArray* a = GetPrimitive(array);
  if (a && index >= 0) a->AddIndex(static_cast<uint32_t>(index));
}

// --- normals and texture coordinates ----------------------------------------------

void TQelPrimitiveObj::CalcMaster(int32_t bit, iArray& master) {
  // A bit outside the byte selects nobody: every point stands for itself.
  BuildMaster(*points_, bit < 0 ? 8 : bit, master);
}

void TQelPrimitiveObj::CalcNormals() {
  TQelPrimitivePoints& points = *points_;
  if (!points.GetDefineArrays().Contains(daNormal)) {
    points.OnChange = nullptr;
    points.SetDefineArrays(points.GetDefineArrays() + daNormal);
    WirePoints();
  }
  const int32_t count = points.GetCount();
  double* normals = points.GetNormalArray();
  if (!normals || count <= 0) return;

  // Normals are written straight into the store, so linked editing never
  // runs here; the link bit only decides which points share an accumulator.
  iArray master;
  CalcMaster(kNormalLinkBit, master);
  for (int32_t i = 0; i < count; ++i) {
    int32_t m = master[i];
    for (int guard = 0; guard < 64 && master[m] != m; ++guard) m = master[m];
    master[i] = m;
  }
  points.ClearArrays({daNormal});

  std::vector<double> sum(3 * static_cast<size_t>(count), 0.0);
  const uint32_t limit = static_cast<uint32_t>(count);
  auto add = [&](uint32_t corner, const TQelMathVector& n) {
    double* s = &sum[3 * static_cast<size_t>(master[corner])];
    s[0] += n.x;
    s[1] += n.y;
    s[2] += n.z;
  };
  const double* v = points.GetVertexArray();
  // The unit normal of (a, b, c), zero when degenerate or when a corner
  // names no point.
  auto normal = [&](uint32_t a, uint32_t b, uint32_t c) {
    TQelMathVector n;
    if (a < limit && b < limit && c < limit)
      QelMathNormalVector(At(v, a), At(v, b), At(v, c), true, n);
    return n;
  };
  auto addTriangle = [&](uint32_t a, uint32_t b, uint32_t c) {
    const TQelMathVector n = normal(a, b, c);
    if (n == ZEROVEC) return;
    add(a, n);
    add(b, n);
    add(c, n);
  };

  for (const TQelPrimitiveArray* array : arrays_) {
    const uint32_t* i = array->GetIndexArray();
    const int32_t n = array->GetCount();
    if (!v || !array->GetEnabled() || !i || n <= 0) continue;
    switch (array->GetType()) {
      case GL_TRIANGLES:
        for (int32_t k = 0; k + 2 < n; k += 3) addTriangle(i[k], i[k + 1], i[k + 2]);
        break;
      case GL_TRIANGLE_STRIP:
        for (int32_t k = 0; k + 2 < n; ++k)
          if (k % 2 == 0)
            addTriangle(i[k], i[k + 1], i[k + 2]);
          else
            addTriangle(i[k + 1], i[k], i[k + 2]);
        break;
      case GL_TRIANGLE_FAN:
        for (int32_t k = 1; k + 1 < n; ++k) addTriangle(i[0], i[k], i[k + 1]);
        break;
      case GL_QUADS:
        for (int32_t k = 0; k + 3 < n; k += 4) {
          addTriangle(i[k], i[k + 1], i[k + 2]);
          addTriangle(i[k + 2], i[k + 3], i[k]);
        }
        break;
      case GL_QUAD_STRIP:
        for (int32_t k = 0; 2 * k + 3 < n; ++k) {
          const uint32_t* q = i + 2 * k;
          if (q[0] >= limit || q[1] >= limit || q[2] >= limit || q[3] >= limit) continue;
          // The first of three triangles of the quad that is not degenerate.
          TQelMathVector f = normal(q[0], q[1], q[2]);
          if (f == ZEROVEC) f = normal(q[0], q[3], q[2]);
          if (f == ZEROVEC) f = normal(q[0], q[1], q[3]);
          for (int c = 0; c < 4; ++c) add(q[c], f);
        }
        break;
      case GL_POLYGON:
        for (int32_t k = 0; k < n; ++k) addTriangle(i[k], i[(k + 1) % n], i[(k + 2) % n]);
        break;
      case GL_POINTS:
      case GL_LINES:
      case GL_LINE_LOOP:
      case GL_LINE_STRIP:
        for (int32_t k = 0; k < n; ++k)
          if (i[k] < limit) add(i[k], {0, 0, 1});
        break;
      default:
        break;
    }
  }

  for (int32_t p = 0; p < count; ++p) {
    const double* s = &sum[3 * static_cast<size_t>(master[p])];
    TQelMathVector n{s[0], s[1], s[2]};
    if (n == ZEROVEC) n = {0, 0, 1};
    QelMathNormalize(n);
    Put(normals, static_cast<uint32_t>(p), n);
  }
}

void TQelPrimitiveObj::CalcTexturePoint(int32_t i) {
  const uint8_t mode = textureFlags_->GetMode();
  const double* v = points_->GetVertexArray();
  double* t = points_->GetTextureArray();
  if (mode < 1 || mode > 7 || !v || !t || i < 0 || i >= points_->GetCount()) return;
  const TQelMathVector p = At(v, static_cast<uint32_t>(i));
  const double sx = textureFlags_->GetScaleX(), dx = textureFlags_->GetShiftX();
  const double sy = textureFlags_->GetScaleY(), dy = textureFlags_->GetShiftY();
  double s = 0, u = 0;
  switch (mode) {
    case 1: s = p.x * sx + dx; break;
    case 2: s = p.y * sx + dx; break;
    case 3: s = p.z * sx + dx; break;
    case 4: s = p.x * sx + dx; u = p.y * sy + dy; break;
    case 5: s = p.y * sx + dx; u = p.z * sy + dy; break;
    case 6: s = p.z * sx + dx; u = p.x * sy + dy; break;
    case 7:
      s = QelMathVectorDist(p, textureFlags_->GetParamVector()->GetAsMathVector()) * sx + dx;
      break;
  }
  Put(t, static_cast<uint32_t>(i), {s, u, 0});
}

void TQelPrimitiveObj::CalcTexture() {
  if (!points_->GetDefineArrays().Contains(daTexture)) {
    points_->OnChange = nullptr;
    points_->SetDefineArrays(points_->GetDefineArrays() + daTexture);
    WirePoints();
  }
  const uint8_t mode = textureFlags_->GetMode();
  if (mode < 1 || mode > 7) return;
  for (int32_t i = 0; i < points_->GetCount(); ++i) CalcTexturePoint(i);
}

// --- merging and editing --------------------------------------------------------------

int32_t TQelPrimitiveObj::AddPrimitiveObj(TQelPrimitiveObj* other) {
  if (!other) return -1;
  if (!other->GetInited()) other->Init();
  if (!inited_) Init();
  int32_t offset = -1;
  Quietly([&] {
    const auto pointsHandler = std::exchange(points_->OnChange, nullptr);
    offset = points_->Add(other->points_.get());
    points_->OnChange = pointsHandler;
    const int32_t lists = other->GetPrimitiveCount();  // other may be this
    for (int32_t k = 0; k < lists; ++k) {
      const TQelPrimitiveArray* from = other->GetPrimitive(k);
      TQelPrimitiveArray* to = GetPrimitive(AddPrimitiveArray(from->GetType()));
      to->Add(from, offset);
    }
    changedQuietly_ = true;
  });
  return offset;
}

void TQelPrimitiveObj::SplitTriangle(int32_t array, int32_t triangle) {
  TQelPrimitiveArray* a = GetPrimitive(array);
  if (!a || a->GetType() != GL_TRIANGLES || triangle < 0 || 3 * int64_t(triangle) + 2 >= a->GetCount())
    return;
  const int32_t slot = 3 * triangle;
  const uint32_t c[3] = {static_cast<uint32_t>(a->GetIndices(slot)),
                         static_cast<uint32_t>(a->GetIndices(slot + 1)),
                         static_cast<uint32_t>(a->GetIndices(slot + 2))};
  const int32_t count = points_->GetCount();
  for (uint32_t p : c)
    if (p >= static_cast<uint32_t>(count)) return;

  Quietly([&] {
    TQelPrimitivePoints& pts = *points_;
    uint32_t mid[3];  // ab, bc, ca
    for (int e = 0; e < 3; ++e) {
      const int32_t p = static_cast<int32_t>(c[e]), q = static_cast<int32_t>(c[(e + 1) % 3]);
      TQelMathVector m[3];
      for (int kind = 0; kind < 3; ++kind)
        QelMathVectorInterpolate(pts.GetVector(p, kind), pts.GetVector(q, kind), m[kind]);
      const int32_t k = pts.Add(m[0], m[1], m[2]);
      mid[e] = static_cast<uint32_t>(k);
      if (float* col = pts.GetColorArray())
        for (int ch = 0; ch < 4; ++ch) col[4 * k + ch] = 0.5f * (col[4 * p + ch] + col[4 * q + ch]);
      if (uint8_t* e8 = pts.GetEdgeFlagArray()) e8[k] = GL_TRUE;
      if (uint8_t* f = pts.GetFlagArray()) f[k] = f[p] & f[q];
    }
    const uint32_t ab = mid[0], bc = mid[1], ca = mid[2];
    a->SetIndices(slot, c[0]);
    a->SetIndices(slot + 1, ab);
    a->SetIndices(slot + 2, ca);
    for (uint32_t i : {ab, c[1], bc, ca, bc, c[2], ab, bc, ca}) a->AddIndex(i);
    changedQuietly_ = true;
  });
}

void TQelPrimitiveObj::Invert() {
  Quietly([&] {
    for (TQelPrimitiveArray* a : arrays_) a->Invert();
    changedQuietly_ = true;
  });
}

int32_t TQelPrimitiveObj::GetNearPoint(int32_t array, const TQelMathVector& position) const {
  const TQelPrimitiveArray* a = GetPrimitive(array);
  const double* v = points_->GetVertexArray();
  if (!a || !v || a->GetCount() <= 0) return -1;
  const uint32_t* idx = a->GetIndexArray();
  const uint32_t limit = static_cast<uint32_t>(points_->GetCount());
  double best = 1.7e308;
  int32_t found = -1;
  for (int32_t k = 0; k < a->GetCount(); ++k) {
    if (idx[k] >= limit) continue;
    const double d = QelMathVectorDist(At(v, idx[k]), position);
    if (d < best) {
      best = d;
      found = static_cast<int32_t>(idx[k]);
    }
  }
  return found;
}

void TQelPrimitiveObj::FreePoints(int32_t i, int32_t n) {
  const int32_t count = points_->GetCount();
  if (i < 0 || i >= count || n <= 0) return;
  n = std::min(n, count - i);
  points_->Delete(i, n);
  const uint32_t above = static_cast<uint32_t>(i + n);
  for (TQelPrimitiveArray* a : arrays_) {
    uint32_t* idx = a->GetIndexArray();
    for (int32_t k = 0; k < a->GetCount(); ++k)
      if (idx[k] >= above) idx[k] -= static_cast<uint32_t>(n);
  }
  Changed();
}

void TQelPrimitiveObj::FreeUnusedPoints() {
  TQelPrimitivePoints& pts = *points_;
  const int32_t count = pts.GetCount();
  if (count <= 0) return;
  std::vector<uint8_t> used(static_cast<size_t>(count), 0);
  for (const TQelPrimitiveArray* a : arrays_) {
    if (!a->GetEnabled()) continue;
    const uint32_t* idx = a->GetIndexArray();
    for (int32_t k = 0; k < a->GetCount(); ++k)
      if (idx[k] < static_cast<uint32_t>(count)) used[idx[k]] = 1;
  }
  // The same result as removing each unused point from the highest down,
  // in one pass: every index drops by the number of removed points below it.
  std::vector<uint32_t> removedBelow(static_cast<size_t>(count) + 1, 0);
  for (int32_t p = 0; p < count; ++p) removedBelow[p + 1] = removedBelow[p] + !used[p];
  const uint32_t removed = removedBelow[count];
  if (removed == 0) return;
  for (TQelPrimitiveArray* a : arrays_) {
    uint32_t* idx = a->GetIndexArray();
    for (int32_t k = 0; k < a->GetCount(); ++k)
      idx[k] -= idx[k] < static_cast<uint32_t>(count) ? removedBelow[idx[k]] : removed;
  }
  auto compact = [&](auto* data, size_t width) {
    if (!data) return;
    size_t to = 0;
    for (int32_t p = 0; p < count; ++p)
      if (used[p]) {
        std::memmove(data + to * width, data + static_cast<size_t>(p) * width, width * sizeof(*data));
        ++to;
      }
  };
  compact(pts.GetVertexArray(), 3);
  compact(pts.GetNormalArray(), 3);
  compact(pts.GetTextureArray(), 3);
  compact(pts.GetColorArray(), 4);
  compact(pts.GetEdgeFlagArray(), 1);
  compact(pts.GetFlagArray(), 1);
  const int32_t kept = count - static_cast<int32_t>(removed);
  pts.Delete(kept, count - kept);  // the tail: Size stays as it is
  Changed();
}

void TQelPrimitiveObj::GetOpenEdges(TQelEdgeArray& edges) {
  edges.clear();
  iArray master;
  BuildMaster(*points_, -1, master);
  struct Side {
    uint64_t key;
    uint32_t order;
    TQelEdge edge;
  };
  std::vector<Side> sides;
  iArray corners;
  const int32_t count = points_->GetCount();
  for (const TQelPrimitiveArray* a : arrays_) {
    if (!a->GetEnabled() || !IsFaceKind(a->GetType())) continue;
    ForEachFace(*a, count, [&](const uint32_t* c, int32_t n) {
      corners.resize(static_cast<size_t>(n));
      for (int32_t k = 0; k < n; ++k) corners[k] = master[c[k]];
      std::sort(corners.begin(), corners.end());
      if (std::adjacent_find(corners.begin(), corners.end()) != corners.end()) return;  // degenerate
      for (int32_t k = 0; k < n; ++k) {
        const uint32_t p = static_cast<uint32_t>(master[c[k]]);
        const uint32_t q = static_cast<uint32_t>(master[c[(k + 1) % n]]);
        const uint64_t key = (uint64_t(std::min(p, q)) << 32) | std::max(p, q);
        sides.push_back({key, static_cast<uint32_t>(sides.size()),
                         {static_cast<int32_t>(c[k]), static_cast<int32_t>(c[(k + 1) % n])}});
      }
    });
  }
  std::sort(sides.begin(), sides.end(),
            [](const Side& x, const Side& y) { return x.key < y.key || (x.key == y.key && x.order < y.order); });
  std::vector<const Side*> open;
  for (size_t k = 0; k < sides.size();) {
    size_t end = k;
    while (end < sides.size() && sides[end].key == sides[k].key) ++end;
    if (end - k == 1) open.push_back(&sides[k]);
    k = end;
  }
  std::sort(open.begin(), open.end(), [](const Side* x, const Side* y) { return x->order < y->order; });
  for (const Side* s : open) edges.push_back(s->edge);
}

// --- extrusion -------------------------------------------------------------------------

void TQelPrimitiveObj::ExtrudeByVec(const TQelMathVector& vector, TQelTexture* wallTexture) {
  if (vector == ZEROVEC || !points_->GetVertexArray()) return;
  const int32_t count = points_->GetCount();
  std::vector<TQelPrimitiveArray*> faces;
  TQelMathVector front;
  for (TQelPrimitiveArray* a : arrays_) {
    if (!a->GetEnabled() || !IsFaceKind(a->GetType())) continue;
    faces.push_back(a);
    const double* v = points_->GetVertexArray();
    ForEachFace(*a, count, [&](const uint32_t* c, int32_t n) { front = Plus(front, FaceArea(v, c, n)); });
  }
  TQelEdgeArray edges;
  GetOpenEdges(edges);
  if (faces.empty() || edges.empty()) return;
  const bool towardsFront = QelMathDotProduct(front, vector) > 0;

  Quietly([&] {
    TQelPrimitivePoints& pts = *points_;
    const auto pointsHandler = std::exchange(pts.OnChange, nullptr);
    if (wallTexture && !pts.GetDefineArrays().Contains(daTexture))
      pts.SetDefineArrays(pts.GetDefineArrays() + daTexture);
    if (wallTexture) pts.SetUseArrays(pts.GetUseArrays() + daTexture);

    // The copy of the faces, offset by the vector.
    const int32_t offset = pts.Add(&pts);
    double* v = pts.GetVertexArray();
    for (int32_t p = offset; p < offset + count; ++p)
      Put(v, static_cast<uint32_t>(p), Plus(At(v, static_cast<uint32_t>(p)), vector));
    for (TQelPrimitiveArray* from : faces) {
      TQelPrimitiveArray* to = GetPrimitive(AddPrimitiveArray(from->GetType()));
      to->Add(from, offset);
      to->SetTexture(from->GetTexture());
      to->SetMaterial(from->GetMaterial());
      to->SetAttributes(from->GetAttributes());
      to->SetTextured(from->GetTextured());
      // The turned side: the original faces when the copy is the top.
      TQelPrimitiveArray* turned = towardsFront ? from : to;
      turned->Invert();
    }
    if (double* n = pts.GetNormalArray()) {
      const int32_t first = towardsFront ? 0 : offset;
      for (int32_t p = first; p < first + count; ++p)
        Put(n, static_cast<uint32_t>(p), Times(At(n, static_cast<uint32_t>(p)), -1));
    }

    // The walls: each runs against its edge's face on the original side.
    TQelPrimitiveArray* wall = GetPrimitive(AddPrimitiveArray(GL_QUADS));
    wall->SetTexture(wallTexture);
    wall->SetTextured(wallTexture != nullptr);
    for (const TQelEdge& e : edges) {
      const TQelMathVector a = pts.GetVector(e.a, 0), b = pts.GetVector(e.b, 0);
      std::array<TQelMathVector, 4> q;
      if (towardsFront)
        q = {a, b, Plus(b, vector), Plus(a, vector)};
      else
        q = {b, a, Plus(a, vector), Plus(b, vector)};
      TQelMathVector normal;
      if (QelMathNormalVector(q[0], q[1], q[2], true, normal) == 0)
        QelMathNormalVector(q[0], q[2], q[3], true, normal);
      static constexpr double kST[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
      for (int c = 0; c < 4; ++c) {
        const int32_t k = pts.Add(q[c], normal, {kST[c][0], kST[c][1], 0});
        if (uint8_t* f = pts.GetFlagArray()) f[k] = 0;
        if (uint8_t* e8 = pts.GetEdgeFlagArray()) e8[k] = GL_TRUE;
        wall->AddIndex(static_cast<uint32_t>(k));
      }
    }
    pts.OnChange = pointsHandler;
    changedQuietly_ = true;
  });
}

void TQelPrimitiveObj::Extrude(double depth, TQelTexture* wallTexture) {
  const double* v = points_->GetVertexArray();
  if (!v || depth == 0) return;
  TQelMathVector sum;
  for (const TQelPrimitiveArray* a : arrays_)
    if (a->GetEnabled() && IsFaceKind(a->GetType()))
      ForEachFace(*a, points_->GetCount(),
                  [&](const uint32_t* c, int32_t n) { sum = Plus(sum, FaceArea(v, c, n)); });
  QelMathNormalize(sum);
  if (sum == ZEROVEC) return;
  ExtrudeByVec(Times(sum, depth), wallTexture);
}

void TQelPrimitiveObj::ExtrudePrimitiveObj(TQelPrimitiveObj* source, double depth,
                                           TQelTexture* wallTexture) {
  if (!source) return;
  TQelPrimitiveObj extrusion(nullptr);
  extrusion.AddPrimitiveObj(source);
  const int32_t before = extrusion.GetPrimitiveCount();
  extrusion.Extrude(depth, wallTexture);
  if (extrusion.GetPrimitiveCount() == before) return;  // nothing to extrude
  Quietly([&] {
    AddPrimitiveObj(&extrusion);
    if (!wallTexture) return;
    // The merged lists took this object's appearance; the wall keeps its own.
    TQelPrimitiveArray* wall = GetPrimitive(GetPrimitiveCount() - 1);
    wall->SetTexture(wallTexture);
    wall->SetTextured(true);
    const auto handler = std::exchange(points_->OnChange, nullptr);
    points_->SetUseArrays(points_->GetUseArrays() + daTexture);
    points_->OnChange = handler;
  });
}

// --- relief ----------------------------------------------------------------------------

void TQelPrimitiveObj::SetReliefBitmap(const TBitmap* bitmap, double scaleRed, double scaleGreen,
                                       double scaleBlue) {
  double* v = points_->GetVertexArray();
  const double* n = points_->GetNormalArray();
  const double* t = points_->GetTextureArray();
  if (!bitmap || bitmap->GetEmpty() || !v || !n || !t) return;
  const int w = bitmap->GetWidth(), h = bitmap->GetHeight();
  // Nearest pixel, repeating: floor(s * width) mod width, rows from the bottom.
  auto wrap = [](double u, int size) {
    double f = std::floor(u * size);
    if (!std::isfinite(f)) return 0;
    f = std::fmod(f, static_cast<double>(size));
    if (f < 0) f += size;
    return std::clamp(static_cast<int>(f), 0, size - 1);
  };
  for (int32_t p = 0; p < points_->GetCount(); ++p) {
    const TQelMathVector st = At(t, static_cast<uint32_t>(p));
    const int x = wrap(st.x, w), yUp = wrap(st.y, h);
    const TColor c = bitmap->GetPixel(x, h - 1 - yUp);
    const double lift = ((c & 0xFF) * scaleRed + ((c >> 8) & 0xFF) * scaleGreen +
                         ((c >> 16) & 0xFF) * scaleBlue) / 255.0;
    const uint32_t i = static_cast<uint32_t>(p);
    Put(v, i, Plus(At(v, i), Times(At(n, i), lift)));
  }
  Changed();
}

// --- helper objects -------------------------------------------------------------------

TQelPrimitiveObj* TQelPrimitiveObj::CreateNormalVecObj(double length, TComponent* AOwner) {
  auto* lines = new TQelPrimitiveObj(AOwner);
  lines->SetTransformation(GetTransformation());
  TQelPrimitivePoints& to = *lines->GetPoints();
  TQelPrimitiveArray* list = lines->GetPrimitive(lines->AddPrimitiveArray(GL_LINES));
  const TQelMathVector up{0, 0, 1};
  for (int32_t p = 0; p < points_->GetCount(); ++p) {
    const TQelMathVector from = points_->GetVector(p, 0);
    const TQelMathVector tip = Plus(from, Times(points_->GetVector(p, 1), length));
    list->AddIndex(static_cast<uint32_t>(to.Add(from, up, ZEROVEC)));
    list->AddIndex(static_cast<uint32_t>(to.Add(tip, up, ZEROVEC)));
  }
  lines->SetInited(true);
  return lines;
}

TQelNode* TQelPrimitiveObj::CreateLabelNode(double size, TComponent* AOwner) {
  auto* node = new TQelNode(AOwner);
  node->SetTransformation(GetTransformation());
  const double cell = size / 2;  // digit cells are half as wide as high
  for (int32_t p = 0; p < points_->GetCount(); ++p) {
    auto* label = new TQelPrimitiveObj(node);
    const std::string text = std::to_string(p);
    label->SetObjectName(text);
    TQelPrimitivePoints& to = *label->GetPoints();
    TQelPrimitiveArray* list = label->GetPrimitive(label->AddPrimitiveArray(GL_LINES));
    const TQelMathVector at = points_->GetVector(p, 0);
    for (size_t ch = 0; ch < text.size(); ++ch) {
      const int digit = text[ch] == '-' ? 10 : text[ch] - '0';
      const double left = at.x + ch * cell * 1.5;
      for (int s = 0; s < 7; ++s) {
        if (!(kDigitSegments[digit] & (1u << s))) continue;
        for (int end = 0; end < 2; ++end) {
          const TQelMathVector q{left + kSegments[s][2 * end] * cell,
                                 at.y + kSegments[s][2 * end + 1] * cell, at.z};
          list->AddIndex(static_cast<uint32_t>(to.Add(q, {0, 0, 1}, ZEROVEC)));
        }
      }
    }
    label->SetInited(true);
    node->Add(label);
  }
  return node;
}

// --- drawing ---------------------------------------------------------------------------

void TQelPrimitiveObj::PrefetchRender(int stage) const {
  TQelObject::PrefetchRender(stage);
  if (stage == 0) {
    QelPrefetch(points_.get(), sizeof(TQelPrimitivePoints));
    QelPrefetch(arrays_.data(), arrays_.size() * sizeof(TQelPrimitiveArray*));
  } else if (stage == 1) {
    points_->PrefetchArrays();
    for (const TQelPrimitiveArray* a : arrays_) QelPrefetch(a, sizeof(TQelPrimitiveArray));
  } else {
    for (const TQelPrimitiveArray* a : arrays_)
      QelPrefetch(a->GetIndexArray(), sizeof(uint32_t) * static_cast<size_t>(a->GetCount()));
  }
}

bool TQelPrimitiveObj::ApplyAppearance(TQelPrimitiveArray* a, TQelCustomView* view) {
  // The appearance runs user events; should one free lists, a is gone and
  // the rest of this frame is skipped.
  TQelRenderState& state = QelRenderStateOf(view);
  const uint32_t freed = freedArrays_;
  if (TQelAttributes* attributes = a->GetAttributes()) state.RenderPart(attributes, view);
  if (freed != freedArrays_) return false;
  if (TQelMaterial* material = a->GetMaterial()) state.RenderPart(material, view);
  if (freed != freedArrays_) return false;
  if (a->GetTextured())
    if (TQelTexture* texture = a->GetTexture()) state.RenderPart(texture, view);
  if (freed != freedArrays_) return false;
  if (a->GetTextured()) {
    state.SetTexture2D(true);
    if (textureFlags_->GetEnvMapping()) {
      glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_SPHERE_MAP);
      glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_SPHERE_MAP);
      glEnable(GL_TEXTURE_GEN_S);
      glEnable(GL_TEXTURE_GEN_T);
    } else {
      glDisable(GL_TEXTURE_GEN_S);
      glDisable(GL_TEXTURE_GEN_T);
    }
  } else {
    state.SetTexture2D(false);
  }
  return true;
}

void TQelPrimitiveObj::DrawArray(int32_t k, TQelCustomView* view) {
  TQelPrimitiveArray* a = arrays_[static_cast<size_t>(k)];
  const int32_t pointLimit = points_->GetSize();
  if (view && view->GetPushNames()) {
    glPushName(static_cast<GLuint>(view->GetNextID(this, k)));
    a->ProceedDirectRendering(pointLimit);
    glPopName();
  } else {
    a->ProceedDirectRendering(pointLimit);
  }
}

bool TQelPrimitiveObj::CachesContentOnly() const {
  // One appearance for every enabled list: applied once, outside the list.
  // Classes of the application keep all their drawing inside.
  if (!DrawsWithLibraryCode()) return false;
  const TQelPrimitiveArray* first = nullptr;
  for (const TQelPrimitiveArray* a : arrays_) {
    if (!a->GetEnabled()) continue;
    if (!first)
      first = a;
    else if (a->GetAttributes() != first->GetAttributes() ||
             a->GetMaterial() != first->GetMaterial() ||
             a->GetTextured() != first->GetTextured() || a->GetTexture() != first->GetTexture())
      return false;
  }
  return true;
}

void TQelPrimitiveObj::DrawContent(TQelCustomView* view) {
  for (int32_t k = 0; k < GetPrimitiveCount(); ++k)
    if (arrays_[static_cast<size_t>(k)]->GetEnabled()) DrawArray(k, view);
}

void TQelPrimitiveObj::DoRender(TQelCustomView* view) {
  if (!inited_) {
    QelRenderStateOf(view).Flush();  // generation raises change events and may be overridden
    Init();
  }
  TQelObject::DoRender(view);
  points_->BeforeRender(view);
  if (IsMyView(view) && CachesContentOnly()) {
    // The display list holds the draws; the state is set here every time.
    auto enabled = std::find_if(arrays_.begin(), arrays_.end(),
                                [](const TQelPrimitiveArray* a) { return a->GetEnabled(); });
    if (enabled == arrays_.end() || ApplyAppearance(*enabled, view)) RenderContent(view);
  } else {
    for (int32_t k = 0; k < GetPrimitiveCount(); ++k) {
      TQelPrimitiveArray* a = arrays_[static_cast<size_t>(k)];
      if (!a->GetEnabled()) continue;
      if (!ApplyAppearance(a, view)) break;
      DrawArray(k, view);
    }
  }
  points_->AfterRender(view);
}

void TQelPrimitiveObj::Assign(TPersistent* Source) {
  if (Source == this) return;
  TQelObject::Assign(Source);
  auto* src = dynamic_cast<TQelPrimitiveObj*>(Source);
  if (!src) return;
  Quietly([&] {
    SetTexture(src->GetTexture());
    SetMaterial(src->GetMaterial());
    textureFlags_->Assign(src->textureFlags_.get());
    WireTextureFlags();
    inited_ = src->inited_;
    ClearAll();
    points_->Assign(src->points_.get());
    WirePoints();  // Assign hands over the source's handler
    for (const TQelPrimitiveArray* from : src->arrays_) {
      TQelPrimitiveArray* to = GetPrimitive(AddPrimitiveArray(from->GetType()));
      to->Assign(const_cast<TQelPrimitiveArray*>(from));
      WireArray(to);
      WatchAppearance(to);
    }
    changedQuietly_ = true;
  });
}

// --- scene files ---------------------------------------------------------------------

void TQelPrimitiveObj::WriteValues(IQelExchange* exchange) {
  TQelObject::WriteValues(exchange);
  textureFlags_->WriteComp(exchange, "TextureFlags");
  if (storeMode_ == smPoints || storeMode_ == smAll) points_->WriteComp(exchange, "Points");
  if (storeMode_ == smAll) {
    for (TQelPrimitiveArray* a : arrays_) a->WriteComp(exchange, "Primitive");
    exchange->addtag("Inited", inited_, false);
  }
  exchange->addtag("StoreMode", storeMode_, TQelStoreModeStr, smDefault);
}

void TQelPrimitiveObj::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelObject::ReadValues(exchange, tag);  // "Textured" and the references too
  TQelStoreMode mode = storeMode_;
  exchange->getenum("StoreMode", TQelStoreModeStr, mode);
  // Only a stored mesh is drawn as it is; the lists of the file replace
  // those held. Not ClearAll: that would reset StoreMode.
  bool inited = false;
  if (mode == smAll) {
    exchange->getvalue("Inited", inited);
    ClearPrimitives();
  }
  inited_ = inited;
  SetStoreMode(mode);
}

TPersistent* TQelPrimitiveObj::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name == "Points") {
    points_->ReadValues(exchange, tag);
    return points_.get();
  }
  if (tag->Name == "Primitive") {
    // Owned and wired before it reads, so that nothing leaks when it fails.
    auto* array = new TQelPrimitiveArray(GL_TRIANGLES);
    WireArray(array);
    arrays_.push_back(array);
    Quietly([&] { array->ReadValues(exchange, tag); });
    return array;
  }
  if (tag->Name == "TextureFlags") {
    textureFlags_->ReadValues(exchange, tag);
    return textureFlags_.get();
  }
  return TQelObject::ReadComp(exchange, tag);
}

void TQelPrimitiveObj::ReadRef(IQelExchange* exchange) {
  struct Appearance {
    TQelTexture* texture;
    TQelMaterial* material;
    TQelAttributes* attributes;
  };
  std::vector<Appearance> kept;
  kept.reserve(arrays_.size());
  for (const TQelPrimitiveArray* a : arrays_)
    kept.push_back({a->GetTexture(), a->GetMaterial(), a->GetAttributes()});
  TQelObject::ReadRef(exchange);
  Quietly([&] {
    for (size_t k = 0; k < kept.size() && k < arrays_.size(); ++k) {
      arrays_[k]->SetTexture(kept[k].texture);
      arrays_[k]->SetMaterial(kept[k].material);
      arrays_[k]->SetAttributes(kept[k].attributes);
    }
  });
}

namespace {
const bool primitiveObjRegistered = [] {
  RegisterLibraryRenderClass<TQelPrimitiveObj>();
  return true;
}();
}  // namespace
