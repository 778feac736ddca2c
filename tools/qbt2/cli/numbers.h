#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Numbers as the command line takes them: decimal, or hexadecimal after 0x.
namespace qbt2::tool {

/// The number in `text`, at most `limit`. Throws Error(kUsage) that names the option.
std::uint64_t parse_number(const std::string& option, std::string_view text,
                           std::uint64_t limit = UINT64_MAX);

}  // namespace qbt2::tool
