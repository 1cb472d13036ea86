#include "qelcomp.h"

#include <typeinfo>

#include "qelon/exchange/qeliexchange.h"
#include "qelon/exchange/xmlparser.h"
#include "qelon/platform/qelerror.h"
#include "qelon/scene/qelrenderstate.h"
#include "qelon/view/qelcam.h"

// --- TQelComponent ----------------------------------------------------------

TQelComponent::TQelComponent(TComponent* AOwner) : TComponent(AOwner) {}

void TQelComponent::Changed() {
  if (OnChange) OnChange(this);
}

void TQelComponent::Assign(TPersistent* Source) {
  // The handler itself is copied, not only data.
  if (auto* c = dynamic_cast<TQelComponent*>(Source)) {
    OnChange = c->OnChange;
    Changed();
  }
}

// --- TQelTransformed --------------------------------------------------------

TQelTransformed::TQelTransformed(TComponent* AOwner)
    : TQelComponent(AOwner), transformation_(std::make_unique<TQelTransformation>()) {
  WireTransformation();
}

TQelTransformed::~TQelTransformed() = default;

TNotifyEvent TQelTransformed::SubChangeHandler() { return TSubChangeLink{this, GetLifeToken()}; }

void TQelTransformed::WireTransformation() { transformation_->OnChange = SubChangeHandler(); }

void TQelTransformed::SetTransformation(TQelTransformation* value) {
  if (!value) return;
  transformation_->Assign(value);
  WireTransformation();  // Assign hands over the source's handler
  Changed();
}

void TQelTransformed::SubChange(TObject* Sender) { Changed(); }

void TQelTransformed::Assign(TPersistent* Source) {
  if (auto* t = dynamic_cast<TQelTransformed*>(Source)) {
    transformation_->Assign(t->transformation_.get());
    WireTransformation();
  }
  TQelComponent::Assign(Source);
}

// --- TQelCoordinates --------------------------------------------------------

namespace {
const TColor kAxisColors[3] = {0x0000FF, 0x00FF00, 0xFF0000};  // red, green, blue
const char* const kAxisColorNames[3] = {"ColorX", "ColorY", "ColorZ"};
}  // namespace

TQelCoordinates::TQelCoordinates() = default;

void TQelCoordinates::SetVisible(bool value) {
  if (value == visible_) return;
  visible_ = value;
  Changed();
}

void TQelCoordinates::SetLength(float value) {
  if (value == length_) return;
  length_ = value;
  Changed();
}

TColor TQelCoordinates::GetColor(int index) const {
  return index >= 0 && index < 3 ? colors_[index] : 0;
}

void TQelCoordinates::SetColor(int index, TColor value) {
  if (index < 0 || index >= 3 || colors_[index] == value) return;
  colors_[index] = value;
  Changed();
}

void TQelCoordinates::Clear() {
  TQelRenderProperty::Clear();
  visible_ = false;
  length_ = 1.0f;
  for (int i = 0; i < 3; ++i) colors_[i] = kAxisColors[i];
}

void TQelCoordinates::Assign(TPersistent* Source) {
  if (auto* c = dynamic_cast<TQelCoordinates*>(Source)) {
    visible_ = c->visible_;
    length_ = c->length_;
    for (int i = 0; i < 3; ++i) colors_[i] = c->colors_[i];
    Changed();
  }
  TQelRenderProperty::Assign(Source);
}

void TQelCoordinates::DrawAxes(float sign) {
  glBegin(GL_LINES);
  for (int axis = 0; axis < 3; ++axis) {
    TColor c = colors_[axis];
    glColor3f((c & 0xFF) / 255.0f, ((c >> 8) & 0xFF) / 255.0f, ((c >> 16) & 0xFF) / 255.0f);
    glVertex3f(0, 0, 0);
    float end[3] = {0, 0, 0};
    end[axis] = sign * length_;
    glVertex3f(end[0], end[1], end[2]);
  }
  glEnd();
}

