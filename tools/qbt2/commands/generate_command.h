#pragma once

#include "tools/qbt2/cli/command.h"

namespace qbt2::tool {

/// `qbt2 generate`: writes a synthetic capture and the settings that decode it.
Command add_generate_command(CLI::App& root);

}  // namespace qbt2::tool
