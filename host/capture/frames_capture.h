#pragma once

#include <cstdint>
#include <vector>

#include "host/capture/capture_reader.h"
#include "host/capture/stp_message_reader.h"
#include "host/coresight/formatter_frames.h"

/// Captures in CoreSight formatter frames: one source's bytes are taken out and read as STP.
namespace qbt2 {

class FramesCaptureReader : public CaptureReader {
 public:
  /// Without options.source_id the input is looked through for the only source it holds: a regular
  /// file whole, a stream as far as its first megabyte. Throws Error(kUsage) listing the ids where
  /// there are several.
  FramesCaptureReader(InputFile& input, const CaptureOptions& options);

  bool next(SampleBatch& batch) override;
  std::uint64_t position() const override { return frames_.input_bytes(); }
  CaptureCounts counts() const override;

 private:
  /// Where a byte of the source's stream stood among the frames.
  class Offsets : public StreamOffsets {
   public:
    explicit Offsets(const FrameDemultiplexer& frames) : frames_(frames) {}
    std::uint64_t input_offset(std::uint64_t stream_offset) override {
      return frames_.input_offset(stream_offset);
    }

   private:
    const FrameDemultiplexer& frames_;
  };

  void finish(SampleBatch& batch);
  void report_cut_frames() const;

  InputFile& input_;
  CaptureOptions options_;
  std::uint8_t source_;
  FrameDemultiplexer frames_;
  Offsets offsets_;
  StpMessageReader messages_;
  bool ended_ = false;
  std::vector<std::uint8_t> piece_;
};

}  // namespace qbt2
