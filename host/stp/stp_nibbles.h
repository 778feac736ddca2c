#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

/// Nibbles of an STP stream. Position 2n is the low half of byte n, 2n + 1 the high half; a value
/// of several nibbles is sent most significant nibble first. Pure functions; any thread.
namespace qbt2::detail {

constexpr std::uint8_t nibble_at(std::span<const std::uint8_t> data, std::size_t at) {
  return static_cast<std::uint8_t>((data[at / 2] >> (at % 2 * 4)) & 0xF);
}

/// 15 nibbles from `at` on (16 at the start of a byte), the first one lowest. Reads 8 bytes.
inline std::uint64_t nibbles_from(const std::uint8_t* data, std::size_t at) {
  std::uint64_t word = 0;
  std::memcpy(&word, data + at / 2, sizeof word);
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
  return word >> (at % 2 * 4);
}

/// Reverses the order of all 16 nibbles, so that the first one becomes the most significant.
constexpr std::uint64_t reverse_nibbles(std::uint64_t word) {
  constexpr std::uint64_t kLowNibbles = 0x0F0F0F0F0F0F0F0F;
  word = __builtin_bswap64(word);
  return (word & kLowNibbles) << 4 | (word >> 4 & kLowNibbles);
}

constexpr std::uint32_t reverse_nibbles_32(std::uint32_t word) {
  constexpr std::uint32_t kLowNibbles = 0x0F0F0F0F;
  word = __builtin_bswap32(word);
  return (word & kLowNibbles) << 4 | (word >> 4 & kLowNibbles);
}

}  // namespace qbt2::detail
