#include "host/generate/capture_generator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "host/base/error.h"
#include "host/base/seeded_random.h"
#include "host/capture/open_capture.h"
#include "host/generate/bus_message.h"
#include "host/generate/damage_injector.h"
#include "tests/support/sample_bytes.h"
#include "tests/support/test_folder.h"

namespace qbt2 {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;

using Bytes = std::vector<std::uint8_t>;

// ---- messages ----

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

TEST(BusMessage, PacksEachTransactionFieldInItsOwnBitsOnly) {
  using T = BusTransaction;
  struct Case {
    std::uint32_t T::*field;
    unsigned word;
    std::uint32_t bits;  // set by a field of all ones
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

// ---- traffic ----

TEST(TrafficModel, KeepsTheMixAndTheSamplingPeriod) {
  for (const TrafficMix mix : {TrafficMix{1, 1, 8}, {1, 1, 1}, {3, 1, 2}, {1, 0, 100}, {0, 2, 1}}) {
    SCOPED_TRACE(testing::Message()
                 << mix.throughput << ":" << mix.latency << ":" << mix.transaction);
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
    EXPECT_NEAR(counts[0] / 150'000, mix.throughput / sum, 0.03);
    EXPECT_NEAR(counts[1] / 150'000, mix.latency / sum, 0.03);
    EXPECT_NEAR(counts[2] / 150'000, mix.transaction / sum, 0.03);
  }
}

TEST(TrafficModel, StatisticsAndLoggedTransactionsAgree) {
  TrafficModel model({});
  std::map<std::uint16_t, std::uint32_t> access_bytes;  // as logged
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

struct Generated {
  Bytes bytes;
  std::vector<GeneratedMessage> messages;
  GeneratorSummary summary;
};

Generated generate(const GeneratorOptions& options) {
  Generated all;
  all.summary = CaptureGenerator(options).run(
      [&](std::span<const std::uint8_t> bytes) {
        all.bytes.insert(all.bytes.end(), bytes.begin(), bytes.end());
      },
      [&](const GeneratedMessage& message) { all.messages.push_back(message); });
  return all;
}

struct ReadSample {
  SampleHead head;
  std::string bytes;
};

std::vector<ReadSample> read_samples(CaptureReader& reader) {
  std::vector<ReadSample> samples;
  SampleBatch batch;
  for (; reader.next(batch); batch.clear()) {
    for (const SampleHead& head : batch.heads) {
      const auto begin = batch.bytes.begin() + head.begin;
      samples.push_back({head, std::string(begin, begin + head.size)});
    }
  }
  return samples;
}

/// Writes the capture, reads it with the host's own readers and expects all that its format
/// carries.
void expect_round_trip(const GeneratorOptions& options) {
  SCOPED_TRACE(testing::Message() << capture_format_name(options.format) << " "
                                  << framing_name(options.encoding.framing) << " timestamps "
                                  << static_cast<int>(options.encoding.timestamps) << " coding "
                                  << static_cast<int>(options.encoding.coding) << " others "
                                  << options.other_sources);
  const Generated written = generate(options);
  const test::TestFolder folder;
  InputFile input(folder.put("capture", std::string(written.bytes.begin(), written.bytes.end())));
  CaptureOptions reading;
  reading.framing = options.encoding.framing;
  if (options.format == CaptureFormat::kFrames) reading.source_id = options.atb_id;
  const auto reader = make_capture_reader(input, options.format, reading);
  std::vector<ReadSample> read = read_samples(*reader);
  const bool is_marker_first = options.encoding.framing == Framing::kMarkerFirst;
  if (is_marker_first) {  // a message ends where its master's next one begins
    std::sort(read.begin(), read.end(),
              [](const auto& a, const auto& b) { return a.head.offset < b.head.offset; });
  }

  const bool is_samples = options.format == CaptureFormat::kSamples;
  ASSERT_EQ(read.size(), written.messages.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    const SampleHead& head = read[i].head;
    const GeneratedMessage& message = written.messages[i];
    const std::uint16_t probe = message.master & 0xFF;
    ASSERT_EQ(read[i].bytes,
              test::sample(static_cast<std::uint8_t>(probe), words_of(message.words)))
        << i;
    ASSERT_EQ(head.master, is_samples ? probe : message.master) << i;
    if (options.format != CaptureFormat::kFrames) {
      ASSERT_EQ(head.offset, message.offset) << i;
    }
    if (is_samples || is_marker_first) continue;  // without, or with a newer, timestamp
    ASSERT_EQ(head.has_timestamp, message.timestamp.has_value()) << i;
    ASSERT_EQ(head.timestamp, message.timestamp.value_or(head.timestamp)) << i;
    if (options.frequency_packet && message.timestamp) {
      ASSERT_EQ(head.time_ns, *message.timestamp * 5) << i;  // at 200 MHz
    }
  }
  const CaptureCounts& counts = reader->counts();
  EXPECT_EQ(counts.damages, 0U);
  EXPECT_EQ(counts.bytes_other_sources != 0, options.other_sources != 0);
  EXPECT_EQ(counts.bytes_skipped, 0U);
  EXPECT_EQ(counts.assembly.messages_incomplete, 0U);
  const GeneratorSummary& summary = written.summary;
  EXPECT_EQ(summary.bytes, written.bytes.size());
  EXPECT_EQ(summary.messages, options.messages);
  EXPECT_EQ(summary.throughput + summary.latency + summary.transactions, options.messages);
}

TEST(CaptureGenerator, EveryMessageIsReadBackFromEveryFormat) {
  GeneratorOptions options;
  options.messages = 1'000'000;
  expect_round_trip(options);
  options.format = CaptureFormat::kFrames;
  options.messages = 20'000;
  options.atb_id = 0x33;
  expect_round_trip(options);
  options.other_sources = 3;
  expect_round_trip(options);
  options = {};
  options.format = CaptureFormat::kSamples;
  options.messages = 5'000;
  options.traffic.masters = {0x105};
  expect_round_trip(options);
}

TEST(CaptureGenerator, EveryMessageIsReadBackUnderEveryFramingAndTimestampCoding) {
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
        expect_round_trip(options);
      }
    }
  }
}

TEST(CaptureGenerator, TheSeedDeterminesEveryByteAndTheSizeEndsTheCapture) {
  for (const CaptureFormat format :
       {CaptureFormat::kStp, CaptureFormat::kFrames, CaptureFormat::kSamples}) {
    SCOPED_TRACE(capture_format_name(format));
    GeneratorOptions options;
    options.format = format;
    options.bytes = 150'000;
    options.damaged_places = 5;
    options.other_sources = format == CaptureFormat::kFrames ? 2 : 0;
    const Bytes first = generate(options).bytes;
    EXPECT_EQ(generate(options).bytes, first);
    options.traffic.seed = 2;
    EXPECT_NE(generate(options).bytes, first);
    options.damaged_places = 0;
    const std::size_t size = generate(options).bytes.size();
    EXPECT_GE(size, 150'000U);
    // The last message; in frames also what the last piece grew by.
    EXPECT_LE(size, format == CaptureFormat::kFrames ? 154'000U : 150'100U);
  }
}

TEST(CaptureGenerator, SettingsHaveFifteenFieldsForEachMaster) {
  GeneratorOptions options;
  options.messages = 1;
  options.format = CaptureFormat::kFrames;
  options.atb_id = 0x21;
  options.traffic.masters = {9, 1, 2, 3, 4, 5, 6, 400};
  const std::string settings = CaptureGenerator(options).settings();
  EXPECT_THAT(settings, HasSubstr("\nQBT2_9=DMA1;1;0x"));
  EXPECT_THAT(settings, HasSubstr("\nQBT2_400=DMA1_2;1;0x"));
  EXPECT_THAT(settings,
              ContainsRegex("\nATBID=33\n(QBT2_[0-9]+=[A-Z0-9_]+(;[0-9a-fx]+){14}\n){8}$"));
}

TEST(CaptureGenerator, RefusesContradictions) {
  struct Case {
    const char* reason;
    void (*spoil)(GeneratorOptions&);
  };
  const Case cases[] = {
      {"no end", [](GeneratorOptions& o) { o.messages = 0; }},
      {"only zeros",
       [](GeneratorOptions& o) {
         o.traffic.mix = TrafficMix{0, 0, 0};
       }},
      {"weight", [](GeneratorOptions& o) { o.traffic.mix.latency = 1001; }},
      {"clock", [](GeneratorOptions& o) { o.traffic.clock_hz = 999'999; }},
      {"given twice", [](GeneratorOptions& o) { o.traffic.masters.assign(2, 1); }},
      {"ATB id", [](GeneratorOptions& o) { o.atb_id = 0; }},
      {"ATB id", [](GeneratorOptions& o) { o.atb_id = 0x70; }},
      {"other sources", [](GeneratorOptions& o) { o.other_sources = 1; }},
      {"timestamp-last",
       [](GeneratorOptions& o) {
         o.encoding = {Framing::kTimestampLast, TimestampUse::kSome};
       }},
  };
  for (const Case& c : cases) {
    GeneratorOptions options;
    options.messages = 10;
    c.spoil(options);
    try {
      generate(options);
      ADD_FAILURE() << "accepted: " << c.reason;
    } catch (const Error& error) {
      EXPECT_EQ(error.code(), ErrorCode::kUsage);
      EXPECT_THAT(error.what(), HasSubstr(c.reason));
    }
  }
}

TEST(DamageInjector, DamagesExactlyAsManyPlacesAsRequestedAndNotTheBeginning) {
  for (const std::uint32_t places : {0U, 1U, 7U, 1000U}) {
    DamageInjector damage(places, 3);
    Bytes first;
    for (int i = 0; i < 50; ++i) {
      Bytes piece(10'000, 0x5A);
      damage.apply(piece, static_cast<std::uint64_t>(i) * 10'000, static_cast<unsigned>(i) + 1U,
                   50);
      if (i == 0) first.assign(piece.begin(), piece.begin() + kUndamagedBytes);
    }
    EXPECT_EQ(damage.places_done(), places);
    EXPECT_EQ(first, Bytes(kUndamagedBytes, 0x5A));
  }
  DamageInjector too_short(5, 3);
  Bytes tiny(kUndamagedBytes, 1);
  too_short.apply(tiny, 0, 1, 1);
  EXPECT_EQ(too_short.places_done(), 0U);
  EXPECT_EQ(tiny, Bytes(kUndamagedBytes, 1));
}

}  // namespace
}  // namespace qbt2
