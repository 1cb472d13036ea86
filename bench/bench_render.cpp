// Frame time of the "grid" scene drawn by the library against a hand-written
// GL baseline issuing the same work, in the same run.
//
// Scene: N unit boxes (24 points with per-face normals, 12 triangles), each
// under its own translation on a square grid with spacing 1.5; one
// directional light; a 45-degree perspective camera that sees the whole
// grid; 256 x 256 offscreen; depth test and lighting on.
// Modes: dynamic (nothing cached), static (the top node cached; the
// baseline replays one display list), materials (every box its own
// material), cached (every box cached in its own display list; the
// baseline replays one list per box, holding that box's geometry).
//
// Run bench/run-render-bench.sh for both the normal driver and
// GALLIUM_NOOP=1 (Mesa does all its GL work but draws nothing, which
// isolates the per-object cost from rasterisation).
#include <GL/gl.h>
#include <GL/glu.h>
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <qelon/qelon.h>
#include "qelon/platform/qelegl.h"

namespace {

constexpr int kSize = 256;
enum Mode { kDynamic, kStatic, kMaterials, kCached };
const char* const kModeName[4] = {"dynamic", "static", "materials", "cached"};

// The grid's placement and a camera distance at which all of it is in view.
struct Grid {
  explicit Grid(int n) {
    const int side = static_cast<int>(std::ceil(std::sqrt(double(n))));
    for (int i = 0; i < n; ++i)
      positions.push_back({(i % side - (side - 1) / 2.0) * 1.5, (i / side - (side - 1) / 2.0) * 1.5, 0});
    const double half = (side - 1) * 1.5 / 2 + 0.87;  // plus a box's half diagonal
    distance = half / std::tan(22.5 * M_PI / 180) + 1.0;
  }
  std::vector<TQelMathVector> positions;
  double distance;
  double Near() const { return 0.5; }
  double Far() const { return distance + 2; }
};

// The colour of box i in materials mode.
TColor BoxColor(int i) { return 0x404040u + ((i * 37) & 0x3F) + (((i * 11) & 0x3F) << 8); }

// --- the library --------------------------------------------------------------

class LibraryScene {
public:
  LibraryScene(int n, Mode mode) {
    const Grid grid(n);
    view_ = new TQelView(&owner_);
    view_->SetSize(kSize, kSize);
    auto* camera = new TQelPerspectiveCamera(&owner_);
    camera->SetViewAngle(45);
    camera->SetViewNear(static_cast<float>(grid.Near()));
    camera->SetViewFar(static_cast<float>(grid.Far()));
    camera->TurnAt(ToVec(0, 0, grid.distance), ZEROVEC);
    view_->SetCamera(camera);

    top_ = new TQelNode(&owner_);
    auto* light = new TQelLight(top_);
    light->SetKind(lkDirection);
    light->GetDirection()->SetValues(0, 0, 1);
    top_->Add(light);
    auto* attributes = new TQelAttributes(&owner_);
    attributes->SetLighting(true);
    auto* shared = new TQelMaterial(&owner_);
    for (int i = 0; i < n; ++i) {
      auto* box = new TQelBox(top_);
      box->GetTransformation()->GetTranslation()->SetAsMathVector(grid.positions[i]);
      box->SetAttributes(attributes);
      if (mode == kMaterials) {
        auto* own = new TQelMaterial(&owner_);
        own->GetColorDiffuse()->SetColor(BoxColor(i));
        box->SetMaterial(own);
      } else {
        box->SetMaterial(shared);
      }
      box->SetCached(mode == kCached);
      top_->Add(box);
      // Generated now, as the baseline builds its arrays up front: left to
      // the first frame, each mesh's arrays land between the driver's
      // allocations of that frame, scattered in memory.
      box->Init();
    }
    top_->SetCached(mode == kStatic);
    view_->OnRender = [this](TQelView* v) { top_->Render(v); };
    view_->HandleNeeded();
  }
  ~LibraryScene() {
    delete top_;  // while the view and its context live
    top_ = nullptr;
  }

