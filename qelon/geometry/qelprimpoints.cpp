#include "qelprimclasses.h"
#include "qelprimshared.h"

#include <GL/gl.h>

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

#include "qelon/appearance/qelappearancerefs.h"
#include "qelon/appearance/qelattr.h"
#include "qelon/appearance/qelmat.h"
#include "qelon/appearance/qeltex.h"
#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/qelvaluetext.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/platform/qelerror.h"
#include "qelon/scene/qelrenderstate.h"

using namespace qelprim;

const char* const TQelArrayStr[6] = {"daVertex", "daNormal", "daTexture",
                                     "daColor",  "daEdgeFlag", "daFlag"};

namespace {

// Positions compare in single precision, the precision of the tolerance
// itself: coordinates exactly 0.001 apart are not equal.
bool WithinTolerance(double a, double b) {
  double d = std::fabs(a - b);
  return d < 1.0 && static_cast<float>(d) < tolerance;
}

// Double to float without the undefined conversion of values beyond range.
float ToFloat(double v) {
  if (v > FLT_MAX) return HUGE_VALF;
  if (v < -FLT_MAX) return -HUGE_VALF;
  return static_cast<float>(v);
}

constexpr TQelArray kVectorKinds[3] = {daVertex, daNormal, daTexture};

}  // namespace

// --- TQelPrimitivePoints -----------------------------------------------------

TQelPrimitivePoints::TQelPrimitivePoints() = default;

std::vector<double>* TQelPrimitivePoints::VectorArray(int32_t kind) {
  return const_cast<std::vector<double>*>(std::as_const(*this).VectorArray(kind));
}

const std::vector<double>* TQelPrimitivePoints::VectorArray(int32_t kind) const {
  if (kind < 0 || kind > 2 || !HasArray(kVectorKinds[kind])) return nullptr;
  const std::vector<double>* arrays[3] = {&vertex_, &normal_, &texture_};
  return arrays[kind];
}

void TQelPrimitivePoints::SetSize(int32_t n) {
  if (n < 0) return;
  const size_t points = static_cast<size_t>(n);
  if (defineArrays_.Contains(daVertex)) Reallocate(vertex_, 3 * points);
  if (defineArrays_.Contains(daNormal)) Reallocate(normal_, 3 * points);
  if (defineArrays_.Contains(daTexture)) Reallocate(texture_, 3 * points);
  if (defineArrays_.Contains(daColor)) Reallocate(color_, 4 * points);
  // A new point is an edge until told otherwise. The fill is GL_TRUE rather
  // than 255: some drivers take only GL_TRUE from an edge-flag array as an
  // edge, and readers of the store count any byte above 0 as one.
  if (defineArrays_.Contains(daEdgeFlag)) Reallocate(edgeFlag_, points, uint8_t(GL_TRUE));
  if (defineArrays_.Contains(daFlag)) Reallocate(flag_, points);
  size_ = n;
  count_ = std::min(count_, n);
}

void TQelPrimitivePoints::SetCount(int32_t n) {
  if (n < 0) return;
  SetSize(n);
  count_ = n;
}

void TQelPrimitivePoints::SetDefineArrays(TQelArrays arrays) {
  const bool differs = arrays != defineArrays_;
  // Arrays leaving the set keep their storage but are absent until they
  // are defined again; then SetSize brings them to the current Size.
  defineArrays_ = arrays;
  SetSize(size_);
  if (differs) Changed();
}

void TQelPrimitivePoints::SetUseArrays(TQelArrays arrays) {
  if (arrays == useArrays_) return;
  useArrays_ = arrays;
  Changed();
}

void TQelPrimitivePoints::ClearArrays(TQelArrays arrays) {
  auto zero = [&](TQelArray a, auto& v) {
    if (arrays.Contains(a) && HasArray(a)) std::fill(v.begin(), v.end(), 0);
  };
  zero(daVertex, vertex_);
  zero(daNormal, normal_);
  zero(daTexture, texture_);
  zero(daColor, color_);
  zero(daEdgeFlag, edgeFlag_);
  zero(daFlag, flag_);
}

int32_t TQelPrimitivePoints::Grow() {
  if (size_ - 1 < count_) SetSize(size_ + GrowStep);
  return count_++;
}

int32_t TQelPrimitivePoints::Add(double x, double y, double z) {
  if (!defineArrays_.Contains(daVertex)) return -1;
  const int32_t i = Grow();
  double* p = &vertex_[3 * static_cast<size_t>(i)];
  p[0] = x;
  p[1] = y;
  p[2] = z;
  return i;
}

