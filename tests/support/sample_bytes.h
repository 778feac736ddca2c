#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Samples put together by hand: byte 1 the probe id, bytes 4 to 7 the payload's byte count, then a
/// length byte 4 and a word for each word.
namespace qbt2::test {

inline std::string le32(std::uint32_t value) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}

inline std::string sample(std::uint8_t probe, const std::vector<std::uint32_t>& words) {
  std::string bytes = {0, static_cast<char>(probe), 0, 0};
  bytes += le32(static_cast<std::uint32_t>(5 * words.size()));
  for (const std::uint32_t word : words) bytes.append("\x04").append(le32(word));
  return bytes;
}

}  // namespace qbt2::test
