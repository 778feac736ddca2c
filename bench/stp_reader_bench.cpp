// How fast the STP reader and the frame demultiplexer are, side by side with libopencsd over the
// same bytes. Run with --benchmark_enable_random_interleaving=true --benchmark_repetitions=9 for a
// ratio that does not depend on other load.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <span>
#include <vector>

#include "host/coresight/frame_demultiplexer.h"
#include "host/coresight/frame_writer.h"
#include "host/stp/stp_reader.h"
#include "host/stp/stp_writer.h"
#include "tests/support/opencsd_stm.h"

namespace qbt2 {
namespace {

constexpr std::size_t kStreamBytes = std::size_t{8} << 20;
constexpr std::size_t kChunkBytes = std::size_t{64} << 10;

/// D32TS D32TS D32 D32 FLAG, as software sources send it: long messages of random words.
void flagged_message(StpWriter& writer, std::mt19937_64& random, std::uint64_t& time) {
  for (int i = 0; i < 2; ++i) {
    time += 1 + random() % 500;
    writer.data(StpKind::kD32, random(), {false, time});
  }
  for (int i = 0; i < 2; ++i) writer.data(StpKind::kD32, random());
  writer.flag();
}

/// D32M D32 D32 D32 D32 FLAG_TS, as hardware sources send it.
void marked_message(StpWriter& writer, std::mt19937_64& random, std::uint64_t& time) {
  writer.data(StpKind::kD32, random(), {true, {}});
  for (int i = 0; i < 4; ++i) writer.data(StpKind::kD32, random());
  time += 1 + random() % 5000;
  writer.flag(time);
}

/// Messages of 2, 4 and 6 words from four masters in random order.
void mixed_message(StpWriter& writer, std::mt19937_64& random, std::uint64_t& time) {
  writer.m8(static_cast<std::uint8_t>(0x40 + random() % 4));
  const std::uint64_t words = 2 + random() % 3 * 2;
  for (std::uint64_t i = 0; i + 1 < words; ++i) {
    writer.data(StpKind::kD32, random() >> 32 >> random() % 32);
  }
  time += 1 + random() % 5000;
  writer.data(StpKind::kD32, random(), {true, time});
}

/// As a hardware event source sends: D8, D4 and D16, timestamps, and NULLs while idle.
void small_packets(StpWriter& writer, std::mt19937_64& random, std::uint64_t& time) {
  time += 1 + random() % 500;
  writer.data(StpKind::kD8, random(), {true, time});
  writer.data(StpKind::kD4, random());
  writer.data(StpKind::kD16, random(), {false, ++time});
  for (std::uint64_t idle = random() % 16; idle > 0; --idle) writer.null();
}

template <auto Message>
const std::vector<std::uint8_t>& traffic() {
  static const std::vector<std::uint8_t> bytes = [] {
    std::mt19937_64 random(1);
    std::uint64_t time = 0x123456789;
    StpWriter writer;
    for (int i = 0; writer.bytes().size() < kStreamBytes; ++i) {
      if (i % 256 == 0) {
        writer.async();
        writer.version(StpTimestampCoding::kNatural);
        writer.freq(19200000);
        writer.m8(0x40);
      }
      Message(writer, random, time);
    }
    return writer.bytes();
  }();
  return bytes;
}

struct CountingSink {
  std::uint64_t packets = 0;
  std::uint64_t sum = 0;
  void on_packet(const StpPacket& packet) {
    ++packets;
    sum += packet.value + packet.timestamp;
  }
  void on_sync_lost(std::uint64_t, StpSyncLoss) {}
  void on_skipped(const StpSkippedRange&) {}
};

/// A sink that is not inlined and reads what an assembler would.
struct DistantSink : CountingSink {
  [[gnu::noinline]] void on_packet(const StpPacket& packet) { CountingSink::on_packet(packet); }
};

template <typename Sink>
void run_reader(benchmark::State& state, const std::vector<std::uint8_t>& bytes) {
  std::uint64_t packets = 0;
  while (state.KeepRunning()) {
    StpReader reader;
    Sink sink;
    std::span<const std::uint8_t> left(bytes);
    while (!left.empty()) {
      const std::size_t size = std::min(left.size(), kChunkBytes);
      reader.push(left.first(size), sink);
      left = left.subspan(size);
    }
    if (!reader.finish(sink)) state.SkipWithError("the stream does not end on a packet boundary");
    benchmark::DoNotOptimize(sink.sum);
    packets += sink.packets;
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
  state.counters["packets"] =
      benchmark::Counter(static_cast<double>(packets), benchmark::Counter::kIsRate);
}

void run_opencsd(benchmark::State& state, const std::vector<std::uint8_t>& bytes,
                 bool frames = false) {
  std::uint64_t packets = 0;
  while (state.KeepRunning()) {
    test::OpencsdStm lister(
        frames, 0x10,
        [](void* context, std::uint64_t, const ocsd_stm_pkt&) {
          ++*static_cast<std::uint64_t*>(context);
        },
        &packets);
    if (!lister.push(bytes)) state.SkipWithError("libopencsd gave up");
    lister.finish();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
  state.counters["packets"] =
      benchmark::Counter(static_cast<double>(packets), benchmark::Counter::kIsRate);
}

/// The flagged messages in frames, alone or with two other sources that alternate with it every 64
/// bytes.
const std::vector<std::uint8_t>& framed(bool alone) {
  static const auto make = [](bool is_alone) {
    FrameWriter writer;
    const std::vector<std::uint8_t> other(64, 0x55);
    std::span<const std::uint8_t> left(traffic<flagged_message>());
    for (std::uint8_t turn = 0; !left.empty(); ++turn) {
      const std::size_t size = std::min<std::size_t>(left.size(), 64);
      writer.write(0x10, left.first(size));
      left = left.subspan(size);
      if (!is_alone) writer.write(static_cast<std::uint8_t>(0x11 + turn % 2), other);
    }
    writer.finish();
    return writer.take();
  };
  static const std::vector<std::uint8_t> one = make(true);
  static const std::vector<std::uint8_t> three = make(false);
  return alone ? one : three;
}

/// Frames alone, or (`reads`) with the STP stream in them read too.
void run_frames(benchmark::State& state, bool alone, bool reads) {
  const std::vector<std::uint8_t>& bytes = framed(alone);
  std::uint64_t stream_bytes = 0;
  while (state.KeepRunning()) {
    FrameDemultiplexer frames(0x10);
    StpReader reader;
    CountingSink sink;
    std::span<const std::uint8_t> left(bytes);
    while (!left.empty()) {
      const std::size_t size = std::min(left.size(), kChunkBytes);
      frames.push(left.first(size), [&](std::span<const std::uint8_t> block, std::uint64_t first) {
        stream_bytes += block.size();
        sink.sum += frames.input_offset(first);
        if (reads) reader.push(block, sink);
      });
      left = left.subspan(size);
    }
    benchmark::DoNotOptimize(sink.sum);
  }
  if (stream_bytes == 0) state.SkipWithError("the frames do not contain the source");
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void BM_Frames(benchmark::State& state) {
  run_frames(state, true, false);
}
void BM_FramesOfThreeSources(benchmark::State& state) {
  run_frames(state, false, false);
}
void BM_FramesAndStpReader(benchmark::State& state) {
  run_frames(state, true, true);
}
void BM_OpencsdFrames(benchmark::State& state) {
  run_opencsd(state, framed(true), true);
}
BENCHMARK(BM_Frames)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FramesOfThreeSources)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FramesAndStpReader)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpencsdFrames)->Unit(benchmark::kMillisecond);

#define QBT2_STP_BENCH(traffic_name)                                                \
  void BM_StpReader_##traffic_name(benchmark::State& state) {                       \
    run_reader<CountingSink>(state, traffic<traffic_name>());                       \
  }                                                                                 \
  void BM_StpReaderDistantSink_##traffic_name(benchmark::State& state) {            \
    run_reader<DistantSink>(state, traffic<traffic_name>());                        \
  }                                                                                 \
  void BM_Opencsd_##traffic_name(benchmark::State& state) {                         \
    run_opencsd(state, traffic<traffic_name>());                                    \
  }                                                                                 \
  BENCHMARK(BM_StpReader_##traffic_name)->Unit(benchmark::kMillisecond);            \
  BENCHMARK(BM_StpReaderDistantSink_##traffic_name)->Unit(benchmark::kMillisecond); \
  BENCHMARK(BM_Opencsd_##traffic_name)->Unit(benchmark::kMillisecond)

QBT2_STP_BENCH(flagged_message);
QBT2_STP_BENCH(marked_message);
QBT2_STP_BENCH(mixed_message);
QBT2_STP_BENCH(small_packets);

}  // namespace
}  // namespace qbt2

BENCHMARK_MAIN();
