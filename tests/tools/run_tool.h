#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// Runs the real qbt2 program as a user's shell would, with pipes for its three streams, and
/// returns its output. Any thread; the process has ended when the call returns.
namespace qbt2::test {

struct ToolRun {
  std::vector<std::string> arguments;
  std::string input;   ///< on standard input, which then ends
  std::string folder;  ///< to run in; empty: this process's
  std::string output;  ///< a file for standard output; empty: a pipe, whose text is returned
  /// "NAME=VALUE", added to this process's variables or replacing them.
  std::vector<std::string> environment;
  /// Stop reading standard output after this many bytes, as `| head` does.
  std::optional<std::size_t> close_output_after;
  std::chrono::seconds limit{60};
};

struct ToolResult {
  int status = -1;         ///< exit status; 128 + N when signal N ended it
  bool timed_out = false;  ///< it ran past the limit and was killed
  std::string out;
  std::string err;
};

/// Throws std::system_error where the program cannot be started.
ToolResult run_tool(const ToolRun& run);
ToolResult run_tool(const std::vector<std::string>& arguments, const std::string& input = {});

}  // namespace qbt2::test
