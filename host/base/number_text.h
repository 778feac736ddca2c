#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

/// Numbers to text (parse_number.h goes the other way). write_decimal and write_hex write straight
/// into a caller's characters: formatters spend most of their time on it, so there is no locale, no
/// allocation and no division for each digit. Any thread.
namespace qbt2 {

/// Characters that must be writable at `at` for any number: write_decimal and write_hex may write
/// past the end that they return, but never more than this.
inline constexpr std::size_t kMaxNumberChars = 20;

namespace detail {

struct ByteDigits {
  std::array<char, 3> digits{};
  std::uint8_t length = 0;
};

/// The decimal digits of 0 to 255: most columns hold one byte.
inline constexpr auto kByteDigits = [] {
  std::array<ByteDigits, 256> table{};
  for (unsigned value = 0; value < table.size(); ++value) {
    ByteDigits& entry = table[value];
    if (value >= 100) entry.digits[entry.length++] = static_cast<char>('0' + value / 100);
    if (value >= 10) entry.digits[entry.length++] = static_cast<char>('0' + value / 10 % 10);
    entry.digits[entry.length++] = static_cast<char>('0' + value % 10);
  }
  return table;
}();
static_assert(sizeof(ByteDigits) == 4);

/// Writes 0 to 255; stores four characters.
inline char* write_byte(char* at, std::uint64_t value) {
  const ByteDigits& entry = kByteDigits[value];
  std::memcpy(at, &entry, sizeof entry);
  return at + entry.length;
}

inline constexpr std::uint32_t kHundredMillion = 100'000'000;

/// The eight decimal digits of a value below kHundredMillion, leading zeros included, the first one
/// in the lowest byte: halved three times, all halves of a step at once.
constexpr std::uint64_t eight_digits(std::uint32_t value) {
  const std::uint64_t fours = value / 10'000 | std::uint64_t{value % 10'000} << 32;
  // 10486 / 2^20 is 1 / 100 closely enough for four digits, 103 / 2^10 is 1 / 10 for two.
  const std::uint64_t hundreds = (fours * 10486 >> 20) & 0x0000'007F'0000'007F;
  const std::uint64_t twos = hundreds | (fours - 100 * hundreds) << 16;
  const std::uint64_t tens = (twos * 103 >> 10) & 0x000F'000F'000F'000F;
  return tens | (twos - 10 * tens) << 8;
}
static_assert(eight_digits(12'345'678) == 0x08'07'06'05'04'03'02'01);
static_assert(eight_digits(99'999'999) == 0x09'09'09'09'09'09'09'09);

/// Stores the characters of digits in the order of eight_digits.
inline void store_digits(char* at, std::uint64_t digits) {
  digits += 0x3030'3030'3030'3030;
  if constexpr (std::endian::native == std::endian::big) digits = __builtin_bswap64(digits);
  std::memcpy(at, &digits, sizeof digits);
}

/// Writes 0 to 99999999 without leading zeros; stores eight characters.
inline char* write_up_to_eight(char* at, std::uint32_t value) {
  const std::uint64_t digits = eight_digits(value);
  constexpr std::uint64_t kLastDigit = std::uint64_t{1} << 56;  // kept even if it is 0
  const int leading_bits = std::countr_zero(digits | kLastDigit) & ~7;
  store_digits(at, digits >> leading_bits);
  return at + (64 - leading_bits) / 8;
}

inline char* write_eight(char* at, std::uint64_t value) {
  store_digits(at, eight_digits(static_cast<std::uint32_t>(value)));
  return at + 8;
}

inline constexpr auto kPowersOfTen = [] {
  std::array<std::uint64_t, 20> table{};
  table[0] = 0;  // so that 0 has one digit, as 1 has
  std::uint64_t power = 1;
  for (std::size_t n = 1; n < table.size(); ++n) table[n] = power *= 10;
  return table;
}();

}  // namespace detail

/// Number of decimal digits, 1 to 20.
inline std::size_t decimal_length(std::uint64_t value) {
  // 1233 / 4096 is just above log10(2): the guess is right or one too high.
  const std::size_t guess = static_cast<std::size_t>(std::bit_width(value | 1)) * 1233 >> 12;
  return guess + 1 - static_cast<std::size_t>(value < detail::kPowersOfTen[guess]);
}

/// Writes the decimal digits and returns the end. No loop and no branch for each digit: the number
/// of digits is what a processor predicts worst.
inline char* write_decimal(char* at, std::uint64_t value) {
  if (value < detail::kByteDigits.size()) return detail::write_byte(at, value);
  if (value < detail::kHundredMillion) {
    return detail::write_up_to_eight(at, static_cast<std::uint32_t>(value));
  }
  const std::uint64_t high = value / detail::kHundredMillion;
  const std::uint64_t low = value % detail::kHundredMillion;
  if (high < detail::kByteDigits.size()) {  // times in their first seconds
    at = detail::write_byte(at, high);
    return detail::write_eight(at, low);
  }
  if (high < detail::kHundredMillion) {
    at = detail::write_up_to_eight(at, static_cast<std::uint32_t>(high));
    return detail::write_eight(at, low);
  }
  at = detail::write_up_to_eight(at, static_cast<std::uint32_t>(high / detail::kHundredMillion));
  at = detail::write_eight(at, high % detail::kHundredMillion);
  return detail::write_eight(at, low);
}

/// The same for numbers of a known width (1, 2, 4 or 8 bytes), without the branches that this width
/// does not need: a column's values differ in length from row to row.
template <typename Number>
inline char* write_decimal_of(char* at, Number value) {
  if constexpr (sizeof(Number) == 1) {
    return detail::write_byte(at, value);
  } else if constexpr (sizeof(Number) == 2) {
    return detail::write_up_to_eight(at, value);
  } else if constexpr (sizeof(Number) == 4) {
    if (value < detail::kHundredMillion) return detail::write_up_to_eight(at, value);
    const std::uint32_t high = value / detail::kHundredMillion;  // at most 42
    at = detail::write_byte(at, high);
    return detail::write_eight(at, value - high * detail::kHundredMillion);
  } else {
    return write_decimal(at, value);
  }
}

/// Writes lower-case hexadecimal digits without a prefix, at least `min_digits` (at most 16) of
/// them, and returns the end.
inline char* write_hex(char* at, std::uint64_t value, std::size_t min_digits = 1) {
  const std::size_t needed = (static_cast<std::size_t>(std::bit_width(value | 1)) + 3) / 4;
  char* const end = at + (needed < min_digits ? min_digits : needed);
  for (char* digit = end; digit != at; value >>= 4) *--digit = "0123456789abcdef"[value & 0xF];
  return end;
}

inline void append_hex(std::string& text, std::uint64_t value, std::size_t min_digits = 1) {
  std::array<char, kMaxNumberChars> digits;
  text.append(digits.data(), write_hex(digits.data(), value, min_digits));
}

/// The same with the prefix 0x.
inline std::string hex_text(std::uint64_t value, std::size_t min_digits = 1) {
  std::string text = "0x";
  append_hex(text, value, min_digits);
  return text;
}

/// A number and the noun that it counts: "1 word", "2 words". `plural` where an s does not make it.
inline std::string counted(std::uint64_t count, std::string_view noun,
                           std::string_view plural = {}) {
  std::string text = std::to_string(count).append(" ");
  if (count == 1) return text.append(noun);
  return plural.empty() ? text.append(noun).append("s") : text.append(plural);
}

}  // namespace qbt2
