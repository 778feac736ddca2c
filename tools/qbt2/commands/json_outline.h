#pragma once

#include <string>

#include "tools/qbt2/commands/json_list.h"

namespace qbt2::tool {

/// An object as indented lines of `name: value`, for people. Consecutive numbers are
/// joined (0-3, 7); in a list, an object without nested objects takes one line.
std::string outline(const Json& object);

}  // namespace qbt2::tool
