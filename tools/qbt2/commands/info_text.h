#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/qbt2/commands/file_info.h"
#include "tools/qbt2/commands/master_names.h"

namespace qbt2::tool {

struct InfoTextOptions {
  std::size_t columns = 80;  ///< of the terminal
  bool all = false;          ///< list all masters and sections, not only some of them
};

/// What a file is and contains, for people: in one layout for files of all kinds, facts in the same
/// order, then lists. Safe for a terminal. Pure function.
std::string info_text(std::string_view file, const FileInfo& info, const MasterNames& names,
                      const InfoTextOptions& options);

}  // namespace qbt2::tool
