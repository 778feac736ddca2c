#include "host/stp/stp_reader.h"

#include <optional>
#include <string>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "tests/host/stp/random_stp.h"
#include "tests/host/stp/reference_stp_reader.h"
#include "tests/host/stp/stp_events.h"

namespace qbt2 {
namespace {

using test::kAsync;
using test::name;
using test::RandomStp;
using test::ReferenceStpReader;
using test::StpEvent;
using test::StpRecorder;
using test::stream;

struct Reading {
  StpRecorder recorder;
  StpReader reader;
  bool on_boundary = false;

  explicit Reading(std::span<const std::uint8_t> bytes) {
    reader.push(bytes, recorder);
    on_boundary = reader.finish(recorder);
  }
  std::vector<StpPacket> packets() const {
    std::vector<StpPacket> found;
    for (const StpEvent& event : recorder.events) {
      if (event.type == StpEvent::kPacket) found.push_back(event.packet);
    }
    return found;
  }
};

TEST(StpReader, ReadsEachPacketKind) {
  struct Case {
    std::string nibbles;
    std::string name;
    std::uint64_t value;
    std::uint64_t timestamp;
    int value_nibbles;
  };
  const Case cases[] = {
      {"0", "NULL", 0, 0, 0},
      {"1 A5", "M8", 0xA5, 0, 2},
      {"2 01", "MERR", 1, 0, 2},
      {"3 7F", "C8", 0x7F, 0, 2},
      {"4 12", "D8", 0x12, 0, 2},
      {"5 1234", "D16", 0x1234, 0, 4},
      {"6 12345678", "D32", 0x12345678, 0, 8},
      {"7 123456789ABCDEF0", "D64", 0x123456789ABCDEF0, 0, 16},
      {"8 12 2AB", "D8MTS", 0x12, 0xAB, 2},
      {"9 1234 13", "D16MTS", 0x1234, 3, 4},
      {"A 12345678 0", "D32MTS", 0x12345678, 0, 8},
      {"B FFFFFFFFFFFFFFFF C123456789ABC", "D64MTS", ~0ULL, 0x123456789ABC, 16},
      {"C 9", "D4", 9, 0, 1},
      {"D 9 11", "D4MTS", 9, 1, 1},
      {"E 3123", "FLAGTS", 0, 0x123, 0},
      {"F00 3", "VERSION", 3, 0, 1},
      {"F00 B 12", "VERSION", 0xB12, 0, 3},
      {"F01 17", "NULLTS", 0, 7, 0},
      {"F02 0 5", "USER", 5, 0, 1},
      {"F02 F 0123456789ABCDEF", "USER", 0x0123456789ABCDEF, 0, 16},
      {"F03 1 AB 15", "USERTS", 0xAB, 5, 2},
      {"F06 12", "TRIG", 0x12, 0, 2},
      {"F07 12 14", "TRIGTS", 0x12, 4, 2},
      {"F08 0124F800", "FREQ", 19200000, 0, 8},
      {"F09 0124F800 16", "FREQTS", 19200000, 6, 8},
      {"F0A 34", "XSYNC", 0x34, 0, 2},
      {"F0B 34 0", "XSYNCTS", 0x34, 0, 2},
      {"F0F0 123456789A", "FREQ_40", 0x123456789A, 0, 10},
      {"F0F1 123456789A 18", "FREQ_40TS", 0x123456789A, 8, 10},
      {"F0F3 56", "CERR", 0x56, 0, 2},
      {"F1 BEEF", "M16", 0xBEEF, 0, 4},
      {"F2 01", "GERR", 1, 0, 2},
      {"F3 CAFE", "C16", 0xCAFE, 0, 4},
      {"F4 12 11", "D8TS", 0x12, 1, 2},
      {"F5 1234 12", "D16TS", 0x1234, 2, 4},
      {"F6 12345678 212", "D32TS", 0x12345678, 0x12, 8},
      {"F7 123456789ABCDEF0 D123456789ABCDE", "D64TS", 0x123456789ABCDEF0, 0x123456789ABCDE, 16},
      {"F8 12", "D8M", 0x12, 0, 2},
      {"F9 1234", "D16M", 0x1234, 0, 4},
      {"FA FFFFFFFF", "D32M", 0xFFFFFFFF, 0, 8},
      {"FB 0000000000000001", "D64M", 1, 0, 16},
      {"FC 7 EFEDCBA9876543210", "D4TS", 7, 0xFEDCBA9876543210, 1},
      {"FD 7", "D4M", 7, 0, 1},
      {"FE", "FLAG", 0, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.nibbles);
    // In both halves of a byte, at the end of a stream and far from it. The D16 after it shows
    // that its length is right.
    for (const std::string& before : {std::string(), std::string("0")}) {
      for (const std::size_t more : {0U, 100U}) {
        const Reading reading(
            stream({kAsync, before, c.nibbles, "5 ABCD", std::string(more, '0')}));
        const std::vector<StpPacket> packets = reading.packets();
        const std::size_t index = 1 + before.size();
        ASSERT_GE(packets.size(), index + 2);
        const StpPacket& packet = packets[index];
        EXPECT_EQ(name(packet), c.name);
        EXPECT_EQ(packet.value, c.value);
        EXPECT_EQ(packet.timestamp, c.timestamp);
        EXPECT_EQ(packet.value_nibbles, c.value_nibbles);
        EXPECT_EQ(packet.nibble_offset, 22 + before.size());
        EXPECT_EQ(name(packets[index + 1]), "D16");
        EXPECT_EQ(packets[index + 1].value, 0xABCDU);
        EXPECT_TRUE(reading.on_boundary);
        EXPECT_TRUE(reading.reader.counters() == StpCounters{packets.size()});
      }
    }
  }
}

TEST(StpReader, KeepsMasterChannelAndTime) {
  struct Case {
    std::string nibbles;
    std::uint16_t master;
    std::uint16_t channel;
    std::uint64_t timestamp;
  };
  const Case cases[] = {
      {"", 0, 0, 0},
      {"F1 1234 F3 5678", 0x1234, 0x5678, 0},
      {"F1 1234 F3 5678 3 9A", 0x1234, 0x569A, 0},   // C8: the low 8 bits
      {"F3 5678 1 42", 0x42, 0, 0},                  // M8 sets all of the master
      {"F1 1234 1 42", 0x42, 0, 0},                  //
      {"1 42 F3 5678 2 00", 0x42, 0, 0},             // MERR
      {"1 42 F3 5678 F2 00", 0, 0, 0},               // GERR: no master is known, so no channel is
      {"1 42 3 07" + kAsync, 0x42, 7, 0},            // ASYNC alone
      {"1 42 3 07" + kAsync + "F00 3", 0, 0, 0},     //
      {"1 42 3 07" + kAsync + "00 F00 3", 0, 0, 0},  // NULL is ignored
      {"1 42 3 07" + kAsync + "FE F00 3", 0x42, 7, 0},          // not right after an ASYNC
      {"1 42 3 07 F00 4", 0x42, 7, 0},                          //
      {"1 42 3 07" + kAsync + "F00 3 3 09 F00 4 FE", 0, 9, 0},  //
      {"1 42 3 07" + kAsync + "F01 0 F00 3", 0x42, 7, 0},       // NULL_TS counts as a packet
      // The nibbles that a timestamp leaves out keep their value.
      {"E 41234 E 2FF", 0, 0, 0x12FF},
      {"E 41234 E 0", 0, 0, 0x1234},
      {"E EFEDCBA9876543210 E 10", 0, 0, 0xFEDCBA9876543210},
      {"E EFEDCBA9876543210 E D00000000000001", 0, 0, 0xFE00000000000001},
      {"E EFEDCBA9876543210 E C000000000001", 0, 0, 0xFEDC000000000001},
      // Gray: 0b1101 is 9, 0b1000 is 15; the kept nibbles are kept as sent.
      {"1 42 F00 4 E 1D", 0x42, 0, 9},
      {"1 42 F00 4 E 2D8", 0x42, 0, 0x90 + 0},
      {"1 42 F00 4 E 218 E 10", 0x42, 0, 0x1F},
      {"1 42 F00 4 E E8000000000000000", 0x42, 0, ~0ULL},
      {"1 42 F00 4 E EFFFFFFFFFFFFFFFF", 0x42, 0, 0xAAAAAAAAAAAAAAAA},
      // Differences.
      {"1 42 F00 2 E 210 E 15 E 0", 0x42, 0, 0x15},
      {"1 42 F00 2 E 210 E EFFFFFFFFFFFFFFFF", 0x42, 0, 0xF},
      // A change of the coding keeps the time, not the bits: 0x1F is 0b10000 in Gray code.
      {"E 21F F00 4 E 11", 0, 0, 0x1E},
      {"1 42 F00 4 E 218 F00 3 E 13", 0x42, 0, 0x13},
      {"1 42 F00 2 E 21F F00 3 E 10", 0x42, 0, 0x10},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.nibbles);
    const Reading reading(stream({kAsync, c.nibbles, "C5"}));
    const std::vector<StpPacket> packets = reading.packets();
    const auto d4 = std::find_if(packets.rbegin(), packets.rend(),
                                 [](const StpPacket& p) { return p.kind == StpKind::kD4; });
    ASSERT_NE(d4, packets.rend());
    EXPECT_EQ(d4->master, c.master);
    EXPECT_EQ(d4->channel, c.channel);
    EXPECT_EQ(d4->timestamp, c.timestamp);
    EXPECT_EQ(reading.reader.counters().sync_losses, 0U);
  }
}

/// The bytes before an ASYNC: what is a packet, what is lost, what is skipped.
TEST(StpReader, ResynchronizesAtTheNextAsync) {
  struct Case {
    std::string nibbles;  // between two ASYNC; after damage also a packet, which is lost too
    std::string packets;  // read from them
    std::optional<StpSyncLoss> reason;
    std::uint64_t skipped;  // up to the end of `nibbles`
  };
  using enum StpSyncLoss;
  const std::string f16(16, 'F');
  const Case cases[] = {
      {"F0C", "", kReservedOpcode, 3},
      {"F0D", "", kReservedOpcode, 3},
      {"F0E", "", kReservedOpcode, 3},
      {"F0F4", "", kReservedOpcode, 4},
      {"F0FF", "", kReservedOpcode, 4},
      {"FF", "", kReservedOpcode, 2},
      {"FEF040", "FLAG ", kUnsettledPacket, 4},
      {"F05", "", kUnsettledPacket, 3},
      {"F0F2", "", kUnsettledPacket, 4},
      {"412EF", "D8 ", kReservedTimestampSize, 2},
      {"F000", "", kStpVersion1, 4},
      {"F001", "", kStpVersion1, 4},
      {"F009", "", kStpVersion1, 4},
      {"F005", "", kReservedVersion, 4},
      {"F00E", "", kReservedVersion, 4},
      {"F00F1", "", kReservedVersion, 5},
      // One F short of an ASYNC, and one whose 0 is something else.
      {"FFFFFFFFFFFFFFFFFFFF0", "", kReservedOpcode, 21},
      {"FFFFFFFFFFFFFFFFFFFFFFFFFFF1", "", kReservedOpcode, 28},
      // The ASYNC itself cuts the packet before it; surplus F are not damage.
      {"", "", {}, 0},
      {"F", "", {}, 1},
      {f16 + f16, "", {}, 32},
      // 64 F with those of the ASYNC are surplus, 65 are damage, whatever ends them.
      {std::string(43, 'F'), "", {}, 43},
      {std::string(44, 'F'), "", kRunOfOnes, 44},
      {"FE" + std::string(400, 'F'), "FLAG ", kRunOfOnes, 400},
      {std::string(64, 'F') + "1", "", kReservedOpcode, 65},
      {std::string(65, 'F') + "1", "", kRunOfOnes, 66},
      {"6", "", kCutByAsync, 1},
      {"6FFFF", "", kCutByAsync, 5},
      {"4F", "", kCutByAsync, 2},
      {"4FF", "D8 ", {}, 0},
      {"4FFF", "D8 ", {}, 1},
      {"7FFFFFFFFFFFFFFF", "", kCutByAsync, 16},
      {"7" + f16, "D64 ", {}, 0},
      {"7" + f16 + "F", "D64 ", {}, 1},
      {"F7", "", kCutByAsync, 2},
      {"F7" + f16, "", kCutByAsync, 18},
      {"F7" + f16 + "0", "D64TS ", {}, 0},
      {"F7" + f16 + "EFFFFFFFFFFFFFFF", "", kCutByAsync, 34},
      {"F7" + f16 + "E" + f16, "D64TS ", {}, 0},
      {"F0", "", kCutByAsync, 2},
      {"F0F", "", kCutByAsync, 3},
      {"F00", "", kCutByAsync, 3},
      {"F00BF", "", kCutByAsync, 5},
      {"F00BFF", "VERSION ", {}, 0},
      {"F02F" + f16, "USER ", {}, 0},
      {"F02F" + f16 + "F", "USER ", {}, 1},
      {"F02FFFFFFFFFFFFFFFF", "", kCutByAsync, 19},
      {"F02", "", kCutByAsync, 3},
      {"F03", "", kCutByAsync, 3},
      {"E", "", kCutByAsync, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.nibbles);
    const bool async_follows =
        !c.reason || c.reason == kCutByAsync || (c.reason == kRunOfOnes && c.nibbles.back() == 'F');
    const std::string lost = async_follows ? "" : "600000001";
    const Reading reading(stream({kAsync, c.nibbles, lost, kAsync, "C5"}));
    std::string packets;
    for (const StpPacket& packet : reading.packets()) packets.append(name(packet)).append(" ");
    // A NULL at the very end is the unused half byte.
    EXPECT_THAT(packets, testing::StartsWith("ASYNC " + c.packets + "ASYNC D4 "));
    for (const StpEvent& event : reading.recorder.events) {
      if (event.type != StpEvent::kSyncLost) continue;
      EXPECT_EQ(event.reason, c.reason);
      EXPECT_EQ(event.offset, (22 + c.nibbles.size() - c.skipped) / 2);
    }
    EXPECT_EQ(reading.reader.counters().sync_losses, c.reason ? 1U : 0U);
    EXPECT_EQ(reading.reader.counters().nibbles_skipped, c.skipped + lost.size());
    EXPECT_TRUE(reading.on_boundary);
  }
}

TEST(StpReader, EndsAreNotDamage) {
  struct Case {
    std::string nibbles;
    std::uint64_t bytes_skipped;
    bool on_boundary;
  };
  const Case cases[] = {
      {"", 0, false},
      {"1234", 2, false},                      // never in sync
      {"12345" + kAsync, 3, true},             // 5 nibbles before the first ASYNC
      {std::string(41, 'F') + "0", 10, true},  // surplus F before it
      {kAsync, 0, true},
      // With the halves of each byte swapped nothing is an ASYNC; the reader does not guess.
      {"FFFFFFFFFFFFFFFFFFFF0F 0F30 16325476 08", 18, false},
      {kAsync + "6 1234567", 4, false},  // cut packet
      {kAsync + "FFFFFF", 3, false},     // cut ASYNC
      {kAsync + std::string(200, 'F'), 100, false},
      {kAsync + "4F", 1, false},    //
      {kAsync + "0 4FF", 0, true},  // complete: nothing follows that could cut it
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.nibbles);
    const Reading reading(stream({c.nibbles}));
    EXPECT_EQ(reading.reader.counters().bytes_skipped(), c.bytes_skipped);
    EXPECT_EQ(reading.on_boundary, c.on_boundary);
    EXPECT_EQ(reading.reader.counters().sync_losses, 0U);
  }
}

