#include "qelattr.h"

#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/scene/qelobj.h"
#include "qelon/scene/qelrenderstate.h"

const char* const TQelPolygonModeStr[3] = {"pmPoint", "pmLine", "pmFill"};
const char* const TQelCullFaceStr[3] = {"cfNone", "cfFront", "cfBack"};
const char* const TQelShadeModelStr[2] = {"smFlat", "smSmooth"};
const char* const TQelTransparencyModeStr[5] = {"tmNone", "tmAlpha", "tmAddAlpha", "tmAddColor",
                                                "tmSubColor"};
const char* const TQelLineStippleStr[6] = {"lsClear", "lsDash", "lsDot", "lsDashDot",
                                           "lsDashDotDot", "lsSolid"};
const char* const TQelQualityStr[3] = {"quFastest", "quNicest", "quDontCare"};
const char* const TQelFogModeStr[3] = {"fmLinear", "fmExp", "fmExp2"};
const char* const TQelDepthAlignStr[3] = {"daStandard", "daForeground", "daBackground"};
const char* const TQelTextureModeStr[8] = {"txStandard", "txLinearX", "txLinearY", "txLinearZ",
                                           "txLinearXY", "txLinearYZ", "txLinearZX", "txSphereZ"};

namespace {
const uint16_t kStipplePatterns[6] = {0x0000, 0xF0F0, 0x5555, 0x7272, 0xEAEA, 0xFFFF};

// Stores value into field and signals a change when it differs.
template <typename T>
void Store(TQelComponent* owner, T& field, T value) {
  if (field == value) return;
  field = value;
  owner->Changed();
}
}  // namespace

unsigned QelQualityToGL(TQelQuality q) {
  switch (q) {
    case quFastest: return GL_FASTEST;
    case quNicest: return GL_NICEST;
    default: return GL_DONT_CARE;
  }
}

bool IsLastRenderedAttributes(TQelAttributes* attributes) {
  return attributes == TQelRenderState::Shared().lastAttributes;
}
void SetLastRenderedAttributes(TQelAttributes* attributes) {
  TQelRenderState::Shared().lastAttributes = attributes;
}

// --- TQelAttributes ---------------------------------------------------------

TQelAttributes::TQelAttributes(TComponent* AOwner) : TQelRender(AOwner) {
  ambient_ = std::make_unique<TQelColor>();
  ambient_->SetColor(0x333333);
  ambient_->OnChange = SubChangeHandler();
}

TQelAttributes::~TQelAttributes() {
  if (IsLastRenderedAttributes(this)) SetLastRenderedAttributes(nullptr);
}

void TQelAttributes::SetAntialiasing(bool v) { Store(this, antialiasing_, v); }
void TQelAttributes::SetCullFace(TQelCullFace v) { Store(this, cullFace_, v); }
void TQelAttributes::SetDithering(bool v) { Store(this, dithering_, v); }
void TQelAttributes::SetLighting(bool v) { Store(this, lighting_, v); }
void TQelAttributes::SetLightTwoSide(bool v) { Store(this, lightTwoSide_, v); }
void TQelAttributes::SetPolygonMode(TQelPolygonMode v) { Store(this, polygonMode_, v); }
void TQelAttributes::SetPerspectiveCorrection(TQelQuality v) {
  Store(this, perspectiveCorrection_, v);
}
void TQelAttributes::SetShadeModel(TQelShadeModel v) { Store(this, shadeModel_, v); }
void TQelAttributes::SetTransparency(TQelTransparencyMode v) { Store(this, transparency_, v); }
void TQelAttributes::SetLineStipple(TQelLineStipple v) { Store(this, lineStipple_, v); }

void TQelAttributes::SetAmbient(TQelColor* c) {
  if (!c) return;
  ambient_->Assign(c);
  ambient_->OnChange = SubChangeHandler();
  Changed();
}

void TQelAttributes::SetPointSize(float v) {
  if (v != pointSize_ && v > 0.0f) {
    pointSize_ = v;
    Changed();
  }
}