int32_t TQelPrimitivePoints::Add(const TQelMathVector& position, const TQelMathVector& normal,
                                 const TQelMathVector& texture) {
  const int32_t i = Grow();
  const TQelMathVector* values[3] = {&position, &normal, &texture};
  for (int32_t kind = 0; kind < 3; ++kind)
    if (std::vector<double>* a = VectorArray(kind)) {
      double* p = &(*a)[3 * static_cast<size_t>(i)];
      p[0] = values[kind]->x;
      p[1] = values[kind]->y;
      p[2] = values[kind]->z;
    }
  return i;
}

int32_t TQelPrimitivePoints::Add(const TQelPointItem* item) {
  if (!item) return -1;
  const int32_t i = Grow();
  SetPoint(i, item);
  return i;
}

int32_t TQelPrimitivePoints::Add(const TQelPrimitivePoints* other) {
  if (!other) return -1;
  const int32_t first = count_;
  const int32_t n = other->count_;  // read before growing: other may be this
  if (n <= 0) return first;
  const int32_t total = first + n;
  // The capacity the point-by-point appends would have reached.
  if (size_ < total) SetSize(size_ + (total - size_ + GrowStep - 1) / GrowStep * GrowStep);
  auto copy = [&](TQelArray a, auto& dst, const auto& src, size_t width) {
    if (HasArray(a) && other->HasArray(a))
      std::memmove(&dst[width * first], src.data(), width * n * sizeof(dst[0]));
  };
  copy(daVertex, vertex_, other->vertex_, 3);
  copy(daNormal, normal_, other->normal_, 3);
  copy(daTexture, texture_, other->texture_, 3);
  copy(daColor, color_, other->color_, 4);
  copy(daEdgeFlag, edgeFlag_, other->edgeFlag_, 1);
  copy(daFlag, flag_, other->flag_, 1);
  count_ = total;
  return first;
}

void TQelPrimitivePoints::Delete(int32_t start, int32_t n) {
  // A negative start would move memory before the arrays: ignored.
  if (start < 0) return;
  n = std::min(n, count_ - start);
  if (n <= 0) return;
  auto shift = [&](TQelArray a, auto& v, size_t width) {
    if (!HasArray(a)) return;
    auto from = v.begin() + width * (start + n);
    std::copy(from, v.begin() + width * count_, v.begin() + width * start);
  };
  shift(daVertex, vertex_, 3);
  shift(daNormal, normal_, 3);
  shift(daTexture, texture_, 3);
  shift(daColor, color_, 4);
  shift(daEdgeFlag, edgeFlag_, 1);
  shift(daFlag, flag_, 1);
  count_ -= n;
}

void TQelPrimitivePoints::GetPoint(int32_t i, TQelPointItem* item) const {
  if (!item || i < 0 || i >= size_) return;
  const size_t k = static_cast<size_t>(i);
  if (HasArray(daVertex)) item->GetPoint()->SetAsMathVector(GetVector(i, 0));
  if (HasArray(daNormal)) item->GetNormal()->SetAsMathVector(GetVector(i, 1));
  if (HasArray(daTexture)) item->GetTexture()->SetAsMathVector(GetVector(i, 2));
  if (HasArray(daColor)) {
    const float* c = &color_[4 * k];
    item->GetColor()->SetParams(c[0], c[1], c[2], c[3]);
    item->Changed();
  }
  if (HasArray(daEdgeFlag)) item->SetEdgeFlag(edgeFlag_[k] > 0);
  if (HasArray(daFlag)) item->SetFlag(flag_[k]);
}

void TQelPrimitivePoints::SetPoint(int32_t i, const TQelPointItem* item) {
  if (!item || i < 0 || i >= size_) return;
  const size_t k = static_cast<size_t>(i);
  const TQelVector* parts[3] = {item->GetPoint(), item->GetNormal(), item->GetTexture()};
  for (int32_t kind = 0; kind < 3; ++kind)
    if (std::vector<double>* a = VectorArray(kind)) {
      double* p = &(*a)[3 * k];
      p[0] = parts[kind]->GetX();
      p[1] = parts[kind]->GetY();
      p[2] = parts[kind]->GetZ();
    }
  if (HasArray(daColor)) {
    const std::array<float, 4> c = item->GetColor()->GetParams();
    std::copy(c.begin(), c.end(), color_.begin() + 4 * k);
  }
  if (HasArray(daEdgeFlag)) edgeFlag_[k] = item->GetEdgeFlag() ? 255 : 0;
  if (HasArray(daFlag)) flag_[k] = static_cast<uint8_t>(item->GetFlag() & 0xFF);
}

