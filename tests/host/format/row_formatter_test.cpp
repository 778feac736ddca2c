#include "host/format/formatter_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "host/base/utf8.h"
#include "tests/support/row_test_support.h"

namespace qbt2::test {
namespace {

class RowFormatterTest : public testing::Test {
 protected:
  void add(const Stream& stream) {
    RecordFault fault;
    ASSERT_EQ(reader.read(stream.bytes, given, rows, fault), 1U) << fault.reason;
  }
  /// One row of each kind, the second with all the times.
  void add_three_rows() {
    given.offset = 24;
    given.stp_master = 65281;
    add(throughput(1, "DDR", 100));
    given.stp_master = 2;
    given.offset = 1234567890123;
    given.timestamp = 18446744073709551615U;
    given.time_ns = 18446744073709551614U;
    given.has_timestamp = given.has_time_ns = true;
    add(latency(2, "GPU", 11259154, 9));
    given = RowHead{};
    add(transaction(255, "a \"b\", c", 0xABCDEF012345, 3, 4095, 18446744073709551615U));
  }

  const ColumnCatalogue catalogue = small_catalogue();
  RowReader reader{catalogue};
  RowBatch rows{catalogue, 8};
  RowHead given;
};

TEST_F(RowFormatterTest, UnknownFormatsHaveNoFormatter) {
  EXPECT_EQ(make_row_formatter("xml", catalogue, {}), nullptr);
  EXPECT_EQ(make_row_formatter("", catalogue, {}), nullptr);
}

TEST_F(RowFormatterTest, JsonLinesLeaveOutWhatARowDoesNotHave) {
  add_three_rows();
  EXPECT_EQ(
      formatted("jsonl", rows),
      R"({"offset":24,"probe":1,"stp_master":65281,"master":"DDR","type":"Value","kind":"throughput","description":"per 0x10","Bytes":100})"
      "\n"
      R"({"offset":1234567890123,"timestamp":18446744073709551615,"time_ns":18446744073709551614,)"
      R"("probe":2,"stp_master":2,"master":"GPU","type":"Value","kind":"latency","description":"waits","Tracked":11259154,"MaxWait":9})"
      "\n"
      R"({"offset":0,"probe":255,"stp_master":0,"master":"a \"b\", c","type":"Value","kind":"transaction","description":"logged",)"
      R"("address":188900966474565,"Mode_":3,"RouteID":4095,"Wide":18446744073709551615})"
      "\n");
}

TEST_F(RowFormatterTest, CsvHasAllColumnsAndEmptyCells) {
  add_three_rows();
  EXPECT_EQ(formatted("csv", rows),
            "offset,timestamp,time_ns,probe,stp_master,master,type,kind,description,address,"
            "Bytes,Tracked,MaxWait,Mode_,RouteID,Wide\n"
            "24,,,1,65281,DDR,Value,throughput,per 0x10,,100,,,,,\n"
            "1234567890123,18446744073709551615,18446744073709551614,2,2,GPU,Value,latency,waits,,"
            ",11259154,9,,,\n"
            "0,,,255,0,\"a \"\"b\"\", c\",Value,transaction,logged,188900966474565,"
            ",,,3,4095,18446744073709551615\n");
}

TEST_F(RowFormatterTest, RowsOfSeveralCapturesBeginWithTheirNumber) {
  add(throughput(1, "DDR", 100));
  FormatOptions options{.fields = {}, .several_captures = true};
  const auto appended = [&](const char* format) {
    const auto formatter = make_row_formatter(format, catalogue, options);
    TextBuffer out;
    for (const std::size_t capture : {0U, 1U, 0U}) formatter->append(rows, capture, out);
    return std::string(out.view());
  };
  const auto thrice = [](const char* tail) {
    std::string text;
    for (const char capture : {'1', '2', '1'}) (text += capture) += tail;
    return text;
  };
  EXPECT_EQ(appended("csv"), thrice(",0,,,1,0,DDR,Value,throughput,per 0x10,,100,,,,,\n"));
  EXPECT_THAT(formatted("csv", rows, options), testing::StartsWith("capture,offset,"));
  EXPECT_THAT(formatted("table", rows, options), testing::StartsWith("capture  "));
  // Named, it is there for a single capture too.
  options = {parse_field_list(catalogue, "stp_master,capture"), 0};
  EXPECT_EQ(appended("jsonl"),
            "{\"stp_master\":0,\"capture\":1}\n{\"stp_master\":0,\"capture\":2}\n"
            "{\"stp_master\":0,\"capture\":1}\n");
  EXPECT_THAT(appended("table"), testing::HasSubstr("         0        2\n"));
}

TEST_F(RowFormatterTest, RowsOfMastersThatShareAProbeKeepTheirOwnTexts) {
  std::string expected = "description,stp_master,Bytes,master\n";
  for (unsigned n = 0; n < 24; ++n) {  // more in turn than lines are kept, then each twice
    const unsigned master = n < 12 ? n % 6 : n / 2 % 6;
    given.stp_master = static_cast<std::uint16_t>(1 + 256 * master);
    const std::string_view name = master < 3 ? "DDR" : "GPU";
    add(throughput(1, name, n));
    (expected += "per 0x10,") += std::to_string(given.stp_master);
    ((((expected += ',') += std::to_string(n)) += ',') += name) += '\n';
  }
  FormatOptions options;
  options.fields = parse_field_list(catalogue, "description,stp_master,Bytes,master");
  EXPECT_EQ(formatted("csv", rows, options), expected);
}

TEST_F(RowFormatterTest, ChosenFieldsComeInTheirOrder) {
  add_three_rows();
  const FormatOptions some{parse_field_list(catalogue, "RouteID,kind,Bytes,offset"), 0};
  EXPECT_EQ(formatted("csv", rows, some),
            "RouteID,kind,Bytes,offset\n"
            ",throughput,100,24\n"
            ",latency,,1234567890123\n"
            "4095,transaction,,0\n");
  const FormatOptions rare{parse_field_list(catalogue, "Wide"), 0};
  EXPECT_EQ(formatted("jsonl", rows, rare), "{}\n{}\n{\"Wide\":18446744073709551615}\n");
  // An empty line would not be a record.
  EXPECT_EQ(formatted("csv", rows, rare), "Wide\n\"\"\n\"\"\n18446744073709551615\n");
}

TEST_F(RowFormatterTest, TableWithoutLimitShowsEverything) {
  add_three_rows();
  EXPECT_EQ(
      formatted("table", rows),
      "              time  master        kind                address        offset  values\n"
      "------------------  ------------  -----------  --------------  ------------  ------\n"
      "                    DDR           throughput                             24  Bytes=100\n"
      "18446744073709551.614 us  GPU           latency                      1234567890123  "
      "MaxWait=9 Tracked=11259154\n"
      "                    a \"b\", c      transaction  0xabcdef012345             0  "
      "RouteID=4095 Mode_=3 Wide=18446744073709551615\n");
}

TEST_F(RowFormatterTest, TableFitsTheTerminal) {
  given.timestamp = 99999999999999;
  given.has_timestamp = true;
  given.stp_master = 0x1234;
  add(transaction(7, "a master with a very long name", 0xFFFFFFFFFFFF, 255, 65535, ~0ULL));
  given.timestamp = 7;
  add(throughput(1, "\xC3\xA4\xC3\xB6\xC3\xBC\xE2\x82\xAC", 4294967295));
  add(throughput(0x34, "Unknown", 1));
  given.stp_master = 7;
  add(latency(7, "Unknown", 1, 2));
  EXPECT_EQ(formatted("table", rows, {{}, 80}),
            "           time  master        values\n"
            "---------------  ------------  -------------------------------------------------\n"
            "99999999999999 ticks  a mast\xE2\x80\xA6 name  0xffffffffffff RouteID=65535 Mode_=255 "
            "\xE2\x80\xA6\n"
            "        7 ticks  \xC3\xA4\xC3\xB6\xC3\xBC\xE2\x82\xAC          Bytes=4294967295\n"
            "        7 ticks  master 4660   Bytes=1\n"
            "        7 ticks  probe 7       MaxWait=2 Tracked=1\n");
  for (std::size_t width = 40; width < 240; ++width) {
    std::istringstream lines(formatted("table", rows, {{}, width}));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(measure_text(line, 1000).characters, width) << width << ": " << line;
    }
  }
}

