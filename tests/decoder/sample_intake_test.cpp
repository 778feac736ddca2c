// Well-formed and damaged samples: which give a row, which nothing, which an error, and what is
// logged. Samples are in buffers of their exact size, so that the address sanitizer sees any read
// past their end.

#include "gmock/gmock.h"
#include "tests/decoder/decoder_test_support.h"
#include "tests/support/live_blocks.h"

namespace decoder_test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class SampleIntakeTest : public LoggingDecoderTest {};

TEST_F(SampleIntakeTest, DamagedSamples) {
  if (RanInFreshProcess()) return;
  const Bytes pair{4, 1, 2, 3, 4};
  const std::string tooSmall = "StmQBTracerDecoder: Input Buffer size is too small ";
  const std::string badLength = "ProcessQBTracer2Data: GetWordFromInputBuffer Failed. ";
  const std::string nothing;
  struct {
    const char* name;
    std::uint32_t payloadBytes, readIndex;
    Bytes payload;
    std::string log;
    bool throws;
  } const cases[] = {
      {"no payload", 0, 8, {}, nothing, false},
      {"payload ends in the first word", 4, 9, {4, 1, 2, 3}, tooSmall + "0x4", true},
      {"one byte", 1, 9, {4}, tooSmall + "0x1", true},
      {"one byte, empty word", 1, 9, {0}, badLength + "index: 0, TotalBytes: 1", false},
      {"one word", 5, 13, pair, nothing, false},
      {"second pair cut", 7, 14, pair + Bytes{4, 9}, tooSmall + "0x7", true},
      {"second length 2", 8, 16, pair + Bytes{2, 9, 9}, badLength + "index: 5, TotalBytes: 8",
       false},
      {"second length 0", 6, 14, pair + Bytes{0}, badLength + "index: 5, TotalBytes: 6", false},
      {"second length 255", 10, 14, pair + Bytes{255, 1, 2, 3, 4}, tooSmall + "0xa", true},
      {"first length 5", 6, 14, {5, 1, 2, 3, 4, 5}, badLength + "index: 0, TotalBytes: 6", false},
      {"three words", 15, 23, pair + pair + pair, nothing, false},
      {"five words", 25, 33, pair + pair + pair + pair + pair, nothing, false},
      {"count beyond 32 bits", 0xFFFFFFFF, 9, {4}, tooSmall + "0xffffffff", true},
      {"count just beyond", 0xFFFFFFF8, 9, {4}, tooSmall + "0xfffffff8", true},
      {"largest count", 0xFFFFFFF7, 17, pair + Bytes{3}, badLength + "index: 5, TotalBytes: -9",
       false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::size_t logged = home_.Log().size();
    const std::string thrown =
        ErrorOf([&] { EXPECT_EQ(Decode(RawSample(9, c.payloadBytes, c.payload)), Bytes{0xFD}); });
    EXPECT_EQ(thrown, c.throws ? "{2, 0}" : "none");
    EXPECT_EQ(Peer().ReadIndex(), c.readIndex);
    std::string records;  // the two of an error, or one
    if (!c.log.empty()) records = "    E [^\n]*\\| " + c.log + "\n";
    if (c.throws) records += "    E [^\n]*\\| StpQBTracer2Decoder: Decode error\n";
    EXPECT_THAT(home_.Log().substr(logged), MatchesRegex(records));
  }
}

TEST_F(SampleIntakeTest, NullPointersAreRefused) {
  Bytes sample = Sample(9, {1, 2});
  Bytes output(400);
  std::uint32_t produced = 77;
  EXPECT_EQ(ErrorOf([&] { unit_->ProcessSamples(0, nullptr, 400, output.data(), produced); }),
            "{2, 0}");
  EXPECT_EQ(ErrorOf([&] { unit_->ProcessSamples(0, sample.data(), 400, nullptr, produced); }),
            "{2, 0}");
  EXPECT_EQ(produced, 77U);
}

/// The kind of each record.
std::string Kinds(const std::string& log) {
  std::string kinds;
  for (std::size_t line = 0; line < log.size(); line = log.find('\n', line) + 1) {
    kinds += log[log.find_first_not_of(' ', line)];
  }
  return kinds;
}

TEST_F(SampleIntakeTest, OnlyAFullOutputIsLoggedBelowLevelSix) {
  if (RanInFreshProcess()) return;
  const Bytes pair{4, 1, 2, 3, 4};
  Bytes output(64);
  std::uint32_t produced = 0;
  for (const int level : {1, 5, 6}) {
    KZ_DVT::uLogSystem::GetLogSystem()->SetLoggingLevel(level);
    const std::size_t logged = home_.Log().size();
    const StpQBTracer2Decoder created;
    ErrorOf([&] { unit_->ProcessSamples(0, nullptr, 64, output.data(), produced); });
    ErrorOf([&] { Decode(RawSample(9, 7, pair + Bytes{4, 9})); });
    Decode(RawSample(9, 8, pair + Bytes{2, 9, 9}));
    Peer().StartOutput(output.data(), 64);
    ErrorOf([&] { Peer().OutputData(3, 1, 7, true); });
    ErrorOf([&] { Decode(Sample(9, {1, 2}), 1); });
    const std::string log = home_.Log().substr(logged);
    EXPECT_THAT(log, HasSubstr("output datasize is too small")) << level;
    if (level < 6) {
      EXPECT_EQ(Kinds(log), "E") << log;
      continue;
    }
    // Unit created; null pointer; short payload, decode error; wrong length; wrong size; low
    // capacity, full output, decode error.
    EXPECT_EQ(Kinds(log), "MEEEEWWEE") << log;
    EXPECT_THAT(log, ContainsRegex("\n    E [^\n]*\\| StpQBTracer2Decoder: unknown error\n"));
  }
}

// The name is too long for a prepared row, so that every sample takes memory.
TEST_F(SampleIntakeTest, WithoutMemoryOnlyDecodeErrorsLeave) {
  if (RanInFreshProcess()) return;
  Load({{"QBT2_9", UsecaseLine(std::string(2000, 'n'), "1")}}, {9});
  Bytes sample = Sample(9, {1, 2});
  Bytes output(3000);
  std::uint32_t produced = 0;
  for (const std::uint32_t capacity : {3000U, 20U}) {
    std::string error;
    std::size_t successes = 0;
    do {
      const qbt2::test::FailingAllocations failing(successes);
      error = ErrorOf(
          [&] { unit_->ProcessSamples(0, sample.data(), capacity, output.data(), produced); });
    } while (error == "{2, 0}" && ++successes < 100);
    EXPECT_EQ(error, capacity == 20 ? "{0, 2002}" : "none");
    EXPECT_GT(successes, 2U);
  }
}

TEST_F(SampleIntakeTest, LowCapacityIsLogged) {
  if (RanInFreshProcess()) return;
  const std::string text = "StpQBTracer2Decoder: output buffer size is low: ";
  Decode(Sample(9, {1}), 100);
  EXPECT_THAT(home_.Log(), Not(HasSubstr(text)));
  Decode(Sample(9, {1}), 99);
  EXPECT_THAT(home_.Log(), ContainsRegex("\n W    [^\n]*\\| " + text + "99\n"));
  EXPECT_EQ(ErrorOf([&] { Decode(Sample(9, {1, 2}), 64); }), "{0, 70}");
  EXPECT_THAT(home_.Log(), HasSubstr(text + "64\n"));
  EXPECT_EQ(Decode(Sample(9, {1}), 0), Bytes{0xFD}) << "the marker needs no capacity";
}

TEST_F(SampleIntakeTest, FirstRecordOfAnIdWins) {
  Load({{"QBT2_263", UsecaseLine("Second", "1")},
        {"QBT2_8", UsecaseLine("Third", "1")},
        {"QBT2_264", UsecaseLine("Fourth", "1")}},
       {7, 263, 8, 264});
  EXPECT_FALSE(Peer().GetProbeData(7).recordFound) << "without a line, but first";
  const Bytes row = Decode(Sample(7, {1, 2}));
  EXPECT_EQ(Bytes(row.begin(), row.begin() + 14), (Bytes{0, 7, 1, 7, 0, 0, 0} + Text("Unknown")));
  const Bytes third = Decode(Sample(8, {1, 2}));
  EXPECT_EQ(Bytes(third.begin(), third.begin() + 12), (Bytes{0, 8, 1, 5, 0, 0, 0} + Text("Third")));
}

// A failure keeps what was written; the next sample starts anew.
TEST_F(SampleIntakeTest, NothingIsKeptForTheNextSample) {
  const Bytes good = Decode(Sample(9, {1, 2}));
  EXPECT_NE(ErrorOf([&] { Decode(Sample(9, {1, 2}), 20); }), "none");
  EXPECT_EQ(Peer().BytesWritten(), 24U) << "name and type, then no room for the description";
  EXPECT_EQ(Decode(Sample(9, {1, 2})), good);
  EXPECT_EQ(Decode(Sample(3, {})), Bytes{0xFD});
  EXPECT_EQ(Peer().CurrentProbeId(), 3);
}

}  // namespace
}  // namespace decoder_test
