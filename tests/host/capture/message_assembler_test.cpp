#include "host/capture/message_assembler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "host/capture/framing_chooser.h"

namespace qbt2 {
namespace {

/// Plays packets from text into a sink:
///   1, 2m, 3t, 4mt   D32 with this value, marked, timestamped
///   L7, L7m          D64 whose low word is 7 and whose high word is 0
///   b                D8
///   F, Ft            FLAG, FLAG_TS
///   M5, C9           from now on master 5 (and channel 0), channel 9
///   MERR, GERR       the source dropped trace
///   X                loss of synchronization
///   H1000            FREQ
/// Every timestamp is 10 more than the one before; packets are 4 bytes apart.
class Script {
 public:
  template <typename Sink>
  void play(const std::string& text, Sink& sink) {
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      packet_.nibble_offset += 8;
      if (word == "X") {
        sink.on_sync_lost(packet_.byte_offset(), StpSyncLoss::kReservedOpcode);
      } else {
        set_packet(word);
        sink.on_packet(packet_);
      }
    }
  }

 private:
  void set_packet(const std::string& word) {
    static const std::map<char, StpKind> kKinds = {
        {'F', StpKind::kFlag}, {'M', StpKind::kM8},  {'C', StpKind::kC8},  {'H', StpKind::kFreq},
        {'b', StpKind::kD8},   {'L', StpKind::kD64}, {'G', StpKind::kGerr}};
    const auto kind = kKinds.find(word[0]);
    packet_.kind = word == "MERR"         ? StpKind::kMerr
                   : kind == kKinds.end() ? StpKind::kD32
                                          : kind->second;
    const std::size_t digits = word.find_first_of("0123456789");
    packet_.value = digits == std::string::npos ? 0 : std::stoul(word.substr(digits));
    if (packet_.kind == StpKind::kM8) {
      packet_.master = static_cast<std::uint16_t>(packet_.value);
      packet_.channel = 0;
    }
    if (packet_.kind == StpKind::kC8) packet_.channel = static_cast<std::uint16_t>(packet_.value);
    packet_.marked = packet_.is_data() && word.find('m') != std::string::npos;
    packet_.has_timestamp = word.back() == 't';
    if (packet_.has_timestamp) packet_.timestamp += 10;
  }

