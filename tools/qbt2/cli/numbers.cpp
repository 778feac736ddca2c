#include "tools/qbt2/cli/numbers.h"

#include "host/base/error.h"
#include "host/base/parse_number.h"

namespace qbt2::tool {

std::uint64_t parse_number(const std::string& option, std::string_view text, std::uint64_t limit) {
  const auto number = parse_decimal_or_hex(text, limit);
  if (number) return *number;
  const std::string shown(text);
  if (number.fault == NumberFault::kTooLarge) {
    throw Error(ErrorCode::kUsage, option,
                shown + " is too large (at most " + std::to_string(limit) + ")");
  }
  throw Error(ErrorCode::kUsage, option,
              "'" + shown + "' is not a number (decimal, or hexadecimal after 0x)");
}

}  // namespace qbt2::tool
