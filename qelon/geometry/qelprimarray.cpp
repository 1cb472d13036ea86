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

using qelprim::Reallocate;

// --- TQelPrimitiveArray ------------------------------------------------------

namespace {

bool IsLineListKind(int32_t t) { return t == GL_LINE_LOOP || t == GL_LINE_STRIP || t == GL_POLYGON; }
bool IsStripKind(int32_t t) { return t == GL_TRIANGLE_STRIP || t == GL_QUAD_STRIP; }

}  // namespace

TQelPrimitiveArray::TQelPrimitiveArray(int32_t type) : type_(type) {}

void TQelPrimitiveArray::SetSize(int32_t n) {
  if (n < 0) return;
  // Grown storage reads as zero, so that entries past Count that Insert and
  // the list conversions expose always hold defined values.
  Reallocate(indices_, static_cast<size_t>(n));
  size_ = n;
  count_ = std::min(count_, n);
}

void TQelPrimitiveArray::SetCount(int32_t n) {
  if (n < 0) return;
  SetSize(n);
  count_ = n;
}

void TQelPrimitiveArray::SetEnabled(bool on) {
  if (on == enabled_) return;
  enabled_ = on;
  Changed();
}

void TQelPrimitiveArray::SetTextured(bool on) {
  if (on == textured_) return;
  textured_ = on;
  Changed();
}

void TQelPrimitiveArray::SetTexture(TQelTexture* texture) {
  if (texture == texture_) return;
  texture_ = texture;
  Changed();
}

void TQelPrimitiveArray::SetMaterial(TQelMaterial* material) {
  if (material == material_) return;
  material_ = material;
  Changed();
}

void TQelPrimitiveArray::SetAttributes(TQelAttributes* attributes) {
  if (attributes == attributes_) return;
  attributes_ = attributes;
  Changed();
}

int32_t TQelPrimitiveArray::GetIndices(int32_t i) const {
  if (i < 0 || i >= count_) return -1;
  return static_cast<int32_t>(indices_[static_cast<size_t>(i)]);
}

void TQelPrimitiveArray::SetIndices(int32_t i, uint32_t v) {
  if (i >= 0 && i < size_) indices_[static_cast<size_t>(i)] = v;
}

void TQelPrimitiveArray::GrowIfFull() {
  if (size_ - 1 < count_) SetSize(size_ + GrowStep);
}

void TQelPrimitiveArray::AddIndex(uint32_t v) {
  GrowIfFull();
  indices_[static_cast<size_t>(count_++)] = v;
}

void TQelPrimitiveArray::Add(const TQelPrimitiveArray* other, int32_t offset) {
  if (!other || other->type_ != type_) return;
  const int32_t n = other->count_;  // other may be this
  for (int32_t k = 0; k < n; ++k)
    AddIndex(other->indices_[static_cast<size_t>(k)] + static_cast<uint32_t>(offset));
}

// The following entries are not shifted: the entry at pos is overwritten
// and the list gains one entry at its end holding whatever the storage held
// there (zero for storage never written). Callers rely on this.
void TQelPrimitiveArray::Insert(int32_t pos, uint32_t v) {
  pos = std::clamp(pos, 0, count_);
  GrowIfFull();
  indices_[static_cast<size_t>(pos)] = v;
  ++count_;
}

void TQelPrimitiveArray::Delete(int32_t start, int32_t n) {
  if (start < 0) {
    n += start;
    start = 0;
  }
  n = std::min(n, count_ - start);
  if (n <= 0) return;
  std::copy(indices_.begin() + start + n, indices_.begin() + count_, indices_.begin() + start);
  count_ -= n;
}

// Lists convert only where the new kind can be built from the old one:
// reinterpretation within the line-list kinds and within the strips,
// splitting into triangles or quads; other changes of a non-empty list are
// ignored.
void TQelPrimitiveArray::SetType(int32_t mode) {
  if (mode < GL_POINTS || mode > GL_POLYGON) return;
  const int32_t before = type_;
  if (count_ < 1 || mode == type_)
    type_ = mode;
  else if (IsLineListKind(mode) && IsLineListKind(type_))
    type_ = mode;
  else if (IsStripKind(mode) && IsStripKind(type_))
    type_ = mode;
  else if (mode == GL_TRIANGLES && (IsStripKind(type_) || type_ == GL_TRIANGLE_FAN || type_ == GL_QUADS))
    SwitchToTriangles();
  else if (mode == GL_QUADS && IsStripKind(type_))
    SwitchToQuads();
  if (type_ != before) Changed();
}

