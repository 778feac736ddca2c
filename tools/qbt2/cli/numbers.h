#pragma once

#include <cstdint>
#include <string>

/// Numbers as the command line takes them: decimal, or hexadecimal behind 0x.
namespace qbt2::tool {

/// The number in `text`, at most `limit`. Throws Error(kUsage) that names the option.
std::uint64_t parse_number(const std::string& option, const std::string& text,
                           std::uint64_t limit = UINT64_MAX);

}  // namespace qbt2::tool
