#pragma once
// What the scene-file tests share: a scratch folder per test and an
// exchange to save and load with.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <qelon/qelon.h>

namespace qeltest {

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

class ExchangeTest : public ::testing::Test {
protected:
  void SetUp() override {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string("qelon-") + info->test_suite_name() + "-" + info->name();
    for (char& c : name)
      if (c == '/') c = '-';
    dir = std::filesystem::temp_directory_path() / name;
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
  }
  void TearDown() override { std::filesystem::remove_all(dir); }
  std::string File(const std::string& name) const { return (dir / name).string(); }
  std::filesystem::path dir;
  TQelExchange ex{nullptr};
};

}  // namespace qeltest
