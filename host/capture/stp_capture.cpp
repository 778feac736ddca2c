#include "host/capture/stp_capture.h"

#include <string>

namespace qbt2 {
namespace {

constexpr std::size_t kPieceBytes = std::size_t{64} << 10;

/// One decimal, rounded down, so that 100.0 means all.
std::string percent(std::uint64_t part, std::uint64_t whole) {
  const std::uint64_t tenths = whole == 0 ? 0 : part * 1000 / whole;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " %";
}

}  // namespace

void StpRoad::Sink::on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason) {
  chooser.on_sync_lost(byte_offset, reason);
  if (!options->on_damage) return;
  const std::uint64_t offset =
      offsets != nullptr ? offsets->input_offset(byte_offset) : byte_offset;
  options->on_damage(offset, to_string(reason));
}

StpRoad::StpRoad(const CaptureOptions& options, StreamOffsets* offsets)
    : options_(options),
      sink_{FramingChooser(
                {.clock_hz = options.clock_hz, .masters = options.masters, .offsets = offsets},
                options.framing),
            &options_, offsets} {}

void StpRoad::push(std::span<const std::uint8_t> stream_bytes, SampleBatch& batch) {
  sink_.chooser.set_batch(batch);
  reader_.push(stream_bytes, sink_);
  report_choice();
}

void StpRoad::finish(SampleBatch& batch) {
  sink_.chooser.set_batch(batch);
  const bool on_packet_boundary = reader_.finish(sink_);
  sink_.chooser.finish(on_packet_boundary);
  report_choice();
}

void StpRoad::report_choice() {
  const auto& choice = sink_.chooser.choice();
  if (choice_reported_ || !choice || !options_.on_notice) return;
  choice_reported_ = true;
  if (choice->messages == 0) return;
  options_.on_notice("framing " + std::string(framing_name(choice->framing)) + " (" +
                     percent(choice->good_messages, choice->messages) + " of " +
                     std::to_string(choice->messages) + " messages have 2, 4 or 6 words)");
}

void StpRoad::add_to(CaptureCounts& counts) const {
  const StpCounters& stp = reader_.counters();
  counts.stp_bytes += reader_.stream_bytes();
  counts.stp_packets += stp.packets;
  counts.stp_async_packets += sink_.async_packets;
  counts.stp_sync_losses += stp.sync_losses;
  counts.bytes_skipped += stp.bytes_skipped();
  counts.damages += stp.sync_losses;
  counts.assembly += sink_.chooser.counts();
}

StpCaptureReader::StpCaptureReader(InputFile& input, const CaptureOptions& options)
    : input_(input), road_(options, nullptr), piece_(kPieceBytes) {}

bool StpCaptureReader::next(SampleBatch& batch) {
  if (ended_) return false;
  const std::size_t got = input_.read(piece_);
  bytes_ += got;
  if (got != 0) {
    road_.push(std::span(piece_).first(got), batch);
  } else {
    road_.finish(batch);
    ended_ = true;
  }
  return true;
}

CaptureCounts StpCaptureReader::counts() const {
  CaptureCounts counts;
  counts.bytes = bytes_;
  road_.add_to(counts);
  return counts;
}

}  // namespace qbt2