TEST_F(RowFormatterTest, TableSaysOnceHowLongTheSamplingWindowsAre) {
  add(throughput(1, "DDR", 1));
  const auto first_line = [&](std::vector<NamedMaster> masters, std::size_t width) {
    const FormatOptions options{.fields = {}, .terminal_columns = width, .masters = masters};
    const std::string table = formatted("table", rows, options);
    return table.substr(0, table.find('\n'));
  };
  EXPECT_EQ(first_line({{5, "DDR", 4096}, {6, "GPU", 4096}}, 0),
            "sampling window: 4096 clock cycles (0x1000)");
  EXPECT_EQ(first_line({{5, "D\x1B", 255}, {6, "GPU", 4096}, {7, "ISP", 4096}}, 0),
            "sampling windows in clock cycles: 4096 (2 masters), 255 (D\xEF\xBF\xBD)");
  EXPECT_EQ(first_line({{5, "DDR", 4096}}, 40),
            "sampling window: 4096 clock cycles (0x1\xE2\x80\xA6");
  std::vector<NamedMaster> many;
  for (std::uint32_t id = 0; id < 1000; ++id) many.push_back({id, "m", id + 1});
  EXPECT_EQ(first_line(many, 0),
            "sampling windows in clock cycles: 1 (m), 2 (m), 3 (m), 4 (m), 5 (m), 6 (m), 7 (m), "
            "8 (m), ...");
}

