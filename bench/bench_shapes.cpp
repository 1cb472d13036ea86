// The sphere generator at 10^6 triangles (1000 slices, 501 stacks: two pole
// rows of one triangle a slice), against a baseline in the same run: plain
// loops writing the same positions, normals, texture coordinates and
// indices into std::vectors. The generator must stay under 0.1 s; the
// counter "ratio" is its time over the baseline's.
#include <benchmark/benchmark.h>

#include <qelon/qelon.h>

#include <chrono>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

constexpr int kSlices = 1000, kStacks = 501;
double baselineSeconds = 0;

void BM_PlainLoops(benchmark::State& state) {
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    const size_t n = size_t(kSlices + 1) * (kStacks + 1);
    std::vector<double> pos(3 * n), nor(3 * n), tex(3 * n);
    std::vector<uint32_t> idx;
    idx.reserve(3'000'000);
    size_t k = 0;
    for (int v = 0; v <= kStacks; ++v)
      for (int u = 0; u <= kSlices; ++u, k += 3) {
        const double lon = 2 * std::numbers::pi * u / kSlices, lat = std::numbers::pi * v / kStacks - std::numbers::pi / 2;
        nor[k] = std::cos(lat) * std::cos(lon), nor[k + 1] = std::cos(lat) * std::sin(lon), nor[k + 2] = std::sin(lat);
        pos[k] = nor[k], pos[k + 1] = nor[k + 1], pos[k + 2] = nor[k + 2];
        tex[k] = double(u) / kSlices, tex[k + 1] = double(v) / kStacks, tex[k + 2] = 0;
      }
    for (uint32_t v = 0; v < kStacks; ++v)
      for (uint32_t u = 0; u < kSlices; ++u) {
        const uint32_t a = v * (kSlices + 1) + u, b = a + 1, c = b + kSlices + 1, d = a + kSlices + 1;
        if (v > 0) idx.insert(idx.end(), {a, b, c});
        if (v < kStacks - 1) idx.insert(idx.end(), {a, c, d});
      }
    benchmark::DoNotOptimize(idx.data());
    benchmark::DoNotOptimize(pos.data());
    baselineSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
}
BENCHMARK(BM_PlainLoops)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_SphereMillionTriangles(benchmark::State& state) {
  double seconds = 0;
  for (auto _ : state) {
    TQelSphere sphere(nullptr);
    sphere.SetSlices(kSlices);
    sphere.SetStacks(kStacks);
    const auto start = std::chrono::steady_clock::now();
    sphere.Init();
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.counters["triangles"] = sphere.GetPrimitive(0)->GetCount() / 3;
    state.SetIterationTime(seconds);
  }
  state.counters["seconds"] = seconds;
  if (baselineSeconds > 0) state.counters["ratio"] = seconds / baselineSeconds;
  state.counters["under_0.1s"] = seconds < 0.1;
}
BENCHMARK(BM_SphereMillionTriangles)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
