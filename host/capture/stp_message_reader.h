#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "host/capture/capture_reader.h"
#include "host/capture/framing_chooser.h"
#include "host/stp/stp_reader.h"

namespace qbt2 {

/// STP stream in, samples of its complete messages out: the STP reader and the message assembler
/// joined, with the counts and callbacks of a capture. Shared by the readers of plain STP and of
/// formatter frames. One stream, one thread.
class StpMessageReader {
 public:
  /// `offsets`, not owned, maps the stream to the input; null when the stream is the input.
  StpMessageReader(const CaptureOptions& options, StreamOffsets* offsets);
  StpMessageReader(const StpMessageReader&) = delete;
  StpMessageReader& operator=(const StpMessageReader&) = delete;

  /// Reads the next bytes of the stream; appends the samples that they complete to `batch`.
  void push(std::span<const std::uint8_t> stream_bytes, SampleBatch& batch);
  /// The stream has ended; messages that end with it are appended to `batch`.
  void finish(SampleBatch& batch);
  /// Adds what was read to `counts`; complete after finish().
  void add_to(CaptureCounts& counts) const;

  /// For another reader that goes on in the middle of the stream (host/pieces). The framing is
  /// empty until it does not change any more, and the assembler is there with it.
  std::optional<Framing> settled_framing() const { return sink_.chooser.settled_framing(); }
  MessageAssembler& settled_assembler() { return sink_.chooser.settled_assembler(); }
  const StpReader& reader() const { return reader_; }
  std::uint64_t async_packets() const { return sink_.async_packets; }
  /// Where the whole stream, of which `counts` are, has words but no row: says so in a notice and
  /// returns true. By finish(), or by whoever has gone on.
  bool report_no_message(const AssemblyCounts& counts) const;

 private:
  void report_choice();

  /// Sink of the STP reader: the framing chooser with its assembler, and the damage callback.
  struct Sink {
    FramingChooser chooser;
    const CaptureOptions* options;
    StreamOffsets* offsets;
    std::uint64_t async_packets = 0;

    void on_packet(const StpPacket& packet) {
      if (packet.kind == StpKind::kAsync) ++async_packets;
      chooser.on_packet(packet);
    }
    bool may_begin_message(const StpCursor& cursor) const {
      return chooser.may_begin_message(cursor);
    }
    StpCursor take_messages(const StpCursor& cursor) { return chooser.take_messages(cursor); }
    void on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason);
    void on_skipped(const StpSkippedRange& range) { chooser.on_skipped(range); }
  };

  CaptureOptions options_;
  StpReader reader_;
  Sink sink_;
  bool choice_reported_ = false;
};

}  // namespace qbt2