TQelMathVector TQelPrimitivePoints::GetVector(int32_t i, int32_t kind) const {
  const std::vector<double>* a = VectorArray(kind);
  if (!a || i < 0 || i >= size_) return ZEROVEC;
  const double* p = &(*a)[3 * static_cast<size_t>(i)];
  return {p[0], p[1], p[2]};
}

// Linked editing: a position (normal) edit of a point carrying the position
// (normal) link bit also moves every other point in use that carries the
// same bit and sits at the edited point's current position, so that seam
// duplicates of one geometric vertex stay together. Texture edits are never
// linked, and linking is off while UseArrays lacks daFlag.
void TQelPrimitivePoints::SetVector(int32_t i, int32_t kind, const TQelMathVector& v) {
  std::vector<double>* a = VectorArray(kind);
  if (!a || i < 0 || i >= size_) return;
  auto write = [&](int32_t j) {
    double* p = &(*a)[3 * static_cast<size_t>(j)];
    p[0] = v.x;
    p[1] = v.y;
    p[2] = v.z;
  };
  if (kind < 2 && useArrays_.Contains(daFlag) && HasArray(daFlag) && HasArray(daVertex)) {
    const uint8_t mask = uint8_t(1u << (kind == 0 ? PositionLinkBit : NormalLinkBit));
    if (flag_[static_cast<size_t>(i)] & mask)
      for (int32_t j = 0; j < count_; ++j)
        if (j != i && (flag_[static_cast<size_t>(j)] & mask) && EqualPos(j, i)) write(j);
  }
  write(i);
}

double TQelPrimitivePoints::GetValues(int32_t i, int32_t component, int32_t kind) const {
  if (i < 0 || i >= size_ || component < 0) return 0.0;
  const size_t k = static_cast<size_t>(i);
  if (kind == 3)
    return component < 4 && HasArray(daColor) ? color_[4 * k + component] : 0.0;
  const std::vector<double>* a = VectorArray(kind);
  return a && component < 3 ? (*a)[3 * k + component] : 0.0;
}

void TQelPrimitivePoints::SetValues(int32_t i, int32_t component, int32_t kind, double value) {
  if (i < 0 || i >= size_ || component < 0) return;
  if (kind == 3) {
    if (component < 4 && HasArray(daColor))
      color_[4 * static_cast<size_t>(i) + component] = ToFloat(value);
    return;
  }
  if (component > 2 || !VectorArray(kind)) return;
  TQelMathVector v = GetVector(i, kind);
  v[component] = value;
  SetVector(i, kind, v);  // positions and normals move their linked points
}

uint8_t TQelPrimitivePoints::GetEdgeFlag(int32_t i) const {
  if (i < 0 || i >= count_ || !HasArray(daEdgeFlag)) return 255;
  return edgeFlag_[static_cast<size_t>(i)];
}

void TQelPrimitivePoints::SetEdgeFlag(int32_t i, uint8_t value) {
  if (i < 0 || i >= count_ || !HasArray(daEdgeFlag)) return;
  edgeFlag_[static_cast<size_t>(i)] = value;
}

bool TQelPrimitivePoints::GetFlag(int32_t i, int32_t bit) const {
  if (i < 0 || i >= count_ || bit < 0 || bit > 7 || !HasArray(daFlag)) return false;
  return (flag_[static_cast<size_t>(i)] >> bit) & 1;
}

void TQelPrimitivePoints::SetFlag(int32_t i, int32_t bit, bool on) {
  if (i < 0 || i >= count_ || bit < 0 || bit > 7 || !HasArray(daFlag)) return;
  uint8_t& f = flag_[static_cast<size_t>(i)];
  const uint8_t mask = uint8_t(1u << bit);
  f = on ? uint8_t(f | mask) : uint8_t(f & ~mask);
}

bool TQelPrimitivePoints::EqualPos(int32_t i, int32_t j) const {
  if (!HasArray(daVertex) || i < 0 || i >= size_ || j < 0 || j >= size_) return false;
  const double* a = &vertex_[3 * static_cast<size_t>(i)];
  const double* b = &vertex_[3 * static_cast<size_t>(j)];
  return WithinTolerance(a[0], b[0]) && WithinTolerance(a[1], b[1]) &&
         WithinTolerance(a[2], b[2]);
}

