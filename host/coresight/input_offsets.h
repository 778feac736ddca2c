#pragma once

#include <cstdint>
#include <vector>

#include "host/coresight/frame_format.h"

namespace qbt2 {

/// Maps the bytes of a demultiplexed stream to their offsets in the input. Kept for the newest
/// bytes only, so its size does not depend on the capture's. One thread.
class InputOffsets {
 public:
  /// The offset in the input of a stream byte. Exact for the last 64 KiB of the stream; for older
  /// bytes the offset of the oldest byte known.
  std::uint64_t input_offset(std::uint64_t stream_offset) const;

  /// Adds a mark: from `stream_offset` on, the stream is the input's bytes from `input_offset` on,
  /// one by one or (`whole_frames`) 15 of each 16. Offsets must not decrease.
  void add(std::uint64_t stream_offset, std::uint64_t input_offset, bool whole_frames);
  /// Whether the newest mark already implies this one.
  bool continues(std::uint64_t stream_offset, std::uint64_t input_offset, bool whole_frames) const;

 private:
  struct Mark {
    std::uint64_t stream_offset;
    std::uint64_t input_offset;
    bool whole_frames;

    std::uint64_t at(std::uint64_t stream_offset) const;
  };

  std::vector<Mark> marks_;
};

// Inline: called for every byte of a frame with an ID change.
inline std::uint64_t InputOffsets::Mark::at(std::uint64_t offset) const {
  const std::uint64_t distance = offset - stream_offset;
  if (!whole_frames) return input_offset + distance;
  return input_offset + distance / kFrameDataBytes * kFrameBytes + distance % kFrameDataBytes;
}

inline bool InputOffsets::continues(std::uint64_t stream_offset, std::uint64_t input_offset,
                                    bool whole_frames) const {
  if (marks_.empty()) return false;
  const Mark& mark = marks_.back();
  if (mark.whole_frames != whole_frames || mark.at(stream_offset) != input_offset) return false;
  return !whole_frames || (stream_offset - mark.stream_offset) % kFrameDataBytes == 0;
}

}  // namespace qbt2
