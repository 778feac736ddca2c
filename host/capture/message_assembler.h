#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/capture/assembly_counts.h"
#include "host/capture/finished_messages.h"
#include "host/capture/framing.h"
#include "host/capture/message_sources.h"
#include "host/capture/sample_batch.h"
#include "host/capture/stream_offsets.h"
#include "host/stp/stp_cursor.h"
#include "host/stp/stp_opcodes.h"
#include "host/stp/stp_packet.h"

/// Collects the D32 words of each (master, channel) into messages and writes each message as a
/// sample for the plug-in. Sink of the STP reader; one stream, one thread, bounded memory.
namespace qbt2 {

struct AssemblerOptions {
  Framing framing = Framing::kFlag;
  /// Rate of the timestamps in Hz until a FREQ packet gives it; 0: not known.
  std::uint64_t clock_hz = 0;
  /// Masters whose messages become samples, full STP ids; empty: all. The others are only counted.
  std::vector<std::uint16_t> masters;
  /// Not owned; null: the stream is the input.
  StreamOffsets* offsets = nullptr;
};

/// The newest timestamp and what it means.
struct AssemblyTime {
  std::uint64_t ticks = 0;
  bool known = false;  ///< whether any packet had a timestamp
  std::uint64_t clock_hz = 0;

  friend bool operator==(const AssemblyTime&, const AssemblyTime&) = default;
};

/// What an assembler carries from one packet to the next, apart from its counts.
struct AssemblyState {
  AssemblyTime time;
  std::vector<std::uint32_t> sources;  ///< keys of those remembered, in their order
  std::vector<MessageSource> open;     ///< those with an open message
};

class MessageAssembler {
 public:
  explicit MessageAssembler(const AssemblerOptions& options);

  /// Complete messages are appended to `batch` from now on. Not owned; to be set before the first
  /// packet.
  void set_batch(SampleBatch& batch) { finished_.set_batch(batch); }

  void on_packet(const StpPacket& packet) {
    // Only on_words() needs the time before this packet, so it is not kept here: a copy of it would
    // wait for the last packet's stores, once for every packet.
    if (packet.kind == StpKind::kD32 && continues_current(packet)) [[likely]] {
      take_time(packet);
      current_->append(static_cast<std::uint32_t>(packet.value));
      ++words_;
      return;
    }
    if (packet.kind == StpKind::kD32 || packet.kind == StpKind::kD64) {
      on_words(packet);
      return;
    }
    take_time(packet);
    switch (packet.kind) {
      case StpKind::kFlag:
        on_flag(packet);
        break;
      case StpKind::kD4:
      case StpKind::kD8:
      case StpKind::kD16:
        ++ignored_packets_;
        break;
      case StpKind::kMerr:
      case StpKind::kGerr:
        on_source_error(packet);
        break;
      case StpKind::kFreq:
      case StpKind::kFreq40:
        if (packet.value != 0) finished_.set_clock(packet.value);
        break;
      default:
        break;
    }
  }
  /// Messages that lie whole in the stream are taken at once: see StpMessageSink.
  bool may_begin_message(const StpCursor& cursor) const {
    return kMessageBegins[cursor.window & 0xF] && takes_whole_ &&
           cursor.context.coding == StpTimestampCoding::kNatural &&
           (current_ == nullptr ||
            current_->key != source_key(cursor.context.master, cursor.context.channel));
  }
  StpCursor take_messages(StpCursor cursor);
  void on_sync_lost(std::uint64_t /*byte_offset*/, StpSyncLoss /*reason*/) { drop_all(); }
  void on_skipped(const StpSkippedRange& /*range*/) {}

  /// The stream has ended. Open messages are incomplete, except under marker-first, where a capture
  /// that ends on a packet boundary ends them.
  void finish(bool on_packet_boundary);

  /// Messages begun and not ended, stray words included.
  std::uint64_t open_messages() const { return sources_.open_messages(); }
  /// Whether one of them may still get a length that the decoder knows.
  bool has_short_open_message();
  /// Runs of words outside any message: under marker-first, those before the first marked packet.
  std::uint64_t stray_messages() const { return stray_messages_; }
  /// Replaces AssemblerOptions::offsets from now on.
  void set_offsets(StreamOffsets* offsets) { offsets_ = offsets; }
  AssemblyCounts counts() const;
  /// counts() but for the masters; these counts begin from 0 again.
  AssemblyCounts take_counts();
  /// The masters of counts(); where no source was replaced since forget_sources().
  void add_masters_to(AssemblyCounts& counts) const;

  AssemblyTime time() const { return {newest_.ticks, newest_.known, finished_.clock_hz()}; }
  /// Sources (master, channel) remembered, at most kMostSources.
  std::size_t source_count() const { return sources_.all().size(); }
  /// Whether this source has an open message that began before byte `offset` of the input.
  bool has_message_before(std::uint32_t key, std::uint64_t offset);
  void save(AssemblyState& state);
  /// Goes on from `state`, saved by an assembler with the same options. The open messages of this
  /// one are gone; its counts and the sources that it remembers stay.
  void restore(const AssemblyState& state);
  /// Remembers no source, has no open message, and its sources' masters have no messages.
  void forget_sources();

 private:
  void add_own_to(AssemblyCounts& counts) const;

  struct Time {
    std::uint64_t ticks = 0;
    bool known = false;
  };

  /// By a packet's first nibble: whether it may be the first of a message, that is a D32 or a
  /// packet that selects a source.
  static constexpr std::array<bool, 16> kMessageBegins = [] {
    std::array<bool, 16> begins{};
    for (const StpKind kind : {StpKind::kM8, StpKind::kC8, StpKind::kD32}) {
      for (std::size_t nibble = 0; nibble < 16; ++nibble) {
        if (kStpOpcodes[0][nibble].kind == kind) begins[nibble] = true;
      }
    }
    begins[kNibbleF] = true;
    return begins;
  }();

  static std::uint32_t key_of(const StpPacket& packet) {
    return source_key(packet.master, packet.channel);
  }

  /// Whether the packet only adds a word to the message of the last packet, as nearly all do.
  bool continues_current(const StpPacket& packet) const {
    return current_ != nullptr && key_of(packet) == current_->key &&
           current_->words < kLongestMessageWords && !(packet.marked && mark_delimits_) &&
           !(packet.has_timestamp && timestamp_delimits_);
  }
  void take_time(const StpPacket& packet) {
    newest_.ticks = packet.timestamp;
    newest_.known |= packet.has_timestamp;
  }
  /// D32 and D64; includes take_time().
  void on_words(const StpPacket& packet);
  void on_flag(const StpPacket& packet);
  void on_source_error(const StpPacket& packet);
  MessageSource& source_of(const StpPacket& packet);
  void append_packet(MessageSource& source, const StpPacket& packet);
  void begin(MessageSource& source, const StpPacket& packet);
  void end(MessageSource& source);
  void finish_message(const MessageSource& source);
  void drop_all();

  Framing framing_;
  bool takes_whole_;
  bool mark_delimits_;
  bool timestamp_delimits_;
  StreamOffsets* offsets_;
  MessageSources sources_;
  FinishedMessages finished_;
  MessageSource* current_ = nullptr;  ///< of the last word, its message still open; or null
  Time newest_;
  std::uint64_t words_ = 0;
  std::uint64_t ignored_packets_ = 0;
  std::uint64_t source_errors_ = 0;
  std::uint64_t stray_messages_ = 0;
};

}  // namespace qbt2
