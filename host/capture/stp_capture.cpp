#include "host/capture/stp_capture.h"

namespace qbt2 {

StpCaptureReader::StpCaptureReader(InputFile& input, const CaptureOptions& options)
    : input_(input),
      on_damage_(options.on_damage),
      messages_(options, nullptr),
      piece_(kCapturePieceBytes) {}

bool StpCaptureReader::next(SampleBatch& batch) {
  if (ended_) return false;
  const std::size_t got = input_.read(piece_);
  bytes_ += got;
  if (got != 0) {
    messages_.push(std::span(piece_).first(got), batch);
  } else {
    messages_.finish(batch);
    is_cut_ = report_if_cut(input_, on_damage_);
    ended_ = true;
  }
  return true;
}

CaptureCounts StpCaptureReader::counts() const {
  CaptureCounts counts;
  counts.bytes = bytes_;
  counts.damages = is_cut_ ? 1 : 0;
  messages_.add_to(counts);
  return counts;
}

}  // namespace qbt2
