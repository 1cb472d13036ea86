#pragma once
// The bases of everything that can be drawn into a view and the render
// protocol they share: push, transformation, axes, draw (or replay the
// display list), after, pop.
#include <GL/gl.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "qelon/math/qelclass.h"
#include "qelon/math/qelmatrix.h"
#include "qelon/math/qeltransformation.h"
#include "qelon/platform/qelcomponent.h"
#include "qelon/scene/qelcustomview.h"

class IQelExchange;
class TXMLTag;
class TQelCustomNode;

using TQelRenderEvent = std::function<void(TQelCustomView* aView)>;

// Asks the processor to load bytes of memory from p on into its caches
// ahead of use; never faults.
inline void QelPrefetch(const void* p, size_t bytes) {
  const char* c = static_cast<const char*>(p);
  for (size_t offset = 0; p && offset < bytes; offset += 64) __builtin_prefetch(c + offset);
}

// A component that reports its own changes through OnChange. A node installs
// its SubChange here, so OnChange is also the upward link of change
// notification in a scene tree.
class TQelComponent : public TComponent {
  QEL_CLASS(TQelComponent)
public:
  explicit TQelComponent(TComponent* AOwner);

  TNotifyEvent OnChange;
  virtual void Changed();

  // ID and Name.
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

  // Copies the source's OnChange handler itself, then signals a change.
  void Assign(TPersistent* Source) override;

  // Expires when this component is destroyed, so that code which calls out
  // (and may thereby destroy it) can tell afterwards.
  TQelLifeRef GetLifeToken() const { return life_.Ref(); }

private:
  TQelLife life_;
};

// A component placed by an owned transformation.
class TQelTransformed : public TQelComponent {
  QEL_CLASS(TQelTransformed)
public:
  explicit TQelTransformed(TComponent* AOwner);
  ~TQelTransformed() override;

  TQelTransformation* GetTransformation() const { return transformation_.get(); }
  // Copies value into the owned transformation; null is ignored.
  void SetTransformation(TQelTransformation* value);
  // The modelview matrix read at the last render, or none.
  TQelMatrix* GetProjectionMatrix() const { return projectionMatrix_.get(); }

  // Handler of owned sub-properties (and, in nodes, of their items).
  virtual void SubChange(TObject* Sender);
  void Assign(TPersistent* Source) override;

  // The component's values, then the child "Transformation".
  void WriteValues(IQelExchange* exchange) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

  // The handler SubChangeHandler makes: calls SubChange while target lives.
  using TSubChangeLink = TQelChangeLink<TQelTransformed>;

protected:
  // Calls SubChange while this component lives. Assign hands handlers on to
  // other objects; a copy that outlives this component then does nothing.
  TNotifyEvent SubChangeHandler();
  void WireTransformation();
  std::unique_ptr<TQelTransformation> transformation_;
  std::unique_ptr<TQelMatrix> projectionMatrix_;
};

// The three coloured axes of a local frame, positive halves solid and
// negative halves stippled.
class TQelCoordinates : public TQelRenderProperty {
  QEL_CLASS(TQelCoordinates)
public:
  TQelCoordinates();

  bool GetVisible() const { return visible_; }
  void SetVisible(bool value);
  float GetLength() const { return length_; }
  void SetLength(float value);
  // Axis 0 = X, 1 = Y, 2 = Z; other indices are ignored (read as 0).
  TColor GetColor(int index) const;
  void SetColor(int index, TColor value);
  TColor GetColorX() const { return GetColor(0); }
  TColor GetColorY() const { return GetColor(1); }
  TColor GetColorZ() const { return GetColor(2); }
  void SetColorX(TColor c) { SetColor(0, c); }
  void SetColorY(TColor c) { SetColor(1, c); }
  void SetColorZ(TColor c) { SetColor(2, c); }

  void Render() override;
  void Clear() override;
  void Assign(TPersistent* Source) override;
  // Whether every value is the one Clear gives.
  bool GetIsDefault() const;

  // "Visible", "Length", "ColorX", "ColorY", "ColorZ".
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;

private:
  void DrawAxes(float sign);
  bool visible_ = false;
  float length_ = 1.0f;
  TColor colors_[3] = {0x0000FF, 0x00FF00, 0xFF0000};
};

// A drawable component: enabled flag, object name, node link, optional
// display-list cache for one view, render events and local axes.
class TQelRender : public TQelTransformed {
  QEL_CLASS(TQelRender)
public:
  explicit TQelRender(TComponent* AOwner);
  ~TQelRender() override;

  const std::string& GetObjectName() const { return objectName_; }
  void SetObjectName(const std::string& value);
  bool GetEnabled() const { return enabled_; }
  void SetEnabled(bool value);
  bool GetCached() const { return cached_; }
  virtual void SetCached(bool value);
  bool GetProjectionEnabled() const { return projectionEnabled_; }
  void SetProjectionEnabled(bool value);
  TQelCoordinates* GetCoordinates() const { return coordinates_.get(); }
  void SetCoordinates(TQelCoordinates* value);

  // When set, replaces the execution of the transformation.
  TNotifyEvent OnTransform;
  TQelRenderEvent OnBeforeRender;
  TQelRenderEvent OnAfterRender;

  // The node whose list holds this item directly, or none.
  TQelCustomNode* GetNode() const { return node_; }
  // Leaves the current node and, when node is given, joins it with Add.
  void SetNode(TQelCustomNode* node);
  // Leaves the current node and stores node; the node's Insert calls this.
  void SetNodeDirect(TQelCustomNode* node);

