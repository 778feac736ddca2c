#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "host/capture/capture_reader.h"
#include "host/stp/stp_reader.h"

/// A STP stream on its way to samples: the reader and the message assembler joined, with the counts
/// and reports that a capture owes its user.
namespace qbt2 {

/// What the readers of plain STP and of formatter frames share. One thread.
class StpRoad {
 public:
  /// `offsets` is null where the stream is the input itself.
  StpRoad(const CaptureOptions& options, StreamOffsets* offsets);

  void push(std::span<const std::uint8_t> stream_bytes, SampleBatch& batch);
  /// The stream has ended; messages that end with it are appended to `batch`.
  void finish(SampleBatch& batch);
  /// Adds what the stream held to `counts`.
  void add_to(CaptureCounts& counts) const;

 private:
  void report_choice();

  /// Sink of the reader: the assembler, and a word to the user about damage.
  struct Sink {
    FramingChooser chooser;
    const CaptureOptions* options;
    StreamOffsets* offsets;
    std::uint64_t async_packets = 0;

    void on_packet(const StpPacket& packet) {
      if (packet.kind == StpKind::kAsync) ++async_packets;
      chooser.on_packet(packet);
    }
    void on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason);
    void on_skipped(const StpSkippedRange& range) { chooser.on_skipped(range); }
  };

  CaptureOptions options_;
  StpReader reader_;
  Sink sink_;
  bool choice_reported_ = false;
};

class StpCaptureReader : public CaptureReader {
 public:
  StpCaptureReader(InputFile& input, const CaptureOptions& options);

  bool next(SampleBatch& batch) override;
  std::uint64_t position() const override { return bytes_; }
  CaptureCounts counts() const override;

 private:
  InputFile& input_;
  StpRoad road_;
  std::uint64_t bytes_ = 0;
  bool ended_ = false;
  std::vector<std::uint8_t> piece_;
};

}  // namespace qbt2