void TQelCoordinates::Render() {
  TQelRenderProperty::Render();
  if (!visible_) return;
  glPushAttrib(GL_ALL_ATTRIB_BITS);
  glDisable(GL_LIGHTING);
  glDisable(GL_BLEND);
  glDisable(GL_FOG);
  glDisable(GL_LINE_SMOOTH);
  glLineWidth(1.0f);
  glDisable(GL_LINE_STIPPLE);
  DrawAxes(1.0f);
  glEnable(GL_LINE_STIPPLE);
  glLineStipple(10, 0x5555);
  DrawAxes(-1.0f);
  glPopAttrib();
}

// --- TQelRender -------------------------------------------------------------

TQelRender::TQelRender(TComponent* AOwner) : TQelTransformed(AOwner) {
  coordinates_->OnChange = SubChangeHandler();
}

TQelRender::~TQelRender() {
  // Nodes and views that know this item are told while it is still whole.
  Destroying();
  ClearCache();
  SetNode(nullptr);
}

void TQelRender::SetObjectName(const std::string& value) {
  if (value == objectName_) return;
  objectName_ = value;
  Changed();
}

void TQelRender::SetEnabled(bool value) {
  if (value == enabled_) return;
  enabled_ = value;
  Changed();
}

void TQelRender::SetCached(bool value) {
  if (value == cached_) return;
  cached_ = value;
  if (!value) ClearCache();
}

void TQelRender::SetProjectionEnabled(bool value) {
  if (!IsDesigning()) {
    if (projectionEnabled_ && !value)
      projectionMatrix_.reset();
    else if (!projectionEnabled_ && value)
      projectionMatrix_ = std::make_unique<TQelMatrix>();
  }
  projectionEnabled_ = value;
}

void TQelRender::SetCoordinates(TQelCoordinates* value) {
  if (!value) return;
  coordinates_->Assign(value);
  coordinates_->OnChange = SubChangeHandler();
}

void TQelRender::SetNode(TQelCustomNode* node) {
  if (node) {
    // Joining another node leaves this one on the way (Insert does that, and
    // keeps an item the old node owns alive); joining the same one does nothing.
    if (node != node_) node->Add(this);
    return;
  }
  if (node_) {
    // Leaving a node that owns this item destroys it.
    auto life = GetLifeToken();
    node_->Remove(this);
    if (life.expired()) return;
  }
  node_ = nullptr;
}

void TQelRender::SetNodeDirect(TQelCustomNode* node) {
  if (node_) {
    auto life = GetLifeToken();
    node_->Remove(this);
    if (life.expired()) return;
  }
  node_ = node;
}

void TQelRender::SetView(TQelCustomView* view) {
  if (view_) ClearCache();
  view_ = view;
  if (view) FreeNotification(view);
}

void TQelRender::OpenCache() {
  // GL cannot record a list inside another: a cached component met while an
  // enclosing list records draws into that recording and makes its own list
  // another time.
  if (!view_) return;
  TQelRenderState& state = QelRenderStateOf(view_);
  if (state.Recording()) return;
  ClearCache();
  // The list must not rely on state set before it: the state forgets.
  state.ForgetAppearance();
  displayList_ = glGenLists(1);
  glNewList(displayList_, GL_COMPILE_AND_EXECUTE);
  if (!glIsList(displayList_)) displayList_ = 0;
  recording_ = displayList_ != 0;
  if (recording_) ++state.recordings;
}

void TQelRender::CloseCache() {
  // Ends exactly the recording OpenCache began, even when the list, the view
  // or the cached flag changed in between.
  if (!recording_) return;
  recording_ = false;
  TQelRenderState& state = QelRenderStateOf(view_);
  --state.recordings;
  state.Flush();  // what is held back belongs into the list
  glEndList();
}

void TQelRender::RenderContent(TQelCustomView* view) {
  if (!IsMyView(view)) {
    DrawContent(view);
  } else if (displayList_ != 0) {
    glCallList(displayList_);  // content alone: the state stays as it was
  } else {
    if (cached_) OpenCache();
    contentList_ = true;
    struct EndRecording {
      TQelRender* render;
      ~EndRecording() { render->CloseCache(); }
    } end{this};
    DrawContent(view);
  }
}

