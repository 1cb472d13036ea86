// What a click costs against what a frame costs, on the "grid" scene of
// bench_render (dynamic mode): N unit boxes, each under its own
// translation on a square grid with spacing 1.5, one directional light,
// lit, a 45-degree perspective camera that sees the whole grid, 256 x 256
// offscreen. A frame is Paint; a pick is GetObj at the middle of the view
// (the selection pass and the search for the object); select is the
// selection pass alone (GetSelection). They run in turns in the same
// process; the ratio is that of the median times. The target is a pick of
// at most two frames.
#include <GL/gl.h>
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <qelon/qelon.h>

namespace {

constexpr int kSize = 256;

class GridScene {
public:
  explicit GridScene(int n) {
    const int side = static_cast<int>(std::ceil(std::sqrt(double(n))));
    const double half = (side - 1) * 1.5 / 2 + 0.87;  // plus a box's half diagonal
    const double distance = half / std::tan(22.5 * M_PI / 180) + 1.0;
    view_ = new TQelView(&owner_);
    view_->SetSize(kSize, kSize);
    auto* camera = new TQelPerspectiveCamera(&owner_);
    camera->SetViewAngle(45);
    camera->SetViewNear(0.5f);
    camera->SetViewFar(static_cast<float>(distance + 2));
    camera->TurnAt(ToVec(0, 0, distance), ZEROVEC);
    view_->SetCamera(camera);

    top_ = new TQelNode(&owner_);
    auto* light = new TQelLight(top_);
    light->SetKind(lkDirection);
    light->GetDirection()->SetValues(0, 0, 1);
    top_->Add(light);
    auto* attributes = new TQelAttributes(&owner_);
    attributes->SetLighting(true);
    auto* material = new TQelMaterial(&owner_);
    for (int i = 0; i < n; ++i) {
      auto* box = new TQelBox(top_);
      box->GetTransformation()->GetTranslation()->SetValues(
          (i % side - (side - 1) / 2.0) * 1.5, (i / side - (side - 1) / 2.0) * 1.5, 0);
      box->SetAttributes(attributes);
      box->SetMaterial(material);
      top_->Add(box);
      box->Init();
    }
    view_->OnRender = [this](TQelView* v) { top_->Render(v); };
    view_->HandleNeeded();
  }
  ~GridScene() { delete top_; }  // while the view and its context live

  void Frame() {
    view_->Paint();
    Finish();
  }
  // The index list found (0 for a box), -2 for nothing.
  int32_t Pick() {
    TObject* obj = nullptr;
    const int32_t num = view_->GetObj(kSize / 2, kSize / 2, obj);
    Finish();
    return num;
  }

  void Select() {
    TQelSelectionList list;
    view_->GetSelection(kSize / 2, kSize / 2, list);
    Finish();
  }

private:
  void Finish() {
    view_->SetCurrent(true);
    glFinish();
    view_->SetCurrent(false);
  }
  TComponent owner_{nullptr};
  TQelView* view_ = nullptr;
  TQelNode* top_ = nullptr;
};

template <class F>
double Seconds(F&& f) {
  const auto start = std::chrono::steady_clock::now();
  f();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> v) {
  std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
  return v[v.size() / 2];
}

void BM_PickGrid(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  GridScene scene(n);
  scene.Frame();  // first frame: uploads and caches
  if (scene.Pick() != 0) {
    state.SkipWithError("the pick at the middle found no box");
    return;
  }
  std::vector<double> frames, picks, selects;
  for (auto _ : state) {
    const double f = Seconds([&] { scene.Frame(); });
    const double p = Seconds([&] { scene.Pick(); });
    const double s = Seconds([&] { scene.Select(); });
    state.SetIterationTime(f + p + s);
    selects.push_back(s);
    frames.push_back(f);
    picks.push_back(p);
  }
  const double frame = Median(frames), pick = Median(picks);
  state.counters["frame_ms"] = frame * 1e3;
  state.counters["pick_ms"] = pick * 1e3;
  state.counters["pick_per_frame"] = pick / frame;
  state.counters["select_ms"] = Median(selects) * 1e3;
}

BENCHMARK(BM_PickGrid)
    ->Arg(1024)
    ->Arg(10000)
    ->UseManualTime()
    ->MinTime(3.0)
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  // As bench_render: glibc's heap trimming makes llvmpipe frame times jump.
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
