#include "scenefile.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <numbers>
#include <vector>

#include "demoscene.h"

namespace {

// --- Loading ---------------------------------------------------------------------

// An exchange that remembers the most severe level it was told of.
class TSceneExchange : public TQelExchange {
public:
  using TQelExchange::TQelExchange;

  void Error(int32_t level, const std::string& text) override {
    worst_ = std::min(worst_, level);
    TQelExchange::Error(level, text);
  }
  bool HasErrors() const { return worst_ <= qlError; }

private:
  int32_t worst_ = INT32_MAX;
};

// A bar on stderr for loads that take a while: it appears only on a
// terminal and only once the load has run for half a second.
class TProgressBar {
public:
  void Show(double fraction, const std::string& phase) {
    if (!terminal_) return;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    if (!shown_ && elapsed.count() < 0.5) return;
    const int percent = fraction > 0 ? static_cast<int>(std::min(fraction, 1.0) * 100) : 0;
    if (shown_ && percent == percent_) return;
    shown_ = true;
    percent_ = percent;
    constexpr int kWidth = 40;
    const int filled = percent * kWidth / 100;
    std::fprintf(stderr, "\r[%s%s] %3d%% %-20.20s", std::string(filled, '#').c_str(),
                 std::string(kWidth - filled, '.').c_str(), percent, phase.c_str());
    std::fflush(stderr);
  }

  // Clears the bar's line.
  void Finish() {
    if (shown_) std::fprintf(stderr, "\r%*s\r", 70, "");
    shown_ = false;
  }

private:
  const bool terminal_ = isatty(STDERR_FILENO) == 1;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  bool shown_ = false;
  int percent_ = -1;
};

// Whether the file holds the root tag every scene file starts with. The
// exchange reads a file without it as an empty scene, silently.
bool HasRootTag(const std::string& fileName) {
  std::ifstream in(fileName, std::ios::binary);
  std::string head(1 << 16, '\0');
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<size_t>(in.gcount()));
  return head.find("<QELGL") != std::string::npos;
}

struct TLoadResult {
  std::vector<std::string> messages;
  bool errors = false;   // a message of level 10 or below
  std::string failure;   // why the load stopped, when it did
};

// Loads fileName into top, logging messages up to messageLevel.
TLoadResult Load(const std::string& fileName, TQelNode* top, int32_t messageLevel) {
  TSceneExchange exchange(nullptr);
  exchange.SetMessageLevel(messageLevel);
  TProgressBar bar;
  exchange.OnProgress = [&bar](double fraction, const std::string& phase) {
    bar.Show(fraction, phase);
  };
  TLoadResult result;
  try {
    if (!exchange.LoadFromFile(fileName, top)) result.failure = "the load was refused";
  } catch (const std::exception& e) {
    result.failure = e.what();
  }
  bar.Finish();
  if (result.failure.empty() && !HasRootTag(fileName))
    result.failure = "not a scene file (no QELGL root tag near its start)";
  result.messages = exchange.GetMessages();
  result.errors = exchange.HasErrors();
  return result;
}

void PrintMessages(const std::vector<std::string>& messages, FILE* out) {
  for (const std::string& line : messages) std::fprintf(out, "%s\n", line.c_str());
}

// --- Framing ----------------------------------------------------------------------

