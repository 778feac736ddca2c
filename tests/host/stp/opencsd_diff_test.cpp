// StpReader and FrameDemultiplexer against libopencsd, packet by packet: over a stream of every
// packet that libopencsd reads, and over real captures where they are present.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "host/coresight/frame_demultiplexer.h"
#include "host/coresight/frame_detection.h"
#include "host/coresight/frame_writer.h"
#include "host/stp/stp_detection.h"
#include "host/stp/stp_writer.h"
#include "tests/host/stp/stp_events.h"
#include "tests/support/opencsd_stm.h"

namespace qbt2 {
namespace {

using test::OpencsdStm;
using Bytes = std::vector<std::uint8_t>;

/// A packet as a line of text, so that a difference between two listings is readable.
std::string line(const std::string& name, std::uint64_t master, std::uint64_t channel,
                 std::uint64_t value, std::uint64_t timestamp) {
  return name + " " + std::to_string(master) + "/" + std::to_string(channel) + " value " +
         std::to_string(value) + " time " + std::to_string(timestamp) + "\n";
}

/// Name and payload width, for the packets that libopencsd trusts.
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

std::string list_with_opencsd(const Bytes& bytes, std::optional<std::uint8_t> frames_of) {
  std::string listing;
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
        *static_cast<std::string*>(context) +=
            line(std::string(kind->name) + (packet.pkt_has_marker != 0 ? "M" : "") +
                     (packet.pkt_has_ts != 0 ? "TS" : ""),
                 packet.master, packet.channel, value, packet.timestamp);
      },
      &listing);
  EXPECT_TRUE(lister.push(bytes));
  lister.finish();
  return listing;
}

std::string list(const Bytes& stream) {
  StpReader reader;
  test::StpRecorder recorder;
  reader.push(stream, recorder);
  static_cast<void>(reader.finish(recorder));
  std::string listing;
  for (const test::StpEvent& event : recorder.events) {
    if (event.type != test::StpEvent::kPacket) continue;
    const StpPacket& packet = event.packet;
    // For masters and channels libopencsd gives the state after them, not the payload.
    const bool is_source =
        packet.kind == StpKind::kM8 || packet.kind == StpKind::kC8 || packet.kind == StpKind::kC16;
    listing += line(test::name(packet), packet.master, packet.channel, is_source ? 0 : packet.value,
                    packet.timestamp);
  }
  return listing;
}

Bytes demultiplex(const Bytes& input, std::uint8_t source) {
  Bytes stream;
  FrameDemultiplexer(source).push(input, [&](std::span<const std::uint8_t> block, std::uint64_t) {
    stream.insert(stream.end(), block.begin(), block.end());
  });
  return stream;
}

/// Every packet that libopencsd reads as we do: 8-bit masters; no M16, USER, XSYNC, FREQ_40,
/// FREQ_TS or CERR. Timestamps below 2^31, the largest that it decodes from Gray code.
const std::string kEveryPacket =
    "1 42 3 07 F3 1234 3 FF F08 0124F800 0 F01 11"                    // M8, C8, C16, FREQ, NULL
    "C 5 FD 6 FC 7 12 D 8 213 4 A5 F8 5A F4 FF 3ABC 8 00 0"           // D4, D8
    "5 1234 F9 FFFF F5 8001 4FEDC 9 7777 15 FE E 512345"              // D16, FLAG
    "6 12345678 FA FFFFFFFF F6 89ABCDEF 6654321 A 00000000 77FFFFFF"  // D32
    "7 123456789ABCDEF0 FB FFFFFFFFFFFFFFFF"                          // D64
    "F7 0123456789ABCDEF 87FFFFFFF B FEDCBA9876543210 840000000"      //
    "F06 12 F07 FF 11 2 01 C 1 F2 02 C 2 1 99 C 3";                   // TRIG, MERR, GERR

TEST(OpencsdDiff, EveryPacketAloneAndInFramesOfThreeSources) {
  for (const std::string version : {"F00 3", "F00 4"}) {  // natural and Gray code
    SCOPED_TRACE(version);
    const std::string packets = test::kAsync + version + kEveryPacket;
    const Bytes bytes = test::stream({packets, packets, "0"});
    FrameWriter writer;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
      writer.write(0x20, std::span(bytes).subspan(at, 1));
      writer.write(static_cast<std::uint8_t>(0x21 + at % 2), Bytes(at % 20, 0xA5));
    }
    writer.finish();
    const std::string theirs = list_with_opencsd(bytes, std::nullopt);
    EXPECT_EQ(std::count(theirs.begin(), theirs.end(), '\n'), 2 * 39 + 2);
    EXPECT_EQ(list(bytes), theirs);
    EXPECT_EQ(list_with_opencsd(writer.bytes(), std::uint8_t{0x20}), theirs);
    EXPECT_EQ(list(demultiplex(writer.bytes(), 0x20)), theirs);
  }
}

TEST(OpencsdDiff, RealCaptures) {
  const struct {
    const char* file;
    std::uint8_t source;
    std::map<std::string, int> packets;  // by name, from the captures' own description
  } captures[] = {
      {"stm-board-a.cs.bin",
       0x20,
       {{"ASYNC", 7},
        {"VERSION", 7},
        {"FREQ", 7},
        {"M8", 7},
        {"D32", 2509},
        {"D32TS", 2508},
        {"FLAG", 1255}}},
      {"stm-board-b.cs.bin", 0x20, {{"ASYNC", 1}, {"D32", 77}, {"D32TS", 76}, {"FLAG", 39}}},
      {"flagged-messages.cs.bin",
       0x10,
       {{"D32M", 24}, {"D32", 113}, {"FLAGTS", 23}, {"C16", 1}, {"M8", 1}}},
  };
  for (const auto& capture : captures) {
    SCOPED_TRACE(capture.file);
    std::ifstream file(std::filesystem::path(QBT2_SHARED_DATA_DIR) / capture.file,
                       std::ios::binary);
    const Bytes bytes(std::istreambuf_iterator<char>(file), {});
    if (bytes.empty()) GTEST_SKIP() << "no " << capture.file << " in " << QBT2_SHARED_DATA_DIR;
    EXPECT_TRUE(looks_like_frames(bytes));
    EXPECT_FALSE(looks_like_stp(bytes));
    FrameDemultiplexer frames;
    frames.push(bytes);
    ASSERT_EQ(frames.sources().size(), 1U);
    EXPECT_EQ(frames.sources()[0].id, capture.source);
    const std::string ours = list(demultiplex(bytes, capture.source));
    EXPECT_EQ(ours, list_with_opencsd(bytes, capture.source));
    std::map<std::string, int> packets;
    std::istringstream lines(ours);
    for (std::string line; std::getline(lines, line);) ++packets[line.substr(0, line.find(' '))];
    for (const auto& [name, count] : capture.packets) EXPECT_EQ(packets[name], count) << name;
  }
}

}  // namespace
}  // namespace qbt2