void TQelAttributes::SetLineWidth(float v) {
  if (v != lineWidth_ && v > 0.0f) {
    lineWidth_ = v;
    Changed();
  }
}

uint16_t TQelAttributes::GetStipplePattern() const {
  const unsigned s = static_cast<unsigned>(StippleShift) & 15;
  const unsigned p = kStipplePatterns[lineStipple_];
  return static_cast<uint16_t>(((p >> (16 - s)) | (p << s)) & 0xFFFF);
}

void TQelAttributes::Changed() {
  TQelRender::Changed();
  if (IsLastRenderedAttributes(this)) SetLastRenderedAttributes(nullptr);
}

void TQelAttributes::Render(TQelCustomView* view) {
  // Already current, and the protocol around it would only push and pop.
  if (QelRenderStateOf(view).lastAttributes == this && GetRendersOnlyContent()) return;
  TQelRender::Render(view);
}

void TQelAttributes::DoRender(TQelCustomView* view) {
  TQelRenderState& state = QelRenderStateOf(view);
  if (state.lastAttributes == this) return;
  state.lastAttributes = this;
  TQelRender::DoRender(view);

  if (antialiasing_) {
    // The hints name the capability as their target; GL rejects them and the
    // hints stay as they were. Kept so on purpose.
    glEnable(GL_POINT_SMOOTH);
    glHint(GL_POINT_SMOOTH, GL_NICEST);
    glEnable(GL_LINE_SMOOTH);
    glHint(GL_LINE_SMOOTH, GL_NICEST);
    glEnable(GL_POLYGON_SMOOTH);
    glHint(GL_POLYGON_SMOOTH, GL_NICEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  } else {
    glDisable(GL_POINT_SMOOTH);
    glDisable(GL_LINE_SMOOTH);
    glDisable(GL_POLYGON_SMOOTH);
  }

  float ambient[4];
  ambient_->GetParams(ambient);
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, ambient);

  switch (cullFace_) {
    case cfNone: glDisable(GL_CULL_FACE); break;
    case cfFront: glEnable(GL_CULL_FACE); glCullFace(GL_FRONT); break;
    case cfBack: glEnable(GL_CULL_FACE); glCullFace(GL_BACK); break;
  }
  if (dithering_) glEnable(GL_DITHER); else glDisable(GL_DITHER);
  if (lighting_) glEnable(GL_LIGHTING); else glDisable(GL_LIGHTING);
  glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, lightTwoSide_ ? 1 : 0);
  static const GLenum kPolygonModes[3] = {GL_POINT, GL_LINE, GL_FILL};
  glPolygonMode(GL_FRONT_AND_BACK, kPolygonModes[polygonMode_]);
  glHint(GL_PERSPECTIVE_CORRECTION_HINT, QelQualityToGL(perspectiveCorrection_));
  glShadeModel(shadeModel_ == smFlat ? GL_FLAT : GL_SMOOTH);

  switch (transparency_) {
    case tmNone:
      if (!antialiasing_) glDisable(GL_BLEND);  // antialiasing keeps its blending
      break;
    case tmAlpha: glEnable(GL_BLEND); glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA); break;
    case tmAddAlpha: glEnable(GL_BLEND); glBlendFunc(GL_SRC_ALPHA, GL_ONE); break;
    case tmAddColor: glEnable(GL_BLEND); glBlendFunc(GL_DST_COLOR, GL_SRC_COLOR); break;
    case tmSubColor:
      glEnable(GL_BLEND);
      glBlendFunc(GL_ONE_MINUS_DST_COLOR, GL_ONE_MINUS_SRC_COLOR);
      break;
  }

  if (lineStipple_ == lsSolid) {
    glDisable(GL_LINE_STIPPLE);
  } else {
    glLineStipple(StippleFactor, GetStipplePattern());
    glEnable(GL_LINE_STIPPLE);
  }
  glLineWidth(lineWidth_);
  glPointSize(pointSize_);
}

