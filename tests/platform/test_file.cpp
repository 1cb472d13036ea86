// Whole files written through a temporary: the pieces arrive in order, and
// a failure leaves the old file and no temporary behind.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <qelon/platform/qelerror.h>
#include <qelon/platform/qelfile.h>

namespace fs = std::filesystem;

TEST(FileWriting, PiecesArriveInOrder) {
  const fs::path dir = fs::temp_directory_path() / "qelon-file-test";
  fs::remove_all(dir);
  fs::create_directories(dir);
  const std::string file = (dir / "f.txt").string();
  // More pieces than one system call takes, empty ones among them.
  std::vector<std::string> texts;
  std::string expected;
  for (int i = 0; i < 3000; ++i) {
    texts.push_back(i % 3 == 0 ? "" : std::to_string(i) + ",");
    expected += texts.back();
  }
  std::vector<std::string_view> pieces(texts.begin(), texts.end());
  QelWriteFileAtomically(file, pieces);
  std::ifstream in(file, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), expected);

  EXPECT_THROW(QelWriteFileAtomically((dir / "none" / "f.txt").string(), "x"), EQelFileError);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1);
  fs::remove_all(dir);
}
