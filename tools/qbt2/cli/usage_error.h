#pragma once

#include <CLI/CLI.hpp>
#include <string>

/// What a person hears of a mistake in the arguments.
namespace qbt2::tool {

/// One sentence on what the parser of `root` could not take: the word at fault, and a command or
/// option that is near it or, where none is, the help to read.
std::string usage_error_text(const CLI::App& root, const CLI::ParseError& error);

}  // namespace qbt2::tool
