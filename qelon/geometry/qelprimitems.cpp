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

namespace {

// Makes dst hold src's values, notifying only when they differ.
void CopyVector(TQelVector& dst, const TQelVector* src) {
  if (src && dst.GetAsMathVector() != src->GetAsMathVector())
    dst.SetAsMathVector(src->GetAsMathVector());
}

}  // namespace

// --- TQelPointItem -----------------------------------------------------------

TQelPointItem::TQelPointItem() { TQelPointItem::Clear(); }

void TQelPointItem::WireParts() {
  const TQelChangeLink<TQelPointItem, &TQelPointItem::PartChange> sub{this, life_.Ref()};
  point_.OnChange = sub;
  normal_.OnChange = sub;
  texture_.OnChange = sub;
  color_.OnChange = sub;
}

void TQelPointItem::Clear() {
  TQelProperty::Clear();
  point_.Clear();
  normal_.Clear();
  texture_.Clear();
  color_.Clear();
  flag_ = 0;
  edgeFlag_ = true;
  WireParts();
}

void TQelPointItem::SetPoint(const TQelVector* v) { CopyVector(point_, v); }
void TQelPointItem::SetNormal(const TQelVector* v) { CopyVector(normal_, v); }
void TQelPointItem::SetTexture(const TQelVector* v) { CopyVector(texture_, v); }

void TQelPointItem::SetColor(const TQelColor* c) {
  if (!c || (c->GetColor() == color_.GetColor() && c->GetAlpha() == color_.GetAlpha())) return;
  const std::array<float, 4> p = c->GetParams();
  color_.SetParams(p[0], p[1], p[2], p[3]);
  Changed();
}

void TQelPointItem::SetFlag(int32_t flag) {
  if (flag == flag_) return;
  flag_ = flag;
  Changed();
}

void TQelPointItem::SetEdgeFlag(bool on) {
  if (on == edgeFlag_) return;
  edgeFlag_ = on;
  Changed();
}

void TQelPointItem::Assign(TPersistent* Source) {
  if (auto* src = dynamic_cast<TQelPointItem*>(Source)) {
    SetPoint(&src->point_);
    SetNormal(&src->normal_);
    SetTexture(&src->texture_);
    SetColor(&src->color_);
    flag_ = src->flag_;
    edgeFlag_ = src->edgeFlag_;
    Changed();
  }
  TQelProperty::Assign(Source);
}

// --- TQelTextureFlags --------------------------------------------------------

TQelTextureFlags::TQelTextureFlags() { TQelTextureFlags::Clear(); }

void TQelTextureFlags::WireParts() {
  paramVector_.OnChange = TQelChangeLink<TQelTextureFlags, &TQelTextureFlags::PartChange>{
      this, life_.Ref()};
}

void TQelTextureFlags::Clear() {
  TQelProperty::Clear();
  mode_ = 0;
  shiftX_ = shiftY_ = 0;
  scaleX_ = scaleY_ = 1;
  paramVector_.Clear();
  envMapping_ = false;
  WireParts();
}

namespace {

template <typename T>
bool Store(T& field, T value) {
  if (field == value) return false;
  field = value;
  return true;
}

}  // namespace

void TQelTextureFlags::SetMode(uint8_t mode) { if (Store(mode_, mode)) Changed(); }
void TQelTextureFlags::SetShiftX(double v) { if (Store(shiftX_, v)) Changed(); }
void TQelTextureFlags::SetShiftY(double v) { if (Store(shiftY_, v)) Changed(); }
void TQelTextureFlags::SetScaleX(double v) { if (Store(scaleX_, v)) Changed(); }
void TQelTextureFlags::SetScaleY(double v) { if (Store(scaleY_, v)) Changed(); }
void TQelTextureFlags::SetEnvMapping(bool on) { if (Store(envMapping_, on)) Changed(); }
void TQelTextureFlags::SetParamVec(const TQelVector* v) { CopyVector(paramVector_, v); }

void TQelTextureFlags::Assign(TPersistent* Source) {
  if (auto* src = dynamic_cast<TQelTextureFlags*>(Source)) {
    mode_ = src->mode_;
    shiftX_ = src->shiftX_;
    shiftY_ = src->shiftY_;
    scaleX_ = src->scaleX_;
    scaleY_ = src->scaleY_;
    CopyVector(paramVector_, &src->paramVector_);
    envMapping_ = src->envMapping_;
    Changed();
  }
  TQelProperty::Assign(Source);
}

// --- scene files ---------------------------------------------------------------

void TQelPointItem::WriteValues(IQelExchange* exchange) {
  TQelProperty::WriteValues(exchange);
  exchange->addtag(kPosition, point_, ZEROVEC);
  exchange->addtag(kTexture, texture_, ZEROVEC);
  exchange->addtag(kNormal, normal_, ZEROVEC);
  exchange->addtag(kEdge, edgeFlag_, true);
  exchange->addtag(kFlag, flag_, int32_t(0));
  exchange->addtag(kColor, ColorText(exchange, color_.GetParams().data()), std::string());
}

void TQelPointItem::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelProperty::ReadValues(exchange, tag);
  auto readVector = [&](const std::string& name, TQelVector& target) {
    TQelMathVector v = target.GetAsMathVector();
    if (exchange->getvalue(name, v)) target.SetAsMathVector(v);
  };
  readVector(kPosition, point_);
  readVector(kTexture, texture_);
  readVector(kNormal, normal_);
  bool edge = edgeFlag_;
  if (exchange->getvalue(kEdge, edge)) SetEdgeFlag(edge);
  int32_t flag = flag_;
  if (exchange->getvalue(kFlag, flag)) SetFlag(flag);
  std::array<float, 4> p = color_.GetParams();
  float c[4] = {p[0], p[1], p[2], p[3]};
  if (ReadColor(exchange, kColor, c)) {
    color_.SetParams(c[0], c[1], c[2], c[3]);
    Changed();
  }
}

void TQelTextureFlags::WriteValues(IQelExchange* exchange) {
  TQelProperty::WriteValues(exchange);
  exchange->addtag("ShiftY", shiftY_, 0.0);
  exchange->addtag("ScaleY", scaleY_, 1.0);
  exchange->addtag("ShiftX", shiftX_, 0.0);
  exchange->addtag("ScaleX", scaleX_, 1.0);
  exchange->addtag("Mode", static_cast<int32_t>(mode_), int32_t(0));
  exchange->addtag("EnvMapping", envMapping_, false);
  paramVector_.WriteComp(exchange, "ParamVector");
}

void TQelTextureFlags::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelProperty::ReadValues(exchange, tag);
  auto readDouble = [&](const char* name, double current, void (TQelTextureFlags::*set)(double)) {
    if (exchange->getvalue(name, current)) (this->*set)(current);
  };
  readDouble("ShiftY", shiftY_, &TQelTextureFlags::SetShiftY);
  readDouble("ScaleY", scaleY_, &TQelTextureFlags::SetScaleY);
  readDouble("ShiftX", shiftX_, &TQelTextureFlags::SetShiftX);
  readDouble("ScaleX", scaleX_, &TQelTextureFlags::SetScaleX);
  uint8_t mode = mode_;
  if (exchange->getvalue("Mode", mode)) SetMode(mode);
  bool env = envMapping_;
  if (exchange->getvalue("EnvMapping", env)) SetEnvMapping(env);
}

TPersistent* TQelTextureFlags::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name != "ParamVector") return TQelProperty::ReadComp(exchange, tag);
  paramVector_.ReadValues(exchange, tag);
  return &paramVector_;
}
