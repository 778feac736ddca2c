#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
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

/// Bytes that are appended to and read. A sample is written in place, after the last one: memory is
/// cleared when it is first needed, and not again for each sample or batch.
class SampleBuffer {
 public:
  std::uint8_t* data() { return storage_.data(); }
  const std::uint8_t* data() const { return storage_.data(); }
  std::uint8_t* begin() { return data(); }
  std::uint8_t* end() { return data() + size_; }
  const std::uint8_t* begin() const { return data(); }
  const std::uint8_t* end() const { return data() + size_; }
  std::size_t size() const { return size_; }

  /// Where the next bytes go: at least `bytes`, of any content. Valid until the next call.
  std::uint8_t* room(std::size_t bytes) {
    if (storage_.size() - size_ < bytes) enlarge(bytes);
    return storage_.data() + size_;
  }
  /// The first `bytes` of room() are filled.
  void add(std::size_t bytes) { size_ += bytes; }
  void append(std::span<const std::uint8_t> bytes) {
    std::copy(bytes.begin(), bytes.end(), room(bytes.size()));
    add(bytes.size());
  }
  void clear() { size_ = 0; }

 private:
  void enlarge(std::size_t bytes) { storage_.resize(std::max(2 * storage_.size(), size_ + bytes)); }

  std::vector<std::uint8_t> storage_;  ///< the first size_ bytes count
  std::size_t size_ = 0;
};

/// Reused from batch to batch: clear() keeps the memory.
struct SampleBatch {
  std::vector<SampleHead> heads;
  SampleBuffer bytes;

  void clear() {
    heads.clear();
    bytes.clear();
  }
};

}  // namespace qbt2