void TQelAttributes::Assign(TPersistent* Source) {
  // Dithering, perspective correction, point size, line width and the
  // stipple fields are not copied, on purpose.
  if (auto* a = dynamic_cast<TQelAttributes*>(Source)) {
    antialiasing_ = a->antialiasing_;
    ambient_->Assign(a->ambient_.get());
    ambient_->OnChange = SubChangeHandler();
    cullFace_ = a->cullFace_;
    lighting_ = a->lighting_;
    lightTwoSide_ = a->lightTwoSide_;
    polygonMode_ = a->polygonMode_;
    shadeModel_ = a->shadeModel_;
    transparency_ = a->transparency_;
    lineStipple_ = a->lineStipple_;
  }
  TQelRender::Assign(Source);
}

void TQelAttributes::WriteValues(IQelExchange* exchange) {
  TQelRender::WriteValues(exchange);
  exchange->addtag("Antialiasing", antialiasing_, false);
  exchange->addtag("CullFace", cullFace_, TQelCullFaceStr, cfNone);
  exchange->addtag("Dithering", dithering_, false);
  exchange->addtag("Lighting", lighting_, false);
  exchange->addtag("LightTwoSide", lightTwoSide_, false);
  exchange->addtag("LineStipple", lineStipple_, TQelLineStippleStr, lsSolid);
  exchange->addtag("LineWidth", lineWidth_, 0.0f);
  exchange->addtag("PerspectiveCorrection", perspectiveCorrection_, TQelQualityStr, quDontCare);
  exchange->addtag("PointSize", pointSize_, 1.0f);
  exchange->addtag("PolygonMode", polygonMode_, TQelPolygonModeStr, pmFill);
  exchange->addtag("ShadeModel", shadeModel_, TQelShadeModelStr, smSmooth);
  exchange->addtag("Transparency", transparency_, TQelTransparencyModeStr, tmNone);
  ambient_->WriteAs(exchange, "ColorAmbient", 0x333333);
}

void TQelAttributes::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelRender::ReadValues(exchange, tag);
  // Each value through its setter, so that ranges and notification apply.
  bool b = antialiasing_;
  if (exchange->getvalue("Antialiasing", b)) SetAntialiasing(b);
  TQelCullFace cullFace = cullFace_;
  if (exchange->getenum("CullFace", TQelCullFaceStr, cullFace)) SetCullFace(cullFace);
  b = dithering_;
  if (exchange->getvalue("Dithering", b)) SetDithering(b);
  b = lighting_;
  if (exchange->getvalue("Lighting", b)) SetLighting(b);
  b = lightTwoSide_;
  if (exchange->getvalue("LightTwoSide", b)) SetLightTwoSide(b);
  TQelLineStipple stipple = lineStipple_;
  if (exchange->getenum("LineStipple", TQelLineStippleStr, stipple)) SetLineStipple(stipple);
  float f = lineWidth_;
  if (exchange->getvalue("LineWidth", f)) SetLineWidth(f);
  TQelQuality quality = perspectiveCorrection_;
  if (exchange->getenum("PerspectiveCorrection", TQelQualityStr, quality))
    SetPerspectiveCorrection(quality);
  f = pointSize_;
  if (exchange->getvalue("PointSize", f)) SetPointSize(f);
  TQelPolygonMode polygonMode = polygonMode_;
  if (exchange->getenum("PolygonMode", TQelPolygonModeStr, polygonMode))
    SetPolygonMode(polygonMode);
  TQelShadeModel shadeModel = shadeModel_;
  if (exchange->getenum("ShadeModel", TQelShadeModelStr, shadeModel)) SetShadeModel(shadeModel);
  TQelTransparencyMode transparency = transparency_;
  if (exchange->getenum("Transparency", TQelTransparencyModeStr, transparency))
    SetTransparency(transparency);
}

