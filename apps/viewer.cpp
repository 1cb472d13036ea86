#include "viewer.h"

#include <chrono>
#include <initializer_list>
#include <cstdio>

#include "demoscene.h"

const char* const kKeys =
    "Left drag turns the scene, right drag moves it, a click prints what is under the mouse.\n"
    "M mouse (arrows move up/down and roll), P person (arrows walk and turn, PgUp/PgDn look),\n"
    "C car (arrows drive and steer), T turntable (Left/Right turn, End stops, Up/Down distance);\n"
    "R resets, A levels the view, Esc or Q quits. The title shows the style and the frame rate.";

namespace {

// The demo scene, or a scene file, in a view with a camera. The scene sits
// in a stage node that the mouse controller turns, so a loaded scene keeps
// its own transformation. The person, car and turntable controllers drive
// the camera; a timer steps the car and the turntable and shows the frame
// rate in the title. The view goes first, while the scene whose lists it
// holds still exists.
class TViewer {
public:
  explicit TViewer(const TOptions& o) : file_(o.scene) {
    scene_ = new TQelNode(&stage_);
    stage_.Add(scene_);
    load_ = file_.empty() ? slLoaded : LoadSceneFile(file_, scene_);
    if (load_ == slFailed) return;
    if (file_.empty()) BuildDemoScene(scene_);
    view_.SetSize(o.width, o.height);
    view_.SetBackgroundColor(kDemoBackground);
    view_.GetCoordinates()->SetVisible(true);
    view_.SetCamera(&camera_);
    stage_.GetTransformation()->GetRotation()->SetOrder(roYXZ);  // drags turn about world y
    PlaceCamera();
    SetUpControllers();
    Use(mouse_);
    view_.OnRender = [this](TQelView* v) {
      stage_.Render(v);
      ++frames;
      ++framesThisSecond_;
    };
    stage_.OnChange = [this](TObject*) { view_.InvalidateGL(); };
    view_.OnMouseDown = [this](TObject*, TMouseButton button, TShiftState, int32_t x, int32_t y) {
      if (button == mbLeft) downX_ = x, downY_ = y;
    };
    view_.OnMouseUp = [this](TObject*, TMouseButton button, TShiftState, int32_t x, int32_t y) {
      if (button == mbLeft && x == downX_ && y == downY_) Pick(x, y);  // a click, not a drag
    };
    view_.OnKeyDown = [this](TObject*, uint16_t& key, TShiftState) { Key(key); };
    view_.OnClose = [this](TObject*) { closed = true; };
    timer_.SetRate(60);
    timer_.OnTimer = [this](TObject*, int32_t count) { Tick(count); };
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
  void PlaceCamera() {
    scale_ = 1;
    if (file_.empty())
      PlaceDemoCamera(&camera_);
    else
      scale_ = FrameScene(&camera_, scene_, view_.GetWidth(), view_.GetHeight()) / 8;
    view_.GetCoordinates()->SetLength(static_cast<float>(2 * scale_));
  }

  void SetUpControllers() {
    mouse_->SetCamera(&camera_);
    mouse_->SetControlled(&stage_);
    // The stage follows the hand: a drag to the left turns its near side
    // to the left, a drag up turns it up.
    TQelControllerActions* a = mouse_->GetActions();
    a->SetAction(caTurnLeft, "(None)");
    a->SetAction(caTurnRight, "MouseLeftX");
    a->SetAction(caTurnDown, "(None)");
    a->SetAction(caTurnUp, "MouseLeftY");
    a->SetAction(caMoveLeft, "(None)");
    a->SetAction(caMoveRight, "MouseRightX");
    for (TQelCustomController* c : std::initializer_list<TQelCustomController*>{person_, car_, turntable_}) {
      c->SetControlled(&camera_);
      c->SetStepLength(c->GetStepLength() * scale_ * 2);
    }
    mouse_->SetStepLength(mouse_->GetStepLength() * scale_ * 2);
    turntable_->SetDistanceStep(0.25 * scale_);
  }

  void Use(TQelCustomController* controller) {
    view_.SetController(controller);
    style_ = controller == mouse_ ? "mouse" : controller == person_ ? "person"
           : controller == car_   ? "car"   : "turntable";
    Caption();
  }

  void Caption() {
    const std::string name = file_.empty() ? "Qelon demo" : "Qelon - " + file_;
    view_.SetCaption(name + " - " + style_ + " (M P C T) - " + std::to_string(fps_) + " fps");
  }

  void Key(uint16_t& key) {
    switch (key) {
      case 'M': Use(mouse_); break;
      case 'P': Use(person_); break;
      case 'C': Use(car_); break;
      case 'T': Use(turntable_); break;
      case 'Q':
      case VK_ESCAPE: closed = true; break;
      default: return;  // the controller's key
    }
    key = 0;
  }

  // Steps the car or the turntable; once a second the frame rate.
  void Tick(int32_t count) {
    TQelCustomController* c = view_.GetController();
    bool moved = false;
    if (c == car_ || c == turntable_)
      for (int32_t i = 0; i < count; ++i) moved |= c->Tick();
    if (moved) view_.InvalidateGL();
    const auto now = std::chrono::steady_clock::now();
    if (now - second_ >= std::chrono::seconds(1)) {
      fps_ = framesThisSecond_;
      framesThisSecond_ = 0;
      second_ = now;
      Caption();
    }
  }

  void Pick(int32_t x, int32_t y) {
    TQelSelectionList hits;
    view_.GetSelection(x, y, hits);
    TObject* obj = nullptr;
    const int32_t list = view_.GetObj(x, y, obj);
    if (!obj) {
      std::printf("picked nothing at %d,%d\n", x, y);
    } else {
      auto* component = dynamic_cast<TComponent*>(obj);
      const TQelSelection* top = hits.GetTopMost();
      std::printf("picked %s \"%s\" at %d,%d: index list %d, depth %.4f\n", obj->ClassName(),
                  component ? component->GetName().c_str() : "", x, y, list,
                  top ? top->GetMinZ() : 1.0);
    }
    std::fflush(stdout);
  }

  std::string file_;
  TSceneLoad load_ = slFailed;
  TQelNode stage_{nullptr};
  TQelNode* scene_ = nullptr;  // owned by the stage
  TQelPerspectiveCamera camera_{nullptr};
  TQelView view_{nullptr};
  TComponent controllers_{nullptr};  // owns the four controllers
  TQelMouseController* mouse_ = new TQelMouseController(&controllers_);
  TQelPersonController* person_ = new TQelPersonController(&controllers_);
  TQelCarController* car_ = new TQelCarController(&controllers_);
  TQelPresentationController* turntable_ = new TQelPresentationController(&controllers_);
  TQelTimer timer_{nullptr};
  std::string style_;
  double scale_ = 1;
  int32_t downX_ = -1, downY_ = -1;
  int fps_ = 0, framesThisSecond_ = 0;
  std::chrono::steady_clock::time_point second_ = std::chrono::steady_clock::now();
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
