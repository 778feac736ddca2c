#pragma once

#include <cstdint>
#include <vector>

#include "host/capture/capture_reader.h"
#include "host/capture/stp_message_reader.h"

namespace qbt2 {

/// Captures that are one STP stream.
class StpCaptureReader : public CaptureReader {
 public:
  /// `input` must outlive the reader.
  StpCaptureReader(InputFile& input, const CaptureOptions& options);

  bool next(SampleBatch& batch) override;
  std::uint64_t position() const override { return bytes_; }
  CaptureCounts counts() const override;

 private:
  InputFile& input_;
  OnDamage on_damage_;
  StpMessageReader messages_;
  std::uint64_t bytes_ = 0;
  bool ended_ = false;
  bool is_cut_ = false;
  std::vector<std::uint8_t> piece_;
};

}  // namespace qbt2
