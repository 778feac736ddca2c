#pragma once

#include <CLI/CLI.hpp>
#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// A sub-command of qbt2: its options hang on `app`; `run` does the work after parsing and returns
/// the exit status. What ends a run early is thrown as qbt2::Error and becomes one line and
/// kExitFailed.
namespace qbt2::tool {

inline constexpr int kExitOk = 0;
inline constexpr int kExitDamaged = 1;
inline constexpr int kExitFailed = 2;

/// What the exit statuses mean, for all commands; the place of a status is its number.
inline constexpr std::array<std::string_view, 3> kExitMeanings = {
    "everything was done",
    "finished, but part of the input was damaged, rejected or not there",
    "wrong usage, or a file that could not be opened, read or written",
};

struct Command {
  CLI::App* app = nullptr;
  std::function<int()> run;
};

/// Runs the command that the arguments named; one of them must have been.
inline int run_chosen(const std::vector<Command>& commands) {
  for (const Command& command : commands) {
    if (command.app->parsed()) return command.run();
  }
  return kExitFailed;
}

/// The command's name as it is typed: "qbt2 tdf list".
inline std::string full_name(const CLI::App& app) {
  const CLI::App* const parent = app.get_parent();
  return (parent == nullptr ? "" : full_name(*parent) + " ") + app.get_name();
}

}  // namespace qbt2::tool
