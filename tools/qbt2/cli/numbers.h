#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Numbers as the command line takes them, in every option of every command.
namespace qbt2::tool {

/// How a number may be written.
inline constexpr const char* kNumberForms =
    "decimal or 0x hexadecimal; suffixes k, M, G: powers of 1000, Ki, Mi, Gi: powers of 1024";

struct NumberRange {
  std::uint64_t least = 0;
  std::uint64_t most = UINT64_MAX;
};

/// The number in `text`. Throws Error(kUsage) that names the option, the text and what is allowed.
std::uint64_t parse_number(const std::string& option, std::string_view text,
                           NumberRange range = {});

}  // namespace qbt2::tool