  void Frame() {
    view_->Paint();
    view_->SetCurrent(true);
    glFinish();
    view_->SetCurrent(false);
  }

private:
  TComponent owner_{nullptr};
  TQelView* view_ = nullptr;
  TQelNode* top_ = nullptr;
};

// --- the baseline -------------------------------------------------------------

class BaselineScene {
public:
  BaselineScene(int n, Mode mode) : grid_(n), mode_(mode), context_(kSize, kSize) {
    // The same box as the library's: per object its own arrays, as a mesh
    // object keeps its own store.
    static const int kCorner[6][4][3] = {
        {{-1, -1, 1}, {1, -1, 1}, {1, 1, 1}, {-1, 1, 1}},
        {{1, -1, -1}, {-1, -1, -1}, {-1, 1, -1}, {1, 1, -1}},
        {{-1, -1, -1}, {-1, -1, 1}, {-1, 1, 1}, {-1, 1, -1}},
        {{1, -1, 1}, {1, -1, -1}, {1, 1, -1}, {1, 1, 1}},
        {{-1, 1, 1}, {1, 1, 1}, {1, 1, -1}, {-1, 1, -1}},
        {{-1, -1, -1}, {1, -1, -1}, {1, -1, 1}, {-1, -1, 1}}};
    static const double kNormal[6][3] = {{0, 0, 1}, {0, 0, -1}, {-1, 0, 0},
                                         {1, 0, 0}, {0, 1, 0},  {0, -1, 0}};
    boxes_.resize(n);
    for (Box& b : boxes_) {
      for (int f = 0; f < 6; ++f) {
        for (int c = 0; c < 4; ++c)
          for (int k = 0; k < 3; ++k) {
            b.vertices.push_back(kCorner[f][c][k] * 0.5);
            b.normals.push_back(kNormal[f][k]);
          }
        for (int c : {0, 1, 2, 0, 2, 3}) b.indices.push_back(4 * f + c);
      }
    }
    for (int i = 0; i < n; ++i) {
      const TColor c = BoxColor(i);
      boxes_[i].diffuse[0] = (c & 0xFF) / 255.0f;
      boxes_[i].diffuse[1] = ((c >> 8) & 0xFF) / 255.0f;
      boxes_[i].diffuse[2] = ((c >> 16) & 0xFF) / 255.0f;
      boxes_[i].diffuse[3] = 1;
    }
    if (mode_ == kStatic) {
      context_.MakeCurrent();
      list_ = glGenLists(1);
      glNewList(list_, GL_COMPILE);
      DrawBoxes();
      glEndList();
      TQelOffscreenContext::Release();
    }
    if (mode_ == kCached) {
      context_.MakeCurrent();
      glEnableClientState(GL_VERTEX_ARRAY);
      glEnableClientState(GL_NORMAL_ARRAY);
      for (Box& b : boxes_) {
        b.list = glGenLists(1);
        glNewList(b.list, GL_COMPILE);
        DrawGeometry(b);
        glEndList();
      }
      glDisableClientState(GL_NORMAL_ARRAY);
      glDisableClientState(GL_VERTEX_ARRAY);
      TQelOffscreenContext::Release();
    }
  }

  void Frame() {
    context_.MakeCurrent();
    glViewport(0, 0, kSize, kSize);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(45, 1, grid_.Near(), grid_.Far());
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslated(0, 0, -grid_.distance);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    const GLfloat direction[4] = {0, 0, 1, 0};
    glLightfv(GL_LIGHT0, GL_POSITION, direction);
    if (mode_ == kStatic)
      glCallList(list_);
    else
      DrawBoxes();
    glFlush();
    glFinish();
    TQelOffscreenContext::Release();
  }

private:
  struct Box {
    std::vector<double> vertices, normals;
    std::vector<GLuint> indices;
    GLfloat diffuse[4];
    GLuint list = 0;
  };

  static void DrawGeometry(const Box& b) {
    glNormalPointer(GL_DOUBLE, 0, b.normals.data());
    glVertexPointer(3, GL_DOUBLE, 0, b.vertices.data());
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(b.indices.size()), GL_UNSIGNED_INT,
                   b.indices.data());
  }

