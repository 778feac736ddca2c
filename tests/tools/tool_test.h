#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/sample_bytes.h"
#include "tests/support/test_folder.h"
#include "tests/tools/run_tool.h"

/// What the tests of the program share: a folder of their own, and captures put together by hand.
namespace qbt2::test {

/// An STP stream from its nibbles in the order of sending, written as hexadecimal digits; blanks
/// are for the reader only. The low half of a byte comes first. An odd number gets a NULL packet.
inline std::string stp(std::string_view digits) {
  std::string nibbles;
  std::copy_if(digits.begin(), digits.end(), std::back_inserter(nibbles),
               [](char c) { return c != ' '; });
  if (nibbles.size() % 2 != 0) nibbles += '0';
  std::string bytes;
  for (std::size_t i = 0; i < nibbles.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(std::string{nibbles[i + 1], nibbles[i]}, nullptr, 16));
  }
  return bytes;
}

/// One message of each kind. The timestamps are 16 and 31 ticks of 5 ns; the second message has the
/// first one's, since its FLAG brings none.
inline constexpr const char* kSync = "FFFFFFFFFFFFFFFFFFFFF0 F003";
inline constexpr const char* kFreq = "F08 0BEBC200";  // 200 MHz
inline constexpr const char* kMessages =
    "105     6 00000064 6 AB000019                                                  E2 10"
    "183     6 12345678 6 0009ABCD 6 00000309 6 FF000042                            FE"
    "F1 0105 6 56789ABC 6 AAF21234 6 9B0D7555 6 BA5D6ED9 6 6FD6B55E 6 FFFFF123      E1 F";

inline std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// The "name: value" lines of --stats.
inline std::map<std::string, std::uint64_t> statistics(const std::string& text) {
  std::map<std::string, std::uint64_t> values;
  for (const std::string& line : lines_of(text)) {
    const std::size_t colon = line.find(": ");
    if (line.starts_with("qbt2: ") || colon == std::string::npos) continue;
    values[line.substr(0, colon)] = std::strtoull(line.c_str() + colon + 2, nullptr, 10);
  }
  return values;
}

class ToolTest : public testing::Test, public TestFolder {
 protected:
  std::string get(const std::string& name) const { return read_file(at(name)); }
  /// The names of all files: shows what a failed run left.
  std::set<std::string> names() const {
    std::set<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(path())) {
      all.insert(entry.path().filename().string());
    }
    return all;
  }
  std::size_t files() const { return names().size(); }

  static ToolResult decode(std::vector<std::string> arguments, const std::string& input = {}) {
    arguments.insert(arguments.begin(), "decode");
    return run_tool(arguments, input);
  }
  /// A capture by the program's own generator, and its settings next to it; replaces earlier ones.
  std::string generate(const std::string& name, std::vector<std::string> options) const {
    options.insert(options.begin(), {"generate", "--force", "-o", at(name)});
    const ToolResult made = run_tool(options);
    EXPECT_EQ(made.status, 0) << made.err;
    return at(name);
  }

  const std::string& folder_ = path();
};

}  // namespace qbt2::test
