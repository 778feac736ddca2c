#include "tools/qbt2/cli/numbers.h"

#include <array>

#include "host/base/error.h"
#include "host/base/parse_number.h"

namespace qbt2::tool {
namespace {

struct Suffix {
  std::string_view text;
  std::uint64_t factor;
};
constexpr std::array<Suffix, 6> kSuffixes = {{{"Ki", std::uint64_t{1} << 10},
                                              {"Mi", std::uint64_t{1} << 20},
                                              {"Gi", std::uint64_t{1} << 30},
                                              {"k", 1'000},
                                              {"M", 1'000'000},
                                              {"G", 1'000'000'000}}};

/// Takes the suffix off the end of `text`; 1 where there is none.
std::uint64_t take_factor(std::string_view& text) {
  for (const Suffix& suffix : kSuffixes) {
    if (!text.ends_with(suffix.text)) continue;
    text.remove_suffix(suffix.text.size());
    return suffix.factor;
  }
  return 1;
}

[[noreturn]] void refuse(const std::string& option, std::string_view text,
                         const std::string& reason) {
  throw Error(ErrorCode::kUsage, option, "'" + std::string(text) + "' is " + reason);
}

}  // namespace

std::uint64_t parse_number(const std::string& option, std::string_view text, NumberRange range) {
  std::string_view digits = text;
  const std::uint64_t factor = take_factor(digits);
  const auto number = parse_decimal_or_hex(digits, range.most / factor);
  if (number.fault == NumberFault::kTooLarge) {
    refuse(option, text, "too large (at most " + std::to_string(range.most) + ")");
  }
  if (!number) refuse(option, text, std::string("not a number (") + kNumberForms + ")");
  if (number.value * factor < range.least) {
    refuse(option, text, "too small (at least " + std::to_string(range.least) + ")");
  }
  return number.value * factor;
}

}  // namespace qbt2::tool
