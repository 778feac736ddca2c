#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

/// What tests of the program share: a folder of its own for each test, and bytes put together by
/// hand.
namespace qbt2::test {

class ToolFolder : public ::testing::Test {
 protected:
  ToolFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "qbt2-tool-XXXXXX").string();
    folder_ = ::mkdtemp(name.data());
  }
  ~ToolFolder() override { std::filesystem::remove_all(folder_); }

  std::string at(const std::string& name) const { return (folder_ / name).string(); }
  std::string put(const std::string& name, const std::string& bytes) const {
    std::ofstream(at(name), std::ios::binary) << bytes;
    return at(name);
  }
  static std::string content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  /// The names of all files: shows what a failed run left behind.
  std::set<std::string> files() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

 private:
  std::filesystem::path folder_;
};

inline std::string word(std::uint32_t number) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
  return bytes;
}
inline std::string counted(const std::string& text) {
  return word(static_cast<std::uint32_t>(text.size())) + text;
}
/// A section of a trace data file.
inline std::string section(const std::string& name, std::uint32_t version,
                           const std::string& payload) {
  return word(static_cast<std::uint32_t>(12 + name.size() + payload.size())) + word(version) +
         counted(name) + payload;
}

}  // namespace qbt2::test
