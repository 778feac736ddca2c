#pragma once

#include <cstdint>

namespace qbt2 {

/// Maps the bytes of an STP stream to their offsets in the input.
class StreamOffsets {
 public:
  virtual ~StreamOffsets() = default;
  /// Called with offsets that never decrease.
  virtual std::uint64_t input_offset(std::uint64_t stream_offset) = 0;
};

}  // namespace qbt2
