#pragma once

#include <cstdint>
#include <vector>

#include "host/capture/capture_reader.h"
#include "host/capture/stp_message_reader.h"
#include "host/coresight/frame_demultiplexer.h"

/// Captures in CoreSight formatter frames: the bytes of one source are extracted and read as STP.
namespace qbt2 {

/// Notice that frames were cut short, of how many and where the first one begins; to be called at
/// the end of a capture. No call where none was, or where `on_notice` is empty.
void report_cut_frames(const FrameDemultiplexer& frames,
                       const std::function<void(std::string_view text)>& on_notice);

class FramesCaptureReader : public CaptureReader {
 public:
  /// `input` must outlive the reader. Without options.source_id the only source of the input is
  /// found first (find_sources()). Throws Error(kUsage) with their IDs if there are several.
  FramesCaptureReader(InputFile& input, const CaptureOptions& options);

  bool next(SampleBatch& batch) override;
  std::uint64_t position() const override { return frames_.input_bytes(); }
  CaptureCounts counts() const override;

 private:
  /// Maps the source's stream to the frames.
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

  InputFile& input_;
  CaptureOptions options_;
  std::uint8_t source_;
  FrameDemultiplexer frames_;
  Offsets offsets_;
  StpMessageReader messages_;
  bool ended_ = false;
  bool is_cut_ = false;
  std::vector<std::uint8_t> piece_;
};

}  // namespace qbt2
