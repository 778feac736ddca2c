#pragma once

#include <vector>

#include "host/pieces/stp_piece.h"

namespace qbt2 {

/// Reads pieces from a guess of the state in which they begin. One thread at a time.
class StpPieceReader {
 public:
  /// `options` of the capture; their callbacks are not used.
  StpPieceReader(const CaptureOptions& options, Framing framing);

  /// Reads a piece that has a cut and a guess; appends its samples to `samples`. A piece with more
  /// than kMostPieceSources is left unread.
  void read(StpPiece& piece, SampleBatch& samples);

 private:
  ResumableReader messages_;
};

/// Sources (master, channel) of a piece, so that a reader's memory stays small.
inline constexpr std::size_t kMostPieceSources = 1024;

}  // namespace qbt2
