#include "qelprimitiveobj.h"

#include <GL/gl.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "qelpointlabels.h"

#include "qelon/appearance/qelattr.h"
#include "qelon/appearance/qelmat.h"
#include "qelon/appearance/qeltex.h"
#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/platform/qelbitmap.h"
#include "qelon/scene/qelrenderstate.h"

const char* const TQelStoreModeStr[3] = {"smDefault", "smPoints", "smAll"};

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
    WithQuietStore([&] { points_->SetUseArrays(value ? use + daTexture : use - daTexture); });
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
  QelMeshCalcMaster(*points_, bit, master);
}

void TQelPrimitiveObj::CalcNormals() {
  WithQuietStore([&] { QelMeshCalcNormals(*points_, arrays_); });
}

void TQelPrimitiveObj::CalcTexturePoint(int32_t i) { QelMeshCalcTexturePoint(*points_, *textureFlags_, i); }

void TQelPrimitiveObj::CalcTexture() {
  WithQuietStore([&] { QelMeshCalcTexture(*points_, *textureFlags_); });
}

// --- merging and editing --------------------------------------------------------------

int32_t TQelPrimitiveObj::AddPrimitiveObj(TQelPrimitiveObj* other) {
  if (!other) return -1;
  if (!other->GetInited()) other->Init();
  if (!inited_) Init();
  int32_t offset = -1;
  Quietly([&] {
    offset = points_->Add(other->points_.get());
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
  if (!a) return;
  Quietly([&] {
    if (QelMeshSplitTriangle(*points_, *a, triangle)) changedQuietly_ = true;
  });
}

void TQelPrimitiveObj::Invert() {
  Quietly([&] {
    QelMeshInvert(arrays_);
    changedQuietly_ = true;
  });
}

int32_t TQelPrimitiveObj::GetNearPoint(int32_t array, const TQelMathVector& position) const {
  const TQelPrimitiveArray* a = GetPrimitive(array);
  return a ? QelMeshGetNearPoint(*points_, *a, position) : -1;
}

void TQelPrimitiveObj::FreePoints(int32_t i, int32_t n) {
  if (QelMeshFreePoints(*points_, arrays_, i, n)) Changed();
}

void TQelPrimitiveObj::FreeUnusedPoints() {
  if (QelMeshFreeUnusedPoints(*points_, arrays_)) Changed();
}

void TQelPrimitiveObj::GetOpenEdges(TQelEdgeArray& edges) { QelMeshGetOpenEdges(*points_, arrays_, edges); }

// --- extrusion -------------------------------------------------------------------------

void TQelPrimitiveObj::ExtrudeByVec(const TQelMathVector& vector, TQelTexture* wallTexture) {
  Quietly([&] {
    std::vector<std::unique_ptr<TQelPrimitiveArray>> added;
    bool done = false;
    WithQuietStore([&] { done = QelMeshExtrude(*points_, arrays_, vector, wallTexture, added); });
    if (!done) return;
    for (auto& a : added) {
      WireArray(a.get());
      WatchAppearance(a.get());
      arrays_.push_back(a.release());
    }
    // The wall takes the object's material and attributes.
    arrays_.back()->SetMaterial(GetMaterial());
    arrays_.back()->SetAttributes(GetAttributes());
    changedQuietly_ = true;
  });
}

void TQelPrimitiveObj::Extrude(double depth, TQelTexture* wallTexture) {
  if (depth == 0) return;
  TQelMathVector front = QelMeshFrontVector(*points_, arrays_);
  QelMathNormalize(front);
  if (front == ZEROVEC) return;
  ExtrudeByVec({front.x * depth, front.y * depth, front.z * depth}, wallTexture);
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
    WithQuietStore([&] { points_->SetUseArrays(points_->GetUseArrays() + daTexture); });
  });
}

// --- relief ----------------------------------------------------------------------------

void TQelPrimitiveObj::SetReliefBitmap(const TBitmap* bitmap, double scaleRed, double scaleGreen,
                                       double scaleBlue) {
  if (bitmap && QelMeshSetReliefBitmap(*points_, *bitmap, scaleRed, scaleGreen, scaleBlue)) Changed();
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
    const TQelMathVector n = points_->GetVector(p, 1);
    const TQelMathVector tip{from.x + length * n.x, from.y + length * n.y, from.z + length * n.z};
    list->AddIndex(static_cast<uint32_t>(to.Add(from, up, ZEROVEC)));
    list->AddIndex(static_cast<uint32_t>(to.Add(tip, up, ZEROVEC)));
  }
  lines->SetInited(true);
  return lines;
}

TQelNode* TQelPrimitiveObj::CreateLabelNode(double size, TComponent* AOwner) {
  TQelNode* node = QelCreatePointLabels(*points_, size, AOwner);
  node->SetTransformation(GetTransformation());
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
    WithQuietStore([&] { points_->Assign(src->points_.get()); });  // Assign hands over the source's handler
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
