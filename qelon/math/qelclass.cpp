#include "qelclass.h"

#include <cmath>

#include "qelon/exchange/qeliexchange.h"

const float tolerance = 0.001f;

TQelProperty::TQelProperty() { TQelProperty::Clear(); }

void TQelProperty::Clear() { OnChange = nullptr; }

void TQelProperty::Changed() {
  if (OnChange) OnChange(this);
}

void TQelProperty::Assign(TPersistent* Source) {
  // The copy takes over the source's handler on purpose; owners re-wire it.
  if (auto* p = dynamic_cast<TQelProperty*>(Source)) OnChange = p->OnChange;
}


// --- TQelVector -----------------------------------------------------------

TQelVector::TQelVector() { TQelVector::Clear(); }

void TQelVector::SetX(float v) { if (v != x_) { x_ = v; Changed(); } }
void TQelVector::SetY(float v) { if (v != y_) { y_ = v; Changed(); } }
void TQelVector::SetZ(float v) { if (v != z_) { z_ = v; Changed(); } }

void TQelVector::SetValues(float x, float y, float z) {
  SetX(x);
  SetY(y);
  SetZ(z);
}

void TQelVector::SetAsMathVector(const TQelMathVector& v) {
  x_ = static_cast<float>(v.x);
  y_ = static_cast<float>(v.y);
  z_ = static_cast<float>(v.z);
  Changed();
}

void TQelVector::Clear() {
  TQelProperty::Clear();
  x_ = y_ = z_ = 0;
}

void TQelVector::Assign(TPersistent* Source) {
  if (auto* v = dynamic_cast<TQelVector*>(Source)) {
    x_ = v->x_;
    y_ = v->y_;
    z_ = v->z_;
    Changed();
  }
  TQelProperty::Assign(Source);
}

void TQelVector::WriteValues(IQelExchange* exchange) {
  TQelProperty::WriteValues(exchange);
  exchange->addtag("P", *this, GetDefault());
}

void TQelVector::WriteAs(IQelExchange* exchange, const std::string& name,
                         const TQelMathVector& def) {
  exchange->StartTag(name);
  exchange->addtag("P", *this, def);
  exchange->EndTag();
}

void TQelVector::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelProperty::ReadValues(exchange, tag);
  TQelMathVector v = GetAsMathVector();
  if (exchange->getvalue("P", v)) SetAsMathVector(v);
}

// --- TQelDirection --------------------------------------------------------

TQelDirection::TQelDirection() { TQelDirection::Clear(); }

void TQelDirection::SetX(float v) { if (v >= -1 && v <= 1) TQelVector::SetX(v); }
void TQelDirection::SetY(float v) { if (v >= -1 && v <= 1) TQelVector::SetY(v); }
void TQelDirection::SetZ(float v) { if (v >= -1 && v <= 1) TQelVector::SetZ(v); }

void TQelDirection::Clear() {
  TQelVector::Clear();
  z_ = 1;
}

void TQelNormal::Normalize() {
  TQelMathVector v = GetAsMathVector();
  QelMathNormalize(v);
  SetAsMathVector(v);
}

// --- TQelColor ------------------------------------------------------------

TQelColor::TQelColor() { TQelColor::Clear(); }

void TQelColor::SetColor(TColor c) {
  if (c != color_) { color_ = c; Changed(); }
}

void TQelColor::SetAlpha(float a) {
  if (a < 0 || a > 1) return;
  if (a != alpha_) { alpha_ = a; Changed(); }
}

void TQelColor::GetParams(float (&params)[4]) const {
  params[0] = (color_ & 0xFF) / 255.0f;
  params[1] = ((color_ >> 8) & 0xFF) / 255.0f;
  params[2] = ((color_ >> 16) & 0xFF) / 255.0f;
  params[3] = alpha_;
}

std::array<float, 4> TQelColor::GetParams() const {
  float p[4];
  GetParams(p);
  return {p[0], p[1], p[2], p[3]};
}

void TQelColor::SetParams(float r, float g, float b, float a) {
  // nearbyint rounds half to even under the default rounding mode.
  auto byte = [](float f) { return static_cast<TColor>(std::nearbyint(f * 255.0)) & 0xFF; };
  color_ = byte(r) | (byte(g) << 8) | (byte(b) << 16);
  alpha_ = a;
}

void TQelColor::Clear() {
  TQelProperty::Clear();
  color_ = 0xFFFFFF;
  alpha_ = 1.0f;
}

void TQelColor::Assign(TPersistent* Source) {
  if (auto* c = dynamic_cast<TQelColor*>(Source)) {
    color_ = c->color_;
    alpha_ = c->alpha_;
    Changed();
  }
  TQelProperty::Assign(Source);
}

void TQelColor::WriteValues(IQelExchange* exchange) {
  TQelProperty::WriteValues(exchange);
  exchange->addtag("Color", static_cast<int32_t>(color_), static_cast<int32_t>(0xFFFFFF));
  exchange->addtag("Alpha", alpha_, 1.0f);
}

void TQelColor::WriteAs(IQelExchange* exchange, const std::string& name, TColor defColor,
                        float defAlpha) {
  exchange->StartTag(name);
  exchange->addtag("Color", static_cast<int32_t>(color_), static_cast<int32_t>(defColor));
  exchange->addtag("Alpha", alpha_, defAlpha);
  exchange->EndTag();
}

void TQelColor::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelProperty::ReadValues(exchange, tag);
  int32_t color = static_cast<int32_t>(color_);
  if (exchange->getvalue("Color", color)) SetColor(static_cast<TColor>(color));
  float alpha = alpha_;
  if (exchange->getvalue("Alpha", alpha)) SetAlpha(alpha);
}
