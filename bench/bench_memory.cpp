// Heap bytes per box in the "grid" scene of bench_render: N boxes, each
// with its own translation, the shared attributes and material, generated
// and drawn once in a headless view. Every C++ allocation of the process
// goes through the operators below, which keep the live total (the usable
// size malloc hands out); the driver allocates with malloc and is not
// counted. Reported per box: the object, its generated mesh, what the first
// frame adds, and their total.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <qelon/qelon.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>
#include <vector>

namespace {

std::atomic<long long> liveBytes{0};

void* Allocate(size_t size, size_t align = 0) {
  void* p = nullptr;
  if (align > alignof(std::max_align_t)) {
    if (posix_memalign(&p, align, size ? size : 1) != 0) p = nullptr;
  } else {
    p = std::malloc(size ? size : 1);
  }
  if (!p) throw std::bad_alloc();
  liveBytes += static_cast<long long>(malloc_usable_size(p));
  return p;
}

void Free(void* p) {
  if (!p) return;
  liveBytes -= static_cast<long long>(malloc_usable_size(p));
  std::free(p);
}

}  // namespace

void* operator new(size_t n) { return Allocate(n); }
void* operator new[](size_t n) { return Allocate(n); }
void* operator new(size_t n, std::align_val_t a) { return Allocate(n, static_cast<size_t>(a)); }
void* operator new[](size_t n, std::align_val_t a) { return Allocate(n, static_cast<size_t>(a)); }
void* operator new(size_t n, const std::nothrow_t&) noexcept {
  try {
    return Allocate(n);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](size_t n, const std::nothrow_t& t) noexcept { return operator new(n, t); }
void operator delete(void* p) noexcept { Free(p); }
void operator delete[](void* p) noexcept { Free(p); }
void operator delete(void* p, size_t) noexcept { Free(p); }
void operator delete[](void* p, size_t) noexcept { Free(p); }
void operator delete(void* p, std::align_val_t) noexcept { Free(p); }
void operator delete[](void* p, std::align_val_t) noexcept { Free(p); }
void operator delete(void* p, size_t, std::align_val_t) noexcept { Free(p); }
void operator delete[](void* p, size_t, std::align_val_t) noexcept { Free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { Free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { Free(p); }

namespace {

constexpr int kSize = 256;

void BM_GridBytesPerBox(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  double objectBytes = 0, meshBytes = 0, frameBytes = 0;
  for (auto _ : state) {
    TComponent owner(nullptr);
    auto* view = new TQelView(&owner);
    view->SetSize(kSize, kSize);
    auto* camera = new TQelPerspectiveCamera(&owner);
    camera->TurnAt(ToVec(0, 0, 200), ZEROVEC);
    view->SetCamera(camera);
    auto* top = new TQelNode(&owner);
    auto* attributes = new TQelAttributes(&owner);
    attributes->SetLighting(true);
    auto* material = new TQelMaterial(&owner);
    view->OnRender = [top](TQelView* v) { top->Render(v); };
    view->HandleNeeded();
    view->Paint();  // the view's own first-frame allocations are not the boxes'

    std::vector<TQelBox*> boxes;
    boxes.reserve(static_cast<size_t>(n));
    const int side = static_cast<int>(std::ceil(std::sqrt(n)));
    const long long start = liveBytes;
    for (int i = 0; i < n; ++i) {
      auto* box = new TQelBox(top);
      box->GetTransformation()->GetTranslation()->SetValues(1.5f * (i % side), 1.5f * (i / side), 0);
      box->SetAttributes(attributes);
      box->SetMaterial(material);
      top->Add(box);
      boxes.push_back(box);
    }
    const long long objects = liveBytes;
    for (TQelBox* box : boxes) box->Init();
    const long long meshes = liveBytes;
    view->Paint();
    const long long frame = liveBytes;
    objectBytes = double(objects - start) / n;
    meshBytes = double(meshes - objects) / n;
    frameBytes = double(frame - meshes) / n;
    delete top;
  }
  // The object with its parts and its place in the node; the generated
  // store and index list; what the first frame adds.
  state.counters["object"] = objectBytes;
  state.counters["mesh"] = meshBytes;
  state.counters["frame"] = frameBytes;
  state.counters["total"] = objectBytes + meshBytes + frameBytes;
}

BENCHMARK(BM_GridBytesPerBox)->Arg(10000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