void TQelRender::CallCache() {
  if (!view_) return;
  TQelRenderState& state = QelRenderStateOf(view_);
  state.Flush();
  glCallList(displayList_);
  // The list may have changed state that the state believes current.
  state.ForgetAppearance();
}

void TQelRender::ClearCache() {
  if (!view_ || displayList_ == 0) return;
  bool madeCurrent = false;
  if (!view_->GetCurrent()) {
    try {
      view_->SetCurrent(true);
    } catch (const EQelError&) {
      // A context that cannot be made current keeps the list.
    }
    madeCurrent = view_->GetCurrent();
  }
  if (!view_->GetCurrent()) return;
  glDeleteLists(displayList_, 1);
  displayList_ = 0;
  if (madeCurrent) view_->SetCurrent(false);
}

bool TQelRender::LookUpDrawingCode() const {
  drawsWithLibraryCode_ = QelDrawsWithLibraryCode(const_cast<TQelRender*>(this)) ? 1 : 0;
  return drawsWithLibraryCode_;
}

bool TQelRender::GetRendersOnlyContent() const {
  return enabled_ && !cached_ && !OnTransform && !OnBeforeRender && !OnAfterRender &&
         !coordinates_->GetVisible() && !projectionMatrix_;
}

void TQelRender::PrefetchRender(int stage) const {
  if (stage == 0) QelPrefetch(transformation_.get(), sizeof(TQelTransformation));
}

void TQelRender::Render(TQelCustomView* view) {
  TQelRenderState& state = QelRenderStateOf(view);
  TQelRenderState::TRenderScope scope(state);
  if (!enabled_) {
    DoDisable(view);
    return;
  }
  BeforeRender(view);
  if (coordinates_->GetVisible()) {
    state.Flush();  // the axes draw in colours of their own
    coordinates_->Render();
  }
  if (!view_ && cached_) {
    SetView(view);
    displayList_ = 0;
  }
  const bool contentOnly = IsMyView(view) && CachesContentOnly();
  if (displayList_ != 0 && contentOnly != contentList_) ClearCache();  // made the other way
  if (!IsMyView(view) || contentOnly) {
    DoRender(view);
  } else if (displayList_ == 0) {
    if (cached_) OpenCache();
    contentList_ = false;
    // The recording ends however DoRender leaves: an open list would
    // swallow all later drawing.
    struct EndRecording {
      TQelRender* render;
      ~EndRecording() { render->CloseCache(); }
    } end{this};
    DoRender(view);
  } else {
    CallCache();
  }
  AfterRender(view);
}

void TQelRender::BeforeRender(TQelCustomView* view) {
  glPushMatrix();
  if (OnTransform) {
    OnTransform(this);
  } else {
    transformation_->Execute();
  }
  if (projectionMatrix_) projectionMatrix_->PickGLModelviewMatrix();
  if (OnBeforeRender) OnBeforeRender(view);
}

void TQelRender::AfterRender(TQelCustomView* view) {
  if (OnAfterRender) OnAfterRender(view);
  glPopMatrix();
}

void TQelRender::DoRender(TQelCustomView* view) {}

void TQelRender::DoDisable(TQelCustomView* view) {}

void TQelRender::Disable(TQelCustomView* view) { DoDisable(view); }

TQelMathVector TQelRender::ProjectVector(TQelTransformed* transformed,
                                         const TQelMathVector& vector) {
  TQelMathVector result = ZEROVEC;
  if (projectionMatrix_ && transformed && transformed->GetProjectionMatrix())
    result = projectionMatrix_->ProjectMatrix(*transformed->GetProjectionMatrix(), vector);
  return result;
}

TQelMathVector TQelRender::ProjectVector(TQelCustomView* view, const TQelMathVector& vector) {
  if (!view) return ZEROVEC;
  return ProjectVector(static_cast<TQelTransformed*>(view->GetCamera()), vector);
}

void TQelRender::SubChange(TObject* Sender) { TQelTransformed::SubChange(Sender); }

void TQelRender::Notification(TComponent* AComponent, TOperation Operation) {
  TQelTransformed::Notification(AComponent, Operation);
  if (Operation != opRemove || !AComponent) return;
  if (AComponent == view_) SetView(nullptr);
  if (AComponent == node_) {
    // A dying node clears its own list in its destructor, destroying what it
    // owns; leaving it from here would destroy this item in mid-notification.
    if (node_->IsDestroying())
      node_ = nullptr;
    else
      SetNode(nullptr);
  }
}