TEST_F(RowFormatterTest, TableOfChosenColumnsCutsTextsButDropsNothing) {
  add(latency(2, std::string(40, 'm'), 1, 2));
  const auto fields = parse_field_list(catalogue, "MaxWait,master,RouteID");
  EXPECT_EQ(formatted("table", rows, {fields, 30}),
            "MaxWait  master        RouteID\n"
            "-------  ------------  -------\n"
            "      2  mmmmmm\xE2\x80\xA6mmmmm\n");
  EXPECT_EQ(formatted("table", rows, {fields, 5}), formatted("table", rows, {fields, 30}));
  EXPECT_THAT(formatted("table", rows, {fields, 0}), testing::HasSubstr(std::string(40, 'm')));
}

TEST_F(RowFormatterTest, TableShowsNothingThatATerminalActsOn) {
  add(throughput(1, "\x1B[2J\a\t\x7F\xC2\x9B\xE2\x80\xAE\xFF.", 1));
  const auto fields = parse_field_list(catalogue, "master");
  const std::string mark(kReplacementCharacter);
  EXPECT_EQ(formatted("table", rows, {fields, 0}), "master\n------------------------\n" + mark +
                                                       "[2J" + mark + mark + mark + mark + mark +
                                                       mark + ".\n");
}

TEST_F(RowFormatterTest, HostileTextsAreQuotedInCsvAndComeBackFromJson) {
  const std::string huge(1 << 20, '"');
  const std::string control("nul\0\x01\x1F\x7F", 7);
  const std::string broken =
      "\xEF\xBF\xBD|\xEF\xBF\xBD|\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD|\xEF\xBF\xBD";
  const struct {
    std::string text;
    std::string read_back;
    std::string csv;
  } cases[] = {
      {"", "", "\"\""},
      {"plain", "plain", "plain"},
      {" blanks ", " blanks ", " blanks "},
      {"\"", "\"", "\"\"\"\""},
      {",\"\",", ",\"\",", "\",\"\"\"\",\""},
      {"a\r\nb\nc\r", "a\r\nb\nc\r", "\"a\r\nb\nc\r\""},
      {"back\\slash/\\u0041", "back\\slash/\\u0041", "back\\slash/\\u0041"},
      {control, control, "\"" + control + "\""},
      {"\x7F\xC2\x80\xC2\x9F\xC2\xA0", "\x7F\xC2\x80\xC2\x9F\xC2\xA0",
       "\x7F\xC2\x80\xC2\x9F\xC2\xA0"},
      {"\xC3\xA9\xF0\x9F\x98\x80", "\xC3\xA9\xF0\x9F\x98\x80", "\xC3\xA9\xF0\x9F\x98\x80"},
      {"\xFF|\xC3|\xED\xA0\x80|\xF0\x9F\x98", broken, broken},
      {huge, huge, "\"" + huge + huge + "\""},
  };
  const FormatOptions options{parse_field_list(catalogue, "master,Bytes,description"), 0};
  for (const auto& c : cases) {
    rows.clear();
    add(throughput(1, "name", 5));
    RowHead& head = rows.head(0);
    head.master_text = rows.texts().intern(c.text);  // the reader would end it at a zero
    head.description_text = head.master_text;
    const std::string shown = c.text.substr(0, 32);
    const std::string record = c.csv + ",5," + c.csv + "\n";
    EXPECT_TRUE(formatted("csv", rows, options) == "master,Bytes,description\n" + record) << shown;
    const std::string line = formatted("jsonl", rows, options);
    EXPECT_TRUE(std::none_of(line.begin(), line.end() - 1, [](char byte) {
      return (byte >= 0 && byte < 0x20) || byte == 0x7F;
    })) << shown;
    EXPECT_EQ(line.find("\xC2\x80"), std::string::npos);
    EXPECT_EQ(line.find("\xC2\x9F"), std::string::npos);
    const auto json = nlohmann::json::parse(line);
    EXPECT_TRUE(json["master"] == c.read_back && json["description"] == c.read_back) << shown;
    EXPECT_EQ(json["Bytes"], 5) << shown;
  }
}

