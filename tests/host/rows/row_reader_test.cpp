#include "host/rows/row_reader.h"

#include <gtest/gtest.h>

#include "host/base/error.h"
#include "tests/support/row_test_support.h"

namespace qbt2::test {
namespace {

class RowReaderTest : public testing::Test {
 protected:
  std::size_t read(const Stream& stream) { return reader.read(stream.bytes, given, rows, fault); }
  std::string text(std::uint32_t id) const { return std::string(rows.texts().text(id)); }

  const ColumnCatalogue catalogue = small_catalogue();
  RowReader reader{catalogue};
  RowBatch rows{catalogue, 8};
  RowHead given;
  RecordFault fault;
};

TEST_F(RowReaderTest, ReadsTheFieldsOfEachKind) {
  given.offset = 77;
  given.timestamp = 5;
  given.has_timestamp = true;
  given.stp_master = 0x123;
  EXPECT_EQ(read(throughput(1, "DDR", 0xFFFFFFFF)), 1U);
  EXPECT_EQ(read(latency(2, "GPU", 0xABCD12, 9)), 1U);
  EXPECT_EQ(read(transaction(3, "", 0x0000800000000001, 3, 0xFFF, 0x8000000000000002)), 1U);
  EXPECT_EQ(read(head_of(4, "none", "no columns").end()), 1U);
  EXPECT_EQ(read(Stream().byte(0xFD)), 0U);
  EXPECT_EQ(fault.reason, nullptr);
  ASSERT_EQ(rows.size(), 4U);

  const RowHead& first = rows.head(0);
  EXPECT_EQ(first.kind, RowKind::kThroughput);
  EXPECT_EQ(first.offset, 77U);
  EXPECT_EQ(first.timestamp, 5U);
  EXPECT_EQ(first.stp_master, 0x123);
  EXPECT_TRUE(first.has_timestamp && !first.has_time_ns && !first.has_address);
  EXPECT_EQ(first.probe, 1);
  EXPECT_EQ(text(first.master_text), "DDR");
  EXPECT_EQ(text(first.type_text), "Value");
  EXPECT_EQ(text(first.description_text), "per 0x10");
  EXPECT_EQ(rows.value(0, 0), 0xFFFFFFFFU);

  EXPECT_EQ(rows.head(1).kind, RowKind::kLatency);
  EXPECT_EQ(rows.value(1, 1), 0xABCD12U);
  EXPECT_EQ(rows.value(2, 1), 9U);

  const RowHead& third = rows.head(2);
  EXPECT_EQ(third.kind, RowKind::kTransaction);
  EXPECT_TRUE(third.has_address && third.has_master);
  EXPECT_EQ(third.address, 0x0000800000000001U);
  EXPECT_EQ(text(third.master_text), "");
  EXPECT_EQ(rows.value(3, 2), 3U);
  EXPECT_EQ(rows.value(4, 2), 0xFFFU);
  EXPECT_EQ(rows.value(5, 2), 0x8000000000000002U);
  EXPECT_EQ(rows.head(3).kind, RowKind::kUnknown);
}

TEST_F(RowReaderTest, RememberedRowsFollowTextsValuesAndBatches) {
  read(transaction(3, "DMA", 1, 1, 10, 100));
  read(transaction(3, "DMA", 2, 2, 20, 200));
  read(transaction(3, "CPU", 3, 3, 30, 300));  // as long, but another name
  read(transaction(3, "DMA", 4, 4, 40, 400));
  RowBatch other(catalogue, 8);
  other.texts().intern("a text with number 0");
  EXPECT_EQ(reader.read(transaction(3, "DMA", 5, 5, 50, 500).bytes, given, other, fault), 1U);
  EXPECT_EQ(other.texts().text(other.head(0).master_text), "DMA");
  EXPECT_EQ(other.texts().text(other.head(0).description_text), "logged");
  rows.texts().clear();
  read(transaction(3, "DMA", 6, 6, 60, 600));
  EXPECT_EQ(text(rows.head(4).master_text), "DMA");
  for (std::size_t row = 0; row < 4; ++row) {
    EXPECT_EQ(rows.head(row).address, row + 1);
    EXPECT_EQ(rows.value(4, row), (row + 1) * 10);
    EXPECT_EQ(rows.value(5, row), (row + 1) * 100);
  }
}

TEST_F(RowReaderTest, SeveralRowsInOneStreamAreAllReadAndMayOutgrowTheBatch) {
  Stream many;
  for (std::uint8_t n = 1; n <= 20; ++n) {
    const Stream one = transaction(n, "M", n, n, n * 0x101U, n * 0x0101010101010101U);
    many.bytes.insert(many.bytes.end(), one.bytes.begin(), one.bytes.end());
  }
  EXPECT_EQ(read(many), 20U);
  ASSERT_EQ(rows.size(), 20U);
  for (std::uint8_t n = 1; n <= 20; ++n) {  // cells of no width overlap
    EXPECT_EQ(rows.head(n - 1U).probe, n);
    EXPECT_EQ(rows.value(3, n - 1U), n);
    EXPECT_EQ(rows.value(4, n - 1U), n * 0x101U);
    EXPECT_EQ(rows.value(5, n - 1U), n * 0x0101010101010101U);
  }
}

TEST_F(RowReaderTest, AStreamLongerThanARememberedOneIsReadWhole) {
  Stream stream = throughput(1, "DDR", 1);
  EXPECT_EQ(read(stream), 1U);
  const Stream second = throughput(1, "DDR", 2);
  stream.bytes.insert(stream.bytes.end(), second.bytes.begin(), second.bytes.end());
  EXPECT_EQ(read(stream), 2U);
}

TEST_F(RowReaderTest, ShapesOfOneClassAreKnownSideBySide) {
  // Equal bytes after the first column's position, names of one length and of two.
  const std::vector<Stream> streams = {throughput(1, "DDR", 7),
                                       head_of(1, "DDR", "per 0x10").number(kFirst + 1, 4, 7).end(),
                                       throughput(1, "GPU", 7), throughput(1, "a longer name", 7)};
  const RowKind kinds[] = {RowKind::kThroughput, RowKind::kLatency, RowKind::kThroughput,
                           RowKind::kThroughput};
  for (const Stream& stream : streams) {
    EXPECT_FALSE(reader.recognise({}, stream.bytes));
    read(stream);
  }
  for (std::size_t n = 0; n < streams.size(); ++n) {
    EXPECT_EQ(reader.recognise({}, streams[n].bytes), kinds[n]) << n;
    EXPECT_FALSE(reader.recognise({.probe = 1, .words = 2}, streams[n].bytes)) << n;
    read(streams[n]);
    EXPECT_EQ(rows.head(4 + n).kind, kinds[n]) << n;
    EXPECT_EQ(rows.value(n == 1 ? 1 : 0, 4 + n), 7U) << n;
  }
  EXPECT_EQ(text(rows.head(7).master_text), "a longer name");
}

TEST_F(RowReaderTest, RowsThatNeverRepeatTakeBoundedMemory) {
  const auto stream = [](std::size_t n) {
    return throughput(static_cast<std::uint8_t>(n), std::string(3000, 'x') + std::to_string(n), 1);
  };
  for (std::size_t n = 0; n < 360; ++n) {  // 1.08 MB of names
    EXPECT_EQ(reader.read(stream(n).bytes, given, rows, fault, {static_cast<std::uint8_t>(n), n}),
              1U);
    rows.clear();
  }
  EXPECT_TRUE(reader.recognise({359 & 0xFF, 359}, stream(359).bytes));
  EXPECT_FALSE(reader.recognise({0, 0}, stream(0).bytes));
}

TEST_F(RowReaderTest, ATextEndsAtItsFirstZero) {
  read(throughput(1, std::string_view("DDR\0left", 8), 1));
  read(throughput(1, std::string_view("DDR\0over", 8), 2));
  EXPECT_EQ(text(rows.head(0).master_text), "DDR");
  EXPECT_EQ(text(rows.head(1).master_text), "DDR");
}

TEST_F(RowReaderTest, MalformedStreamsAreReportedWithOffsetAndReason) {
  const auto head = [] { return head_of(1, "ab", "c"); };  // 2 + 7 + 10 + 6 = 25 bytes
  const struct {
    const char* what;
    Stream stream;
    std::size_t offset;
    const char* reason;
  } cases[] = {
      {"nothing", Stream(), 0, "empty record stream"},
      {"end only", Stream().end(), 0, "row without fields"},
      {"end twice", head().end().end(), 26, "row without fields"},
      {"no end", head(), 25, "row without an end marker"},
      {"unknown position", head().number(0x3F, 1, 0).end(), 25, "unknown column position"},
      {"after the last column", head().byte(0x46), 25, "unknown column position"},
      {"no data, then more", Stream().byte(0xFD).byte(0xFD), 0, "no-data marker among rows"},
      {"no data in a row", head().byte(0xFD), 25, "no-data marker among rows"},
      {"value missing", head().byte(kFirst), 25, "value cut short"},
      {"value cut", head().number(kFirst, 3, 0), 25, "value cut short"},
      {"address cut", head().number(11, 7, 0), 25, "value cut short"},
      {"length cut", Stream().number(0, 1, 1).number(1, 3, 0), 2, "text length cut short"},
      {"text cut by one", Stream().number(1, 4, 3).byte('a').byte('b'), 0,
       "text longer than the record stream"},
      {"text of 4 GiB", head().number(kFirst, 4, 0).end().number(1, 4, 0xFFFFFFFF), 31,
       "text longer than the record stream"},
      {"probe twice", head().number(0, 1, 2).end(), 25, "field given twice"},
      {"master twice", head().text(1, "x").end(), 25, "field given twice"},
      {"column twice", head().number(kFirst, 4, 1).number(kFirst, 4, 1).end(), 30,
       "field given twice"},
      {"second row bad", throughput(1, "ab", 1).byte(0xFF), 38, "unknown column position"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(read(c.stream), 0U) << c.what;
    EXPECT_EQ(fault.offset, c.offset) << c.what;
    EXPECT_STREQ(fault.reason, c.reason) << c.what;
    EXPECT_EQ(rows.size(), 0U) << c.what;
  }
}

TEST_F(RowReaderTest, EveryTruncationIsAFault) {
  const std::vector<std::uint8_t> whole = latency(2, "GPU", 7, 8).bytes;
  read(latency(2, "GPU", 7, 8));  // its shape is remembered
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::vector<std::uint8_t> cut(whole.data(), whole.data() + size);
    EXPECT_EQ(reader.read(cut, given, rows, fault), 0U) << size;
    EXPECT_NE(fault.reason, nullptr) << size;
  }
}

TEST(RowReaderCatalogue, RejectsWhatCannotBeReadBack) {
  const auto with = [](std::uint32_t first_id, std::size_t count, std::uint8_t size) {
    ColumnCatalogue catalogue;
    catalogue.first_id = first_id;
    catalogue.columns.resize(count, {"Name", "Key", "", size});
    return catalogue;
  };
  const struct {
    const char* what;
    ColumnCatalogue catalogue;
    bool accepted;
  } cases[] = {
      {"45 columns from 100", with(100, 45, 4), true},
      {"after the last shared position", with(12, 4, 4), true},
      {"first id wraps to a free byte", with(0x100 + 12, 1, 4), true},
      {"on the probe id", with(0, 1, 4), false},
      {"first id wraps to the probe id", with(256, 1, 4), false},
      {"grows into the markers", with(211, 45, 4), false},
      {"wraps past the markers", with(255, 3, 4), false},
      {"more than a byte can name", with(12, 300, 4), false},
      {"width 0", with(100, 1, 0), false},
      {"width 3", with(100, 1, 3), false},
  };
  for (const auto& c : cases) {
    if (c.accepted) {
      EXPECT_NO_THROW(RowReader{c.catalogue}) << c.what;
    } else {
      EXPECT_THROW(RowReader{c.catalogue}, Error) << c.what;
    }
  }
}

TEST(RowBatchTest, TheTextPoolIsEmptiedOnlyWhenItIsTooLarge) {
  const ColumnCatalogue catalogue = small_catalogue();
  RowBatch rows(catalogue, 1);
  EXPECT_EQ(rows.texts().intern("a"), rows.texts().intern("a"));
  EXPECT_NE(rows.texts().intern("a"), rows.texts().intern("b"));
  const std::uint64_t before = rows.texts().generation();
  rows.clear();
  EXPECT_EQ(rows.texts().generation(), before);
  EXPECT_EQ(rows.texts().text(1), "b");
  rows.texts().intern(std::string(5U << 20, 'x'));
  rows.clear();
  EXPECT_EQ(rows.texts().size(), 0U);
  EXPECT_NE(rows.texts().generation(), before);
  EXPECT_NE(TextPool().generation(), TextPool().generation());
}

}  // namespace
}  // namespace qbt2::test
