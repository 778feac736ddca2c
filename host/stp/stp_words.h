#pragma once

#include <cstddef>
#include <cstdint>

#include "host/stp/stp_nibbles.h"
#include "host/stp/stp_opcodes.h"

/// Runs of D32 packets without mark and timestamp, the bulk of a stream, two at a time. Pure
/// functions; any thread.
namespace qbt2::detail {

inline constexpr StpOpcodeBits kD32Bits = opcode_bits(StpKind::kD32);
inline constexpr std::size_t kWordNibbles = 8;
inline constexpr std::size_t kD32Nibbles = 1 + kWordNibbles;
static_assert(kD32Bits.nibbles == 1);

/// The opcodes of two D32 in a row: 9 bytes, so that the position within a byte stays.
inline constexpr StpOpcodeBits kTwoD32Bits = {kD32Bits.bits | kD32Bits.bits << (4 * kD32Nibbles),
                                              kD32Bits.mask | kD32Bits.mask << (4 * kD32Nibbles),
                                              2};

/// The payloads that begin with the low 8 nibbles of each; the first one in the low half.
constexpr std::uint64_t two_words(std::uint64_t first, std::uint64_t second) {
  return reverse_nibbles(first << 32 | (second & 0xFFFFFFFF));
}

/// A position in the stream that moves by whole bytes, so that its shift is worked out once.
struct NibblePosition {
  const std::uint8_t* bytes;
  unsigned shift;

  NibblePosition(const std::uint8_t* data, std::size_t at)
      : bytes(data + at / 2), shift(at % 2 * 4) {}
  /// The nibbles from `byte` bytes further on.
  std::uint64_t window(std::size_t byte) const { return nibbles_from(bytes + byte, 0) >> shift; }
};

/// What take_word_pairs() has read.
struct WordRun {
  std::size_t words;
  std::uint64_t window;  ///< the nibbles after it
};

inline constexpr std::size_t kTwoD32Bytes = kD32Nibbles;  // twice as many nibbles, two a byte
/// Bytes from a D32 to the payload of the next one, for a position that moves by whole bytes.
inline constexpr std::size_t kNextPayloadBytes = (kD32Nibbles + 1) / 2;

/// Reads D32 packets from nibble `at` on, two at a time, `most` (an even number) at most. Calls
/// store(index, words) for each two, the first one in the low half. Reads up to 15 bytes past the
/// last one.
template <typename Store>
[[gnu::always_inline]] inline WordRun take_word_pairs(const std::uint8_t* data, std::size_t at,
                                                      std::size_t most, Store&& store) {
  const NibblePosition begin(data, at);
  std::size_t pairs = 0;
  std::uint64_t window = begin.window(0);
  while (kTwoD32Bits.begins(window) && pairs < most / 2) {
    const std::uint64_t second = begin.window(pairs * kTwoD32Bytes + kNextPayloadBytes);
    store(2 * pairs, two_words(window >> (4 * kD32Bits.nibbles), second));
    ++pairs;
    window = begin.window(pairs * kTwoD32Bytes);
  }
  return {2 * pairs, window};
}

}  // namespace qbt2::detail
