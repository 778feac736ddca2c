#pragma once

#include <string>

#include "tools/qbt2/commands/json_list.h"

namespace qbt2::tool {

/// An object as indented lines of `name: value`, for people. Numbers that follow one another are
/// drawn together (0-3, 7); objects without objects in them take one line each in a list.
std::string outline(const Json& object);

}  // namespace qbt2::tool
