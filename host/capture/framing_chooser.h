#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/capture/message_assembler.h"

/// The message assembler for a source whose framing is not given: holds back the first packets,
/// tries every framing on them, and continues with the one that gives the largest share of messages
/// of a known length. Where the framing is given it keeps a copy of the first packets, to name a
/// better one if no message has a known length. Sink of the STP reader; one stream, one thread.
namespace qbt2 {

/// Data packets on which the choice is made.
inline constexpr std::size_t kPacketsTried = 4096;
/// Packets of any kind held back at most, so that a stream without data is not kept whole.
inline constexpr std::size_t kPacketsHeld = 65536;
/// Bytes of the stream after the first word packet in which the others are awaited. It is so many
/// that only padding or damage leaves the two limits above unreached.
inline constexpr std::uint64_t kBytesTried = std::uint64_t{64} << 20;
/// kBytesTried is checked at the multiples of so many bytes, which makes the choice independent of
/// the pieces in which a stream is read.
inline constexpr std::uint64_t kFramingCheckBytes = std::uint64_t{16} << 20;

struct FramingChoice {
  Framing framing = Framing::kFlag;
  std::uint64_t good_messages = 0;  ///< of a known length: 2, 4 or 6 words
  std::uint64_t messages = 0;       ///< in all; words outside any message count as one
  /// Of `messages`: 1 where a message that may still get a known length was open at the end of the
  /// trial. It counts in the choice, but says nothing against the framing.
  std::uint64_t cut_messages = 0;
};

class FramingChooser {
 public:
  /// `framing` given: nothing is chosen. `options.framing` is ignored in either case.
  FramingChooser(const AssemblerOptions& options, std::optional<Framing> framing);

  void set_batch(SampleBatch& batch);

  void on_packet(const StpPacket& packet) {
    if (holding_) {
      hold(packet);
    } else {
      assembler_->on_packet(packet);
    }
  }
  bool may_begin_message(const StpCursor& cursor) const {
    return !holding_ && assembler_->may_begin_message(cursor);
  }
  StpCursor take_messages(const StpCursor& cursor) { return assembler_->take_messages(cursor); }
  void on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason);
  void on_skipped(const StpSkippedRange& /*range*/) {}
  /// To be called when `stream_bytes`, a multiple of kFramingCheckBytes, were read.
  void on_stream_position(std::uint64_t stream_bytes);
  void finish(bool on_packet_boundary);

  /// The choice; empty when the framing was given, and before it is made.
  const std::optional<FramingChoice>& choice() const { return choice_; }
  /// Where the framing was given and the first packets had no message of a known length: what would
  /// have been chosen. Set at the latest by finish().
  const std::optional<FramingChoice>& better() const { return better_; }
  /// The framing, once it is known and the first packets, if they are kept, say nothing against it.
  std::optional<Framing> settled_framing() const {
    const bool is_settled =
        !holding_ || (assembler_ && assembler_->counts().messages_of_known_length() != 0);
    return is_settled ? std::optional(options_.framing) : std::nullopt;
  }
  /// Where the framing is settled.
  MessageAssembler& settled_assembler() { return *assembler_; }
  /// Complete after finish().
  AssemblyCounts counts() const { return assembler_ ? assembler_->counts() : AssemblyCounts{}; }

 private:
  /// A packet, or a loss of synchronization between two.
  struct Event {
    StpPacket packet;
    bool sync_lost = false;
  };

  void hold(const StpPacket& packet);
  void end_trial(bool at_end, bool on_packet_boundary);
  FramingChoice best_framing(bool at_end, bool on_packet_boundary) const;
  void decide(bool at_end, bool on_packet_boundary);
  FramingChoice try_framing(Framing framing, bool at_end, bool on_packet_boundary) const;
  static void replay(const std::vector<Event>& events, MessageAssembler& assembler);

  AssemblerOptions options_;
  SampleBatch* batch_ = nullptr;
  std::optional<MessageAssembler> assembler_;
  std::optional<FramingChoice> choice_;
  std::optional<FramingChoice> better_;
  bool holding_ = true;  ///< the trial goes on; without an assembler until it ends
  std::vector<Event> held_;
  std::size_t data_packets_ = 0;
  std::uint64_t first_data_offset_ = 0;  ///< in the stream; valid with the first data packet
};

}  // namespace qbt2
