// libFuzzer target for the scene loader: any bytes, stored as a scene file
// in a private scratch folder and loaded into a fresh node. A malformed
// number (EQelConvertError) or an unreadable file (EQelFileError) is an
// expected outcome; a crash, a sanitizer report, a leak or any other
// exception is a finding. What loaded is then saved and loaded again: the
// library must read back whatever it writes, so there even a conversion
// error is a finding.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <qelon/qelon.h>

#include "qelon/platform/qelerror.h"

namespace {

namespace fs = std::filesystem;

// The scratch folder lives as long as the process, in memory where there is
// a memory file system. Relative file names in a scene (textures) resolve
// inside it, where nothing else is.
struct Scratch {
  Scratch() {
    const fs::path base = access("/dev/shm", W_OK) == 0 ? fs::path("/dev/shm") : fs::temp_directory_path();
    std::string pattern = (base / "qelon-fuzz-exchange-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    dir = pattern;
    input = (dir / "input.xml").string();
    output = (dir / "output.xml").string();
  }
  ~Scratch() {
    std::error_code ignored;
    fs::remove_all(dir, ignored);
  }
  fs::path dir;
  std::string input, output;
};

Scratch& Files() {
  static Scratch scratch;
  return scratch;
}

void Store(const std::string& fileName, const uint8_t* data, size_t size) {
  std::FILE* file = std::fopen(fileName.c_str(), "wb");
  if (!file || std::fwrite(data, 1, size, file) != size || std::fclose(file) != 0) std::abort();
}

volatile size_t sink;

// Loads fileName into a fresh node under owner; false on an expected error.
bool Load(const std::string& fileName, TComponent& owner, TQelNode*& node) {
  node = new TQelNode(&owner);
  TQelExchange exchange(nullptr);
  try {
    exchange.LoadFromFile(fileName, node);
  } catch (const EQelConvertError&) {
    return false;
  } catch (const EQelFileError&) {
    return false;
  }
  size_t sum = 0;
  for (const std::string& line : exchange.GetMessages()) sum += line.size();
  sink = sum;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Scratch& files = Files();
  Store(files.input, data, size);
  TComponent owner(nullptr);
  TQelNode* loaded = nullptr;
  if (!Load(files.input, owner, loaded)) return 0;

  TQelExchange writer(nullptr);
  if (!writer.SaveToFile(files.output, loaded)) __builtin_trap();
  TQelNode* again = nullptr;
  if (!Load(files.output, owner, again)) __builtin_trap();
  return 0;
}
