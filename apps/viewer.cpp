#include "viewer.h"

#include <chrono>
#include <cstdio>

#include "demoscene.h"

const char* const kKeys =
    "keys: drag = turn the scene, arrows = move the camera, PgUp/PgDn = up/down, "
    "R = reset, Esc/Q = quit";

namespace {

// The demo scene, or a scene file, in a view with a camera. The scene sits
// in a stage node that the mouse turns, so a loaded scene keeps its own
// transformation. The view goes first, while the scene whose lists it holds
// still exists.
class TViewer {
public:
  explicit TViewer(const TOptions& o) : file_(o.scene) {
    scene_ = new TQelNode(&stage_);
    stage_.Add(scene_);
    load_ = file_.empty() ? slLoaded : LoadSceneFile(file_, scene_);
    if (load_ == slFailed) return;
    if (file_.empty()) BuildDemoScene(scene_);
    view_.SetCaption(file_.empty() ? "Qelon demo" : "Qelon - " + file_);
    view_.SetSize(o.width, o.height);
    view_.SetBackgroundColor(kDemoBackground);
    view_.GetCoordinates()->SetVisible(true);
    view_.SetCamera(&camera_);
    Reset();
    view_.OnRender = [this](TQelView* v) {
      stage_.Render(v);
      ++frames;
    };
    stage_.OnChange = [this](TObject*) { view_.InvalidateGL(); };
    view_.OnMouseDown = [this](TObject*, TMouseButton button, TShiftState, int32_t x, int32_t y) {
      if (button == mbLeft) {
        lastX_ = x;
        lastY_ = y;
      }
    };
    view_.OnMouseMove = [this](TObject*, TShiftState shift, int32_t x, int32_t y) {
      if (!shift.Contains(ssLeft)) return;
      TQelRotation* r = stage_.GetTransformation()->GetRotation();
      r->SetY(r->GetY() + 0.4f * (x - lastX_));
      r->SetX(r->GetX() + 0.4f * (y - lastY_));
      lastX_ = x;
      lastY_ = y;
    };
    view_.OnKeyDown = [this](TObject*, uint16_t& key, TShiftState) { Key(key); };
    view_.OnClose = [this](TObject*) { closed = true; };
  }

  // False when the scene file could not be loaded (the reasons are on stderr).
  bool Loaded() const { return load_ != slFailed; }
  // The exit status the load asks for: 1 when it logged errors.
  int LoadStatus() const { return load_ == slLoaded ? 0 : 1; }
  TQelView& View() { return view_; }
  int frames = 0;
  bool closed = false;

private:
  // The camera sees the whole scene. The demo camera stands about 8 units
  // from the scene, where steps of a quarter and axes of 2 suit; a scene
  // file is framed, and both scale with the camera's distance.
  void Reset() {
    double scale = 1;
    if (file_.empty())
      PlaceDemoCamera(&camera_);
    else
      scale = FrameScene(&camera_, scene_, view_.GetWidth(), view_.GetHeight()) / 8;
    step_ = 0.25 * scale;
    view_.GetCoordinates()->SetLength(static_cast<float>(2 * scale));
    stage_.GetTransformation()->GetRotation()->SetOrder(roYXZ);  // drag turns about world y
    stage_.GetTransformation()->GetRotation()->SetValues(0, 0, 0);
  }

  void Key(uint16_t key) {
    // The camera's own axes: x points left, y down, z along the view.
    TQelTransformation* t = camera_.GetTransformation();
    switch (key) {
      case VK_UP: t->MoveZ(step_); break;
      case VK_DOWN: t->MoveZ(-step_); break;
      case VK_LEFT: t->MoveX(step_); break;
      case VK_RIGHT: t->MoveX(-step_); break;
      case VK_PRIOR: t->MoveY(-step_); break;
      case VK_NEXT: t->MoveY(step_); break;
      case 'R': Reset(); break;
      case 'Q':
      case VK_ESCAPE: closed = true; break;
      default: break;
    }
  }

  std::string file_;
  TSceneLoad load_ = slFailed;
  TQelNode stage_{nullptr};
  TQelNode* scene_ = nullptr;  // owned by the stage
  TQelPerspectiveCamera camera_{nullptr};
  TQelView view_{nullptr};
  double step_ = 0.25;
  int32_t lastX_ = 0, lastY_ = 0;
};

}  // namespace

int Render(const TOptions& o) {
  // Headless even where a display exists.
  QelSetWindowSystem(QelEGLWindowSystem());
  TViewer demo(o);
  if (!demo.Loaded()) return 1;
  TBitmap bitmap(o.width, o.height);
  if (!demo.View().GetImage(bitmap)) {
    std::fprintf(stderr, "qelon render: nothing was drawn\n");
    return 1;
  }
  bitmap.SaveToFile(o.output);
  std::printf("wrote %s (%dx%d)\n", o.output.c_str(), o.width, o.height);
  QelSetWindowSystem(nullptr);
  return demo.LoadStatus();
}

int View(const TOptions& o) {
  TQelWindowSystem* ws = QelGLFWWindowSystem();
  if (!ws) {
    std::fprintf(stderr, "qelon view: no display to open a window on\n");
    return 1;
  }
  QelSetWindowSystem(ws);
  TViewer demo(o);
  if (!demo.Loaded()) return 1;
  std::printf("%s\n", kKeys);
  std::fflush(stdout);
  demo.View().HandleNeeded();
  demo.View().InvalidateGL();
  const auto start = std::chrono::steady_clock::now();
  while (!demo.closed) {
    // Counting frames means drawing continuously; otherwise only on demand.
    if (o.frames > 0) demo.View().InvalidateGL();
    ws->WaitMessages(o.frames > 0 ? 0 : 0.1);
    if (o.frames > 0 && demo.frames >= o.frames) break;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (o.exitAfter > 0 && elapsed.count() >= o.exitAfter) break;
  }
  std::printf("drew %d frames\n", demo.frames);
  QelSetWindowSystem(nullptr);
  return demo.frames > 0 ? demo.LoadStatus() : 1;
}
