#pragma once

#include <charconv>
#include <climits>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

/// Numbers read from text. Pure functions, any thread. number_text.h goes the other way.
namespace qbt2 {

enum class NumberFault : std::uint8_t { kNone, kNotANumber, kTooLarge };

/// The number, or why there is none.
template <std::integral Number>
struct ParsedNumber {
  Number value = 0;  ///< 0 with a fault
  NumberFault fault = NumberFault::kNone;

  explicit operator bool() const { return fault == NumberFault::kNone; }
  Number operator*() const { return value; }
};

/// The whole text as digits of `base` without a prefix; a '-' only for signed types.
template <std::integral Number = std::uint64_t>
ParsedNumber<Number> parse_digits(std::string_view text, int base,
                                  Number limit = std::numeric_limits<Number>::max()) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, status] = std::from_chars(text.data(), end, number, base);
  if (status == std::errc::invalid_argument || stop != end) return {0, NumberFault::kNotANumber};
  if (status != std::errc{} || number > limit) return {0, NumberFault::kTooLarge};
  return {number, NumberFault::kNone};
}

template <std::integral Number = std::uint64_t>
ParsedNumber<Number> parse_decimal(std::string_view text,
                                   Number limit = std::numeric_limits<Number>::max()) {
  return parse_digits<Number>(text, 10, limit);
}

/// Hexadecimal after 0x or 0X, decimal without.
inline ParsedNumber<std::uint64_t> parse_decimal_or_hex(std::string_view text,
                                                        std::uint64_t limit = UINT64_MAX) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  return parse_digits<std::uint64_t>(text.substr(hex ? 2 : 0), hex ? 16 : 10, limit);
}

/// As the decoder converts the fields of a use-case setting, with the rules of C's strtoul and base
/// 0: white space and a sign may come first, 0 means octal, and what follows the digits is ignored.
ParsedNumber<unsigned long> parse_c_number(const std::string& text,
                                           unsigned long limit = ULONG_MAX);
/// How many characters of `text` parse_c_number() reads.
std::size_t c_number_end(const std::string& text);

}  // namespace qbt2
