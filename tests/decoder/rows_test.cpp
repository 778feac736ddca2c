// Rows of the three message kinds, assembled by hand.

#include <algorithm>
#include <locale>

#include "tests/decoder/decoder_test_support.h"

namespace decoder_test {
namespace {

/// The bytes that the text spells in hexadecimal; blanks are skipped.
Bytes Hex(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
  Bytes bytes;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

/// The fields of a row before its numbers.
Bytes Head(std::uint8_t probeId, const std::string& name, const std::string& description) {
  return Bytes{0x00, probeId, 0x01, static_cast<std::uint8_t>(name.size()), 0, 0, 0} + Text(name) +
         Bytes{0x09, 5, 0, 0, 0} + Text("Value") +
         Bytes{0x04, static_cast<std::uint8_t>(description.size()), 0, 0, 0} + Text(description);
}

class RowsTest : public DecoderTest {
 protected:
  RowsTest() { Load({{"QBT2_5", UsecaseLine("DMA1", "0x1000")}}, {5}); }
};

TEST_F(RowsTest, Throughput) {
  EXPECT_EQ(Decode(Sample(5, {0x64, 0xAB000019})),
            Head(5, "DMA1", "Throughput statistics per 0x1000 clock cycles") +
                Hex("64 64000000  65 19000000  66 04000000"  // values
                    "8B 64000000  8C 190000AB  FE"));        // raw words, end
  EXPECT_EQ(Decode(Sample(9, {0, 0})),
            Head(9, "Unknown", "Throughput statistics: sampling period unknown") +
                Hex("64 00000000  65 00000000  66 00000000  8B 00000000  8C 00000000  FE"));
}

/// Digits in threes, as a host's locale may have them.
struct Grouping : std::numpunct<char> {
  [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

TEST_F(RowsTest, DigitsAreNotGroupedByTheHostsLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  Load({{"QBT2_1234567", UsecaseLine("DMA1", "0x12345678")}}, {1234567});
  const Bytes prepared = Decode(Sample(0x87, {0, 0}));
  Peer().ClearPreparedRows();
  const Bytes checked = Decode(Sample(0x87, {0, 0}));
  std::locale::global(before);
  const Bytes head = Head(0x87, "DMA1", "Throughput statistics per 0x12345678 clock cycles");
  EXPECT_EQ(Bytes(prepared.begin(), prepared.begin() + 70), Bytes(head.begin(), head.begin() + 70));
  EXPECT_EQ(checked, prepared);
}

TEST_F(RowsTest, Latency) {
  NumberColumns(11);
  const Bytes values = Hex(
      "0E 12CDAB00  0F 78563400"  // Tracked, which straddles words 0 and 1; Matched Transactions
      "10 0900  11 EFBEADDE  12 56341200"                         // Max, Total and Credit Wait
      "32 78563412  33 CDAB0900  34 EFBEADDE  35 563412FF  FE");  // raw words, end
  const Words words{0x12345678, 0x0009ABCD, 0xDEADBEEF, 0xFF123456};
  EXPECT_EQ(Decode(Sample(5, words)),
            Head(5, "DMA1", "Latency statistics per 0x1000 clock cycles") + values);
  EXPECT_EQ(Decode(Sample(0x7F, words)),
            Head(0x7F, "Unknown", "Latency statistics: sampling period unknown") + values);
}

// Every field has a different value; unused bits are set; ids above 255 wrap in the output.
TEST_F(RowsTest, TransactionWithWrappingColumnIds) {
  NumberColumns(250);
  const Words words{0x80000000, 0xAAF21234, 0x9B1D76A5, 0xD9AD6DD9, 0x9B9F35DB, 0xFFFFF123};
  EXPECT_EQ(
      Decode(Sample(5, words)),
      Head(5, "DMA1", "Transaction logging") +
          Hex("0B 0000008034120000"           // address
              "02 02  03 BC0A  04 00  05 01"  // Mode, Route ID, DIR, EXCL
              "06 A502  07 05  08 03"         // Byte Count, Priority, LSIZE
              "09 01  0A C7  0B 02  0C 09"    // PRIV, PRIVID, DTYPE, RSEL
              "0D 01  0E 00  0F 02  10 01"    // Interest, EMUDBG, INNER, OUTER
              "11 03  12 05  13 01  14 02"    // SDOMAIN, QOS, SECURE, MEMTYPE
              "15 15  16 9A  17 00  18 06"    // OPCODE, CSBAND, FLUSH, EPRIORITY
              "19 0B  1A 5D  1B 02  1C 01"    // Order ID, MSBAND, FWPASS, PABLE
              "1D 7C  1E 06  1F 02  20 2301"  // Virtual ID 0xE7C, cut; ASEL, ATYPE, Channel ID
              "21 00000080  22 3412F2AA  23 A5761D9B"  // raw words
              "24 D96DADD9  25 DB359F9B  26 23F1FFFF  FE"));
}

// All bits set: each field has its full width, FLUSH is still 0.
TEST_F(RowsTest, TransactionOfOnes) {
  const Bytes row = Decode(Sample(5, Words(6, 0xFFFFFFFF)));
  ASSERT_EQ(row.size(), 150U);
  EXPECT_EQ(Bytes(row.begin() + 54, row.begin() + 119),
            Hex("6C 03  6D FF0F  6E 01  6F 01  70 FF03  71 07  72 07  73 03  74 FF  75 03"
                "76 0F  77 01  78 01  79 03  7A 03  7B 03  7C 07  7D 01  7E 03  7F 1F"
                "80 FF  81 00  82 07  83 0F  84 7F  85 03  86 01  87 FF  88 0F  89 03  8A FF0F"));
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
      {0x1234, 0, 0},           // nothing matched: no division, but a row
      {0x1234, 0xFF000000, 0},  // the top byte is unused
  };
  for (const auto& c : cases) {
    const Bytes row = Decode(Sample(5, {c.total, c.matched}));
    ASSERT_EQ(row.size(), 97U) << c.total << " / " << c.matched;
    EXPECT_EQ(Bytes(row.begin() + 81, row.begin() + 86), Bytes{102} + LittleEndian32(c.average))
        << c.total << " / " << c.matched;
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
