#pragma once

#include <cstdint>
#include <vector>

/// Samples for the plug-in (interfaces/sample_format.h), many at a time, back to back in one
/// buffer. Plain values; one thread at a time.
namespace qbt2 {

/// One sample: where its bytes are, and what they do not contain.
struct SampleHead {
  std::uint64_t offset = 0;     ///< byte of the input at which the message, or the sample, begins
  std::uint64_t timestamp = 0;  ///< STP ticks, valid when has_timestamp
  std::uint64_t time_ns = 0;    ///< nanoseconds, valid when has_time_ns
  std::uint32_t begin = 0;      ///< first byte in SampleBatch::bytes
  std::uint32_t size = 0;       ///< bytes of the sample
  std::uint16_t master = 0;     ///< full STP master id (from a sample file: its low 8 bits)
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
