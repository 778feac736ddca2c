#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "decoder/message_layout.h"

/// Constants of a sample: what the host hands to ProcessSamples for one message.
///
/// docs/formats/sample.md describes it. Numbers are little-endian, without alignment.

inline constexpr std::uint32_t kSampleProbeIdOffset = 1;
inline constexpr std::uint32_t kSamplePayloadCountOffset = 4;
inline constexpr std::uint32_t kSampleHeaderBytes = 8;
inline constexpr std::uint32_t kWordBytes = 4;
inline constexpr std::uint32_t kPairBytes = 1 + kWordBytes;  ///< a length byte and its word

/// The words of one message. Only those are kept that a message kind can use; all are counted, so
/// that a sample's size never decides how much memory is taken.
struct MessageWords {
  std::array<std::uint32_t, kMaxMessageWords> words{};
  std::size_t count = 0;

  void Append(std::uint32_t word) {
    if (count < words.size()) words[count] = word;
    ++count;
  }

  /// The words of a message that has a kind.
  [[nodiscard]] std::vector<unsigned int> ToVector() const {
    const std::size_t kept = std::min(count, words.size());
    return {words.data(), words.data() + kept};
  }
};

/// A 32-bit little-endian number at any address.
inline std::uint32_t LoadLittleEndian32(const std::uint8_t* bytes) {
  return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
         std::uint32_t{bytes[3]} << 24;
}
