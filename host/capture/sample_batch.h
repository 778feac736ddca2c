#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// Samples on their way to the plug-in, many at a time, back to back in one buffer.
///
/// A sample is the plug-in's input: byte 1 the probe id, bytes 4 to 7 the payload's byte count,
/// then a length byte 4 and a little-endian 32-bit word for each word of the message.
namespace qbt2 {

inline constexpr std::size_t kSampleHeaderBytes = 8;
inline constexpr std::size_t kSampleWordBytes = 5;

/// What the host knows of one sample beyond its bytes.
struct SampleHead {
  std::uint64_t offset = 0;     ///< byte of the input where the first packet or the sample begins
  std::uint64_t timestamp = 0;  ///< STP ticks, valid when has_timestamp
  std::uint64_t time_ns = 0;    ///< nanoseconds, valid when has_time_ns
  std::uint32_t begin = 0;      ///< first byte in SampleBatch::bytes
  std::uint32_t size = 0;       ///< bytes of the sample
  std::uint16_t master = 0;     ///< full STP master id (a sample file knows only its low 8 bits)
  bool has_timestamp = false;
  bool has_time_ns = false;
};

/// Reused from batch to batch: clear() keeps the memory.
struct SampleBatch {
  std::vector<SampleHead> heads;
  std::vector<std::uint8_t> bytes;

  void clear() {
    heads.clear();
    bytes.clear();
  }
};

}  // namespace qbt2
