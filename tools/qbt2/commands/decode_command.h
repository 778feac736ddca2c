#pragma once

#include "tools/qbt2/cli/command.h"

namespace qbt2::tool {

/// `qbt2 decode`: captures in, rows out.
Command add_decode_command(CLI::App& root);

}  // namespace qbt2::tool
