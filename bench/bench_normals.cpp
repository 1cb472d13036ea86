// Vertex normals of a linked grid mesh (quads, every point with the normal
// link bit) at 10^4, 10^5 and 10^6 points, against the same computation with
// a quadratic all-pairs coincidence search at 10^4 points. The counter
// "per_point" is the time per point: the coincidence search sorts, so it may
// grow with log n, and must stay within 1.5 times from 10^4 to 10^6.
#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <qelon/qelon.h>

#include <cmath>
#include <vector>

namespace {

// side x side points one unit apart on a gentle wave, one quad list.
void MakeGrid(TQelPrimitiveObj& mesh, int side) {
  TQelPrimitivePoints* points = mesh.GetPoints();
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x) {
      const int32_t i = points->Add(x, y, 0.3 * std::sin(0.3 * x) * std::cos(0.2 * y));
      points->SetFlag(i, TQelPrimitivePoints::NormalLinkBit, true);
    }
  const int32_t list = mesh.AddPrimitiveArray(GL_QUADS);
  for (int y = 0; y + 1 < side; ++y)
    for (int x = 0; x + 1 < side; ++x) {
      const int32_t i = y * side + x;
      for (int32_t corner : {i, i + 1, i + side + 1, i + side}) mesh.AddIndex(corner, list);
    }
  mesh.SetInited(true);
}

void PerPoint(benchmark::State& state, int64_t points) {
  state.counters["per_point"] = benchmark::Counter(
      static_cast<double>(points), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_CalcNormals(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  TQelPrimitiveObj mesh(nullptr);
  MakeGrid(mesh, side);
  for (auto _ : state) {
    mesh.CalcNormals();
    benchmark::DoNotOptimize(mesh.GetPoints()->GetNormalArray());
  }
  PerPoint(state, int64_t(side) * side);
}

// The same normals, but every linked point is compared with every earlier
// one to find the point that stands for its position.
void BM_CalcNormalsAllPairs(benchmark::State& state) {
  const int side = static_cast<int>(state.range(0));
  TQelPrimitiveObj mesh(nullptr);
  MakeGrid(mesh, side);
  TQelPrimitivePoints* points = mesh.GetPoints();
  const int32_t n = points->GetCount();
  for (auto _ : state) {
    const double* v = points->GetVertexArray();
    const uint8_t* flags = points->GetFlagArray();
    std::vector<int32_t> master(n);
    for (int32_t i = 0; i < n; ++i) {
      master[i] = i;
      if (!(flags[i] & 1)) continue;
      for (int32_t j = 0; j < i; ++j)
        if ((flags[j] & 1) && std::fabs(v[3 * i] - v[3 * j]) < tolerance &&
            std::fabs(v[3 * i + 1] - v[3 * j + 1]) < tolerance &&
            std::fabs(v[3 * i + 2] - v[3 * j + 2]) < tolerance) {
          master[i] = master[j];
          break;
        }
    }
    std::vector<double> sum(3 * static_cast<size_t>(n), 0.0);
    auto at = [&](uint32_t i) { return TQelMathVector{v[3 * i], v[3 * i + 1], v[3 * i + 2]}; };
    auto add = [&](uint32_t a, uint32_t b, uint32_t c) {
      TQelMathVector f;
      QelMathNormalVector(at(a), at(b), at(c), true, f);
      for (uint32_t k : {a, b, c})
        for (int d = 0; d < 3; ++d) sum[3 * master[k] + d] += f[d];
    };
    const TQelPrimitiveArray* quads = mesh.GetPrimitive(0);
    const uint32_t* q = quads->GetIndexArray();
    for (int32_t k = 0; k + 3 < quads->GetCount(); k += 4) {
      add(q[k], q[k + 1], q[k + 2]);
      add(q[k + 2], q[k + 3], q[k]);
    }
    double* normals = points->GetNormalArray();
    for (int32_t i = 0; i < n; ++i) {
      TQelMathVector s{sum[3 * master[i]], sum[3 * master[i] + 1], sum[3 * master[i] + 2]};
      if (s == ZEROVEC) s = {0, 0, 1};
      QelMathNormalize(s);
      for (int d = 0; d < 3; ++d) normals[3 * i + d] = s[d];
    }
    benchmark::DoNotOptimize(normals);
  }
  PerPoint(state, n);
}

BENCHMARK(BM_CalcNormalsAllPairs)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CalcNormals)->Arg(100)->Arg(316)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
