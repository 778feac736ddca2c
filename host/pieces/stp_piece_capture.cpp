#include "host/pieces/stp_piece_capture.h"

namespace qbt2 {
namespace {

/// Less than kCapturePieceBytes, so that an ASYNC in so many bytes is found in time, whichever way
/// they are aligned.
constexpr std::size_t kLeastPieceBytes = std::size_t{48} << 10;

}  // namespace

StpPieceCapture::StpPieceCapture(InputFile& input, const CaptureOptions& options)
    : input_(input),
      options_(options),
      cutter_([&input](std::span<std::uint8_t> buffer) { return input.read(buffer); },
              kLeastPieceBytes),
      stitcher_(options) {}

bool StpPieceCapture::next(StpPiece& piece) {
  if (!(stitcher_.may_cut() ? cutter_.next(piece) : cutter_.next_uncut(piece))) return false;
  stitcher_.prepare(piece);
  return true;
}

void StpPieceCapture::finish(SampleBatch& samples) {
  stitcher_.finish(samples);
  is_cut_short_ = report_if_cut(input_, options_.on_damage);
}

CaptureCounts StpPieceCapture::counts() const {
  CaptureCounts counts;
  counts.bytes = input_.position();
  counts.damages = is_cut_short_ ? 1 : 0;
  stitcher_.add_to(counts);
  return counts;
}

}  // namespace qbt2
