#include "host/generate/capture_generator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "host/base/error.h"
#include "host/base/seeded_random.h"
#include "host/capture/open_capture.h"
#include "host/generate/bus_message.h"
#include "host/generate/capture_damage.h"
#include "tests/support/test_folder.h"

namespace qbt2 {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Bytes = std::vector<std::uint8_t>;

// ---- the parts ----

TEST(SeededRandom, GivesThePublishedSequenceOfSplitMix64) {
  SeededRandom random(1234567);
  EXPECT_EQ(random.next(), 6457827717110365317U);
  EXPECT_EQ(random.next(), 3203168211198807973U);
  EXPECT_EQ(random.next(), 9817491932198370423U);
  EXPECT_EQ(SeededRandom(5).below(0), 0U);
  EXPECT_EQ(SeededRandom(5).below(1), 0U);
}

std::vector<std::uint32_t> words_of(const MessageWords& message) {
  return {message.view().begin(), message.view().end()};
}

TEST(BusMessage, PacksStatistics) {
  EXPECT_THAT(words_of(pack(ThroughputWindow{100, 25})), ElementsAre(0x64, 0x19));
  EXPECT_THAT(words_of(pack(ThroughputWindow{0xFFFFFFFF, 0xAB000019})),
              ElementsAre(0xFFFFFFFF, 0x19));
  EXPECT_THAT(words_of(pack(LatencyWindow{0xABCD12, 0x345678, 9, 0x89ABCDEF, 0x123456})),
              ElementsAre(0x12345678, 0x0009ABCD, 0x89ABCDEF, 0x00123456));
}

TEST(BusMessage, PacksEachTransactionFieldAtItsPlaceAndCutsItToItsWidth) {
  using T = BusTransaction;
  struct Case {
    std::uint32_t T::*field;
    unsigned word;
    std::uint32_t bits;  // that a field of all ones sets
  };
  const Case cases[] = {
      {&T::address_mode, 1, 0x00030000},  {&T::route_id, 1, 0x3FFC0000},
      {&T::direction, 1, 0x40000000},     {&T::exclusive, 1, 0x80000000},
      {&T::byte_count, 2, 0x000003FF},    {&T::priority, 2, 0x00001C00},
      {&T::line_size, 2, 0x0000E000},     {&T::privilege, 2, 0x00030000},
      {&T::privilege_id, 2, 0x03FC0000},  {&T::data_type, 2, 0x0C000000},
      {&T::region, 2, 0xF0000000},        {&T::interest, 3, 0x00000001},
      {&T::debug, 3, 0x00000002},         {&T::inner_domain, 3, 0x0000000C},
      {&T::outer_domain, 3, 0x00000030},  {&T::share_domain, 3, 0x000000C0},
      {&T::qos, 3, 0x00000700},           {&T::secure, 3, 0x00000800},
      {&T::memory_type, 3, 0x00003000},   {&T::opcode, 3, 0x0007C000},
      {&T::sideband, 3, 0x0FF00000},      {&T::extended_priority, 3, 0xE0000000},
      {&T::order_id, 4, 0x0000000F},      {&T::mirrored_sideband, 4, 0x000007F0},
      {&T::firewall_pass, 4, 0x00001800}, {&T::prefetchable, 4, 0x00002000},
      {&T::virtual_id, 4, 0x03FFC000},    {&T::address_select, 4, 0x3C000000},
      {&T::address_type, 4, 0xC0000000},  {&T::channel_id, 5, 0x00000FFF},
  };
  for (const Case& c : cases) {
    T transaction;
    transaction.*c.field = 0xFFFFFFFF;
    std::vector<std::uint32_t> expected(6, 0);
    expected[c.word] = c.bits;
    EXPECT_EQ(words_of(pack(transaction)), expected) << "word " << c.word << " bits " << c.bits;
  }
  T transaction;
  transaction.address = 0xFFFF'8000'0180'0002;
  EXPECT_THAT(words_of(pack(transaction)), ElementsAre(0x01800002, 0x8000, 0, 0, 0, 0));
}

// ---- the traffic ----

TEST(TrafficModel, KeepsTheMixAndTheSamplingPeriod) {
  for (const TrafficMix mix : {TrafficMix{1, 1, 8}, {1, 1, 1}, {3, 1, 2}, {1, 0, 100}, {0, 2, 1}}) {
    TrafficOptions options;
    options.mix = mix;
    TrafficModel model(options);
    std::array<double, 3> counts{};
    std::map<std::uint16_t, std::uint64_t> window_ends;
    std::uint64_t last = 0;
    for (int i = 0; i < 150'000; ++i) {
      const TrafficMessage message = model.next();
      ASSERT_GE(message.ticks, last);
      last = message.ticks;
      counts[static_cast<std::size_t>(message.kind)] += 1;
      if (message.kind == TrafficKind::kTransaction) continue;
      std::uint64_t& end = window_ends[message.master];
      if (end != 0) {
        ASSERT_EQ((message.ticks - end) % model.sampling_period(), 0U);
      }
      end = message.ticks;
    }
    const double sum = mix.throughput + mix.latency + mix.transaction;
    const std::string shown = std::to_string(mix.throughput) + ":" + std::to_string(mix.latency) +
                              ":" + std::to_string(mix.transaction);
    EXPECT_NEAR(counts[0] / 150'000, mix.throughput / sum, 0.03) << shown;
    EXPECT_NEAR(counts[1] / 150'000, mix.latency / sum, 0.03) << shown;
    EXPECT_NEAR(counts[2] / 150'000, mix.transaction / sum, 0.03) << shown;
  }
}

TEST(TrafficModel, StatisticsAgreeWithEachOtherAndWithTheLog) {
  TrafficModel model({});
  std::map<std::uint16_t, std::uint32_t> access_bytes;  // as the log shows
  std::vector<TrafficMessage> messages;
  for (int i = 0; i < 100'000; ++i) {
    messages.push_back(model.next());
    if (messages.back().kind == TrafficKind::kTransaction) {
      access_bytes[messages.back().master] = messages.back().words.words[2] & 0x3FF;
    }
  }
  EXPECT_EQ(access_bytes.size(), 7U);
  int windows_in_use = 0;
  for (std::size_t i = 0; i + 1 < messages.size(); ++i) {
    if (messages[i].kind != TrafficKind::kThroughput) continue;
    const auto& throughput = messages[i].words.words;
    const auto& latency = messages[i + 1].words.words;  // of the same window
    ASSERT_EQ(messages[i + 1].kind, TrafficKind::kLatency);
    const std::uint32_t accesses = throughput[1];
    const std::uint32_t tracked = latency[0] >> 24 | (latency[1] & 0xFFFF) << 8;
    ASSERT_EQ(tracked, accesses);
    ASSERT_EQ(throughput[0], accesses * access_bytes[messages[i].master]);
    ASSERT_LE(latency[0] & 0xFFFFFF, tracked);
    ASSERT_LE(latency[1] >> 16, latency[2]);
    ASSERT_GE(latency[2], 12 * accesses);
    ASSERT_LE(latency[3], latency[2]);
    windows_in_use += accesses != 0 ? 1 : 0;
  }
  EXPECT_GT(windows_in_use, 5'000);
}

// ---- whole captures ----

std::string shown(const GeneratorOptions& options) {
  return std::string(capture_format_name(options.format)) + " " +
         std::string(framing_name(options.encoding.framing)) + " timestamps " +
         std::to_string(static_cast<int>(options.encoding.timestamps)) + " coding " +
         std::to_string(static_cast<int>(options.encoding.coding)) + " others " +
         std::to_string(options.other_sources);
}

class CaptureGeneratorTest : public testing::Test {
 protected:
  struct Decoded {
    CaptureCounts counts;
    std::vector<GeneratedMessage> messages;
    std::vector<std::uint64_t> times_ns;
  };

  /// Writes the capture and reads it back through the host's own readers.
  void read_back(const GeneratorOptions& options) {
    const std::string path = folder_.at("capture");
    std::ofstream file(path, std::ios::binary);
    truth_.clear();
    summary_ = CaptureGenerator(options).run(
        [&](std::span<const std::uint8_t> bytes) {
          file.write(reinterpret_cast<const char*>(bytes.data()),
                     static_cast<std::streamsize>(bytes.size()));
        },
        [&](const GeneratedMessage& message) { truth_.push_back(message); });
    file.close();
    EXPECT_EQ(std::filesystem::file_size(path), summary_.bytes);
    decoded_ = read(path, options);
  }

  /// Each message comes back with all that its format carries.
  void expect_back(const GeneratorOptions& options) {
    SCOPED_TRACE(shown(options));
    read_back(options);
    const bool samples = options.format == CaptureFormat::kSamples;
    const bool at_end_only = options.encoding.framing == Framing::kMarkerFirst;
    if (at_end_only) {  // a message ends where its master's next one begins
      std::sort(decoded_.messages.begin(), decoded_.messages.end(),
                [](const auto& a, const auto& b) { return a.offset < b.offset; });
    }
    ASSERT_EQ(decoded_.messages.size(), truth_.size());
    for (std::size_t i = 0; i < truth_.size(); ++i) {
      const GeneratedMessage& got = decoded_.messages[i];
      ASSERT_EQ(got.master, samples ? truth_[i].master & 0xFF : truth_[i].master) << i;
      ASSERT_EQ(got.words.count, truth_[i].words.count) << i;
      ASSERT_EQ(got.words.words, truth_[i].words.words) << i;
      if (options.format != CaptureFormat::kFrames) {
        ASSERT_EQ(got.offset, truth_[i].offset) << i;
      }
      if (!at_end_only && !samples) {
        ASSERT_EQ(got.timestamp, truth_[i].timestamp) << i;
      }
    }
    EXPECT_EQ(decoded_.counts.damages, 0U);
    EXPECT_EQ(decoded_.counts.bytes_other_sources != 0, options.other_sources != 0);
  }

  static Decoded read(const std::string& path, const GeneratorOptions& options) {
    InputFile input(path);
    CaptureOptions reading;
    reading.framing = options.encoding.framing;
    if (options.format == CaptureFormat::kFrames) reading.source_id = options.atb_id;
    const auto reader = make_capture_reader(input, options.format, reading);
    Decoded decoded;
    SampleBatch batch;
    while (reader->next(batch)) {
      for (const SampleHead& head : batch.heads) take(batch, head, decoded);
      batch.clear();
    }
    decoded.counts = reader->counts();
    return decoded;
  }

  static void take(const SampleBatch& batch, const SampleHead& head, Decoded& decoded) {
    GeneratedMessage message;
    message.master = head.master;
    message.offset = head.offset;
    if (head.has_timestamp) message.timestamp = head.timestamp;
    const std::uint8_t* const sample = batch.bytes.data() + head.begin;
    message.words.count =
        static_cast<std::uint8_t>((head.size - kSampleHeaderBytes) / kSampleWordBytes);
    for (std::size_t i = 0; i < message.words.count && i < 6; ++i) {
      std::memcpy(&message.words.words[i], sample + kSampleHeaderBytes + kSampleWordBytes * i + 1,
                  4);
    }
    decoded.messages.push_back(message);
    decoded.times_ns.push_back(head.has_time_ns ? head.time_ns : 0);
  }

  test::TestFolder folder_;
  GeneratorSummary summary_;
  std::vector<GeneratedMessage> truth_;
  Decoded decoded_;
};

TEST_F(CaptureGeneratorTest, AMillionMessagesComeBackExactly) {
  GeneratorOptions options;
  options.messages = 1'000'000;
  expect_back(options);
  for (std::size_t i = 0; i < truth_.size(); ++i) {
    ASSERT_EQ(decoded_.times_ns[i], *truth_[i].timestamp * 5) << "message " << i;  // at 200 MHz
  }
  EXPECT_EQ(decoded_.counts.bytes_skipped, 0U);
  EXPECT_EQ(decoded_.counts.assembly.messages_incomplete, 0U);
  EXPECT_EQ(summary_.messages, 1'000'000U);
  EXPECT_EQ(summary_.throughput + summary_.latency + summary_.transactions, 1'000'000U);
}

TEST_F(CaptureGeneratorTest, EveryFramingAndTimestampCodingComesBack) {
  using Coding = StpTimestampCoding;
  for (const Framing framing :
       {Framing::kFlag, Framing::kMarkerLast, Framing::kMarkerFirst, Framing::kTimestampLast}) {
    for (const TimestampUse use :
         {TimestampUse::kEvery, TimestampUse::kSome, TimestampUse::kNone}) {
      if (framing == Framing::kTimestampLast && use != TimestampUse::kEvery) continue;
      for (const Coding coding : {Coding::kNatural, Coding::kGray, Coding::kDelta}) {
        GeneratorOptions options;
        options.messages = 3'000;
        options.traffic.masters = {7, 300, 0xFFFF, 0};
        options.encoding = {framing, use, coding, 0, 500};
        expect_back(options);
      }
    }
  }
}

TEST_F(CaptureGeneratorTest, FramesAndSamplesComeBack) {
  GeneratorOptions options;
  options.format = CaptureFormat::kFrames;
  options.messages = 20'000;
  options.atb_id = 0x33;
  expect_back(options);
  options.other_sources = 3;
  expect_back(options);
  options = {};
  options.format = CaptureFormat::kSamples;
  options.messages = 5'000;
  options.traffic.masters = {0x105};
  expect_back(options);
}

Bytes bytes_of(const GeneratorOptions& options) {
  Bytes all;
  CaptureGenerator(options).run([&](std::span<const std::uint8_t> bytes) {
    all.insert(all.end(), bytes.begin(), bytes.end());
  });
  return all;
}

TEST_F(CaptureGeneratorTest, TheSeedSettlesEveryByteAndTheSizeEndsTheCapture) {
  for (const CaptureFormat format :
       {CaptureFormat::kStp, CaptureFormat::kFrames, CaptureFormat::kSamples}) {
    GeneratorOptions options;
    options.format = format;
    options.bytes = 150'000;
    options.damaged_places = 5;
    options.other_sources = format == CaptureFormat::kFrames ? 2 : 0;
    const Bytes first = bytes_of(options);
    EXPECT_EQ(bytes_of(options), first) << shown(options);
    options.traffic.seed = 2;
    EXPECT_NE(bytes_of(options), first) << shown(options);
    options.damaged_places = 0;
    const std::size_t size = bytes_of(options).size();
    EXPECT_GE(size, 150'000U) << shown(options);
    // The last message, in frames also what the last piece grew by.
    EXPECT_LE(size, format == CaptureFormat::kFrames ? 154'000U : 150'100U) << shown(options);
  }
}

TEST(CaptureGenerator, SettingsHaveFifteenFieldsForEachMaster) {
  GeneratorOptions options;
  options.messages = 1;
  options.format = CaptureFormat::kFrames;
  options.atb_id = 0x21;
  options.traffic.masters = {9, 1, 2, 3, 4, 5, 6, 400};
  const std::string settings = CaptureGenerator(options).settings();
  EXPECT_THAT(settings, HasSubstr("\nATBID=33\n"));
  EXPECT_THAT(settings, HasSubstr("\nQBT2_9=DMA1;1;0x"));
  EXPECT_THAT(settings, HasSubstr("\nQBT2_400=DMA1_2;1;0x"));
  std::size_t lines = 0;
  for (std::size_t at = settings.find("\nQBT2_"); at != std::string::npos;
       at = settings.find("\nQBT2_", at + 1), ++lines) {
    const std::string line = settings.substr(at + 1, settings.find('\n', at + 1) - at - 1);
    EXPECT_EQ(std::count(line.begin(), line.end(), ';'), 14) << line;
  }
  EXPECT_EQ(lines, 8U);
}

TEST(CaptureGenerator, RefusesContradictions) {
  struct Case {
    const char* reason;
    void (*spoil)(GeneratorOptions&);
  };
  const Case cases[] = {
      {"needs an end", [](GeneratorOptions& o) { o.messages = 0; }},
      {"three zeros",
       [](GeneratorOptions& o) {
         o.traffic.mix = {0, 0, 0};
       }},
      {"weight", [](GeneratorOptions& o) { o.traffic.mix.latency = 1001; }},
      {"clock", [](GeneratorOptions& o) { o.traffic.clock_hz = 999'999; }},
      {"named twice", [](GeneratorOptions& o) { o.traffic.masters.assign(2, 1); }},
      {"ATB id", [](GeneratorOptions& o) { o.atb_id = 0; }},
      {"ATB id", [](GeneratorOptions& o) { o.atb_id = 0x70; }},
      {"other sources", [](GeneratorOptions& o) { o.other_sources = 1; }},
      {"timestamp-last",
       [](GeneratorOptions& o) {
         o.encoding.framing = Framing::kTimestampLast;
         o.encoding.timestamps = TimestampUse::kSome;
       }},
  };
  for (const Case& c : cases) {
    GeneratorOptions options;
    options.messages = 10;
    c.spoil(options);
    try {
      bytes_of(options);
      ADD_FAILURE() << "accepted: " << c.reason;
    } catch (const Error& error) {
      EXPECT_EQ(error.code(), ErrorCode::kUsage);
      EXPECT_THAT(error.what(), HasSubstr(c.reason));
    }
  }
}

TEST(CaptureDamage, MakesExactlyTheWantedPlacesAndSparesTheBeginning) {
  for (const std::uint32_t places : {0U, 1U, 7U, 1000U}) {
    CaptureDamage damage(places, 3);
    Bytes first;
    for (int i = 0; i < 50; ++i) {
      Bytes piece(10'000, 0x5A);
      damage.apply(piece, static_cast<std::uint64_t>(i) * 10'000, i + 1U, 50);
      if (i == 0) first.assign(piece.begin(), piece.begin() + kUndamagedBytes);
    }
    EXPECT_EQ(damage.places_done(), places);
    EXPECT_EQ(first, Bytes(kUndamagedBytes, 0x5A));
  }
  CaptureDamage impossible(5, 3);
  Bytes tiny(kUndamagedBytes, 1);
  impossible.apply(tiny, 0, 1, 1);
  EXPECT_EQ(impossible.places_done(), 0U);
  EXPECT_EQ(tiny, Bytes(kUndamagedBytes, 1));
}

}  // namespace
}  // namespace qbt2
