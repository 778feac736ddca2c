// Rows of the three message kinds, assembled by hand.

#include "decoder_test_support.h"

namespace decoder_test {
namespace {

/// The fields that stand before a row's numbers.
Bytes Head(std::uint8_t probeId, const std::string& name, const std::string& description) {
  return Bytes{0x00, probeId, 0x01, static_cast<std::uint8_t>(name.size()), 0, 0, 0} + Text(name) +
         Bytes{0x09, 5, 0, 0, 0} + Text("Value") +
         Bytes{0x04, static_cast<std::uint8_t>(description.size()), 0, 0, 0} + Text(description);
}

class RowsTest : public DecoderTest {
 protected:
  RowsTest() { Load({{"QBT2_5", UsecaseLine("DMA1", "0x1000")}}, {5}); }
};

TEST_F(RowsTest, ThroughputOfAKnownProbe) {
  const Bytes expected = Head(5, "DMA1", "Throughput statistics per 0x1000 clock cycles") +
                         Bytes{100, 0x64, 0,    0,    0,            // Byte Transactions
                               101, 0x19, 0,    0,    0,            // Matched
                               102, 4,    0,    0,    0,            // Avg. Length
                               139, 0x64, 0,    0,    0,            // raw word 0
                               140, 0x19, 0x00, 0x00, 0xAB, 0xFE};  // raw word 1, end
  EXPECT_EQ(Decode(Sample(5, {0x64, 0xAB000019})), expected);
  EXPECT_EQ(expected.size(), 97U);
}

TEST_F(RowsTest, ThroughputOfAnUnknownProbe) {
  const Bytes expected = Head(9, "Unknown", "Throughput statistics: sampling period unknown") +
                         Bytes{100, 0, 0,   0, 0, 101, 0, 0,   0, 0, 102, 0, 0,
                               0,   0, 139, 0, 0, 0,   0, 140, 0, 0, 0,   0, 0xFE};
  EXPECT_EQ(Decode(Sample(9, {0, 0})), expected);
}

TEST_F(RowsTest, LatencyOfAKnownAndOfAnUnknownProbe) {
  NumberColumns(11);
  const Bytes values{0x0E, 0x12, 0xCD, 0xAB, 0x00,         // Tracked straddles words 0 and 1
                     0x0F, 0x78, 0x56, 0x34, 0x00,         // Matched Transactions
                     0x10, 0x09, 0x00,                     // Max Wait
                     0x11, 0xEF, 0xBE, 0xAD, 0xDE,         // Total Wait
                     0x12, 0x56, 0x34, 0x12, 0x00,         // Credit Wait
                     0x32, 0x78, 0x56, 0x34, 0x12,         // raw words
                     0x33, 0xCD, 0xAB, 0x09, 0x00,         //
                     0x34, 0xEF, 0xBE, 0xAD, 0xDE,         //
                     0x35, 0x56, 0x34, 0x12, 0xFF, 0xFE};  //
  const Words words{0x12345678, 0x0009ABCD, 0xDEADBEEF, 0xFF123456};
  EXPECT_EQ(Decode(Sample(5, words)),
            Head(5, "DMA1", "Latency statistics per 0x1000 clock cycles") + values);
  EXPECT_EQ(Decode(Sample(0x7F, words)),
            Head(0x7F, "Unknown", "Latency statistics: sampling period unknown") + values);
}

// Every field has a value of its own; unused bits are set; ids above 211 wrap in the output.
TEST_F(RowsTest, TransactionWithWrappingColumnIds) {
  NumberColumns(250);
  const Words words{0x80000000, 0xAAF21234, 0x9B1D76A5, 0xD9AD6DD9, 0x9B9F35DB, 0xFFFFF123};
  const Bytes expected = Head(5, "DMA1", "Transaction logging") +
                         Bytes{0x0B, 0x00, 0x00, 0x00, 0x80, 0x34, 0x12, 0x00, 0x00,  // address
                               0x02, 2,                                               // Mode
                               0x03, 0xBC, 0x0A,                                      // Route ID
                               0x04, 0,                                               // DIR
                               0x05, 1,                                               // EXCL
                               0x06, 0xA5, 0x02,                                      // Byte Count
                               0x07, 5,                                               // Priority
                               0x08, 3,                                               // LSIZE
                               0x09, 1,                                               // PRIV
                               0x0A, 0xC7,                                            // PRIVID
                               0x0B, 2,                                               // DTYPE
                               0x0C, 9,                                               // RSEL
                               0x0D, 1,                                               // Interest
                               0x0E, 0,                                               // EMUDBG
                               0x0F, 2,                                               // INNER
                               0x10, 1,                                               // OUTER
                               0x11, 3,                                               // SDOMAIN
                               0x12, 5,                                               // QOS
                               0x13, 1,                                               // SECURE
                               0x14, 2,                                               // MEMTYPE
                               0x15, 0x15,                                            // OPCODE
                               0x16, 0x9A,                                            // CSBAND
                               0x17, 0,                                               // FLUSH
                               0x18, 6,                                               // EPRIORITY
                               0x19, 0x0B,                                            // Order ID
                               0x1A, 0x5D,                                            // MSBAND
                               0x1B, 2,                                               // FWPASS
                               0x1C, 1,                                               // PABLE
                               0x1D, 0x7C,                           // Virtual ID 0xE7C, cut
                               0x1E, 6,                              // ASEL
                               0x1F, 2,                              // ATYPE
                               0x20, 0x23, 0x01,                     // Channel ID
                               0x21, 0x00, 0x00, 0x00, 0x80,         // raw words
                               0x22, 0x34, 0x12, 0xF2, 0xAA,         //
                               0x23, 0xA5, 0x76, 0x1D, 0x9B,         //
                               0x24, 0xD9, 0x6D, 0xAD, 0xD9,         //
                               0x25, 0xDB, 0x35, 0x9F, 0x9B,         //
                               0x26, 0x23, 0xF1, 0xFF, 0xFF, 0xFE};  //
  EXPECT_EQ(Decode(Sample(5, words)), expected);
}

// All bits set: each field at its full width, FLUSH still 0.
TEST_F(RowsTest, TransactionOfOnes) {
  const Bytes row = Decode(Sample(5, Words(6, 0xFFFFFFFF)));
  ASSERT_EQ(row.size(), 150U);
  const Bytes qualifiers(row.begin() + 54, row.begin() + 119);
  const Bytes expected{108, 3,   109,  0xFF, 0x0F, 110,  1,    111, 1,   112, 0xFF, 0x03, 113,
                       7,   114, 7,    115,  3,    116,  0xFF, 117, 3,   118, 0xF,  119,  1,
                       120, 1,   121,  3,    122,  3,    123,  3,   124, 7,   125,  1,    126,
                       3,   127, 0x1F, 128,  0xFF, 129,  0,    130, 7,   131, 0xF,  132,  0x7F,
                       133, 3,   134,  1,    135,  0xFF, 136,  0xF, 137, 3,   138,  0xFF, 0x0F};
  EXPECT_EQ(qualifiers, expected);
}

TEST_F(RowsTest, AverageLength) {
  struct {
    std::uint32_t total, matched, average;
  } const cases[] = {
      {100, 25, 4},
      {0xFFFFFFFF, 1, 0xFFFFFFFF},
      {7, 2, 3},
      {0, 5, 0},
      {5, 7, 0},
      {0, 0, 0},
      {0x1234, 0, 0},           // nothing matched: no division, the row still comes
      {0x1234, 0xFF000000, 0},  // the top byte does not count
  };
  for (const auto& c : cases) {
    const Bytes row = Decode(Sample(5, {c.total, c.matched}));
    ASSERT_EQ(row.size(), 97U) << c.total << " / " << c.matched;
    Bytes expected{102};
    AppendLittleEndian32(expected, c.average);
    EXPECT_EQ(Bytes(row.begin() + 81, row.begin() + 86), expected) << c.total << " / " << c.matched;
  }
}

TEST_F(RowsTest, ZeroSuppressionDropsOnlyZeroMessages) {
  Peer().ZeroSuppress() = true;
  for (const std::size_t count : {2U, 4U, 6U}) {
    Words words(count, 0);
    EXPECT_EQ(Decode(Sample(5, words)), Bytes{0xFD}) << count;
    words.back() = 1;
    EXPECT_EQ(Decode(Sample(5, words)).back(), 0xFE) << count;
  }
  unit_->DataReset();
  EXPECT_EQ(Decode(Sample(5, {0, 0})).size(), 97U) << "a load switches suppression off";
}

}  // namespace
}  // namespace decoder_test