TEST_F(RowFormatterTest, SpreadsheetsFindNoFormulas) {
  const struct {
    std::string_view text;
    std::string_view cell;
  } cases[] = {
      {"=1+1", "'=1+1"},
      {"+1", "'+1"},
      {"-1", "'-1"},
      {"@SUM(A1)", "'@SUM(A1)"},
      {"\tx", "\"'\tx\""},
      {"\r=1", "\"'\r=1\""},
      {"=\"a\",1", "\"'=\"\"a\"\",1\""},
      {"a=1", "a=1"},
      {"'=1", "'=1"},
      {"", "\"\""},
  };
  FormatOptions options{.fields = parse_field_list(catalogue, "master,Bytes"), .csv_safe = true};
  for (const auto& c : cases) {
    rows.clear();
    add(throughput(1, c.text, 5));
    EXPECT_EQ(formatted("csv", rows, options), "master,Bytes\n" + std::string(c.cell) + ",5\n");
  }
}

TEST_F(RowFormatterTest, AddressesInHexadecimal) {
  add(transaction(1, "DMA", 0xABCDEF012345, 3, 9, 1));
  add(transaction(1, "DMA", 0x10, 3, 9, 1));
  add(throughput(1, "DMA", 5));
  const FormatOptions options{.fields = parse_field_list(catalogue, "address,Bytes,RouteID"),
                              .hex_addresses = true};
  EXPECT_EQ(formatted("csv", rows, options),
            "address,Bytes,RouteID\n0xabcdef012345,,9\n0x000000000010,,9\n,5,\n");
  EXPECT_EQ(formatted("jsonl", rows, options),
            "{\"address\":\"0xabcdef012345\",\"RouteID\":9}\n"
            "{\"address\":\"0x000000000010\",\"RouteID\":9}\n{\"Bytes\":5}\n");
}

TEST_F(RowFormatterTest, KeysOfTheCatalogueAreQuotedToo) {
  const ColumnCatalogue odd{kFirst, {{"", "a\"b,\n\xFF", "", 1}}};
  RowReader odd_reader(odd);
  RowBatch odd_rows(odd, 1);
  RecordFault fault;
  odd_reader.read(Stream().number(kFirst, 1, 200).end().bytes, {}, odd_rows, fault);
  const auto json = nlohmann::json::parse(formatted("jsonl", odd_rows));
  EXPECT_EQ(json["a\"b,\n\xEF\xBF\xBD"], 200);
  EXPECT_THAT(formatted("csv", odd_rows), testing::HasSubstr(",\"a\"\"b,\n\xEF\xBF\xBD\"\n"));
}

TEST_F(RowFormatterTest, TheBytesDoNotDependOnHowRowsAreBatched) {
  for (const char* format : {"table", "csv", "jsonl"}) {
    const auto formatter = make_row_formatter(format, catalogue, {});
    TextBuffer pieces;
    RowBatch all(catalogue, 4);
    for (std::uint32_t n = 0; n < 60; ++n) {
      const std::string name(1, static_cast<char>('a' + n % 7));
      const Stream stream = n % 3 == 0   ? throughput(1, name, n)
                            : n % 3 == 1 ? latency(1, name, n, 1)
                                         : transaction(1, name, n, 1, 2, 3);
      RecordFault fault;
      RowBatch one(catalogue, 1);
      reader.read(stream.bytes, {}, one, fault);
      reader.read(stream.bytes, {}, all, fault);
      formatter->append(one, 0, pieces);
    }
    TextBuffer whole;
    make_row_formatter(format, catalogue, {})->append(all, 0, whole);
    EXPECT_EQ(pieces.view(), whole.view()) << format;
  }
}

TEST_F(RowFormatterTest, MoreShapesThanAreRemembered) {
  for (unsigned round = 0; round < 2; ++round) {
    for (unsigned present = 1; present < 64; ++present) {
      Stream stream;
      for (unsigned k = 0; k < 6; ++k) {
        if ((present >> k & 1) != 0) {
          stream.number(static_cast<std::uint8_t>(kFirst + k), catalogue.columns[k].size_bytes,
                        present);
        }
      }
      add(stream.end());
    }
  }
  const auto fields = parse_field_list(catalogue, "Bytes,MaxWait,Wide");
  std::istringstream lines(formatted("jsonl", rows, {fields, 0}));
  for (unsigned n = 0; n < 126; ++n) {
    const unsigned present = n % 63 + 1;
    std::string line;
    std::getline(lines, line);
    const auto json = nlohmann::json::parse(line);
    EXPECT_EQ(json.value("Bytes", 0U), (present & 1) != 0 ? present : 0) << line;
    EXPECT_EQ(json.value("MaxWait", 0U), (present & 4) != 0 ? present : 0) << line;
    EXPECT_EQ(json.value("Wide", 0U), (present & 32) != 0 ? present : 0) << line;
  }
}

}  // namespace
}  // namespace qbt2::test
