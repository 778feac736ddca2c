#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>
#include <vector>

/// What the options of all commands have in common.
namespace qbt2::tool {

/// What --help calls the value of an option: its kind, where it is not any text.
inline constexpr const char* kNumberValue = "N";
inline constexpr const char* kFileValue = "FILE";

/// Lets an option take one of `names` only.
CLI::Validator one_of(std::vector<std::string> names);

/// Makes an empty value, or the name of another option where a value should be, a usage error for
/// all options of `app`: a script whose variable is empty would otherwise get the default without a
/// word. Call it after the options have been added.
void check_values(CLI::App& app);

}  // namespace qbt2::tool
