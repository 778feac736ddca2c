#pragma once

#include <cstddef>
#include <cstdint>

/// The sample: one bus tracer message, as ProcessSamples reads it (docs/formats/sample.md).
///
///   offset  bytes
///   0       1      not read
///   1       1      probe id: the STP master id, cut to 8 bits
///   2       2      not read
///   4       4      size of the payload in bytes: 5 for each word
///   8       5 * n  payload: for each word a length byte, always 4, and the word
///
/// Numbers are little-endian and need no alignment. The number of words is the kind of the message;
/// nothing else says it. Constants and pure functions; any thread may use them.
namespace Kz::Dvt::Trace::SampleFormat {

inline constexpr std::size_t kProbeIdOffset = 1;
inline constexpr std::size_t kPayloadBytesOffset = 4;
inline constexpr std::size_t kPayloadCountBytes =
    4;  ///< width of the number at kPayloadBytesOffset
inline constexpr std::size_t kHeaderBytes = 8;

inline constexpr std::uint8_t kWordLength = 4;              ///< the length byte before each word
inline constexpr std::size_t kPairBytes = 1 + kWordLength;  ///< a length byte and its word

/// Words of a message of each kind. A message of any other length gives no row.
inline constexpr std::size_t kThroughputWords = 2;
inline constexpr std::size_t kLatencyWords = 4;
inline constexpr std::size_t kTransactionWords = 6;
inline constexpr std::size_t kMostWords = kTransactionWords;

constexpr bool IsMessageLength(std::size_t words) {
  return words == kThroughputWords || words == kLatencyWords || words == kTransactionWords;
}

/// Bytes of a sample of `words` words, header included; also the offset of the length byte of word
/// `words`, counted from 0.
constexpr std::size_t SampleBytes(std::size_t words) {
  return kHeaderBytes + words * kPairBytes;
}

/// The probe id of an STP master: its low 8 bits. Masters that share them share a probe.
constexpr std::uint8_t ProbeOfMaster(std::uint32_t stpMaster) {
  return static_cast<std::uint8_t>(stpMaster & 0xFF);
}

}  // namespace Kz::Dvt::Trace::SampleFormat
