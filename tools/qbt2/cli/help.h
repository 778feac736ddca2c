#pragma once

#include <CLI/CLI.hpp>
#include <initializer_list>
#include <string_view>

/// What --help prints: lines of at most 80 columns, and at its end examples and exit statuses.
namespace qbt2::tool {

/// Lays out the help of `root` and of the commands that are added to it from now on.
void set_up_help(CLI::App& root);

/// Writes the end of a command's help; call it after the options have been added. `examples` are
/// command lines as they are typed, `statuses` the exit statuses that the command can have.
void end_help(CLI::App& app, std::initializer_list<std::string_view> examples,
              std::initializer_list<int> statuses);

}  // namespace qbt2::tool
