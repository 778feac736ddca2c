#include "host/capture/stp_message_reader.h"

#include <algorithm>
#include <string>

namespace qbt2 {
namespace {

/// One decimal, rounded down: 100.0 means all.
std::string percent(std::uint64_t part, std::uint64_t whole) {
  const std::uint64_t tenths = whole == 0 ? 0 : part * 1000 / whole;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " %";
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
  report_choice();
}

void StpMessageReader::report_choice() {
  const auto& choice = sink_.chooser.choice();
  if (choice_reported_ || !choice || !options_.on_notice) return;
  choice_reported_ = true;
  if (choice->messages == 0) return;
  options_.on_notice("framing " + std::string(framing_name(choice->framing)) + " (" +
                     percent(choice->good_messages, choice->messages) + " of " +
                     std::to_string(choice->messages) + " messages have 2, 4 or 6 words)");
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
