#include "host/capture/stp_message_reader.h"

#include <algorithm>
#include <string>

#include "host/base/number_text.h"

namespace qbt2 {
namespace {

/// One decimal, rounded down: 100.0 means all.
std::string percent(std::uint64_t part, std::uint64_t whole) {
  const std::uint64_t tenths = whole == 0 ? 0 : part * 1000 / whole;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " %";
}

/// Without one that the end of the trial has cut, which is nobody's fault.
std::uint64_t judged_messages(const FramingChoice& choice) {
  return choice.messages - choice.cut_messages;
}

/// "flag (99.8 % of 738 messages have 2, 4 or 6 words)".
std::string share_text(const FramingChoice& choice) {
  const std::uint64_t messages = judged_messages(choice);
  return std::string(framing_name(choice.framing)) + " (" +
         percent(choice.good_messages, messages) + " of " + counted(messages, "message") +
         (messages == 1 ? " has" : " have") + " 2, 4 or 6 words)";
}

}  // namespace

void StpMessageReader::Sink::on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason) {
  chooser.on_sync_lost(byte_offset, reason);
  if (!options->on_damage) return;
  const std::uint64_t offset =
      offsets != nullptr ? offsets->input_offset(byte_offset) : byte_offset;
  options->on_damage(offset, to_string(reason));
}

StpMessageReader::StpMessageReader(const CaptureOptions& options, StreamOffsets* offsets)
    : options_(options),
      sink_{FramingChooser(
                {.clock_hz = options.clock_hz, .masters = options.masters, .offsets = offsets},
                options.framing),
            &options_, offsets} {}

void StpMessageReader::push(std::span<const std::uint8_t> stream_bytes, SampleBatch& batch) {
  sink_.chooser.set_batch(batch);
  while (!stream_bytes.empty()) {
    const std::uint64_t to_check = kFramingCheckBytes - reader_.stream_bytes() % kFramingCheckBytes;
    const auto part = stream_bytes.first(std::min<std::size_t>(stream_bytes.size(), to_check));
    reader_.push(part, sink_);
    if (part.size() == to_check) sink_.chooser.on_stream_position(reader_.stream_bytes());
    stream_bytes = stream_bytes.subspan(part.size());
  }
  report_choice();
}

void StpMessageReader::finish(SampleBatch& batch) {
  sink_.chooser.set_batch(batch);
  const bool on_packet_boundary = reader_.finish(sink_);
  sink_.chooser.finish(on_packet_boundary);
  if (!report_no_message(sink_.chooser.counts())) report_choice();
}

void StpMessageReader::report_choice() {
  const auto& choice = sink_.chooser.choice();
  if (choice_reported_ || !choice || !options_.on_notice) return;
  choice_reported_ = true;
  if (judged_messages(*choice) == 0) return;
  options_.on_notice("framing " + share_text(*choice));
}

/// Words without a message that gives a row: most often the framing is not the source's.
bool StpMessageReader::report_no_message(const AssemblyCounts& counts) const {
  if (!options_.on_notice || !counts.has_words_only()) return false;
  const auto& better = sink_.chooser.better();
  if (better && better->good_messages != 0) {
    options_.on_notice("--framing " + std::string(framing_name(*options_.framing)) +
                       " finds no message of 2, 4 or 6 words, so there are no rows; "
                       "--framing auto would choose " +
                       share_text(*better));
  } else {
    options_.on_notice(counted(counts.words, "word") +
                       ", but no complete message of 2, 4 or 6 words in any framing, so there are "
                       "no rows");
  }
  return true;
}

void StpMessageReader::add_to(CaptureCounts& counts) const {
  const StpCounters& stp = reader_.counters();
  counts.stp_bytes += reader_.stream_bytes();
  counts.stp_packets += stp.packets;
  counts.stp_async_packets += sink_.async_packets;
  counts.stp_sync_losses += stp.sync_losses;
  counts.bytes_skipped += stp.bytes_skipped();
  counts.damages += stp.sync_losses;
  counts.assembly += sink_.chooser.counts();
}

}  // namespace qbt2
