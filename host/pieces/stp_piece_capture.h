#pragma once

#include <cstdint>
#include <memory>

#include "host/base/input_file.h"
#include "host/capture/capture_reader.h"
#include "host/pieces/stp_piece_cutter.h"
#include "host/pieces/stp_piece_reader.h"
#include "host/pieces/stp_stitcher.h"

namespace qbt2 {

/// A capture that is one STP stream, read in pieces: what StpCaptureReader is for one thread. All
/// belongs to one thread but make_reader().
class StpPieceCapture {
 public:
  /// `input` must outlive the capture and be at its first byte. The callbacks run inside stitch()
  /// and finish().
  StpPieceCapture(InputFile& input, const CaptureOptions& options);

  /// Fills `piece` with the next bytes; false at the end of the input. Where it wants
  /// to be read, a reader reads it before it is stitched. Throws Error(kInput).
  bool next(StpPiece& piece);
  /// For the pieces of this capture; to be used by one thread at a time. Any thread.
  std::unique_ptr<StpPieceReader> make_reader(const StpPiece& piece) const {
    return std::make_unique<StpPieceReader>(options_, piece.framing);
  }
  /// As those of StpStitcher.
  void stitch(StpPiece& piece, SampleBatch& samples) { stitcher_.stitch(piece, samples); }
  void finish(SampleBatch& samples);

  /// Bytes of the input read so far.
  std::uint64_t position() const { return input_.position(); }
  /// Complete after finish().
  CaptureCounts counts() const;

 private:
  InputFile& input_;
  const CaptureOptions options_;
  StpPieceCutter cutter_;
  StpStitcher stitcher_;
  bool is_cut_short_ = false;
};

}  // namespace qbt2
