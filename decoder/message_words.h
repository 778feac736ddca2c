#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "interfaces/sample_format.h"

/// The words of a sample (interfaces/sample_format.h) on their way to a message decoder. Belongs to
/// the decoder unit's thread.

namespace SampleFormat = Kz::Dvt::Trace::SampleFormat;

/// The words of one message. All are counted, but no more are kept than the longest message has, so
/// the size of a sample does not decide how much memory it takes.
struct MessageWords {
  std::array<std::uint32_t, SampleFormat::kMostWords> words{};
  std::size_t count = 0;

  void Append(std::uint32_t word) {
    if (count < words.size()) words[count] = word;
    ++count;
  }

  /// The words that were kept.
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