  void DrawBoxes() {
    static const GLfloat kAmbient[4] = {0.2f, 0.2f, 0.2f, 1}, kDiffuse[4] = {0.8f, 0.8f, 0.8f, 1},
                         kBlack[4] = {0, 0, 0, 1};
    auto material = [](const GLfloat* diffuse) {
      glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, kAmbient);
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, diffuse);
      glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, kBlack);
      glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, kBlack);
      glMateriali(GL_FRONT_AND_BACK, GL_SHININESS, 0);
    };
    if (mode_ != kMaterials) material(kDiffuse);
    if (mode_ == kCached) {
      for (size_t i = 0; i < boxes_.size(); ++i) {
        glPushMatrix();
        glTranslatef(static_cast<float>(grid_.positions[i].x),
                     static_cast<float>(grid_.positions[i].y), 0);
        glCallList(boxes_[i].list);
        glPopMatrix();
      }
      return;
    }
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    for (size_t i = 0; i < boxes_.size(); ++i) {
      const Box& b = boxes_[i];
      glPushMatrix();
      glTranslatef(static_cast<float>(grid_.positions[i].x),
                   static_cast<float>(grid_.positions[i].y), 0);
      if (mode_ == kMaterials) material(b.diffuse);
      DrawGeometry(b);
      glPopMatrix();
    }
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
  }

  Grid grid_;
  Mode mode_;
  TQelOffscreenContext context_;
  std::vector<Box> boxes_;
  GLuint list_ = 0;
};

// A frame of the timed loop; a function of its own so that an instruction
// profiler can count exactly these (valgrind --toggle-collect='*TimedFrame*').
template <class Scene>
[[gnu::noinline]] void TimedFrame(Scene& scene) {
  scene.Frame();
}

template <class Scene>
double SecondsOfFrame(Scene& scene) {
  const auto start = std::chrono::steady_clock::now();
  TimedFrame(scene);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The library and the baseline draw the same scene in turns, frame by frame,
// so that a slower or faster phase of the machine hits both alike. The
// ratio is that of the median frame times.
void BM_Grid(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const Mode mode = static_cast<Mode>(state.range(1));
  LibraryScene library(n, mode);
  BaselineScene baseline(n, mode);
  library.Frame();  // first frames: generation, uploads, list recording
  baseline.Frame();
  std::vector<double> lib, base;
  for (auto _ : state) {
    const double b = SecondsOfFrame(baseline);
    const double l = SecondsOfFrame(library);
    state.SetIterationTime(l + b);
    lib.push_back(l);
    base.push_back(b);
  }
  auto median = [](std::vector<double> v) {
    std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
    return v[v.size() / 2];
  };
  const double libMedian = median(lib), baseMedian = median(base);
  state.counters["library_us_per_object"] = libMedian * 1e6 / n;
  state.counters["baseline_us_per_object"] = baseMedian * 1e6 / n;
  state.counters["ratio"] = libMedian / baseMedian;
}

void Register() {
  for (int n : {100, 1024, 10000})
    for (int mode : {kDynamic, kStatic, kMaterials, kCached})
      benchmark::RegisterBenchmark(
          ("grid/" + std::string(kModeName[mode]) + "/" + std::to_string(n)).c_str(), BM_Grid)
          ->Args({n, mode})
          ->UseManualTime()
          ->MinTime(1.0)
          ->Unit(benchmark::kMillisecond);
}

// Keeps the counters of every run (or of the median of repetitions).
class Collector : public benchmark::ConsoleReporter {
public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& r : runs)
      if (r.run_type == Run::RT_Iteration || r.aggregate_name == "median")
        results[r.run_name.function_name] = r.counters;
  }
  std::map<std::string, benchmark::UserCounters> results;
};

}  // namespace

int main(int argc, char** argv) {
  // glibc's heap trimming can make llvmpipe frame times several times
  // slower at random; both sides run with the same settings.
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  Register();
  benchmark::Initialize(&argc, argv);
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  const char* noop = std::getenv("GALLIUM_NOOP");
  std::printf("\nmalloc: M_TRIM_THRESHOLD 1 GiB, M_MMAP_THRESHOLD 32 MiB (both sides); GALLIUM_NOOP=%s\n",
              noop ? noop : "unset");
  std::printf("meshes generated when the scene is built (Init), as the baseline builds its arrays\n");
  std::printf("%-10s %6s %14s %15s %7s\n", "mode", "N", "library us/obj", "baseline us/obj",
              "ratio");
  for (int n : {100, 1024, 10000})
    for (int mode : {kDynamic, kStatic, kMaterials, kCached}) {
      auto found = collector.results.find("grid/" + std::string(kModeName[mode]) + "/" +
                                          std::to_string(n));
      if (found == collector.results.end()) continue;
      auto& c = found->second;
      std::printf("%-10s %6d %14.3f %15.3f %7.3f\n", kModeName[mode], n,
                  double(c["library_us_per_object"]), double(c["baseline_us_per_object"]),
                  double(c["ratio"]));
    }
  benchmark::Shutdown();
  return 0;
}
