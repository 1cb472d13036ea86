// Saving and loading the "grid" scene, beside the XML parser alone on the
// same file as the floor for loading.
//
// Scene: N boxes, each under its own translation and stored with all its
// points and index lists (StoreMode smAll after Init), one directional
// light, one material shared by every box (kept outside the tree, so it is
// written in the anchor section and every box refers to it by ID).
// save: SaveToFile to a scratch file. load: LoadFromFile into a fresh node
// (destroying it afterwards is not timed, but reported as free_ms). parse:
// TXMLParser reading the same file, with OnTag and OnProgress bound to
// empty handlers as the loader binds them. Objects are the boxes, the light
// and the material.
//
// Run bench/run-exchange-bench.sh (Release build, repetitions); the program
// prints the ratios and whether each target is met at the end.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include <qelon/qelon.h>

#include "qelon/exchange/xmlparser.h"

namespace {

namespace fs = std::filesystem;

const int kSizes[] = {1000, 10000, 100000};

fs::path ScratchDir() {
  static const fs::path dir = [] {
    fs::path d = fs::temp_directory_path() / "qelon-bench-exchange";
    fs::create_directories(d);
    return d;
  }();
  return dir;
}

// The scene of n boxes and the file it was saved to; one per n, built on
// first use.
struct GridScene {
  explicit GridScene(int n) : objects(n + 2) {
    top = new TQelNode(&owner);
    auto* light = new TQelLight(top);
    light->SetKind(lkDirection);
    light->GetDirection()->SetValues(0, 0, 1);
    top->Add(light);
    auto* shared = new TQelMaterial(&owner);
    const int side = static_cast<int>(std::ceil(std::sqrt(double(n))));
    for (int i = 0; i < n; ++i) {
      auto* box = new TQelBox(top);
      box->GetTransformation()->GetTranslation()->SetValues((i % side) * 1.5, (i / side) * 1.5, 0);
      box->SetMaterial(shared);
      top->Add(box);
      box->Init();
      box->SetStoreMode(smAll);
    }
    file = (ScratchDir() / ("grid-" + std::to_string(n) + ".xml")).string();
    TQelExchange exchange(nullptr);
    exchange.SaveToFile(file, top);
    bytes = static_cast<int64_t>(fs::file_size(file));
  }
  ~GridScene() { fs::remove(file); }

  TComponent owner{nullptr};
  TQelNode* top = nullptr;
  int64_t objects;
  std::string file;
  int64_t bytes = 0;
};

GridScene& Scene(int n) {
  static std::map<int, std::unique_ptr<GridScene>> scenes;
  auto& scene = scenes[n];
  if (!scene) scene = std::make_unique<GridScene>(n);
  return *scene;
}

double Seconds(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void Report(benchmark::State& state, const GridScene& scene) {
  state.SetBytesProcessed(state.iterations() * scene.bytes);
  state.counters["objects_per_second"] =
      benchmark::Counter(static_cast<double>(scene.objects), benchmark::Counter::kIsIterationInvariantRate);
  state.counters["file_MB"] = static_cast<double>(scene.bytes) / 1e6;
}

void BM_Save(benchmark::State& state, int n) {
  GridScene& scene = Scene(n);
  const std::string file = (ScratchDir() / "saved.xml").string();
  TQelExchange exchange(nullptr);
  for (auto _ : state) exchange.SaveToFile(file, scene.top);
  fs::remove(file);
  Report(state, scene);
}

void BM_Load(benchmark::State& state, int n) {
  GridScene& scene = Scene(n);
  TQelExchange exchange(nullptr);
  double freeing = 0;
  for (auto _ : state) {
    auto owner = std::make_unique<TComponent>(nullptr);
    auto* node = new TQelNode(owner.get());
    auto start = std::chrono::steady_clock::now();
    exchange.LoadFromFile(scene.file, node);
    state.SetIterationTime(Seconds(start));
    if (node->GetCount() != scene.objects - 1) state.SkipWithError("the loaded node differs");
    start = std::chrono::steady_clock::now();
    owner.reset();
    freeing += Seconds(start);
  }
  Report(state, scene);
  // Not part of the load time, but it grows with the scene too.
  state.counters["free_ms"] = freeing * 1e3 / static_cast<double>(state.iterations());
}

void BM_Parse(benchmark::State& state, int n) {
  GridScene& scene = Scene(n);
  TXMLParser parser(nullptr);
  parser.SetFileName(scene.file);
  parser.OnTag = [](TXMLTag*&) {};
  parser.OnProgress = [](double) {};
  TObject sender;
  for (auto _ : state) parser.execute(&sender);
  Report(state, scene);
}

void Register() {
  for (int n : kSizes) {
    const std::string size = "/" + std::to_string(n);
    benchmark::RegisterBenchmark(("save" + size).c_str(), BM_Save, n)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(("load" + size).c_str(), BM_Load, n)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(("parse" + size).c_str(), BM_Parse, n)->Unit(benchmark::kMillisecond);
  }
}

// Keeps the seconds per iteration of every run (the median when repeated).
class Collector : public benchmark::ConsoleReporter {
public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& r : runs)
      if (r.run_type == Run::RT_Iteration || r.aggregate_name == "median")
        seconds[r.run_name.function_name] = r.GetAdjustedRealTime() / 1e3;  // ms
  }
  std::map<std::string, double> seconds;
};

}  // namespace

int main(int argc, char** argv) {
  Register();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::Shutdown();

  auto time = [&](const char* what, int n) {
    auto found = collector.seconds.find(std::string(what) + "/" + std::to_string(n));
    return found == collector.seconds.end() ? 0.0 : found->second;
  };
  auto verdict = [](bool met) { return met ? "met" : "MISSED"; };
  std::printf("\n%7s %10s %10s %10s %12s %12s %9s\n", "N", "save ms", "load ms", "parse ms",
              "save obj/s", "load obj/s", "load/parse");
  for (int n : kSizes) {
    const double save = time("save", n), load = time("load", n), parse = time("parse", n);
    if (load <= 0) continue;
    std::printf("%7d %10.2f %10.2f %10.2f %12.0f %12.0f %9.2f\n", n, save * 1e3, load * 1e3,
                parse * 1e3, save > 0 ? (n + 2) / save : 0.0, (n + 2) / load,
                parse > 0 ? load / parse : 0.0);
  }
  const double load10k = time("load", 10000), parse10k = time("parse", 10000);
  const double save10k = time("save", 10000), load100k = time("load", 100000);
  if (load10k > 0 && parse10k > 0) {
    const double ratio = load10k / parse10k;
    std::printf("load / parser alone at N=10000: %.2f (target at most 2.5: %s)\n", ratio,
                verdict(ratio <= 2.5));
    const double rate = 10002 / load10k;
    std::printf("loading at N=10000: %.0f objects/s (target at least 80000: %s)\n", rate,
                verdict(rate >= 80000));
  }
  if (load10k > 0 && load100k > 0) {
    const double growth = (load100k / 100002) / (load10k / 10002);
    std::printf("load time per object, N=100000 vs N=10000: %.2f (target at most 1.3: %s)\n",
                growth, verdict(growth <= 1.3));
  }
  const double save100k = time("save", 100000);
  if (save10k > 0 && save100k > 0)
    std::printf("save time per object, N=100000 vs N=10000: %.2f\n",
                (save100k / 100002) / (save10k / 10002));
  if (load10k > 0 && save10k > 0)
    std::printf("save / load time at N=10000: %.2f (target at most 1: %s)\n", save10k / load10k,
                verdict(save10k <= load10k));
  return 0;
}