struct TBounds {
  TQelMathVector lo{HUGE_VAL, HUGE_VAL, HUGE_VAL};
  TQelMathVector hi{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  bool Empty() const { return lo.x > hi.x; }
  void Add(const TQelMathVector& p) {
    for (int i = 0; i < 3; ++i) {
      lo[i] = std::min(lo[i], p[i]);
      hi[i] = std::max(hi[i], p[i]);
    }
  }
};

// A mesh that is not generated yet is generated now, as its first render
// would do.
TQelPrimitiveObj* GeneratedMesh(TQelRender* item) {
  auto* mesh = dynamic_cast<TQelPrimitiveObj*>(item);
  if (mesh && !mesh->GetInited()) mesh->Init();
  return mesh;
}

void AddPoints(TQelPrimitiveObj* mesh, const TQelMatrix& toWorld, TBounds& bounds) {
  const TQelPrimitivePoints* points = mesh->GetPoints();
  const double* v = points->GetVertexArray();
  if (!v) return;
  for (int32_t i = 0; i < points->GetCount(); ++i) {
    const TQelMathVector4d p = toWorld.MultVector({v[3 * i], v[3 * i + 1], v[3 * i + 2], 1});
    bounds.Add({p.x, p.y, p.z});
  }
}

// Every mesh drawn below node, whose frame toWorld carries into the world.
// Disabled items are not drawn, and neither is the anchor.
void AddMeshes(TQelNode* node, const TQelMatrix& toWorld, TBounds& bounds) {
  for (int32_t i = 0; i < node->GetCount(); ++i) {
    TQelRender* item = node->GetItems(i);
    if (!item || !item->GetEnabled()) continue;
    TQelMatrix m;
    item->GetTransformation()->CalcMatrix(m);
    m.MultMatrix(toWorld);  // toWorld x own
    if (auto* sub = dynamic_cast<TQelNode*>(item))
      AddMeshes(sub, m, bounds);
    else if (TQelPrimitiveObj* mesh = GeneratedMesh(item))
      AddPoints(mesh, m, bounds);
  }
}

TQelMathVector UnitCross(const TQelMathVector& a, const TQelMathVector& b) {
  TQelMathVector r;
  QelMathCrossProduct(a, b, r);
  QelMathNormalize(r);
  return r;
}

// --- The tree ---------------------------------------------------------------------

std::string Quoted(const TComponent* c) { return "\"" + c->GetName() + "\""; }

std::string Counted(int32_t n, const char* what) {
  return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

void PrintItem(TQelRender* item, int depth) {
  std::string line = std::string(2 * depth, ' ') + item->ClassName() + " " + Quoted(item);
  if (TQelPrimitiveObj* mesh = GeneratedMesh(item))
    line += ": " + Counted(mesh->GetPoints()->GetCount(), "point") + ", " +
            Counted(mesh->GetPrimitiveCount(), "index list");
  if (auto* object = dynamic_cast<TQelObject*>(item)) {
    const std::pair<const char*, const TComponent*> refs[] = {
        {"Material", object->GetMaterial()},
        {"Attributes", object->GetAttributes()},
        {"Texture", object->GetTexture()}};
    for (const auto& [role, ref] : refs)
      if (ref) line += std::string("; ") + role + " " + ref->ClassName() + " " + Quoted(ref);
  }
  std::printf("%s\n", line.c_str());
}

void PrintTree(TQelNode* node, int depth) {
  PrintItem(node, depth);
  for (int32_t i = 0; i < node->GetCount(); ++i) {
    TQelRender* item = node->GetItems(i);
    if (auto* sub = dynamic_cast<TQelNode*>(item))
      PrintTree(sub, depth + 1);
    else if (item)
      PrintItem(item, depth + 1);
  }
  if (node->HasAnchor() && node->GetAnchor()->GetCount() > 0) PrintTree(node->GetAnchor(), depth + 1);
}

}  // namespace

TSceneLoad LoadSceneFile(const std::string& fileName, TQelNode* top) {
  const TLoadResult result = Load(fileName, top, qlWarning);
  PrintMessages(result.messages, stderr);
  if (!result.failure.empty()) {
    std::fprintf(stderr, "qelon: cannot load %s: %s\n", fileName.c_str(), result.failure.c_str());
    return slFailed;
  }
  if (!result.errors) return slLoaded;
  std::fprintf(stderr, "qelon: %s has errors; drawing what could be read\n", fileName.c_str());
  return slWithErrors;
}

double FrameScene(TQelPerspectiveCamera* camera, TQelNode* top, int width, int height) {
  TBounds bounds;
  TQelMatrix m;
  top->GetTransformation()->CalcMatrix(m);
  AddMeshes(top, m, bounds);
  if (bounds.Empty()) bounds.Add({-1, -1, -1}), bounds.Add({1, 1, 1});

  TQelMathVector centre, back = kDemoViewDirection;
  for (int i = 0; i < 3; ++i) centre[i] = (bounds.lo[i] + bounds.hi[i]) / 2;
  QelMathNormalize(back);
  const TQelMathVector right = UnitCross({0, 1, 0}, back), up = UnitCross(back, right);
  // Far enough that every corner of the box lies inside the view angle, both
  // up and down and (wider by the aspect ratio) to the sides.
  const double tanY = std::tan(camera->GetViewAngle() * std::numbers::pi / 360);
  const double tanX = tanY * width / height;
  double distance = 0;
  for (int corner = 0; corner < 8; ++corner) {
    TQelMathVector v;
    for (int i = 0; i < 3; ++i) v[i] = (corner >> i & 1 ? bounds.hi[i] : bounds.lo[i]) - centre[i];
    const double along = QelMathDotProduct(v, back);
    distance = std::max({distance, along + std::abs(QelMathDotProduct(v, up)) / tanY,
                         along + std::abs(QelMathDotProduct(v, right)) / tanX});
  }
  distance = distance > 0 ? distance * 1.05 : 1;  // a small margin

  const double radius = QelMathVectorDist(bounds.lo, bounds.hi) / 2;
  camera->SetViewFar(static_cast<float>(2 * (distance + radius)));
  camera->SetViewNear(camera->GetViewFar() / 1000);
  camera->TurnAt({centre.x + distance * back.x, centre.y + distance * back.y,
                  centre.z + distance * back.z},
                 centre);
  return distance;
}

int SceneInfo(const std::string& fileName) {
  TQelNode top(nullptr);
  const TLoadResult result = Load(fileName, &top, qlPlain);
  if (result.failure.empty()) PrintTree(&top, 0);
  PrintMessages(result.messages, stdout);
  std::fflush(stdout);
  if (!result.failure.empty())
    std::fprintf(stderr, "qelon: cannot load %s: %s\n", fileName.c_str(), result.failure.c_str());
  return result.failure.empty() && !result.errors ? 0 : 1;
}

int SaveDemo(const std::string& fileName) {
  TQelNode scene(nullptr);
  scene.SetName("Demo");
  BuildDemoScene(&scene);
  TSceneExchange exchange(nullptr);
  exchange.SetMessageLevel(qlWarning);
  exchange.SetFileDescription("The demo scene of the qelon program");
  std::string failure;
  try {
    if (!exchange.SaveToFile(fileName, &scene)) failure = "the save was refused";
  } catch (const std::exception& e) {
    failure = e.what();
  }
  PrintMessages(exchange.GetMessages(), stderr);
  if (!failure.empty() || exchange.HasErrors()) {
    std::fprintf(stderr, "qelon: cannot save %s%s%s\n", fileName.c_str(),
                 failure.empty() ? "" : ": ", failure.c_str());
    return 1;
  }
  std::printf("wrote %s\n", fileName.c_str());
  return 0;
}
