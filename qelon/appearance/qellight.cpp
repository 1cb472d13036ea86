#include "qellight.h"

#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/scene/qelobj.h"
#include "qelon/scene/qelrenderstate.h"

const char* const TLightIDStr[8] = {"idLight0", "idLight1", "idLight2", "idLight3",
                                    "idLight4", "idLight5", "idLight6", "idLight7"};
const char* const TLightKindStr[3] = {"lkPoint", "lkDirection", "lkSpot"};
const char* const TQelClipIdsStr[6] = {"idClipPlane0", "idClipPlane1", "idClipPlane2",
                                       "idClipPlane3", "idClipPlane4", "idClipPlane5"};

// --- TQelLight ----------------------------------------------------------------

TQelLight::TQelLight(TComponent* AOwner) : TQelRender(AOwner) {
  ambient_ = std::make_unique<TQelColor>();
  ambient_->SetColor(0);
  diffuse_ = std::make_unique<TQelColor>();
  specular_ = std::make_unique<TQelColor>();
  direction_ = std::make_unique<TQelDirection>();
  Wire(ambient_.get());
  Wire(diffuse_.get());
  Wire(specular_.get());
  Wire(direction_.get());
}

void TQelLight::Wire(TQelProperty* p) {
  p->OnChange = SubChangeHandler();
}

void TQelLight::SetID(TLightID value) {
  if (value == id_) return;
  id_ = value;
  Changed();
}

unsigned TQelLight::GetLightID() const { return GL_LIGHT0 + id_; }

void TQelLight::SetAmbient(TQelColor* c) { if (c) { ambient_->Assign(c); Wire(ambient_.get()); } }
void TQelLight::SetDiffuse(TQelColor* c) { if (c) { diffuse_->Assign(c); Wire(diffuse_.get()); } }
void TQelLight::SetSpecular(TQelColor* c) {
  if (c) { specular_->Assign(c); Wire(specular_.get()); }
}
void TQelLight::SetDirection(TQelDirection* d) {
  if (d) { direction_->Assign(d); Wire(direction_.get()); }
}

void TQelLight::SetKind(TLightKind value) {
  if (value == kind_) return;
  kind_ = value;
  cutOff_ = kind_ == lkSpot ? 90.0f : 180.0f;
  Changed();
}

void TQelLight::SetCutOff(float value) {
  if (value == cutOff_) return;
  if (kind_ != lkSpot)
    value = 180.0f;
  else if (value < 0.0f)
    value = 0.0f;
  else if (value > 90.0f)
    value = 90.0f;
  cutOff_ = value;
  Changed();
}

void TQelLight::DoRender(TQelCustomView* view) {
  TQelRender::DoRender(view);
  const GLenum light = GetLightID();
  glEnable(light);
  float rgba[4];
  ambient_->GetParams(rgba);
  glLightfv(light, GL_AMBIENT, rgba);
  diffuse_->GetParams(rgba);
  glLightfv(light, GL_DIFFUSE, rgba);
  specular_->GetParams(rgba);
  glLightfv(light, GL_SPECULAR, rgba);
  // w = 0 puts a directional light infinitely far along its direction.
  const TQelMathVector d = direction_->GetAsMathVector();
  float position[4] = {0, 0, 0, 1};
  if (kind_ == lkDirection) {
    position[0] = static_cast<float>(d.x);
    position[1] = static_cast<float>(d.y);
    position[2] = static_cast<float>(d.z);
    position[3] = 0;
  }
  glLightfv(light, GL_POSITION, position);
  glLightf(light, GL_SPOT_CUTOFF, cutOff_);
  if (kind_ == lkSpot) {
    const float direction[4] = {static_cast<float>(d.x), static_cast<float>(d.y),
                                static_cast<float>(d.z), 0};
    glLightfv(light, GL_SPOT_DIRECTION, direction);
  }
}

void TQelLight::DoDisable(TQelCustomView* view) { glDisable(GetLightID()); }

