// Parse throughput of TXMLParser on a 20 MB saved scene, beside the floor
// for any one-pass character machine: a loop that visits every character
// once and switches on it. Prints the parser's share of that speed.
#include <benchmark/benchmark.h>

#include <qelon/exchange/xmlparser.h>

#include <cstdio>
#include <map>
#include <string>

namespace {

constexpr size_t kSceneBytes = 20u << 20;

void Attr(std::string& out, const char* name, const std::string& value) {
  out.append(" ").append(name).append("=\"").append(value).append("\"");
}

// One object tag of about eight attributes, as the exchange writes it.
void Object(std::string& out, int depth, int& id, const char* tag, bool empty) {
  out.append(2 * depth, ' ').append("<").append(tag);
  const std::string n = std::to_string(id++);
  Attr(out, "ID", n);
  Attr(out, "Name", "Object" + n);
  Attr(out, "Visible", id % 7 ? "true" : "false");
  Attr(out, "Position", std::to_string(id % 100) + ".25,-3.5," + std::to_string(id % 13) + ".125");
  Attr(out, "Rotation", "0,90," + std::to_string(id % 360));
  Attr(out, "Scale", "1,1,1.5");
  Attr(out, "Material", std::to_string(id % 50));
  Attr(out, "Quality", "quMedium");
  out.append(empty ? "/>\r\n" : ">\r\n");
}

// A node holding a few shapes and, below the deepest level, further nodes.
void Node(std::string& out, int depth, int& id) {
  Object(out, depth, id, "TQELNODE", false);
  for (int i = 0; i < 4; ++i) Object(out, depth + 1, id, "TQELSPHERE", true);
  if (depth < 4)
    for (int i = 0; i < 2; ++i) Node(out, depth + 1, id);
  out.append(2 * depth, ' ').append("</TQELNODE>\r\n");
}

const std::string& Scene() {
  static const std::string scene = [] {
    std::string out;
    out.reserve(kSceneBytes + (1 << 20));
    out.append("<?xml version=\"1.0\"?>\r\n");
    out.append("<QELGL version=\"0.1.0\" program=\"Qelon\" description=\"benchmark\">\r\n");
    out.append("  <Objects ID=\"0\" Name=\"Scene\">\r\n");
    int id = 1;
    while (out.size() < kSceneBytes) Node(out, 2, id);
    out.append("  </Objects>\r\n</QELGL>\r\n");
    return out;
  }();
  return scene;
}

void BM_XMLParser(benchmark::State& state) {
  const std::string& scene = Scene();
  TXMLParser parser(nullptr);
  int64_t tags = 0;
  // What a reading consumer binds: a look at every opened and closed tag.
  parser.OnTag = [&](TXMLTag*& tag) { tags += static_cast<int64_t>(tag->Params.size()); };
  parser.OnEndTag = [&](TXMLTag*& tag) { ++tags; };
  for (auto _ : state) {
    state.PauseTiming();
    parser.GetBuffer() = scene;
    state.ResumeTiming();
    parser.execute(nullptr);
  }
  benchmark::DoNotOptimize(tags);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(scene.size()));
}
BENCHMARK(BM_XMLParser)->Unit(benchmark::kMillisecond);

// Visits each character once up to the terminating zero, as the parser
// does, and counts the characters that drive its transitions.
void BM_BaselineCharLoop(benchmark::State& state) {
  const std::string& scene = Scene();
  for (auto _ : state) {
    int64_t lt = 0, gt = 0, quote = 0, equals = 0;
    for (const char* p = scene.c_str(); *p != '\0'; ++p) {
      switch (*p) {
        case '<': ++lt; break;
        case '>': ++gt; break;
        case '"': ++quote; break;
        case '=': ++equals; break;
        default: break;
      }
    }
    benchmark::DoNotOptimize(lt + gt + quote + equals);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(scene.size()));
}
BENCHMARK(BM_BaselineCharLoop)->Unit(benchmark::kMillisecond);

// Keeps each benchmark's throughput to print the ratio at the end.
class RatioReporter : public benchmark::ConsoleReporter {
public:
  std::map<std::string, double> bytesPerSecond;
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      auto it = run.counters.find("bytes_per_second");
      if (it != run.counters.end()) bytesPerSecond[run.benchmark_name()] = it->second;
    }
    ConsoleReporter::ReportRuns(runs);
  }
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  std::printf("scene: %zu bytes\n", Scene().size());
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  const double parser = reporter.bytesPerSecond["BM_XMLParser"];
  const double baseline = reporter.bytesPerSecond["BM_BaselineCharLoop"];
  if (parser > 0 && baseline > 0) {
    std::printf("parser %.1f MB/s, baseline loop %.1f MB/s, parser/baseline %.3f\n", parser / 1e6,
                baseline / 1e6, parser / baseline);
  }
  return 0;
}
