// The qelon program: renders the demo scene or a scene file into a PNG
// without a display, or shows it in a window that answers the mouse and the
// keyboard; lists and writes scene files.
//
//   qelon                       demo.png, then a window if there is a display
//   qelon render [SCENE] [-o FILE] [--size WxH]
//                               the picture only (default demo.png, 800x600)
//   qelon view [SCENE] [--size WxH] [--frames N] [--exit-after SECONDS]
//   qelon info SCENE            the scene's tree and the messages of loading it
//   qelon save-demo FILE        the demo scene as a scene file
//
// SCENE is a scene file, drawn instead of the demo scene.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include <qelon/qelon.h>

#include "demoscene.h"
#include "scenefile.h"

namespace {

const char* const kUsage =
    "usage: qelon [render [SCENE] [-o FILE] [--size WxH] | view [SCENE] [--size WxH] [--frames N] "
    "[--exit-after SECONDS] | info SCENE | save-demo FILE | --version | --help]\n"
    "  render     draws the demo scene (or the scene file SCENE) headless into a PNG file\n"
    "             (default demo.png, 800x600)\n"
    "  view       shows the demo scene (or SCENE) in a window (needs a display)\n"
    "  info       prints the tree of the scene file SCENE and the messages of loading it;\n"
    "             exit status 1 when loading logged errors\n"
    "  save-demo  writes the demo scene to the scene file FILE (its texture beside it)\n"
    "  none       both: demo.png, then the window when a display exists\n";

const char* const kKeys =
    "keys: drag = turn the scene, arrows = move the camera, PgUp/PgDn = up/down, "
    "R = reset, Esc/Q = quit";

struct TOptions {
  std::string scene;       // a scene file to draw instead of the demo scene
  std::string output = "demo.png";
  int width = 800, height = 600;
  int frames = 0;          // view: stop after drawing this many frames (0: no limit)
  double exitAfter = 0;    // view: stop after this many seconds (0: no limit)
};

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

bool ParseSize(const char* text, int& width, int& height) {
  int w = 0, h = 0;
  char rest = 0;
  if (std::sscanf(text, "%dx%d%c", &w, &h, &rest) != 2 || w < 1 || h < 1 || w > 16384 || h > 16384)
    return false;
  width = w;
  height = h;
  return true;
}

// Reads the options after the command, and a scene file when one may come;
// false on anything it does not know.
bool ParseOptions(int argc, char** argv, int first, bool scene, TOptions& o) {
  for (int i = first; i < argc; ++i) {
    const std::string a = argv[i];
    const bool hasValue = i + 1 < argc;
    if (scene && o.scene.empty() && !a.empty() && a[0] != '-') {
      o.scene = a;
    } else if ((a == "-o" || a == "--output") && hasValue) {
      o.output = argv[++i];
    } else if (a == "--size" && hasValue) {
      if (!ParseSize(argv[++i], o.width, o.height)) return false;
    } else if (a == "--frames" && hasValue) {
      o.frames = std::atoi(argv[++i]);
      if (o.frames < 1) return false;
    } else if (a == "--exit-after" && hasValue) {
      o.exitAfter = std::atof(argv[++i]);
      if (!(o.exitAfter > 0)) return false;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "--version") {
    std::printf("%s %s\n", QelProductName().c_str(), QelProductVersion().c_str());
    return 0;
  }
  if (command == "--help" || command == "-h") {
    std::printf("%s", kUsage);
    return 0;
  }
  const bool fileCommand = command == "info" || command == "save-demo";
  TOptions options;
  const bool known = command.empty() || command == "render" || command == "view";
  const bool scene = command == "render" || command == "view";
  if (fileCommand ? argc != 3 : !known || !ParseOptions(argc, argv, 2, scene, options)) {
    std::fprintf(stderr, "%s", kUsage);
    return 2;
  }
  try {
    if (command == "info") return SceneInfo(argv[2]);
    if (command == "save-demo") return SaveDemo(argv[2]);
    if (command == "render") return Render(options);
    if (command == "view") return View(options);
    const int rendered = Render(options);
    if (rendered != 0 || !QelGLFWWindowSystem()) return rendered;
    return View(options);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "qelon: %s\n", e.what());
    return 1;
  }
}
