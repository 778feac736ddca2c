// The fast path against the checked one: for every sample and output the same bytes (also those
// after the row), errors and final state.

#include <array>
#include <random>

#include "tests/decoder/decoder_test_support.h"
#include "tests/support/live_blocks.h"

namespace decoder_test {
namespace {

/// Everything that a sample changes.
struct Outcome {
  std::string error;
  std::uint32_t produced = 0xDEAD;
  Bytes output;
  std::array<std::int64_t, 6> state = {};

  bool operator==(const Outcome&) const = default;
};

class PreparedRowsTest : public DecoderTest {
 protected:
  static constexpr std::size_t kOutputBytes = 1600;

  PreparedRowsTest() {
    checked_ = std::make_unique<StpQBTracer2Decoder>();
    const std::string withZero("DM\0A", 4);
    Configure({{"QBT2_1", UsecaseLine("DMA1", "0x1000")},
               {"QBT2_2", UsecaseLine("", "0")},
               {"QBT2_3", UsecaseLine(withZero, "7")},
               {"QBT2_4", UsecaseLine(std::string(300, 'n'), "0xFFFFFFFF")},
               {"QBT2_5", UsecaseLine(std::string(1024, 'l'), "1")},
               {"QBT2_6", UsecaseLine(std::string(1025, 'm'), "1")},
               {"QBT2_7", "broken"},
               {"QBT2_263", UsecaseLine("hidden by the broken one", "1")},
               {"QBT2_255", UsecaseLine("last", "15")}},
              {1, 2, 3, 4, 5, 6, 7, 263, 255});
    Number(100);
  }

  void Configure(const std::map<std::string, std::string>& settings, const Words& masters) {
    ForBoth([&] { Load(settings, masters); });
    StpQBTracer2DecoderPeer{*checked_}.ClearPreparedRows();
  }

  void Number(std::uint32_t firstId) {
    ForBoth([&] { NumberColumns(firstId); });
  }

  /// Does it with `unit_` and then with the other unit in its place.
  template <typename Action>
  void ForBoth(Action action) {
    for (int i = 0; i < 2; ++i) {
      action();
      unit_.swap(checked_);
    }
  }

  static Outcome Run(StpQBTracer2Decoder& unit, Bytes sample, std::uint32_t capacity) {
    StpQBTracer2DecoderPeer peer{unit};
    Outcome outcome;
    outcome.output.assign(kOutputBytes, 0xCC);
    outcome.error = ErrorOf([&] {
      unit.ProcessSamples(0, sample.data(), capacity, outcome.output.data(), outcome.produced);
    });
    outcome.state = {peer.BytesWritten(),   peer.ReadIndex(),
                     peer.PayloadBytes(),   peer.OutputCapacity(),
                     peer.CurrentProbeId(), peer.OutputCursor() - outcome.output.data()};
    return outcome;
  }

  void ExpectSame(const Bytes& sample, std::uint32_t capacity) {
    const Outcome fast = Run(*unit_, sample, capacity);
    const Outcome checked = Run(*checked_, sample, capacity);
    EXPECT_TRUE(fast == checked) << "capacity " << capacity << ", sample "
                                 << testing::PrintToString(sample) << "\nfast    "
                                 << testing::PrintToString(fast.output) << "\nchecked "
                                 << testing::PrintToString(checked.output);
  }

