#include "qelmat.h"

#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/scene/qelobj.h"
#include "qelon/scene/qelrenderstate.h"

const char* const TMaterialFaceStr[3] = {"mfFront", "mfBack", "mfFrontBack"};

namespace {
const TColor kDefaultColors[4] = {0x333333, 0xCCCCCC, 0, 0};
const GLenum kGLFace[3] = {GL_FRONT, GL_BACK, GL_FRONT_AND_BACK};
const GLenum kGLPart[4] = {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION};
// The part colours' element names in a scene file, by index - 1.
const char* const kPartTags[4] = {"Ambient", "Diffuse", "Specular", "Emission"};
}  // namespace

bool IsLastRenderedMaterial(TQelMaterial* material) {
  return material == TQelRenderState::Shared().lastMaterial;
}
void SetLastRenderedMaterial(TQelMaterial* material) {
  TQelRenderState::Shared().lastMaterial = material;
}

TQelMaterial::TQelMaterial(TComponent* AOwner) : TQelRender(AOwner) {
  for (int i = 0; i < 4; ++i) {
    colors_[i]->SetColor(kDefaultColors[i]);
    colors_[i]->OnChange = SubChangeHandler();
  }
  SetShininess(0);
}

TQelMaterial::~TQelMaterial() {
  if (IsLastRenderedMaterial(this)) SetLastRenderedMaterial(nullptr);
}

void TQelMaterial::SetFace(TMaterialFace value) {
  if (value == face_) return;
  face_ = value;
  Changed();
}

TQelColor* TQelMaterial::GetPartColor(int index) const {
  return index >= 1 && index <= 4 ? colors_[index - 1].get() : nullptr;
}

void TQelMaterial::SetPartColor(int index, TQelColor* value) {
  TQelColor* part = GetPartColor(index);
  if (!part || !value) return;
  part->Assign(value);
  // Assign hands the source's handler over on purpose; the material keeps
  // listening to its own colour.
  part->OnChange = SubChangeHandler();
}

void TQelMaterial::SetShininess(int32_t value) {
  if (value == shininess_ || value < 0 || value > 128) return;
  shininess_ = value;
  Changed();
}

void TQelMaterial::Render(TQelCustomView* view) {
  // Already current, and the protocol around it would only push and pop.
  if (QelRenderStateOf(view).lastMaterial == this && GetRendersOnlyContent()) return;
  TQelRender::Render(view);
}

void TQelMaterial::DoRender(TQelCustomView* view) {
  TQelRenderState& state = QelRenderStateOf(view);
  if (state.lastMaterial == this) return;
  TQelRender::DoRender(view);
  state.lastMaterial = this;
  const GLenum face = kGLFace[face_];
  for (int i = 0; i < 4; ++i) {
    float rgba[4];
    colors_[i]->GetParams(rgba);
    glMaterialfv(face, kGLPart[i], rgba);
  }
  glMateriali(face, GL_SHININESS, shininess_);
}

void TQelMaterial::Assign(TPersistent* Source) {
  if (auto* m = dynamic_cast<TQelMaterial*>(Source)) {
    face_ = m->face_;
    for (int i = 1; i <= 4; ++i) SetPartColor(i, m->GetPartColor(i));
    shininess_ = m->shininess_;
  }
  TQelRender::Assign(Source);
}

void TQelMaterial::WriteValues(IQelExchange* exchange) {
  TQelRender::WriteValues(exchange);
  exchange->addtag("Face", face_, TMaterialFaceStr, mfFrontBack);
  for (int i = 0; i < 4; ++i) colors_[i]->WriteAs(exchange, kPartTags[i], kDefaultColors[i]);
  exchange->addtag("Shininess", shininess_, 0);
}

void TQelMaterial::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelRender::ReadValues(exchange, tag);
  TMaterialFace face = face_;
  if (exchange->getenum("Face", TMaterialFaceStr, face)) SetFace(face);
  int32_t shininess = shininess_;
  if (exchange->getvalue("Shininess", shininess)) SetShininess(shininess);
}

TPersistent* TQelMaterial::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  for (int i = 0; i < 4; ++i)
    if (tag->Name == kPartTags[i]) {
      colors_[i]->ReadValues(exchange, tag);
      return colors_[i].get();
    }
  return TQelRender::ReadComp(exchange, tag);
}

namespace {
const bool registered = [] {
  RegisterLibraryRenderClass<TQelMaterial>();
  return true;
}();
}  // namespace