void TQelPrimitivePoints::LiftPoint(int32_t i, double d) {
  if (!HasArray(daVertex) || !HasArray(daNormal) || i < 0 || i >= size_) return;
  const TQelMathVector p = GetVector(i, 0), n = GetVector(i, 1);
  SetVector(i, 0, {p.x + d * n.x, p.y + d * n.y, p.z + d * n.z});
}

void TQelPrimitivePoints::ScalePoints(double sx, double sy, double sz) {
  double* p = GetVertexArray();
  if (!p) return;
  for (int32_t i = 0; i < count_; ++i, p += 3) {
    p[0] *= sx;
    p[1] *= sy;
    p[2] *= sz;
  }
}

void TQelPrimitivePoints::MovePoints(double dx, double dy, double dz) {
  double* p = GetVertexArray();
  if (!p) return;
  for (int32_t i = 0; i < count_; ++i, p += 3) {
    p[0] += dx;
    p[1] += dy;
    p[2] += dz;
  }
}

void TQelPrimitivePoints::BeforeRender(TQelCustomView* view) {
  TQelRenderState& state = QelRenderStateOf(view);
  if (Uses(daNormal)) {
    state.EnableArray(GL_NORMAL_ARRAY);
    glNormalPointer(GL_DOUBLE, 0, normal_.data());
  }
  if (Uses(daTexture)) {
    state.SetTexture2D(true);
    state.EnableArray(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(3, GL_DOUBLE, 0, texture_.data());
  } else {
    state.SetTexture2D(false);
  }
  if (Uses(daColor)) {
    state.EnableArray(GL_COLOR_ARRAY);
    glColorPointer(4, GL_FLOAT, 0, color_.data());
  }
  if (Uses(daEdgeFlag)) {
    state.EnableArray(GL_EDGE_FLAG_ARRAY);
    glEdgeFlagPointer(0, edgeFlag_.data());
  }
  if (Uses(daVertex)) {
    state.EnableArray(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_DOUBLE, 0, vertex_.data());
  }
  state.ArraysEnabled();
}

void TQelPrimitivePoints::PrefetchArrays() const {
  const size_t n = static_cast<size_t>(count_);
  if (Uses(daVertex)) QelPrefetch(vertex_.data(), 3 * sizeof(double) * n);
  if (Uses(daNormal)) QelPrefetch(normal_.data(), 3 * sizeof(double) * n);
  if (Uses(daTexture)) QelPrefetch(texture_.data(), 3 * sizeof(double) * n);
  if (Uses(daColor)) QelPrefetch(color_.data(), 4 * sizeof(float) * n);
}

// Disables all five client arrays and resets the edge flag; between two
// meshes of one node the render state holds this back for the next one.
void TQelPrimitivePoints::AfterRender(TQelCustomView* view) {
  QelRenderStateOf(view).DisableArrays();
}

// Copies the array sets and appends the source's points. Existing points
// below the source's Size stay in front of them. Values are copied exactly.
void TQelPrimitivePoints::Assign(TPersistent* Source) {
  if (auto* src = dynamic_cast<TQelPrimitivePoints*>(Source)) {
    defineArrays_ = src->defineArrays_;
    useArrays_ = src->useArrays_;
    SetSize(src->size_);
    Add(src);
    Changed();
  }
  TQelProperty::Assign(Source);
}

// --- scene files ---------------------------------------------------------------

std::string qelprim::ColorText(IQelExchange* exchange, const float* c) {
  std::string text;
  for (int k = 0; k < 4; ++k) {
    if (k) text += ',';
    text += exchange->toStr(c[k], HUGE_VALF);  // an infinite default: always written
  }
  return text;
}

bool qelprim::ReadColor(IQelExchange* exchange, const std::string& name, float (&c)[4]) {
  static std::string text;  // keeps its capacity from point to point (one GUI thread)
  if (!exchange->getvalue(name, text)) return false;
  std::string_view rest = text;
  float values[4];
  for (int k = 0; k < 4; ++k) {
    const size_t comma = rest.find(',');
    if ((k < 3) == (comma == std::string_view::npos))
      throw EQelConvertError("\"" + text + "\" is not a valid colour (attribute \"" + name + "\")");
    QelParseNumber(rest.substr(0, comma), values[k]);
    if (k < 3) rest.remove_prefix(comma + 1);
  }
  std::copy(values, values + 4, c);
  return true;
}

namespace {

// The room a store read from a file starts with.
constexpr int32_t kReadFirstSize = 32;

// A vector default that nothing equals: the value is always written.
constexpr TQelMathVector kAlwaysWritten{QelNoDefault, QelNoDefault, QelNoDefault};

void WriteVectorAt(IQelExchange* exchange, const std::string& name, const double* p,
                   bool& first) {
  // The first attribute of a point is always written, so that no point is
  // left as an empty tag (which readers skip) when defaults are left out.
  exchange->addtag(name, TQelMathVector{p[0], p[1], p[2]}, first ? kAlwaysWritten : ZEROVEC);
  first = false;
}

// Reads attribute name into p, zero when it is missing.
void ReadVectorAt(IQelExchange* exchange, const std::string& name, double* p) {
  TQelMathVector v;
  exchange->getvalue(name, v);
  p[0] = v.x;
  p[1] = v.y;
  p[2] = v.z;
}

}  // namespace

void TQelPrimitivePoints::WriteValues(IQelExchange* exchange) {
  TQelProperty::WriteValues(exchange);
  exchange->addtag("DefineArrays", static_cast<uint32_t>(defineArrays_.ToBits()), TQelArrayStr, 6);
  exchange->addtag("UseArrays", static_cast<uint32_t>(useArrays_.ToBits()), TQelArrayStr, 6);
  for (int32_t i = 0; i < count_; ++i) {
    exchange->StartTag("Point");
    WritePoint(exchange, i);
    exchange->EndTag();
  }
}

void TQelPrimitivePoints::WritePoint(IQelExchange* exchange, int32_t i) const {
  const size_t k = static_cast<size_t>(i);
  bool first = true;
  if (HasArray(daVertex)) WriteVectorAt(exchange, kPosition, &vertex_[3 * k], first);
  if (HasArray(daTexture)) WriteVectorAt(exchange, kTexture, &texture_[3 * k], first);
  if (HasArray(daNormal)) WriteVectorAt(exchange, kNormal, &normal_[3 * k], first);
  if (HasArray(daEdgeFlag)) exchange->addtag(kEdge, edgeFlag_[k] > 0, true);
  if (HasArray(daFlag)) exchange->addtag(kFlag, static_cast<int32_t>(flag_[k]), int32_t(0));
  if (HasArray(daColor)) exchange->addtag(kColor, ColorText(exchange, &color_[4 * k]), std::string());
}

void TQelPrimitivePoints::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelProperty::ReadValues(exchange, tag);
  // The points of the element replace those held.
  SetCount(0);
  uint32_t define = defineArrays_.ToBits(), use = useArrays_.ToBits();
  if (exchange->getvalue("DefineArrays", define, TQelArrayStr, 6))
    SetDefineArrays(TQelArrays::FromBits(static_cast<uint8_t>(define)));
  if (exchange->getvalue("UseArrays", use, TQelArrayStr, 6))
    SetUseArrays(TQelArrays::FromBits(static_cast<uint8_t>(use)));
}