TPersistent* TQelAttributes::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name == "ColorAmbient") {
    ambient_->ReadValues(exchange, tag);
    return ambient_.get();
  }
  return TQelRender::ReadComp(exchange, tag);
}

// --- TQelFog ------------------------------------------------------------------

TQelFog::TQelFog(TComponent* AOwner) : TQelRender(AOwner) {
  color_ = std::make_unique<TQelColor>();
  color_->OnChange = SubChangeHandler();
}

void TQelFog::SetMode(TQelFogMode v) { Store(this, mode_, v); }
void TQelFog::SetDensity(float v) { Store(this, density_, v); }
void TQelFog::SetStartDepth(float v) { Store(this, startDepth_, v); }
void TQelFog::SetEndDepth(float v) { Store(this, endDepth_, v); }
void TQelFog::SetQuality(TQelQuality v) { Store(this, quality_, v); }

void TQelFog::SetColor(TQelColor* c) {
  if (!c) return;
  color_->Assign(c);
  color_->OnChange = SubChangeHandler();
  Changed();
}

void TQelFog::DoRender(TQelCustomView* view) {
  TQelRender::DoRender(view);
  glEnable(GL_FOG);
  static const GLint kModes[3] = {GL_LINEAR, GL_EXP, GL_EXP2};
  glFogi(GL_FOG_MODE, kModes[mode_]);
  glFogf(GL_FOG_DENSITY, density_);
  glFogf(GL_FOG_START, startDepth_);
  glFogf(GL_FOG_END, endDepth_);
  float rgba[4];
  color_->GetParams(rgba);
  glFogfv(GL_FOG_COLOR, rgba);
  glHint(GL_FOG_HINT, QelQualityToGL(quality_));
}

void TQelFog::DoDisable(TQelCustomView* view) {
  TQelRender::DoDisable(view);
  glDisable(GL_FOG);
}

void TQelFog::Assign(TPersistent* Source) {
  // Only another fog is taken; the quality is not copied, on purpose.
  auto* f = dynamic_cast<TQelFog*>(Source);
  if (!f) return;
  TQelRender::Assign(Source);
  mode_ = f->mode_;
  density_ = f->density_;
  startDepth_ = f->startDepth_;
  endDepth_ = f->endDepth_;
  color_->Assign(f->color_.get());
  color_->OnChange = SubChangeHandler();
  OnChange = f->OnChange;
  Changed();
}

void TQelFog::WriteValues(IQelExchange* exchange) {
  TQelRender::WriteValues(exchange);
  exchange->addtag("Density", density_, 0.2f);
  exchange->addtag("EndDepth", endDepth_, 1.0f);
  exchange->addtag("Mode", mode_, TQelFogModeStr, fmExp);
  exchange->addtag("Quality", quality_, TQelQualityStr, quDontCare);
  exchange->addtag("StartDepth", startDepth_, 0.0f);
  color_->WriteComp(exchange, "Color");
}

void TQelFog::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelRender::ReadValues(exchange, tag);
  float f = density_;
  if (exchange->getvalue("Density", f)) SetDensity(f);
  f = endDepth_;
  if (exchange->getvalue("EndDepth", f)) SetEndDepth(f);
  TQelFogMode mode = mode_;
  if (exchange->getenum("Mode", TQelFogModeStr, mode)) SetMode(mode);
  TQelQuality quality = quality_;
  if (exchange->getenum("Quality", TQelQualityStr, quality)) SetQuality(quality);
  f = startDepth_;
  if (exchange->getvalue("StartDepth", f)) SetStartDepth(f);
}

TPersistent* TQelFog::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name == "Color") {
    color_->ReadValues(exchange, tag);
    return color_.get();
  }
  return TQelRender::ReadComp(exchange, tag);
}

namespace {
const bool registered = [] {
  RegisterLibraryRenderClass<TQelAttributes>();
  RegisterLibraryRenderClass<TQelFog>();
  return true;
}();
}  // namespace
