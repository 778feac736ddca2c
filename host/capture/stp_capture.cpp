#include "host/capture/stp_capture.h"

namespace qbt2 {

StpCaptureReader::StpCaptureReader(InputFile& input, const CaptureOptions& options)
    : input_(input), messages_(options, nullptr), piece_(kCapturePieceBytes) {}

bool StpCaptureReader::next(SampleBatch& batch) {
  if (ended_) return false;
  const std::size_t got = input_.read(piece_);
  bytes_ += got;
  if (got != 0) {
    messages_.push(std::span(piece_).first(got), batch);
  } else {
    messages_.finish(batch);
    ended_ = true;
  }
  return true;
}

CaptureCounts StpCaptureReader::counts() const {
  CaptureCounts counts;
  counts.bytes = bytes_;
  messages_.add_to(counts);
  return counts;
}

}  // namespace qbt2
