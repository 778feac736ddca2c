#pragma once

#include <span>
#include <string>

#include "host/rows/named_master.h"

namespace qbt2 {

/// One line that says how long the masters' sampling windows are, so that rows need not; empty
/// without masters. Any thread.
std::string window_line(std::span<const NamedMaster> masters);

}  // namespace qbt2
