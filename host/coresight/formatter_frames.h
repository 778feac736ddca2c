#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "host/base/trace_id.h"

/// Takes CoreSight formatter frames apart: a capture of several trace sources in, the bytes of one
/// of them out. A frame is 16 bytes: bytes 0 to 14 are data or, at even places, source ids; byte 15
/// holds a bit for each even byte (the lowest bit of a data byte, or whether an id takes effect one
/// byte late). docs/formats/stp.md tells the rest.
///
/// Everything here is used by one thread at a time.
namespace qbt2 {

inline constexpr std::size_t kFrameBytes = 16;

/// Where in the input the bytes of a demultiplexed stream stood. Kept for the stretch around the
/// newest bytes only, so its size does not grow with the capture's.
class InputOffsets {
 public:
  /// The offset of a stream byte. Exact for the bytes of the last 64 KiB of the stream; for older
  /// ones the offset of the oldest byte known.
  std::uint64_t input_offset(std::uint64_t stream_offset) const;

  /// From `stream_offset` on, stream and input go on byte by byte, or (`whole_frames`) 15 bytes of
  /// each 16. Offsets do not decrease.
  void add(std::uint64_t stream_offset, std::uint64_t input_offset, bool whole_frames);
  /// Whether the newest mark already says this.
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

struct SourceBytes {
  std::uint8_t id = 0;
  std::uint64_t bytes = 0;

  friend bool operator==(const SourceBytes&, const SourceBytes&) = default;
};

class FrameDemultiplexer {
 public:
  /// Hands on the bytes of `source` (1 to 0x6F); with kNullTraceId none, it only counts.
  explicit FrameDemultiplexer(std::uint8_t source = kNullTraceId);

  /// Reads the next bytes of the input, in chunks of any size, and calls
  /// take(std::span<const std::uint8_t> bytes, std::uint64_t stream_offset)
  /// for the source's bytes, in order and in blocks of up to kBlockBytes; all that the chunk holds
  /// has been handed on when push returns. A block is valid during the call only.
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

  /// The byte of the input that holds this byte of the source's stream; see InputOffsets.
  std::uint64_t input_offset(std::uint64_t stream_offset) const {
    return offsets_.input_offset(stream_offset);
  }

  /// Every byte of the input is one of these three. A frame that the end of the input cuts cannot
  /// be read (its last byte completes the others) and counts as framing; so does what an unexpected
  /// synchronisation word cuts off.
  std::uint64_t bytes_framing() const;
  std::uint64_t bytes_other_sources() const;  ///< data before the first id and of reserved ids too
  std::uint64_t stream_bytes() const { return stream_bytes_; }

  std::uint64_t input_bytes() const { return input_bytes_; }
  /// Frames that a synchronisation word cut short: damage.
  std::uint64_t frames_cut() const { return frames_cut_; }
  /// ID changes (bytes that select a source), and those to a reserved ID among them.
  std::uint64_t id_changes() const { return id_changes_; }
  std::uint64_t reserved_id_changes() const { return reserved_id_changes_; }
  /// The sources with data so far, by id; without padding and reserved ids.
  std::vector<SourceBytes> sources() const;

  static constexpr std::size_t kBlockBytes = std::size_t{16} << 10;

 private:
  /// Before the first id nobody knows whose data it is.
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
  bool is_continuous_ = false;  // a synchronisation word was seen
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
  std::uint64_t id_changes_ = 0;
  std::uint64_t reserved_id_changes_ = 0;
  std::array<std::uint64_t, kUnknownSource + 1> source_bytes_{};
};

/// Whether `bytes`, the head of an input, hold an ASYNC and the VERSION behind it.
bool looks_like_stp(std::span<const std::uint8_t> bytes);

/// Whether `bytes`, the head of an input, read as frames name plausible sources, one of which
/// carries an ASYNC. Looks at the first 256 KiB.
bool looks_like_frames(std::span<const std::uint8_t> bytes);

}  // namespace qbt2
