#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/pieces/stp_piece.h"

namespace qbt2 {

/// Takes the pieces of a stream in order and makes of each what one reader over the whole stream
/// makes of it: see stp_piece.h. One thread.
class StpStitcher {
 public:
  /// The callbacks of `options` are called in the order of the stream, inside stitch() and
  /// finish().
  explicit StpStitcher(const CaptureOptions& options);

  /// False until the framing is settled: pieces are to be stitched unread.
  bool may_cut() const { return readers_.has_value(); }
  /// Fills the part of a new piece that comes before it is read.
  void prepare(StpPiece& piece) const;

  /// The next piece of the stream and the samples that were read from it. Afterwards
  /// piece.exchange_beginning(samples) is due.
  void stitch(StpPiece& piece, SampleBatch& samples);
  /// The stream has ended.
  void finish(SampleBatch& samples);
  /// Adds what was read; complete after finish().
  void add_to(CaptureCounts& counts) const;
  /// Bytes read inside stitch(), those read from both states twice.
  std::uint64_t bytes_read_here() const { return bytes_read_here_; }

 private:
  /// The readers of a stream whose framing is settled.
  struct Readers {
    Readers(const CaptureOptions& options, Framing framing);
    ResumableReader all;      ///< in the state of one reader over the whole stream
    ResumableReader guessed;  ///< of the beginning of a piece, from its guess
  };

  void read_whole(StpPiece& piece, SampleBatch& samples);
  void settle_framing();
  bool is_usable(const StpPiece& piece);
  bool read_beginning(StpPiece& piece);
  void read(ResumableReader& reader, std::span<const std::uint8_t> bytes, SampleBatch& samples);
  bool states_agree();
  bool carries_message(const StpPiece& piece);
  void note_open_messages();
  void report(const StpPiece& piece) const;

  CaptureOptions options_;
  StpMessageReader first_;          ///< until the framing is settled
  std::optional<Readers> readers_;  ///< from then on
  Framing framing_ = Framing::kFlag;
  AssemblyState scratch_;
  std::vector<std::uint32_t> carried_;  ///< sources of the messages open before the piece
  SampleBatch guessed_samples_;
  StpReadCounts counts_;  ///< except for those of first_ until the framing is settled
  std::uint64_t bytes_read_here_ = 0;
};

}  // namespace qbt2
