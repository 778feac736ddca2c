#include "host/pieces/resumable_reader.h"

#include <utility>

namespace qbt2 {
namespace {

AssemblerOptions assembler_options(const CaptureOptions& options, Framing framing) {
  return {.framing = framing,
          .clock_hz = options.clock_hz,
          .masters = options.masters,
          .offsets = nullptr};
}

}  // namespace

StpReadCounts& StpReadCounts::operator+=(const StpReadCounts& other) {
  stp += other.stp;
  async_packets += other.async_packets;
  assembly += other.assembly;
  return *this;
}

StpReadCounts& StpReadCounts::operator-=(const StpReadCounts& other) {
  stp -= other.stp;
  async_packets -= other.async_packets;
  assembly -= other.assembly;
  return *this;
}

void StpReadCounts::add_to(CaptureCounts& counts) const {
  counts.stp_packets += stp.packets;
  counts.stp_async_packets += async_packets;
  counts.stp_sync_losses += stp.sync_losses;
  counts.bytes_skipped += stp.bytes_skipped();
  counts.damages += stp.sync_losses;
  counts.assembly += assembly;
}

void ResumableReader::Sink::on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason) {
  assembler.on_sync_lost(byte_offset, reason);
  if (on_damage) on_damage(byte_offset, to_string(reason));
}

ResumableReader::ResumableReader(const CaptureOptions& options, Framing framing)
    : sink_{MessageAssembler(assembler_options(options, framing)), {}} {}

void ResumableReader::push(std::span<const std::uint8_t> stream_bytes, SampleBatch& batch) {
  sink_.assembler.set_batch(batch);
  reader_.push(stream_bytes, sink_);
}

void ResumableReader::finish(SampleBatch& batch) {
  sink_.assembler.set_batch(batch);
  const bool on_packet_boundary = reader_.finish(sink_);
  sink_.assembler.finish(on_packet_boundary);
}

StpReadCounts ResumableReader::take_counts() {
  return {reader_.take_counters(), std::exchange(sink_.async_packets, 0),
          sink_.assembler.take_counts()};
}

void ResumableReader::save(StpReadState& state) {
  state.reader = reader_;
  (void)state.reader.take_counters();
  sink_.assembler.save(state.assembly);
}

void ResumableReader::restore(const StpReadState& state) {
  reader_ = state.reader;
  sink_.assembler.restore(state.assembly);
}

StpReadCounts ResumableReader::take_over(StpMessageReader& other) {
  MessageAssembler& assembler = other.settled_assembler();
  reader_ = other.reader();
  AssemblyState state;
  assembler.save(state);
  sink_.assembler.restore(state);
  return {reader_.take_counters(), other.async_packets(), assembler.counts()};
}

}  // namespace qbt2
