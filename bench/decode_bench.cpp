// The middle of the pipeline: STP packets into messages, and samples into rows by kind.

#include <benchmark/benchmark.h>

#include <vector>

#include "bench/traffic.h"
#include "host/capture/message_assembler.h"
#include "host/stp/stp_reader.h"

namespace qbt2::bench {
namespace {

constexpr std::uint64_t kMessages = 8192;

struct KeepingSink {
  std::vector<StpPacket> packets;
  void on_packet(const StpPacket& packet) { packets.push_back(packet); }
  void on_sync_lost(std::uint64_t, StpSyncLoss) {}
  void on_skipped(const StpSkippedRange&) {}
};

/// The assembler alone: packets that were read before, messages as the generator mixes them.
void BM_Assembler(benchmark::State& state) {
  const Traffic traffic = make_traffic({}, kMessages);
  KeepingSink sink;
  StpReader reader;
  reader.push(traffic.stream, sink);
  MessageAssembler assembler(AssemblerOptions{});
  SampleBatch batch;
  assembler.set_batch(batch);
  for ([[maybe_unused]] auto _ : state) {
    batch.clear();
    for (const StpPacket& packet : sink.packets) assembler.on_packet(packet);
    if (batch.heads.size() != kMessages) state.SkipWithError("messages are missing");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(sink.packets.size()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(traffic.stream.size()));
}

/// Items are messages, bytes those of their samples.
void BM_ProcessSamples(benchmark::State& state, const TrafficMix& mix) {
  Traffic traffic = make_traffic(mix, kMessages);
  const LoadedUnit unit(traffic.settings);
  std::vector<std::uint8_t> output(kRowBytes);
  for ([[maybe_unused]] auto _ : state) {
    std::uint32_t produced = 0;
    for (const SampleHead& head : traffic.samples.heads) {
      unit->ProcessSamples(0, traffic.samples.bytes.data() + head.begin, kRowBytes, output.data(),
                           produced);
    }
    if (produced < 2) state.SkipWithError("a row is missing");
    benchmark::DoNotOptimize(output.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kMessages));
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(traffic.samples.bytes.size()));
}

BENCHMARK(BM_Assembler);
BENCHMARK_CAPTURE(BM_ProcessSamples, throughput, kThroughputOnly);
BENCHMARK_CAPTURE(BM_ProcessSamples, latency, kLatencyOnly);
BENCHMARK_CAPTURE(BM_ProcessSamples, transaction, kTransactionsOnly);

}  // namespace
}  // namespace qbt2::bench

BENCHMARK_MAIN();
