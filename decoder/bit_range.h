#pragma once

#include <cstdint>

/// A bit field in an array of 32-bit words, and its extraction. Pure functions; any thread may use
/// them.

/// `width` bits of word `word`, from bit `lowestBit` up; a width of 0 means no bits.
struct BitRange {
  std::uint8_t word = 0;
  std::uint8_t lowestBit = 0;
  std::uint8_t width = 0;
};

/// The bits of the range, shifted down to bit 0. The words must include `range.word`.
constexpr std::uint64_t Extract(const std::uint32_t* words, const BitRange& range) {
  const std::uint64_t mask = (std::uint64_t{1} << range.width) - 1;
  return (words[range.word] >> range.lowestBit) & mask;
}

/// Marks `width` bits from `lowestBit` up as taken, for compile-time checks of layouts; false when
/// they are outside a 32-bit word or already taken.
constexpr bool ClaimBits(std::uint64_t& taken, std::uint32_t lowestBit, std::uint32_t width) {
  const std::uint64_t bits = ((std::uint64_t{1} << width) - 1) << lowestBit;
  const bool isFree = lowestBit + width <= 32 && (taken & bits) == 0;
  taken |= bits;
  return isFree;
}