  std::unique_ptr<StpQBTracer2Decoder> checked_;
  std::mt19937 random_{20240229};
};

// A sample of random words, now and then damaged in one byte of its counts or cut in its payload.
Bytes RandomSample(std::mt19937& random) {
  const Words::size_type wordCounts[] = {0, 1, 2, 2, 2, 3, 4, 4, 4, 5, 6, 6, 6, 7, 9};
  const std::uint8_t probes[] = {1, 2, 3, 4, 5, 6, 7, 8, 255, 0};
  Words words(wordCounts[random() % std::size(wordCounts)]);
  const bool zero = random() % 8 == 0;
  for (std::uint32_t& word : words) {
    word = zero ? 0 : static_cast<std::uint32_t>(random()) >> (random() % 32);
  }
  Bytes sample = Sample(probes[random() % std::size(probes)], words);
  switch (random() % 6) {
    case 0:  // a length byte
      if (!words.empty()) {
        sample[8 + 5 * (random() % words.size())] = static_cast<std::uint8_t>(random() % 9);
      }
      break;
    case 1:  // the payload count
      sample[4] = static_cast<std::uint8_t>(sample[4] + random() % 7 - 3);
      break;
    default:
      break;
  }
  // Enough bytes for any counts: this test is not about reading past the end.
  sample.resize(sample.size() + 1600, 4);
  return sample;
}

TEST_F(PreparedRowsTest, RandomSamples) {
  const std::uint32_t firstIds[] = {0, 11, 100, 211, 250, 0xFFFFFFF0};
  for (const std::uint32_t firstId : firstIds) {
    Number(firstId);
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
      const auto capacity = static_cast<std::uint32_t>(random_() % 5 == 0 ? 1500 : random_() % 401);
      ExpectSame(RandomSample(random_), capacity);
    }
  }
}

// The comparison would also hold if nothing took the fast path.
TEST_F(PreparedRowsTest, WhatTakesTheFastPath) {
  struct {
    const char* what;
    std::uint8_t probe;
    std::size_t words;
    std::uint32_t capacity;
    bool fast;
  } const cases[] = {
      {"throughput", 1, 2, 400, true},           {"latency", 1, 4, 400, true},
      {"transaction", 1, 6, 400, true},          {"unknown probe", 99, 2, 400, true},
      {"broken line", 7, 2, 400, true},          {"empty name", 2, 6, 400, true},
      {"long name", 5, 6, 1500, true},           {"too long a name", 6, 6, 1500, false},
      {"zero in the name", 3, 2, 400, false},    {"three words", 1, 3, 400, false},
      {"row just fits", 1, 6, 150, true},        {"row does not fit", 1, 6, 149, false},
      {"low capacity, logged", 1, 2, 99, false}, {"largest capacity", 6, 2, 0xFFFFFFFF, false},
  };
  for (const auto& c : cases) {
    Bytes sample = Sample(c.probe, Words(c.words, 1));
    Bytes output(kOutputBytes);
    EXPECT_EQ(Peer().TakesPreparedRow(sample.data(), output.data(), c.capacity), c.fast) << c.what;
  }
  Peer().ZeroSuppress() = true;
  Bytes zeros = Sample(1, {0, 0});
  Bytes output(kOutputBytes);
  EXPECT_FALSE(Peer().TakesPreparedRow(zeros.data(), output.data(), 400));
}

TEST_F(PreparedRowsTest, NoAllocationPerSample) {
  for (const std::size_t words : {2U, 4U, 6U}) {
    for (const std::uint8_t probe : Bytes{1, 99}) {
      Bytes sample = Sample(probe, Words(words, 7));
      Bytes output(kOutputBytes);
      std::uint32_t produced = 0;
      const std::string error = ErrorOf([&] {
        const qbt2::test::FailingAllocations failing(0);
        unit_->ProcessSamples(0, sample.data(), 400, output.data(), produced);
      });
      EXPECT_EQ(error, "none") << words << " words, probe " << int{probe};
    }
  }
}

// A new load and new column ids reach rows that were prepared before.
TEST_F(PreparedRowsTest, FollowsChangedSettings) {
  const Bytes sample = Sample(1, {1, 2, 3, 4, 5, 6});
  ExpectSame(sample, 400);
  Configure({{"QBT2_1", UsecaseLine("Renamed", "2")}}, {1});
  ExpectSame(sample, 400);
  EXPECT_EQ(Run(*unit_, sample, 400).output[7], 'R');
  Number(7);
  ExpectSame(sample, 400);
  Configure({}, {});
  ExpectSame(sample, 400);
  EXPECT_EQ(Run(*unit_, sample, 400).output[7], 'U');
}

}  // namespace
}  // namespace decoder_test
