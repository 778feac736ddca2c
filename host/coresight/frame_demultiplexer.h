#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "host/base/trace_id.h"
#include "host/coresight/frame_format.h"
#include "host/coresight/input_offsets.h"

/// Takes CoreSight formatter frames (frame_format.h) apart: a capture of several trace sources in,
/// the bytes of one of them out. Used by one thread at a time. Bad input never throws; it is
/// counted.
namespace qbt2 {

/// A trace source and how much data it has.
struct SourceBytes {
  std::uint8_t id = 0;
  std::uint64_t bytes = 0;

  friend bool operator==(const SourceBytes&, const SourceBytes&) = default;
};

class FrameDemultiplexer {
 public:
  /// Delivers the bytes of `source`, a trace ID; of none for kNullTraceId: then it only counts.
  explicit FrameDemultiplexer(std::uint8_t source = kNullTraceId);

  /// Reads the next bytes of the input, in chunks of any size, and calls
  /// take(std::span<const std::uint8_t> bytes, std::uint64_t stream_offset)
  /// for the source's bytes, in order and in blocks of up to kBlockBytes; all of the chunk has been
  /// delivered when push returns. A block is valid during the call only.
  template <typename Take>
  void push(std::span<const std::uint8_t> bytes, Take&& take) {
    while (!bytes.empty()) {
      bytes = bytes.subspan(fill_block(bytes));
      if (block_size_ == 0) continue;
      const std::uint64_t first = stream_bytes_ - block_size_;
      take(std::span<const std::uint8_t>(block_.get(), block_size_), first);
      block_size_ = 0;
    }
  }

  /// The same for a demultiplexer that only counts.
  void push(std::span<const std::uint8_t> bytes) {
    push(bytes, [](std::span<const std::uint8_t> /*block*/, std::uint64_t /*stream_offset*/) {});
  }

  /// The byte of the input that holds this byte of the source's stream; see InputOffsets.
  std::uint64_t input_offset(std::uint64_t stream_offset) const {
    return offsets_.input_offset(stream_offset);
  }

  /// Every byte of the input is one of these three. A frame that the end of the input cuts cannot
  /// be read (its last byte completes the others) and counts as framing; so does the part of a
  /// frame before an unexpected frame synchronization packet.
  std::uint64_t bytes_framing() const;
  std::uint64_t bytes_other_sources()
      const;  ///< also data before the first ID, and of reserved IDs
  std::uint64_t stream_bytes() const { return stream_bytes_; }

  std::uint64_t input_bytes() const { return input_bytes_; }
  /// Frames that a frame synchronization packet cut short: damage.
  std::uint64_t frames_cut() const { return frames_cut_; }
  /// Byte of the input at which the first of them begins; only where there is one.
  std::uint64_t first_cut_offset() const { return first_cut_offset_; }
  /// ID changes (bytes that select a source), and those to a reserved ID among them.
  std::uint64_t id_changes() const { return id_changes_; }
  std::uint64_t reserved_id_changes() const { return reserved_id_changes_; }
  /// The sources with data so far, by ID; without the null and the reserved IDs.
  std::vector<SourceBytes> sources() const;

  static constexpr std::size_t kBlockBytes = std::size_t{16} << 10;

 private:
  /// Data before the first ID belongs to an unknown source.
  static constexpr std::uint8_t kUnknownSource = 0x80;

  /// Reads until the block is full or the bytes end; returns how many it took.
  std::size_t fill_block(std::span<const std::uint8_t> bytes);
  std::size_t take_data_frames(std::span<const std::uint8_t> bytes);
  void take_byte(std::uint8_t byte);
  template <typename OffsetOf>
  void take_frame(const std::uint8_t* frame, OffsetOf&& offset_of);
  void put(std::uint8_t byte, std::uint64_t input_offset);

  std::uint8_t source_;
  std::uint8_t current_ = kUnknownSource;
  bool is_continuous_ = false;  ///< a frame synchronization packet was seen
  std::uint32_t newest_bytes_ = 0;
  std::size_t partial_size_ = 0;
  std::array<std::uint8_t, kFrameBytes> partial_{};
  std::array<std::uint64_t, kFrameBytes> partial_offsets_{};
  std::unique_ptr<std::uint8_t[]> block_;
  std::size_t block_size_ = 0;
  InputOffsets offsets_;
  std::uint64_t input_bytes_ = 0;
  std::uint64_t stream_bytes_ = 0;
  std::uint64_t frames_cut_ = 0;
  std::uint64_t first_cut_offset_ = 0;
  std::uint64_t id_changes_ = 0;
  std::uint64_t reserved_id_changes_ = 0;
  std::array<std::uint64_t, kUnknownSource + 1> source_bytes_{};
};

}  // namespace qbt2
