#pragma once

#include "tools/qbt2/cli/command.h"

namespace qbt2::tool {

/// `qbt2 columns`: the column catalogue as the plug-in describes it.
Command add_columns_command(CLI::App& root);

}  // namespace qbt2::tool