void TQelLight::Assign(TPersistent* Source) {
  if (auto* l = dynamic_cast<TQelLight*>(Source)) {
    id_ = l->id_;
    SetAmbient(l->ambient_.get());
    SetDiffuse(l->diffuse_.get());
    SetSpecular(l->specular_.get());
    kind_ = l->kind_;
    cutOff_ = l->cutOff_;
    SetDirection(l->direction_.get());
  }
  TQelRender::Assign(Source);
}

void TQelLight::WriteValues(IQelExchange* exchange) {
  TQelRender::WriteValues(exchange);
  ambient_->WriteAs(exchange, "Ambient", 0);
  diffuse_->WriteComp(exchange, "Diffuse");
  specular_->WriteComp(exchange, "Specular");
  exchange->addtag("CutOff", cutOff_, 180.0f);
  direction_->WriteComp(exchange, "Direction");
  exchange->addtag("Kind", kind_, TLightKindStr, lkPoint);
  // Which of the eight GL lights: without it a loaded scene would light
  // everything with light 0.
  exchange->addtag("LightID", id_, TLightIDStr, idLight0);
}

void TQelLight::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelRender::ReadValues(exchange, tag);
  // The kind first: setting it resets the cut-off, which is read after.
  TLightKind kind = kind_;
  if (exchange->getenum("Kind", TLightKindStr, kind)) SetKind(kind);
  float cutOff = cutOff_;
  if (exchange->getvalue("CutOff", cutOff)) SetCutOff(cutOff);
  TLightID id = id_;
  if (exchange->getenum("LightID", TLightIDStr, id)) SetID(id);
}

TPersistent* TQelLight::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  TQelProperty* part = nullptr;
  if (tag->Name == "Ambient")
    part = ambient_.get();
  else if (tag->Name == "Diffuse")
    part = diffuse_.get();
  else if (tag->Name == "Specular")
    part = specular_.get();
  else if (tag->Name == "Direction")
    part = direction_.get();
  if (!part) return TQelRender::ReadComp(exchange, tag);
  part->ReadValues(exchange, tag);
  return part;
}

// --- TQelClip -----------------------------------------------------------------

TQelClip::TQelClip(TComponent* AOwner) : TQelRender(AOwner) {}

void TQelClip::SetID(TQelClipIds value) {
  if (value == id_) return;
  id_ = value;
  Changed();
}

double TQelClip::GetPlane(int index) const {
  return index >= 0 && index < 4 ? plane_[index] : 0.0;
}

void TQelClip::SetPlane(int index, double value) {
  if (index >= 0 && index < 4) plane_[index] = value;
}

void TQelClip::DoRender(TQelCustomView* view) {
  glClipPlane(GL_CLIP_PLANE0 + id_, plane_);
  glEnable(GL_CLIP_PLANE0 + id_);
}

void TQelClip::DoDisable(TQelCustomView* view) { glDisable(GL_CLIP_PLANE0 + id_); }

void TQelClip::Assign(TPersistent* Source) {
  if (auto* c = dynamic_cast<TQelClip*>(Source)) {
    id_ = c->id_;
    for (int i = 0; i < 4; ++i) plane_[i] = c->plane_[i];
  }
  TQelRender::Assign(Source);
}

namespace {
// The plane components' attribute names and defaults.
const char* const kPlaneNames[4] = {"A", "B", "C", "D"};
const double kPlaneDefaults[4] = {1, 0, 0, 1};
}  // namespace

void TQelClip::WriteValues(IQelExchange* exchange) {
  TQelRender::WriteValues(exchange);
  exchange->addtag("ClipID", id_, TQelClipIdsStr, idClipPlane0);
  for (int i = 0; i < 4; ++i) exchange->addtag(kPlaneNames[i], plane_[i], kPlaneDefaults[i]);
}

void TQelClip::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelRender::ReadValues(exchange, tag);
  TQelClipIds id = id_;
  if (exchange->getenum("ClipID", TQelClipIdsStr, id)) SetID(id);
  for (int i = 0; i < 4; ++i) {
    double v = plane_[i];
    if (exchange->getvalue(kPlaneNames[i], v)) SetPlane(i, v);
  }
}

namespace {
const bool registered = [] {
  RegisterLibraryRenderClass<TQelLight>();
  RegisterLibraryRenderClass<TQelClip>();
  return true;
}();
}  // namespace
