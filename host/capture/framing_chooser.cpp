#include "host/capture/framing_chooser.h"

namespace qbt2 {
namespace {

/// Packets that affect no framing and have no timestamp need not be held back. D4, D8 and D16 are
/// counted as ignored, so they are kept.
bool matters(const StpPacket& packet) {
  switch (packet.kind) {
    case StpKind::kMerr:
    case StpKind::kGerr:
    case StpKind::kFlag:
    case StpKind::kFreq:
    case StpKind::kFreq40:
      return true;
    default:
      return packet.is_data() || packet.has_timestamp;
  }
}

bool is_word_packet(const StpPacket& packet) {
  return packet.kind == StpKind::kD32 || packet.kind == StpKind::kD64;
}

/// Whether `a` has a larger share of good messages than `b`, without rounding. The share of no
/// messages is 0.
bool is_better(const FramingChoice& a, const FramingChoice& b) {
  if (a.messages == 0) return false;
  if (b.messages == 0) return a.good_messages != 0;
  return a.good_messages * b.messages > b.good_messages * a.messages;
}

}  // namespace

FramingChooser::FramingChooser(const AssemblerOptions& options, std::optional<Framing> framing)
    : options_(options) {
  if (!framing) return;
  options_.framing = *framing;
  assembler_.emplace(options_);
}

void FramingChooser::set_batch(SampleBatch& batch) {
  batch_ = &batch;
  if (assembler_) assembler_->set_batch(batch);
}

void FramingChooser::on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason) {
  if (assembler_) assembler_->on_sync_lost(byte_offset, reason);
  if (!holding_) return;
  const bool drops_nothing = held_.empty() || held_.back().sync_lost;
  if (!drops_nothing) held_.push_back({StpPacket{}, true});
}

void FramingChooser::hold(const StpPacket& packet) {
  if (assembler_) assembler_->on_packet(packet);
  if (!matters(packet)) return;
  Event& event = held_.emplace_back();
  event.packet = packet;
  // Held packets already have offsets of the input: the mapping from the stream's offsets may be
  // gone when they are replayed.
  if (!assembler_ && options_.offsets != nullptr) {
    event.packet.nibble_offset = 2 * options_.offsets->input_offset(packet.byte_offset());
  }
  if (is_word_packet(packet) && data_packets_++ == 0) first_data_offset_ = packet.byte_offset();
  if (data_packets_ == kPacketsTried || held_.size() >= kPacketsHeld) end_trial(false, false);
}

void FramingChooser::on_stream_position(std::uint64_t stream_bytes) {
  if (assembler_ || data_packets_ == 0) return;
  if (stream_bytes - first_data_offset_ >= kBytesTried) end_trial(false, false);
}

void FramingChooser::finish(bool on_packet_boundary) {
  if (holding_) end_trial(true, on_packet_boundary);
  assembler_->finish(on_packet_boundary);
}

void FramingChooser::end_trial(bool at_end, bool on_packet_boundary) {
  if (!assembler_) {
    decide(at_end, on_packet_boundary);
  } else if (assembler_->counts().messages_of_known_length() == 0) {
    better_ = best_framing(at_end, on_packet_boundary);
  }
  holding_ = false;
  held_ = {};
}

FramingChoice FramingChooser::best_framing(bool at_end, bool on_packet_boundary) const {
  FramingChoice best = try_framing(Framing::kFlag, at_end, on_packet_boundary);
  for (const Framing framing :
       {Framing::kMarkerLast, Framing::kTimestampLast, Framing::kMarkerFirst}) {
    const FramingChoice tried = try_framing(framing, at_end, on_packet_boundary);
    if (is_better(tried, best)) best = tried;
  }
  return best;
}

void FramingChooser::decide(bool at_end, bool on_packet_boundary) {
  choice_ = best_framing(at_end, on_packet_boundary);
  options_.framing = choice_->framing;
  StreamOffsets* const offsets = options_.offsets;
  options_.offsets = nullptr;
  assembler_.emplace(options_);
  assembler_->set_batch(*batch_);
  replay(held_, *assembler_);
  assembler_->set_offsets(offsets);
}

FramingChoice FramingChooser::try_framing(Framing framing, bool at_end,
                                          bool on_packet_boundary) const {
  AssemblerOptions options;
  options.framing = framing;
  SampleBatch scratch;
  MessageAssembler assembler(options);
  assembler.set_batch(scratch);
  replay(held_, assembler);
  std::uint64_t outside = assembler.open_messages();
  bool has_cut = assembler.has_short_open_message();
  if (at_end && on_packet_boundary && framing == Framing::kMarkerFirst) {
    // The end of the capture ends these messages; only stray words stay outside.
    assembler.finish(true);
    outside = 0;
    has_cut = false;
  }
  const AssemblyCounts counts = assembler.counts();
  FramingChoice choice;
  choice.framing = framing;
  choice.good_messages = counts.messages_of_known_length();
  choice.messages = counts.messages + outside + assembler.stray_messages();
  choice.cut_messages = has_cut ? 1 : 0;
  return choice;
}

void FramingChooser::replay(const std::vector<Event>& events, MessageAssembler& assembler) {
  for (const Event& event : events) {
    if (event.sync_lost) {
      assembler.on_sync_lost(0, StpSyncLoss::kReservedOpcode);
    } else {
      assembler.on_packet(event.packet);
    }
  }
}

}  // namespace qbt2
