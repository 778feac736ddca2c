#pragma once

#include "tools/qbt2/cli/command.h"

namespace qbt2::tool {

/// qbt2 info: says what an input is and what it holds.
Command add_info_command(CLI::App& root);

}  // namespace qbt2::tool
