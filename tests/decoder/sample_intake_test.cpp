// Well-formed and damaged samples: which give a row, which nothing, which an error, and what the
// log then says. Samples lie in buffers of their exact size, so that the address sanitizer sees any
// read behind them.

#include "decoder_test_support.h"
#include "gmock/gmock.h"

namespace decoder_test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class SampleIntakeTest : public LoggingDecoderTest {};

TEST_F(SampleIntakeTest, DamagedSamples) {
  const Bytes pair{4, 1, 2, 3, 4};
  const std::string tooSmall = "StmQBTracerDecoder: Input Buffer size is too small ";
  const std::string badLength = "ProcessQBTracer2Data: GetWordFromInputBuffer Failed. ";
  const std::string nothing;
  struct {
    const char* name;
    std::uint32_t payloadBytes;
    Bytes payload;
    bool throws;
    std::string log;
    std::uint32_t readIndex;
  } const cases[] = {
      {"no payload", 0, {}, false, nothing, 8},
      {"payload ends in the first word", 4, {4, 1, 2, 3}, true, tooSmall + "0x4", 9},
      {"one byte", 1, {4}, true, tooSmall + "0x1", 9},
      {"one byte, empty word", 1, {0}, false, badLength + "index: 0, TotalBytes: 1", 9},
      {"one word", 5, pair, false, nothing, 13},
      {"second pair cut", 7, pair + Bytes{4, 9}, true, tooSmall + "0x7", 14},
      {"second length 2", 8, pair + Bytes{2, 9, 9}, false, badLength + "index: 5, TotalBytes: 8",
       16},
      {"second length 0", 6, pair + Bytes{0}, false, badLength + "index: 5, TotalBytes: 6", 14},
      {"second length 255", 10, pair + Bytes{255, 1, 2, 3, 4}, true, tooSmall + "0xa", 14},
      {"first length 5", 6, {5, 1, 2, 3, 4, 5}, false, badLength + "index: 0, TotalBytes: 6", 14},
      {"three words", 15, pair + pair + pair, false, nothing, 23},
      {"five words", 25, pair + pair + pair + pair + pair, false, nothing, 33},
      {"count beyond 32 bits", 0xFFFFFFFF, {4}, true, tooSmall + "0xffffffff", 9},
      {"count just beyond", 0xFFFFFFF8, {4}, true, tooSmall + "0xfffffff8", 9},
      {"largest count", 0xFFFFFFF7, pair + Bytes{3}, false, badLength + "index: 5, TotalBytes: -9",
       17},
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

TEST_F(SampleIntakeTest, LowCapacityIsTold) {
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
  EXPECT_FALSE(Peer().GetProbeData(7).recordFound) << "not found, but first";
  EXPECT_EQ(Peer().GetProbeData(8).probeName, "Third");
  const Qbt2ProbeData_t unknown = Peer().GetProbeData(99);
  EXPECT_EQ(unknown.probeId, 99);
  EXPECT_FALSE(unknown.recordFound);
  const Bytes row = Decode(Sample(7, {1, 2}));
  EXPECT_EQ(Bytes(row.begin(), row.begin() + 14), (Bytes{0, 7, 1, 7, 0, 0, 0} + Text("Unknown")));
  const Bytes third = Decode(Sample(8, {1, 2}));
  EXPECT_EQ(Bytes(third.begin(), third.begin() + 12), (Bytes{0, 8, 1, 5, 0, 0, 0} + Text("Third")));
}

// A failure leaves what it did; the next sample starts afresh.
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