void TQelRender::Assign(TPersistent* Source) {
  if (auto* r = dynamic_cast<TQelRender*>(Source)) {
    enabled_ = r->enabled_;
    OnTransform = r->OnTransform;
    objectName_ = r->objectName_;
  }
  TQelTransformed::Assign(Source);
}

// --- exchange -----------------------------------------------------------------

void TQelComponent::WriteValues(IQelExchange* exchange) {
  TComponent::WriteValues(exchange);
  exchange->AddAsRef("ID", this);
  exchange->addtag("Name", GetName(), std::string());
}

void TQelComponent::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TComponent::ReadValues(exchange, tag);
  exchange->GetAsRef("ID", this);
  std::string name = GetName();
  if (exchange->getvalue("Name", name)) SetName(name);
}

void TQelTransformed::WriteValues(IQelExchange* exchange) {
  TQelComponent::WriteValues(exchange);
  transformation_->WriteComp(exchange, "Transformation");
}

TPersistent* TQelTransformed::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name == "Transformation") {
    transformation_->ReadValues(exchange, tag);
    return transformation_.get();
  }
  return TQelComponent::ReadComp(exchange, tag);
}

bool TQelCoordinates::GetIsDefault() const {
  return !visible_ && length_ == 1.0f && colors_[0] == kAxisColors[0] &&
         colors_[1] == kAxisColors[1] && colors_[2] == kAxisColors[2];
}

void TQelCoordinates::WriteValues(IQelExchange* exchange) {
  TQelRenderProperty::WriteValues(exchange);
  exchange->addtag("Visible", visible_, false);
  exchange->addtag("Length", length_, 1.0f);
  for (int i = 0; i < 3; ++i)
    exchange->addtag(kAxisColorNames[i], static_cast<int32_t>(colors_[i]),
                     static_cast<int32_t>(kAxisColors[i]));
}

void TQelCoordinates::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelRenderProperty::ReadValues(exchange, tag);
  bool visible = visible_;
  if (exchange->getvalue("Visible", visible)) SetVisible(visible);
  float length = length_;
  if (exchange->getvalue("Length", length)) SetLength(length);
  for (int i = 0; i < 3; ++i) {
    int32_t color = static_cast<int32_t>(colors_[i]);
    if (exchange->getvalue(kAxisColorNames[i], color)) SetColor(i, static_cast<TColor>(color));
  }
}

void TQelRender::WriteValues(IQelExchange* exchange) {
  TQelTransformed::WriteValues(exchange);
  exchange->addtag("Enabled", enabled_, true);
  exchange->addtag("Cached", cached_, false);
  exchange->addtag("ProjectionEnabled", projectionEnabled_, false);
  exchange->addtag("ObjectName", objectName_, std::string());
  // Ordinary files carry no axes; only changed ones are kept.
  if (!coordinates_->GetIsDefault()) coordinates_->WriteComp(exchange, "Coordinates");
}

void TQelRender::ReadValues(IQelExchange* exchange, TXMLTag* tag) {
  TQelTransformed::ReadValues(exchange, tag);
  bool enabled = enabled_;
  if (exchange->getvalue("Enabled", enabled)) SetEnabled(enabled);
  bool cached = cached_;
  if (exchange->getvalue("Cached", cached)) SetCached(cached);
  bool projectionEnabled = projectionEnabled_;
  if (exchange->getvalue("ProjectionEnabled", projectionEnabled))
    SetProjectionEnabled(projectionEnabled);
  std::string objectName = objectName_;
  if (exchange->getvalue("ObjectName", objectName)) SetObjectName(objectName);
}

TPersistent* TQelRender::ReadComp(IQelExchange* exchange, TXMLTag* tag) {
  if (tag->Name == "Coordinates") {
    coordinates_->ReadValues(exchange, tag);
    return coordinates_.get();
  }
  return TQelTransformed::ReadComp(exchange, tag);
}
