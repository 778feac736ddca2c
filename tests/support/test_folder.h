#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace qbt2::test {

/// A folder of its own, gone afterwards.
class TestFolder {
 public:
  TestFolder() {
    path_ = testing::TempDir() + "qbt2-host-XXXXXX";
    mkdtemp(path_.data());
  }
  ~TestFolder() { std::filesystem::remove_all(path_); }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::string at(const std::string& name) const { return path_ + "/" + name; }
  std::string put(const std::string& name, const std::string& bytes) const {
    std::ofstream(at(name), std::ios::binary) << bytes;
    return at(name);
  }

 private:
  std::string path_;
};

}  // namespace qbt2::test
