#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

/// Files of a test.
namespace qbt2::test {

/// The bytes of a file; empty if it cannot be opened.
inline std::string read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The lines of a file without their line feeds.
inline std::vector<std::string> read_lines(const std::filesystem::path& path) {
  std::istringstream text(read_file(path));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

/// An empty temporary folder, removed with all its files at the end.
class TestFolder {
 public:
  TestFolder() {
    path_ = testing::TempDir() + "qbt2-test-XXXXXX";
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder " + path_);
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string at(const std::string& name) const { return path_ + "/" + name; }
  std::string put(const std::string& name, const std::string& bytes) const {
    std::ofstream(at(name), std::ios::binary) << bytes;
    return at(name);
  }

 private:
  std::string path_;
};

}  // namespace qbt2::test
