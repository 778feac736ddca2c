#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Numbers as digits, written straight into a caller's characters: what formatters spend most of
/// their time on, so without locale, allocation or a division for each digit. Any thread.
namespace qbt2 {

/// Room that write_decimal and write_hex may use at `at`, whatever the number: they may write past
/// the end they return, but not past this.
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

/// "00" to "99".
inline constexpr auto kDigitPairs = [] {
  std::array<char, 200> table{};
  for (std::size_t value = 0; value < 100; ++value) {
    table[2 * value] = static_cast<char>('0' + value / 10);
    table[2 * value + 1] = static_cast<char>('0' + value % 10);
  }
  return table;
}();

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

/// Writes the decimal digits and returns the end.
inline char* write_decimal(char* at, std::uint64_t value) {
  if (value < detail::kByteDigits.size()) {
    const detail::ByteDigits& entry = detail::kByteDigits[value];
    std::memcpy(at, &entry, sizeof entry);
    return at + entry.length;
  }
  char* const end = at + decimal_length(value);
  char* digit = end;
  while (value >= 100) {
    const std::uint64_t rest = value / 100;
    std::memcpy(digit -= 2, &detail::kDigitPairs[2 * (value - 100 * rest)], 2);
    value = rest;
  }
  if (value >= 10)
    std::memcpy(digit - 2, &detail::kDigitPairs[2 * value], 2);
  else
    *--digit = static_cast<char>('0' + value);
  return end;
}

/// Writes lower-case hexadecimal digits without a prefix, at least `min_digits` (at most 16) of
/// them, and returns the end.
inline char* write_hex(char* at, std::uint64_t value, std::size_t min_digits = 1) {
  const std::size_t needed = (static_cast<std::size_t>(std::bit_width(value | 1)) + 3) / 4;
  char* const end = at + (needed < min_digits ? min_digits : needed);
  for (char* digit = end; digit != at; value >>= 4) *--digit = "0123456789abcdef"[value & 0xF];
  return end;
}

}  // namespace qbt2