// The conversions rewrite the list in place from its end: the new faces
// fill the end of the new Count, and any entries in front of them keep what
// the list held there before.
void TQelPrimitiveArray::SwitchToTriangles() {
  int32_t n = count_;
  const std::vector<uint32_t> old(indices_.begin(), indices_.begin() + n);
  int32_t newCount = 0;
  std::vector<uint32_t> faces;  // the new triangles, in order
  switch (type_) {
    case GL_TRIANGLE_STRIP:
    case GL_QUAD_STRIP:
      if (n < 3) return;
      if (type_ == GL_QUAD_STRIP) n &= ~1;
      for (int32_t k = 0; k + 2 < n; ++k) {
        if (k % 2 == 0)
          faces.insert(faces.end(), {old[k], old[k + 1], old[k + 2]});
        else
          faces.insert(faces.end(), {old[k + 1], old[k], old[k + 2]});
      }
      newCount = 3 * std::max(n - 2, 0);
      break;
    case GL_QUADS:
      if (n < 4) return;
      // A count that is not a multiple of 4 is only made even.
      if (n % 4 != 0) n &= ~1;
      for (int32_t q = 0; 4 * q + 3 < n; ++q) {
        const uint32_t a = old[4 * q], b = old[4 * q + 1], c = old[4 * q + 2], d = old[4 * q + 3];
        faces.insert(faces.end(), {a, b, d, b, c, d});
      }
      newCount = 3 * n / 2;
      break;
    case GL_TRIANGLE_FAN:
      if (n < 3) return;
      for (int32_t k = 1; k + 1 < n; ++k) faces.insert(faces.end(), {old[k], old[k + 1], old[0]});
      newCount = 3 * (n - 2);
      break;
    default:
      return;
  }
  if (newCount > size_) SetSize(newCount);
  std::copy(faces.begin(), faces.end(), indices_.begin() + (newCount - faces.size()));
  count_ = newCount;
  type_ = GL_TRIANGLES;
}

void TQelPrimitiveArray::SwitchToQuads() {
  if (!IsStripKind(type_) || count_ < 4) return;
  if (type_ == GL_QUAD_STRIP && count_ % 2 != 0) AddIndex(indices_[static_cast<size_t>(count_ - 1)]);
  const int32_t n = count_;
  std::vector<uint32_t> faces;
  for (int32_t k = 0; 2 * k + 3 < n; ++k) {
    const uint32_t* i = &indices_[2 * static_cast<size_t>(k)];
    faces.insert(faces.end(), {i[0], i[1], i[3], i[2]});
  }
  // A triangle strip of odd length leaves two entries in front unchanged.
  const int32_t newCount = 2 * (n - 2);
  if (newCount > size_) SetSize(newCount);
  std::copy(faces.begin(), faces.end(), indices_.begin() + (newCount - faces.size()));
  count_ = newCount;
  type_ = GL_QUADS;
}

void TQelPrimitiveArray::Invert() {
  uint32_t* i = indices_.data();
  switch (type_) {
    case GL_TRIANGLES:
      for (int32_t k = 0; k + 2 < count_; k += 3) std::swap(i[k], i[k + 1]);
      break;
    case GL_TRIANGLE_STRIP:
      // An even strip gets its last index repeated, so that reversing it
      // keeps every triangle but turns its facing.
      if (count_ > 0 && count_ % 2 == 0) AddIndex(indices_[static_cast<size_t>(count_ - 1)]);
      std::reverse(indices_.begin(), indices_.begin() + count_);
      break;
    case GL_TRIANGLE_FAN:
      if (count_ > 1) std::reverse(indices_.begin() + 1, indices_.begin() + count_);
      break;
    case GL_QUADS:
      for (int32_t k = 0; k + 3 < count_; k += 4) std::swap(i[k + 1], i[k + 3]);
      break;
    case GL_QUAD_STRIP:
      for (int32_t k = 0; k + 1 < count_; k += 2) std::swap(i[k], i[k + 1]);
      break;
    case GL_POLYGON:
      std::reverse(indices_.begin(), indices_.begin() + count_);
      break;
    default:
      break;
  }
}

