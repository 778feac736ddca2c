// Messages taken whole against the same stream read packet by packet: samples, heads and counts
// have to be equal, wherever the stream is cut into pieces.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <tuple>

#include "host/capture/message_assembler.h"
#include "host/coresight/frame_demultiplexer.h"
#include "host/stp/stp_reader.h"
#include "tests/host/stp/random_stp.h"

namespace qbt2 {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Hides MessageAssembler::take_messages from the reader.
struct PacketByPacket {
  explicit PacketByPacket(MessageAssembler& target) : assembler(target) {}
  MessageAssembler& assembler;
  void on_packet(const StpPacket& packet) { assembler.on_packet(packet); }
  void on_sync_lost(std::uint64_t at, StpSyncLoss reason) { assembler.on_sync_lost(at, reason); }
  void on_skipped(const StpSkippedRange& /*range*/) {}
};

/// Counts the packets that the assembler leaves to on_packet.
struct Whole : PacketByPacket {
  using PacketByPacket::PacketByPacket;
  std::uint64_t single_packets = 0;
  void on_packet(const StpPacket& packet) {
    ++single_packets;
    assembler.on_packet(packet);
  }
  bool may_begin_message(const StpCursor& cursor) const {
    return assembler.may_begin_message(cursor);
  }
  StpCursor take_messages(const StpCursor& cursor) { return assembler.take_messages(cursor); }
};

struct Offsets : StreamOffsets {
  std::uint64_t last = 0;
  std::uint64_t input_offset(std::uint64_t offset) override {
    EXPECT_GE(offset, last);
    last = offset;
    return offset + offset / 15;
  }
};

struct Read {
  std::string samples;  ///< their bytes and heads
  AssemblyCounts counts;
  StpCounters stp;
  std::uint64_t single_packets = 0;
};

void append(std::string& text, const SampleBatch& batch) {
  for (const SampleHead& head : batch.heads) {
    text.append(batch.bytes.begin() + head.begin, batch.bytes.begin() + head.begin + head.size);
    for (const std::uint64_t field :
         {head.offset, head.timestamp, head.time_ns, std::uint64_t{head.master},
          std::uint64_t{head.has_timestamp}, std::uint64_t{head.has_time_ns}}) {
      text.append(" ").append(std::to_string(field));
    }
  }
}

template <typename Sink>
Read read(const Bytes& stream, AssemblerOptions options, test::RandomStp& random) {
  Offsets offsets;
  if (options.clock_hz == 0) options.offsets = &offsets;
  MessageAssembler assembler(options);
  Sink sink(assembler);
  StpReader reader;
  Read result;
  SampleBatch batch;
  const auto take = [&](std::span<const std::uint8_t> piece) {
    assembler.set_batch(batch);
    reader.push(piece, sink);
    append(result.samples, batch);
    batch.clear();
  };
  if (random.below(2) == 0) {
    take(stream);
  } else {
    random.in_chunks(stream, take);
  }
  assembler.finish(reader.finish(sink));
  append(result.samples, batch);
  result.counts = assembler.counts();
  result.stp = reader.counters();
  if constexpr (std::is_same_v<Sink, Whole>) result.single_packets = sink.single_packets;
  return result;
}

/// Returns the share of packets that were not taken as part of a whole message.
double compare(const Bytes& stream, const AssemblerOptions& options, test::RandomStp& random) {
  const Read whole = read<Whole>(stream, options, random);
  const Read plain = read<PacketByPacket>(stream, options, random);
  EXPECT_TRUE(whole.samples == plain.samples);
  EXPECT_TRUE(whole.stp == plain.stp);
  const auto figures = [](const AssemblyCounts& counts) {
    return std::tuple(counts.words, counts.messages, counts.messages_incomplete,
                      counts.ignored_packets, counts.source_errors, counts.messages_of_words,
                      counts.masters);
  };
  EXPECT_TRUE(figures(whole.counts) == figures(plain.counts));
  return static_cast<double>(whole.single_packets) / static_cast<double>(1 + whole.stp.packets);
}

constexpr Framing kFramings[] = {Framing::kFlag, Framing::kMarkerLast, Framing::kTimestampLast,
                                 Framing::kMarkerFirst};

TEST(WholeMessages, AreThoseReadPacketByPacket) {
  constexpr std::uint64_t kSources[] = {1, 3, 8, 500};
  constexpr std::uint64_t kStreams = 300;
  double single = 0;
  for (std::uint64_t seed = 0; seed < kStreams; ++seed) {
    test::RandomStp random(seed);
    StpWriter writer;
    writer.async();
    const auto way = static_cast<test::RandomStp::Way>(seed % test::RandomStp::kWays);
    const bool replaces_sources = seed % 70 == 0;  // more than kMostSources
    const std::uint64_t sources = replaces_sources ? 40000 : kSources[random.below(4)];
    for (std::uint64_t i = replaces_sources ? 60000 : 300; i > 0; --i) {
      random.message(writer, sources, way);
      if (random.below(50) == 0) random.packet(writer);
      if (random.below(50) == 0) {  // an ASYNC that may have begun within the message's last packet
        for (std::uint64_t run = 13 + random.below(9); run > 0; --run) writer.nibbles(0xF, 1);
        writer.nibbles(0, 1);
        writer.async();
      }
    }
    Bytes stream = writer.take();
    if (random.below(2) == 0) stream = random.damage(std::move(stream));
    AssemblerOptions options;
    options.framing = kFramings[random.below(10) == 0 ? random.below(4) : std::uint64_t{way}];
    if (random.below(2) == 0) options.clock_hz = random.below(2) == 0 ? 200'000'000 : 19'200'000;
    if (random.below(4) == 0) options.masters = {0, 37, 111};
    SCOPED_TRACE(seed);
    single += compare(stream, options, random) / kStreams;
    if (HasFailure()) return;
  }
  EXPECT_LT(single, 0.9) << "only a few messages were taken whole";
}

TEST(WholeMessages, OfRealCaptures) {
  for (const auto& [name, source] : std::initializer_list<std::pair<const char*, std::uint8_t>>{
           {"mixed-8-masters.stp", std::uint8_t{0}},
           {"flagged-messages.cs.bin", std::uint8_t{0x10}},
           {"stm-board-a.cs.bin", std::uint8_t{0x20}},
           {"stm-board-b.cs.bin", std::uint8_t{0x20}}}) {
    std::ifstream file(std::filesystem::path(QBT2_SHARED_DATA_DIR) / name, std::ios::binary);
    Bytes stream(std::istreambuf_iterator<char>(file), {});
    if (stream.empty()) GTEST_SKIP() << "no " << name << " in " << QBT2_SHARED_DATA_DIR;
    if (source != 0) {
      const Bytes frames = std::exchange(stream, {});
      FrameDemultiplexer(source).push(frames, [&](std::span<const std::uint8_t> block, auto) {
        stream.insert(stream.end(), block.begin(), block.end());
      });
    }
    SCOPED_TRACE(name);
    test::RandomStp random(1);
    AssemblerOptions options;
    for (const Framing framing : kFramings) {
      options.framing = framing;
      for (int damage = 0; damage < 20; ++damage) {
        const Bytes damaged = damage == 0 ? stream : random.damage(stream);
        const double single = compare(damaged, options, random);
        if (source == 0 && framing == Framing::kFlag && damage == 0) {
          EXPECT_LT(single, 0.05);
        }
      }
    }
  }
}

}  // namespace
}  // namespace qbt2
