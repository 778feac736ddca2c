#pragma once

#include "tools/qbt2/cli/command.h"

namespace qbt2::tool {

/// qbt2 tdf list|show|extract|verify|create|add: looks into trace data files and makes them.
Command add_tdf_command(CLI::App& root);

}  // namespace qbt2::tool