void expect_like_reference(RandomStp& random, const std::vector<std::uint8_t>& bytes) {
  const ReferenceStpReader reference(bytes);
  StpReader reader;
  StpRecorder recorder;
  random.in_chunks(bytes,
                   [&](std::span<const std::uint8_t> chunk) { reader.push(chunk, recorder); });
  EXPECT_EQ(reader.finish(recorder), reference.ended_on_boundary);
  ASSERT_EQ(recorder.events, reference.events);
  EXPECT_TRUE(reader.counters() == reference.counters);
  EXPECT_EQ(reader.stream_bytes(), bytes.size());
}

/// Mostly F, so that runs of every length come up.
std::vector<std::uint8_t> garbage(RandomStp& random) {
  std::vector<std::uint8_t> bytes(random.below(600));
  for (std::uint8_t& byte : bytes) {
    byte = random.below(12) != 0 ? 0xFF : static_cast<std::uint8_t>(random.value());
  }
  return bytes;
}

TEST(StpReader, AgreesWithTheReferenceReader) {
  using Make = std::vector<std::uint8_t> (*)(RandomStp&);
  const struct {
    const char* what;
    std::uint64_t streams;
    Make make;
  } cases[] = {
      {"sound", 400, [](RandomStp& random) { return random.sound(1 + random.below(400)); }},
      {"damaged", 3000, [](RandomStp& random) { return random.damaged(1 + random.below(120)); }},
      {"garbage", 1000, garbage},
  };
  for (const auto& c : cases) {
    for (std::uint64_t seed = 1; seed <= c.streams && !testing::Test::HasFailure(); ++seed) {
      SCOPED_TRACE(std::string(c.what) + ", seed " + std::to_string(seed));
      RandomStp random(seed);
      expect_like_reference(random, c.make(random));
    }
  }
}

}  // namespace
}  // namespace qbt2