  // The display-list cache: the one view it was recorded for and the list.
  TQelCustomView* GetView() const { return view_; }
  virtual void SetView(TQelCustomView* view);
  GLuint GetDisplayList() const { return displayList_; }
  bool IsMyView(TQelCustomView* view) const { return view && view == view_; }
  void OpenCache();
  void CloseCache();
  void CallCache();
  // Deletes the list in the cache view's context, making that context
  // current for the call when it is not. Keeps the list when it cannot.
  void ClearCache();

  // Whether Render adds nothing around DoRender that anyone could notice:
  // enabled, not cached, no events, no OnTransform, hidden axes and no
  // projection matrix. Appearance that is already current then skips the
  // protocol, which would only push and pop the matrix.
  bool GetRendersOnlyContent() const;
  // Whether rendering this component into view runs the library's code
  // alone: no render events, no drawing operation overridden by a class of
  // the application, no pick names (the view's GetNextID raises OnNextID).
  // The library remembers GL state across such components only; around any
  // other it issues everything literally, so the application's code sees
  // the state that each component's own calls leave.
  bool GetRunsOnlyLibraryCode(TQelCustomView* view) const {
    return !OnTransform && !OnBeforeRender && !OnAfterRender && !HasApplicationEvents() &&
           !(view && view->GetPushNames()) && DrawsWithLibraryCode();
  }

  // The render protocol and its steps.
  virtual void Render(TQelCustomView* view);
  virtual void BeforeRender(TQelCustomView* view);
  // The drawing operations are defined out of line (also the empty ones):
  // an inline copy in an application would not be recognised as the
  // library's (GetRunsOnlyLibraryCode).
  virtual void DoRender(TQelCustomView* view);
  virtual void AfterRender(TQelCustomView* view);
  virtual void DoDisable(TQelCustomView* view);
  virtual void Disable(TQelCustomView* view);

  // vector carried from transformed's frame into this component's frame, as
  // both were at their last render; the zero vector unless both have a
  // projection matrix.
  virtual TQelMathVector ProjectVector(TQelTransformed* transformed, const TQelMathVector& vector);
  // The same through the view's camera.
  virtual TQelMathVector ProjectVector(TQelCustomView* view, const TQelMathVector& vector);

  void SubChange(TObject* Sender) override;
  void Notification(TComponent* AComponent, TOperation Operation) override;
  void Assign(TPersistent* Source) override;

  // "Enabled", "Cached", "ProjectionEnabled", "ObjectName", and the child
  // "Coordinates" only when the axes differ from their defaults.
  void WriteValues(IQelExchange* exchange) override;
  void ReadValues(IQelExchange* exchange, TXMLTag* tag) override;
  TPersistent* ReadComp(IQelExchange* exchange, TXMLTag* tag) override;

protected:
  // Whether a subclass has events of its own set (beside OnTransform,
  // OnBeforeRender and OnAfterRender) that its render raises.
  virtual bool HasApplicationEvents() const { return false; }

  // Prefetches the memory Render will read besides this object itself, in
  // stages: stage 0 the blocks this object points to, each later stage what
  // the blocks loaded by the stage before point to (up to kPrefetchStages).
  // A node walks its items a few steps ahead of drawing them, so that a long
  // list does not wait for memory one piece at a time.
  static constexpr int kPrefetchStages = 3;
  virtual void PrefetchRender(int stage) const;
  friend class TQelNode;
  friend class TQelObject;

  // A component whose drawing splits into GL state and content says so
  // here: its display list then holds the content alone (DrawContent, drawn
  // by DoRender through RenderContent), and DoRender sets the state around
  // it on every render, through the render state that knows what is
  // current. A list holding the state too would set it again for every
  // component, however little of it changed.
  virtual bool CachesContentOnly() const { return false; }
  virtual void DrawContent(TQelCustomView* view) {}
  // Replays the content list, records it (when cached for view), or draws
  // the content directly.
  void RenderContent(TQelCustomView* view);

  bool DrawsWithLibraryCode() const {
    return drawsWithLibraryCode_ < 0 ? LookUpDrawingCode() : drawsWithLibraryCode_;
  }

private:
  std::string objectName_;
  bool enabled_ = true;
  TQelCustomView* view_ = nullptr;
  GLuint displayList_ = 0;
  bool recording_ = false;
  bool contentList_ = false;  // the list holds DrawContent alone
  bool cached_ = false;
  TQelCustomNode* node_ = nullptr;
  bool projectionEnabled_ = false;
  bool LookUpDrawingCode() const;
  mutable int8_t drawsWithLibraryCode_ = -1;  // not yet looked up
  TQelInlinePart<TQelCoordinates> coordinates_;
};

// The abstract container a render component can belong to; TQelNode gives
// it its item list.
class TQelCustomNode : public TQelRender {
  QEL_CLASS(TQelCustomNode)
public:
  using TQelRender::TQelRender;

  virtual int32_t Remove(TQelRender* item) = 0;
  virtual int32_t Add(TQelRender* item) = 0;
  virtual int32_t AddIndirect(TQelRender* item) = 0;
  virtual void Insert(int32_t index, TQelRender* item) = 0;
  virtual void Delete(int32_t index) = 0;
  virtual void Exchange(int32_t index1, int32_t index2) = 0;
  virtual void Move(int32_t curIndex, int32_t newIndex) = 0;
  virtual int32_t IndexOf(const TQelRender* item) const = 0;
  virtual void Clear() = 0;
};
