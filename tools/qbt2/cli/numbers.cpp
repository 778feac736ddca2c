#include "tools/qbt2/cli/numbers.h"

#include <charconv>

#include "host/base/error.h"

namespace qbt2::tool {

std::uint64_t parse_number(const std::string& option, const std::string& text,
                           std::uint64_t limit) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* const begin = text.data() + (hex ? 2 : 0);
  const char* const end = text.data() + text.size();
  std::uint64_t value = 0;
  const auto [stop, status] = std::from_chars(begin, end, value, hex ? 16 : 10);
  if (status == std::errc::result_out_of_range || (status == std::errc{} && value > limit)) {
    throw Error(ErrorCode::kUsage, option,
                text + " is too large (at most " + std::to_string(limit) + ")");
  }
  if (status != std::errc{} || stop != end || begin == end) {
    throw Error(ErrorCode::kUsage, option,
                "'" + text + "' is not a number (decimal, or hexadecimal behind 0x)");
  }
  return value;
}

}  // namespace qbt2::tool
