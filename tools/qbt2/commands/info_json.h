#pragma once

#include <string_view>

#include "tools/qbt2/commands/file_info.h"
#include "tools/qbt2/commands/json_list.h"
#include "tools/qbt2/commands/master_names.h"

namespace qbt2::tool {

/// What a file is and contains, as `qbt2 info --format json` prints it. Scripts read it: members
/// are added, never renamed or removed. Names of masters only with settings. Pure function.
Json info_json(std::string_view file, const FileInfo& info, const MasterNames& names);

}  // namespace qbt2::tool