TPersistent* TQelPrimitivePoints::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name != "Point") return TQelProperty::ReadComp(exchange, tag);
  ReadPoint(exchange);
  return this;
}

// Appends one point straight into the arrays: no transfer object, no text
// copied. Missing attributes give the values of a cleared TQelPointItem.
void TQelPrimitivePoints::ReadPoint(IQelExchange* exchange) {
  // Reading grows by doubling from a few points rather than by GrowStep:
  // a scene holds many small meshes, and 120 points of room each would
  // multiply the memory (and the time) loading takes.
  if (count_ >= size_) {
    if (size_ > INT32_MAX / 2) return;
    SetSize(std::max(2 * size_, kReadFirstSize));
  }
  const size_t k = static_cast<size_t>(count_++);
  if (HasArray(daVertex)) ReadVectorAt(exchange, kPosition, &vertex_[3 * k]);
  if (HasArray(daTexture)) ReadVectorAt(exchange, kTexture, &texture_[3 * k]);
  if (HasArray(daNormal)) ReadVectorAt(exchange, kNormal, &normal_[3 * k]);
  if (HasArray(daEdgeFlag)) {
    bool edge = true;
    exchange->getvalue(kEdge, edge);
    edgeFlag_[k] = edge ? 255 : 0;
  }
  if (HasArray(daFlag)) {
    int32_t flag = 0;
    exchange->getvalue(kFlag, flag);
    flag_[k] = static_cast<uint8_t>(flag & 0xFF);
  }
  if (HasArray(daColor)) {
    float c[4] = {1, 1, 1, 1};
    ReadColor(exchange, kColor, c);
    std::copy(c, c + 4, color_.begin() + 4 * k);
  }
}
