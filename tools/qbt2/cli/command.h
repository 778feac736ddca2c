#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

/// A sub-command of qbt2: its options hang on `app`; `run` does the work after parsing and returns
/// the exit status (0 all good, 1 finished but part of the input was damaged or rejected). What
/// ends a run early is thrown as qbt2::Error and becomes one line and status 2.
namespace qbt2::tool {

inline constexpr int kExitOk = 0;
inline constexpr int kExitDamaged = 1;
inline constexpr int kExitFailed = 2;

/// Makes an empty value of any of the options a usage error: a script whose variable is empty would
/// otherwise get the default without a word.
inline void refuse_empty_values(CLI::App& app) {
  const CLI::Validator not_empty(
      [](const std::string& value) { return std::string(value.empty() ? "empty value" : ""); }, "");
  for (CLI::Option* const option : app.get_options()) option->check(not_empty);
}

struct Command {
  CLI::App* app = nullptr;
  std::function<int()> run;
};

}  // namespace qbt2::tool
