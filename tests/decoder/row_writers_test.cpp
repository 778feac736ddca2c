// The two field writers: encodings, room checks, and how far a row can run past the capacity.

#include <algorithm>

#include "gmock/gmock.h"
#include "tests/decoder/decoder_test_support.h"

namespace decoder_test {
namespace {

class RowWritersTest : public LoggingDecoderTest {
 protected:
  void Start(std::uint32_t capacity) {
    output_.assign(64, 0xCC);
    Peer().StartOutput(output_.data(), capacity);
  }
  [[nodiscard]] Bytes Written() const {
    return {output_.begin(), output_.begin() + Peer().BytesWritten()};
  }

  Bytes output_;
};

TEST_F(RowWritersTest, InvalidSizesKeepThePositionByte) {
  if (RanInFreshProcess()) return;
  for (const std::uint32_t size : {0U, 3U, 5U, 16U, 0xFFFFFFFFU}) {
    Start(64);
    EXPECT_EQ(ErrorOf([&] { Peer().OutputData(size, 1, 7, true); }), "{0, 0}") << size;
    EXPECT_EQ(Written(), Bytes{7}) << size;
  }
  EXPECT_THAT(home_.Log(), testing::ContainsRegex(
                               "\n W    [^\n]*StmQBTracerDecoder::OutputDataToBuffer: dataSize "
                               "has invalid value: 3\n"));
}

TEST_F(RowWritersTest, StringFields) {
  const std::string empty;
  const std::string embedded{"a\0bc", 4};
  Start(64);
  Peer().OutputString(nullptr, 1);
  EXPECT_EQ(Peer().BytesWritten(), 0U);
  Peer().OutputString(&empty, 1);
  EXPECT_EQ(Written(), (Bytes{1, 0, 0, 0, 0}));
  EXPECT_EQ(output_[5], 0) << "the zero byte after the text";
  EXPECT_EQ(output_[6], 0xCC);
  Start(64);
  Peer().OutputString(&embedded, 1);
  EXPECT_EQ(Written(), (Bytes{1, 4, 0, 0, 0, 'a', 0, 0xCC, 0xCC})) << "cut at the zero byte";
}

// The check counts the text only, so the field may pass the capacity; the next field fails.
TEST_F(RowWritersTest, FullBuffer) {
  if (RanInFreshProcess()) return;
  const std::string name = "SevenCh";
  const std::string value = "Value";
  for (const bool textNext : {true, false}) {
    Start(10);
    Peer().OutputData(1, 3, 0, true);
    Peer().OutputString(&name, 1);
    EXPECT_EQ(Peer().BytesWritten(), 14U);
    if (textNext) {
      EXPECT_EQ(ErrorOf([&] { Peer().OutputString(&value, 9); }), "{0, 19}");
      EXPECT_EQ(Peer().BytesWritten(), 14U);
      EXPECT_THAT(home_.Log(), testing::Not(testing::HasSubstr("too small")));
    } else {
      EXPECT_EQ(ErrorOf([&] { Peer().OutputData(4, 0, 9, true); }), "{0, 15}");
      EXPECT_EQ(output_[14], 9);
      const auto cursor = static_cast<int>(reinterpret_cast<std::intptr_t>(output_.data() + 15));
      EXPECT_THAT(home_.Log(),
                  testing::HasSubstr("StmQBTracerDecoder::OutputDataToBuffer: \t\t\t\toutput "
                                     "datasize is too small. Need: " +
                                     std::to_string(cursor) + ", Avaiable: 15\n"));
    }
  }
}

class CapacityTest : public DecoderTest {};

// Whatever the capacity, at most eight bytes past it are written, and eight are possible: hosts
// allocate so many more (docs/formats/record.md).
TEST_F(CapacityTest, RowsRunAtMostEightBytesPastTheCapacity) {
  Load({{"QBT2_5", UsecaseLine("DMA1", "1")}, {"QBT2_6", UsecaseLine("", "1")}}, {5, 6});
  std::ptrdiff_t farthest = 0;
  for (const std::uint8_t probe : Bytes{5, 6, 7}) {
    for (const std::size_t words : {1U, 2U, 4U, 6U}) {
      Bytes sample = Sample(probe, Words(words, 0xA5A5A5A5));
      for (std::uint32_t capacity = 0; capacity < 200; ++capacity) {
        Bytes output(512, 0xCC);
        std::uint32_t produced = 0;
        ErrorOf(
            [&] { unit_->ProcessSamples(0, sample.data(), capacity, output.data(), produced); });
        const auto written = std::find_if(output.rbegin(), output.rend(),
                                          [](std::uint8_t byte) { return byte != 0xCC; });
        farthest = std::max(farthest, output.rend() - written - std::ptrdiff_t{capacity});
        EXPECT_LE(produced, capacity + 8);
      }
    }
  }
  EXPECT_EQ(farthest, 8);
}

TEST_F(CapacityTest, ErrorsByCapacity) {
  struct {
    std::uint32_t capacity;
    std::string error;
  } const cases[] = {
      {0, "{0, 1}"},    // the position byte goes in, then there is no room for the probe id
      {1, "{0, 1}"},    //
      {2, "{0, 9}"},    // 2 + "Unknown"
      {9, "{0, 19}"},   // 14 written, then "Value"
      {96, "{0, 96}"},  // the last raw word's position byte takes the last byte
      {97, "none"},     // deliberate: one free byte is enough for a value of four
      {102, "none"},
  };
  for (const auto& c : cases) {
    Bytes sample = Sample(9, {1, 1});
    Bytes output(512, 0xCC);
    std::uint32_t produced = 77;
    const std::string error = ErrorOf(
        [&] { unit_->ProcessSamples(0, sample.data(), c.capacity, output.data(), produced); });
    EXPECT_EQ(error, c.error) << c.capacity;
    EXPECT_EQ(produced, c.error == "none" ? 101U : 77U) << c.capacity;
  }
}

}  // namespace
}  // namespace decoder_test
