#pragma once

// For tests: a folder of their own that goes with them, and a text in place of standard input.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

class TestFolder {
 public:
  TestFolder() {
    // Many test programs run at the same time: a folder counts as new only for the one that made it.
    std::random_device random;
    do {
      root_ = std::filesystem::temp_directory_path() / ("tarvo_test_" + std::to_string(random()));
    } while (!std::filesystem::create_directory(root_));
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::string Path(std::string_view name) const { return (root_ / name).make_preferred().string(); }
  std::string Write(std::string_view name, std::string_view bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
  }
  std::string Read(std::string_view name) const { return Content(name, std::ios::binary); }
  std::string ReadText(std::string_view name) const { return Content(name, {}); }
  bool Has(std::string_view name) const { return std::filesystem::exists(Path(name)); }

 private:
  std::string Content(std::string_view name, std::ios::openmode mode) const {
    std::ifstream file(Path(name), mode | std::ios::in);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::filesystem::path root_;
};

// Standard input reads `text` from now on.
inline void AnswerWith(const TestFolder& folder, std::string_view text) {
  ASSERT_NE(std::freopen(folder.Write("answers", text).c_str(), "r", stdin), nullptr);
}
