#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "host/pieces/stp_piece.h"

namespace qbt2 {

/// Cuts an STP stream into pieces while it is read. One thread.
class StpPieceCutter {
 public:
  /// Fills the buffer with the next bytes of the stream, from its front; 0: the end.
  using Read = std::function<std::size_t(std::span<std::uint8_t> buffer)>;

  /// A piece that begins with a cut has at least `piece_bytes`, unless the stream ends, and then up
  /// to the next place to cut, but at most about kCapturePieceBytes more: what follows has no cut.
  /// A piece without a cut ends at the first place, after kCapturePieceBytes at the latest.
  StpPieceCutter(Read read, std::size_t piece_bytes);

  /// Fills the cutter's part of the piece; false at the end of the stream. Throws what Read throws.
  bool next(StpPiece& piece);
  /// The same with a piece of up to kCapturePieceBytes, as StpCaptureReader reads, and no cut after
  /// it. Not after next().
  bool next_uncut(StpPiece& piece);

 private:
  std::optional<std::size_t> find_cut(std::vector<std::uint8_t>& bytes, std::size_t from,
                                      std::size_t most_bytes);
  bool read_more(std::vector<std::uint8_t>& bytes);

  Read read_;
  std::size_t piece_bytes_;
  std::uint64_t begin_ = 0;           ///< of the next piece
  std::optional<std::uint64_t> cut_;  ///< of the next piece
  std::uint8_t shared_ = 0;
  std::vector<std::uint8_t> rest_;  ///< the first bytes of the next piece
};

}  // namespace qbt2
