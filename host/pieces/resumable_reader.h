#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

#include "host/capture/capture_reader.h"
#include "host/capture/message_assembler.h"
#include "host/capture/stp_message_reader.h"
#include "host/stp/stp_reader.h"

namespace qbt2 {

/// What is carried from one byte of an STP stream to the next, apart from counts.
struct StpReadState {
  StpReader reader;
  AssemblyState assembly;
};

/// What was read of an STP stream, apart from the number of its bytes.
struct StpReadCounts {
  StpCounters stp;
  std::uint64_t async_packets = 0;
  AssemblyCounts assembly;

  StpReadCounts& operator+=(const StpReadCounts& other);
  /// Takes back what was added before, except for the masters.
  StpReadCounts& operator-=(const StpReadCounts& other);
  void add_to(CaptureCounts& counts) const;
};

/// STP reader and message assembler, as StpMessageReader joins them, for a framing that is known:
/// its state can be saved, and another reader goes on from it. The stream is the input. One thread
/// at a time.
class ResumableReader {
 public:
  ResumableReader(const CaptureOptions& options, Framing framing);
  ResumableReader(const ResumableReader&) = delete;
  ResumableReader& operator=(const ResumableReader&) = delete;

  /// Where damage is reported to, as by CaptureOptions::on_damage; empty: nowhere.
  void set_on_damage(OnDamage on_damage) { sink_.on_damage = std::move(on_damage); }

  /// As those of StpMessageReader.
  void push(std::span<const std::uint8_t> stream_bytes, SampleBatch& batch);
  void finish(SampleBatch& batch);

  const StpReader& reader() const { return reader_; }
  MessageAssembler& assembler() { return sink_.assembler; }
  const MessageAssembler& assembler() const { return sink_.assembler; }
  /// What was read since the last call, without the masters.
  StpReadCounts take_counts();

  void save(StpReadState& state);
  /// Goes on from `state`, of a reader of the same stream with the same options. To be called after
  /// take_counts().
  void restore(const StpReadState& state);
  /// The same from a reader whose framing is settled; what that one has read is returned.
  StpReadCounts take_over(StpMessageReader& other);

 private:
  struct Sink {
    MessageAssembler assembler;
    OnDamage on_damage;
    std::uint64_t async_packets = 0;

    void on_packet(const StpPacket& packet) {
      if (packet.kind == StpKind::kAsync) ++async_packets;
      assembler.on_packet(packet);
    }
    bool may_begin_message(const StpCursor& cursor) const {
      return assembler.may_begin_message(cursor);
    }
    StpCursor take_messages(const StpCursor& cursor) { return assembler.take_messages(cursor); }
    void on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason);
    void on_skipped(const StpSkippedRange& range) { assembler.on_skipped(range); }
  };

  StpReader reader_;
  Sink sink_;
};

}  // namespace qbt2
