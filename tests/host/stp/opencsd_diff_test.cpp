// StpReader and FrameDemultiplexer against libopencsd, packet by packet: over real captures where
// they are at hand, and over generated streams of what libopencsd reads.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "host/coresight/formatter_frames.h"
#include "host/coresight/frame_writer.h"
#include "tests/host/stp/random_stp.h"
#include "tests/host/stp/stp_events.h"
#include "tests/support/opencsd_stm.h"

namespace qbt2 {
namespace {

using test::OpencsdStm;
using test::RandomStp;
using test::StpRecorder;
using Bytes = std::vector<std::uint8_t>;

/// A packet in words, so that a difference can be read.
using Listing = std::vector<std::string>;

std::string line(const std::string& kind, bool marked, bool timed, std::uint64_t master,
                 std::uint64_t channel, std::uint64_t value, std::uint64_t timestamp) {
  return kind + (marked ? "M" : "") + (timed ? "TS" : "") + " " + std::to_string(master) + "/" +
         std::to_string(channel) + " value " + std::to_string(value) + " time " +
         std::to_string(timestamp);
}

/// Its name and the width of its payload, for the packets it trusts.
struct OpencsdKind {
  const char* name;
  int bits;
};
std::optional<OpencsdKind> opencsd_kind(ocsd_stm_pkt_type type) {
  static const std::map<ocsd_stm_pkt_type, OpencsdKind> kKinds = {
      {STM_PKT_ASYNC, {"ASYNC", 0}}, {STM_PKT_VERSION, {"VERSION", 8}},
      {STM_PKT_FREQ, {"FREQ", 32}},  {STM_PKT_NULL, {"NULL", 0}},
      {STM_PKT_TRIG, {"TRIG", 8}},   {STM_PKT_GERR, {"GERR", 8}},
      {STM_PKT_MERR, {"MERR", 8}},   {STM_PKT_M8, {"M8", 0}},
      {STM_PKT_C8, {"C8", 0}},       {STM_PKT_C16, {"C16", 0}},
      {STM_PKT_FLAG, {"FLAG", 0}},   {STM_PKT_D4, {"D4", 8}},
      {STM_PKT_D8, {"D8", 8}},       {STM_PKT_D16, {"D16", 16}},
      {STM_PKT_D32, {"D32", 32}},    {STM_PKT_D64, {"D64", 64}}};
  const auto found = kKinds.find(type);
  if (found == kKinds.end()) return std::nullopt;
  return found->second;
}

Listing list_with_opencsd(const Bytes& bytes, std::optional<std::uint8_t> frames_of) {
  Listing listing;
  OpencsdStm lister(
      frames_of.has_value(), frames_of.value_or(0x10),
      [](void* context, std::uint64_t, const ocsd_stm_pkt& packet) {
        const auto kind = opencsd_kind(packet.type);
        if (!kind) return;
        const std::uint64_t value = kind->bits == 64   ? packet.payload.D64
                                    : kind->bits == 32 ? packet.payload.D32
                                    : kind->bits == 16 ? packet.payload.D16
                                    : kind->bits == 8  ? packet.payload.D8
                                                       : 0;
        static_cast<Listing*>(context)->push_back(line(kind->name, packet.pkt_has_marker != 0,
                                                       packet.pkt_has_ts != 0, packet.master,
                                                       packet.channel, value, packet.timestamp));
      },
      &listing);
  EXPECT_TRUE(lister.push(bytes));
  lister.finish();
  return listing;
}

Listing list(const StpRecorder& recorder) {
  Listing listing;
  for (const test::StpEvent& event : recorder.events) {
    if (event.type != test::StpEvent::kPacket) continue;
    const StpPacket& packet = event.packet;
    // Of masters and channels libopencsd tells the state they leave, not the payload.
    const bool is_source =
        packet.kind == StpKind::kM8 || packet.kind == StpKind::kC8 || packet.kind == StpKind::kC16;
    listing.push_back(line(std::string(to_string(packet.kind)), packet.marked, packet.has_timestamp,
                           packet.master, packet.channel, is_source ? 0 : packet.value,
                           packet.timestamp));
  }
  return listing;
}

Listing list_frames(const Bytes& bytes, std::uint8_t source) {
  StpReader reader;
  StpRecorder recorder;
  FrameDemultiplexer frames(source);
  frames.push(bytes, [&](std::span<const std::uint8_t> block, std::uint64_t) {
    reader.push(block, recorder);
  });
  static_cast<void>(reader.finish(recorder));
  return list(recorder);
}

/// Equal, or the first difference with what stands before it.
void expect_same(const Listing& ours, const Listing& theirs) {
  const auto [our, their] = std::mismatch(ours.begin(), ours.end(), theirs.begin(), theirs.end());
  const auto at = our - ours.begin();
  EXPECT_EQ(ours.size(), theirs.size());
  ASSERT_TRUE(our == ours.end() && their == theirs.end())
      << "packet " << at << "\n  before: " << (at > 0 ? *std::prev(our) : "")
      << "\n  ours:   " << (our == ours.end() ? "the end" : *our)
      << "\n  theirs: " << (their == theirs.end() ? "the end" : *their);
}

TEST(OpencsdDiff, GeneratedStreamsAloneAndInFramesOfThreeSources) {
  for (std::uint64_t seed = 1; seed <= 300 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    RandomStp random(seed);
    const Bytes bytes = random.for_libopencsd();
    StpRecorder recorder;
    StpReader reader;
    FrameWriter writer;
    random.in_chunks(bytes, [&](std::span<const std::uint8_t> chunk) {
      reader.push(chunk, recorder);
      writer.write(0x20, chunk);
      const Bytes other(random.below(20), static_cast<std::uint8_t>(random.value()));
      writer.write(static_cast<std::uint8_t>(0x21 + random.below(2)), other);
    });
    EXPECT_TRUE(reader.finish(recorder));
    writer.finish();
    const Listing theirs = list_with_opencsd(bytes, std::nullopt);
    expect_same(list(recorder), theirs);
    expect_same(list_with_opencsd(writer.bytes(), std::uint8_t{0x20}), theirs);
    expect_same(list_frames(writer.bytes(), 0x20), theirs);
  }
}

struct Capture {
  const char* file;
  std::uint8_t source;
  /// Packets by name, as counted by somebody else.
  std::map<std::string, int> counts;
};

class RealCapture : public testing::TestWithParam<Capture> {
 protected:
  Bytes read() const {
    std::ifstream file(std::filesystem::path(QBT2_SHARED_DATA_DIR) / GetParam().file,
                       std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }
};

TEST_P(RealCapture, ListsAsLibopencsdDoes) {
  const Bytes bytes = read();
  if (bytes.empty()) GTEST_SKIP() << "no " << GetParam().file << " in " << QBT2_SHARED_DATA_DIR;
  FrameDemultiplexer frames;
  frames.push(bytes, [](std::span<const std::uint8_t>, std::uint64_t) {});
  const std::vector<SourceBytes> sources = frames.sources();
  ASSERT_EQ(sources.size(), 1U);
  EXPECT_EQ(sources[0].id, GetParam().source);
  EXPECT_TRUE(looks_like_frames(bytes));
  EXPECT_FALSE(looks_like_stp(bytes));
  const Listing ours = list_frames(bytes, GetParam().source);
  expect_same(ours, list_with_opencsd(bytes, GetParam().source));
  std::map<std::string, int> counts;
  for (const std::string& packet : ours) ++counts[packet.substr(0, packet.find(' '))];
  for (const auto& [name, count] : GetParam().counts) EXPECT_EQ(counts[name], count) << name;
}

INSTANTIATE_TEST_SUITE_P(
    OpencsdDiff, RealCapture,
    testing::Values(Capture{"stm-board-a.cs.bin",
                            0x20,
                            {{"ASYNC", 7},
                             {"VERSION", 7},
                             {"FREQ", 7},
                             {"M8", 7},
                             {"D32", 2509},
                             {"D32TS", 2508},
                             {"FLAG", 1255}}},
                    Capture{"stm-board-b.cs.bin",
                            0x20,
                            {{"ASYNC", 1}, {"D32", 77}, {"D32TS", 76}, {"FLAG", 39}}},
                    Capture{"flagged-messages.cs.bin",
                            0x10,
                            {{"D32M", 24}, {"D32", 113}, {"FLAGTS", 23}, {"C16", 1}, {"M8", 1}}}),
    [](const testing::TestParamInfo<Capture>& info) {
      std::string name;
      for (const char c : std::string(info.param.file)) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) name += c;
      }
      return name;
    });

}  // namespace
}  // namespace qbt2