void TQelPrimitiveArray::ProceedDirectRendering() {
  glDrawElements(static_cast<GLenum>(type_), count_, GL_UNSIGNED_INT, GetIndexArray());
}

void TQelPrimitiveArray::ProceedDirectRendering(int32_t pointLimit) {
  const uint32_t limit = static_cast<uint32_t>(std::max(pointLimit, 0));
  const uint32_t* i = GetIndexArray();
  uint32_t outside = 0;  // a reduction without early exit vectorises
  for (int32_t k = 0; k < count_; ++k) outside |= i[k] >= limit;
  if (outside) return;
  ProceedDirectRendering();
}

void TQelPrimitiveArray::Assign(TPersistent* Source) {
  if (auto* src = dynamic_cast<TQelPrimitiveArray*>(Source)) {
    SetSize(src->size_);
    std::copy(src->indices_.begin(), src->indices_.end(), indices_.begin());
    count_ = src->count_;
    type_ = src->type_;
    enabled_ = src->enabled_;
    texture_ = src->texture_;
    Changed();
  }
  TQelProperty::Assign(Source);
}

// --- scene files ---------------------------------------------------------------

void TQelPrimitiveArray::WriteValues(IQelExchange* exchange) {
  TQelProperty::WriteValues(exchange);
  exchange->addtag("Type", type_, int32_t(-1));  // no kind is the default: always written
  exchange->addtag("Enabled", enabled_, true);
  exchange->addtag("Textured", textured_, false);
  QelWriteAppearanceRefs(exchange, this);
  std::string text;
  text.reserve(static_cast<size_t>(count_) * 4);
  char buf[16];
  for (int32_t k = 0; k < count_; ++k) {
    if (k) text += ',';
    text.append(buf, std::to_chars(buf, buf + sizeof buf, indices_[static_cast<size_t>(k)]).ptr);
  }
  exchange->addtag("Indices", text, std::string());
}

void TQelPrimitiveArray::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelProperty::ReadValues(exchange, tag);
  std::string indices;
  const bool hasIndices = exchange->getvalue("Indices", indices);
  // A list read replaces the one held, so its kind is taken as it is
  // rather than converted from the old list.
  if (hasIndices) count_ = 0;
  int32_t type = type_;
  if (exchange->getvalue("Type", type)) SetType(type);
  bool enabled = enabled_, textured = textured_;
  if (exchange->getvalue("Enabled", enabled)) SetEnabled(enabled);
  if (exchange->getvalue("Textured", textured)) SetTextured(textured);
  QelReadAppearanceRefs(exchange, this);
  if (hasIndices) ReadIndices(indices);
}

// Decimal point numbers joined by ","; blanks around a number are allowed.
void TQelPrimitiveArray::ReadIndices(const std::string& text) {
  const size_t n = 1 + static_cast<size_t>(std::count(text.begin(), text.end(), ','));
  if (n > static_cast<size_t>(INT32_MAX)) throw EQelConvertError("\"Indices\" holds too many entries");
  if (static_cast<size_t>(size_) < n) SetSize(static_cast<int32_t>(n));
  const char* p = text.data();
  const char* const end = p + text.size();
  auto skipBlanks = [&] {
    while (p < end && (*p == ' ' || *p == '\t')) ++p;
  };
  for (size_t k = 0; k < n; ++k) {
    const char* const item = p;
    skipBlanks();
    uint32_t v = 0;
    const auto [next, ec] = std::from_chars(p, end, v);
    p = next;
    skipBlanks();
    if (ec != std::errc() || (p < end && *p != ',')) {
      const char* itemEnd = std::find(item, end, ',');
      throw EQelConvertError("\"" + std::string(item, itemEnd) +
                             "\" is not a valid point number (attribute \"Indices\")");
    }
    indices_[k] = v;
    if (p < end) ++p;  // past the ","
  }
  count_ = static_cast<int32_t>(n);
  Changed();
}

void TQelPrimitiveArray::ReadRef(IQelExchange* exchange) {
  TQelProperty::ReadRef(exchange);
  QelResolveAppearanceRefs(exchange, this);
}