  StpPacket packet_;
};

/// "master:word,word@timestamp=ns" for each sample, the words from the sample's own bytes.
std::string to_text(const SampleBatch& batch) {
  std::string text;
  for (const SampleHead& head : batch.heads) {
    const std::uint8_t* const sample = batch.bytes.data() + head.begin;
    std::uint32_t payload = 0;
    std::memcpy(&payload, sample + 4, 4);
    EXPECT_EQ(head.size, 8 + payload);
    EXPECT_EQ(sample[1], head.master & 0xFF);
    if (!text.empty()) text += ' ';
    text += std::to_string(head.master);
    text += ':';
    for (std::uint32_t at = 8; at < head.size; at += 5) {
      EXPECT_EQ(sample[at], 4);
      std::uint32_t word = 0;
      std::memcpy(&word, sample + at + 1, 4);
      if (at != 8) text += ',';
      text += std::to_string(word);
    }
    if (head.has_timestamp) text.append("@").append(std::to_string(head.timestamp));
    if (head.has_time_ns) text.append("=").append(std::to_string(head.time_ns));
  }
  return text;
}

struct Assembled {
  std::string samples;
  AssemblyCounts counts;
  SampleBatch batch;
};

Assembled assemble(Framing framing, const std::string& script, bool on_boundary = true,
                   AssemblerOptions options = {}) {
  options.framing = framing;
  MessageAssembler assembler(options);
  Assembled result;
  assembler.set_batch(result.batch);
  Script().play(script, assembler);
  assembler.finish(on_boundary);
  result.samples = to_text(result.batch);
  result.counts = assembler.counts();
  return result;
}

TEST(MessageAssembler, MessagesByFramingSourceAndDamage) {
  const struct {
    Framing framing;
    const char* script;
    const char* samples;
    std::uint64_t incomplete = 0;
    bool on_boundary = true;
  } cases[] = {
      // A FLAG without words is not a message; marks and timestamps do not end one.
      {Framing::kFlag, "M3 F 1m 2t F F 3 4 Ft", "3:1,2@10 3:3,4@20"},
      {Framing::kFlag, "M3 1 2 F 3", "3:1,2", 1},
      {Framing::kMarkerLast, "M3 1 2m 3t 4m 5", "3:1,2 3:3,4@10", 1},
      {Framing::kMarkerLast, "M3 1 F 2m", "3:1,2"},
      {Framing::kTimestampLast, "M3 1 2t 3m 4mt 5 F", "3:1,2@10 3:3,4@20", 1},
      // Stray words before the first marked packet are not a message; the timestamp of the packet
      // that begins the next message does not count for the one before.
      {Framing::kMarkerFirst, "M3 9 8 1m 2t 3mt 4", "3:1,2@10 3:3,4@20", 1},
      {Framing::kMarkerFirst, "M3 1m 2 Ft 7 8 3m 4", "3:1,2@10 3:3,4@10", 1},
      // D64 gives two words, low half first, and delimits like D32; D8 is not a word.
      {Framing::kMarkerLast, "M3 L1 b L5m", "3:1,0,5,0"},
      // Masters and channels are independent; a master id is kept in full.
      {Framing::kFlag, "M300 1 2 F", "300:1,2"},
      {Framing::kFlag, "M1 1 M2 2 C7 3 M1 4 F M2 5 C7 6 F M2 F", "1:1,4 2:3,6 2:2,5"},
      // MERR drops all channels of its own master, GERR and a loss of synchronization those of all.
      {Framing::kFlag, "M1 1 C4 2 M2 3 M1 MERR 4 F M2 5 F", "1:4 2:3,5", 2},
      {Framing::kFlag, "M1 1 M2 3 GERR M2 5 F M1 6 F", "2:5 1:6", 2},
      {Framing::kFlag, "M1 1 X 2 F", "1:2", 1},
      {Framing::kFlag, "M1 1 F MERR GERR X", "1:1"},
      {Framing::kFlag, "M1 1 MERR 2 MERR 3 F", "1:3", 2},
      // Only marker-first ends messages at the end, and only on a packet boundary.
      {Framing::kMarkerFirst, "M1 1m 2 M2 3m", "1:1,2 2:3"},
      {Framing::kMarkerFirst, "M1 1m 2", "", 1, false},
      {Framing::kFlag, "M1 1 2", "", 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(framing_name(c.framing)) + ": " + c.script);
    const Assembled got = assemble(c.framing, c.script, c.on_boundary);
    EXPECT_EQ(got.samples, c.samples);
    EXPECT_EQ(got.counts.messages_incomplete, c.incomplete);
  }
}

TEST(MessageAssembler, CountsSourceErrorsAndIgnoredPackets) {
  const AssemblyCounts counts = assemble(Framing::kFlag, "M1 1 F MERR b GERR X b b").counts;
  EXPECT_EQ(counts.source_errors, 2U);
  EXPECT_EQ(counts.ignored_packets, 3U);
}

TEST(MessageAssembler, LongMessagesAreCountedAndDropped) {
  std::string longest = "M1";
  for (int i = 0; i < 64; ++i) longest += " 5";
  EXPECT_EQ(assemble(Framing::kFlag, longest + " F").batch.heads.size(), 1U);
  const Assembled cut = assemble(Framing::kFlag, longest + " 6 F 1 2 F");
  EXPECT_EQ(cut.samples, "1:1,2");
  EXPECT_EQ(cut.counts.messages, 2U);
  EXPECT_EQ(cut.counts.words, 67U);
  EXPECT_EQ(cut.counts.messages_of_words,
            (std::map<std::uint64_t, std::uint64_t>{{2, 1}, {65, 1}}));
}

TEST(MessageAssembler, TimeComesFromFreqThenFromTheGivenClock) {
  AssemblerOptions options;
  options.clock_hz = 1'000'000'000;
  EXPECT_EQ(assemble(Framing::kFlag, "M1 1 F 1 Ft H0 1 Ft H1000 1 Ft", true, options).samples,
            "1:1 1:1@10=10 1:1@20=20 1:1@30=30000000");
  EXPECT_EQ(assemble(Framing::kFlag, "M1 1 Ft").samples, "1:1@10");
}

TEST(MessageAssembler, NanosecondsAreExactUpToTheLargestTimes) {
  const struct {
    std::uint64_t ticks;
    std::uint64_t clock_hz;
    const char* time;
  } cases[] = {
      // 1 s less one tick: ticks * 10^9 needs 64 bits at 2^34 Hz, and 70 at the largest FREQ_40.
      {17'179'869'183, 17'179'869'184, "=999999999"},
      {34'359'738'367, 34'359'738'368, "=999999999"},
      {1'099'511'627'774, 1'099'511'627'775, "=999999999"},
      {1'649'267'441'662, 1'099'511'627'775, "=1499999999"},
      // Times of centuries; those that need more than 64 bits are left out.
      {1ULL << 58, 19'200'000, "=15011998757901653333"},
      {1ULL << 60, 19'200'000, ""},
      {18'446'744'072'999'999'999U, 1'000'000'000, "=18446744072999999999"},
      {~0ULL, 1'000, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.ticks) + " at " + std::to_string(c.clock_hz));
    AssemblerOptions options;
    options.clock_hz = c.clock_hz;
    MessageAssembler assembler(options);
    SampleBatch batch;
    assembler.set_batch(batch);
    assembler.on_packet({.value = 1, .kind = StpKind::kD32});
    assembler.on_packet({.timestamp = c.ticks, .kind = StpKind::kFlag, .has_timestamp = true});
    EXPECT_EQ(to_text(batch), "0:1@" + std::to_string(c.ticks) + c.time);
  }
}

TEST(MessageAssembler, UnwantedMastersAreCountedButGiveNoSamples) {
  const AssemblerOptions options{.masters = {258}};
  const Assembled got = assemble(Framing::kFlag, "M2 1 F M258 2 F", true, options);
  EXPECT_EQ(got.samples, "258:2");
  EXPECT_EQ(got.counts.messages, 2U);
}

TEST(MessageAssembler, TooManySourcesLoseTheirOldestWords) {
  MessageAssembler assembler(AssemblerOptions{});
  SampleBatch batch;
  assembler.set_batch(batch);
  Script script;
  const std::string last = std::to_string(kMostSources);
  for (std::size_t i = 0; i <= kMostSources; ++i) {
    script.play(std::string("M").append(std::to_string(i)).append(" 1"), assembler);
  }
  script.play(std::string("M0 2 F M1 F M").append(last).append(" F"), assembler);
  EXPECT_EQ(to_text(batch), std::string("0:2 ").append(last).append(":1"));
  EXPECT_EQ(assembler.counts().messages_incomplete, 2U);
}

struct Chosen {
  SampleBatch batch;
  FramingChoice choice;
};

Chosen choose(const std::string& script, const AssemblerOptions& options = {}) {
  FramingChooser chooser(options, std::nullopt);
  Chosen chosen;
  chooser.set_batch(chosen.batch);
  Script().play(script, chooser);
  chooser.finish(true);
  chosen.choice = *chooser.choice();
  return chosen;
}

TEST(FramingChooser, ChoosesTheLargestShareOfKnownLengths) {
  const struct {
    const char* script;
    Framing framing;
    std::uint64_t good;
    std::uint64_t messages;
  } cases[] = {
      {"M1 1t 2t 3 4 F 1t 2t 3 4 F", Framing::kFlag, 2, 2},
      {"M1 1m 2 F 3m 4 F", Framing::kFlag, 2, 2},  // marker-first is as good, but comes later
      {"M1 1 2m 3 4m", Framing::kMarkerLast, 2, 2},
      {"M1 1 2mt 3 4mt", Framing::kMarkerLast, 2, 2},
      {"M1 1 2t 3 4t", Framing::kTimestampLast, 2, 2},
      {"M1 1m 2 3m 4 5m 6", Framing::kMarkerFirst, 3, 3},
      {"M1 9 8 1m 2 3m 4 5m 6", Framing::kMarkerFirst, 3, 4},  // stray words count as one
      {"", Framing::kFlag, 0, 0},
      {"M1 1 2 3", Framing::kFlag, 0, 1},  // open words count as one message of a wrong length
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.script);
    const Chosen got = choose(test.script);
    EXPECT_EQ(framing_name(got.choice.framing), framing_name(test.framing));
    EXPECT_EQ(got.choice.good_messages, test.good);
    EXPECT_EQ(got.choice.messages, test.messages);
  }
}

TEST(FramingChooser, DecidesOnTheFirstPacketsAndLosesNoneOfThem) {
  std::string script = "M1 X";
  for (int i = 0; i < 3000; ++i) script += " 1 2m";    // the choice is made at packet 4096
  for (int i = 0; i < 10; ++i) script += " 5 6 7 8t";  // too late to matter
  const Chosen got = choose(script);
  EXPECT_EQ(framing_name(got.choice.framing), "marker-last");
  EXPECT_EQ(got.choice.good_messages, 2048U);
  EXPECT_EQ(got.batch.heads.size(), 3000U);
}

TEST(FramingChooser, WaitsForMorePacketsForALimitedNumberOfBytes) {
  FramingChooser chooser({}, std::nullopt);
  SampleBatch batch;
  chooser.set_batch(batch);
  Script script;
  chooser.on_stream_position(10 * kBytesTried);  // nothing to choose from
  EXPECT_FALSE(chooser.choice());
  script.play("M1 1 2m 3 4m", chooser);  // the first word packet is in byte 8
  chooser.on_stream_position(kBytesTried + 7);
  EXPECT_FALSE(chooser.choice());
  chooser.on_stream_position(kBytesTried + 8);
  ASSERT_TRUE(chooser.choice());
  EXPECT_EQ(framing_name(chooser.choice()->framing), "marker-last");
  EXPECT_EQ(batch.heads.size(), 2U);
}

TEST(FramingChooser, HeldPacketsKeepTheirInputOffsets) {
  struct Shifted : StreamOffsets {
    std::uint64_t input_offset(std::uint64_t offset) override { return offset + 1000; }
  } shifted;
  AssemblerOptions options;
  options.offsets = &shifted;
  const Chosen got = choose("M1 1 2 F", options);
  ASSERT_EQ(got.batch.heads.size(), 1U);
  EXPECT_EQ(got.batch.heads[0].offset, 1008U);
}

}  // namespace
}  // namespace qbt2
