// Filling a 1000 x 1000 grid mesh (one million points, one quad list)
// through the store's appends, against the same data pushed into plain
// vectors. The capacity grows by 120 at a time, so this shows whether an
// append stays amortised constant.
#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <qelon/qelon.h>

#include <vector>

namespace {

constexpr int kSide = 1000;

void BM_StoreGrid(benchmark::State& state) {
  for (auto _ : state) {
    TQelPrimitivePoints points;
    TQelPrimitiveArray quads(GL_QUADS);
    for (int y = 0; y < kSide; ++y)
      for (int x = 0; x < kSide; ++x) points.Add(x, y, 0);
    for (int y = 0; y + 1 < kSide; ++y)
      for (int x = 0; x + 1 < kSide; ++x) {
        const uint32_t i = static_cast<uint32_t>(y * kSide + x);
        quads.AddIndex(i);
        quads.AddIndex(i + 1);
        quads.AddIndex(i + kSide + 1);
        quads.AddIndex(i + kSide);
      }
    benchmark::DoNotOptimize(points.GetVertexArray());
    benchmark::DoNotOptimize(quads.GetIndexArray());
  }
}

// The same data in std::vector with push_back (the baseline).
void BM_VectorGrid(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<double> vertex, normal, texture;
    std::vector<uint8_t> flags;
    std::vector<uint32_t> quads;
    for (int y = 0; y < kSide; ++y)
      for (int x = 0; x < kSide; ++x) {
        vertex.insert(vertex.end(), {double(x), double(y), 0.0});
        normal.insert(normal.end(), {0.0, 0.0, 0.0});
        texture.insert(texture.end(), {0.0, 0.0, 0.0});
        flags.push_back(0);
      }
    for (int y = 0; y + 1 < kSide; ++y)
      for (int x = 0; x + 1 < kSide; ++x) {
        const uint32_t i = static_cast<uint32_t>(y * kSide + x);
        quads.insert(quads.end(), {i, i + 1, i + kSide + 1, i + kSide});
      }
    benchmark::DoNotOptimize(vertex.data());
    benchmark::DoNotOptimize(quads.data());
  }
}

BENCHMARK(BM_VectorGrid)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StoreGrid)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
