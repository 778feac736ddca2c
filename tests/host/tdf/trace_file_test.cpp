#include "host/tdf/trace_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "host/base/error.h"
#include "host/tdf/trace_header.h"
#include "tests/support/tdf_bytes.h"
#include "tests/support/test_folder.h"

namespace qbt2::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string words(std::initializer_list<std::uint32_t> numbers) {
  std::string bytes;
  for (const std::uint32_t number : numbers) bytes += le32(number);
  return bytes;
}

/// A header of an older system, with something in each of the four lists.
std::string header_with_lists() {
  return counted("dev") + counted("conn") + words({1, 7, 2, 3, 4, 5, 6}) + counted("three") +
         le32(99) + counted("four") +  //
         le32(1) + counted("a") + words({0, 0, 2, 5}) + counted("k") + le32(6) + counted("") +
         le32(2) + words({0, 0, 0, 0, 0, 0}) +  // list B
         le32(1) + words({9, 1, 1, 2, 3, 4, 5}) + counted("x") + counted("y") + counted("z") +
         le32(1) + std::string(16, '\0') + counted("d") +  // list D
         words({8, 0});
}

std::span<const std::uint8_t> as_bytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(TraceHeader, ReadsARecordWithLists) {
  TraceHeader header;
  const std::string payload = header_with_lists();
  const auto fault = read_trace_header(as_bytes(payload), header);
  ASSERT_FALSE(fault) << fault->reason;
  const TraceHeaderRecord& record = header.record;
  EXPECT_THAT((std::vector{record.deviceText, record.connectionName, record.headerText3,
                           record.headerText4}),
              ElementsAre("dev", "conn", "three", "four"));
  EXPECT_THAT((std::vector<std::uint64_t>{record.headerValue1, record.headerValue2,
                                          record.headerValue7, record.headerValue8}),
              ElementsAre(1, 2, 7, 8));
  EXPECT_EQ(header.timestamp, 99U);
  EXPECT_THAT(header.list_items, ElementsAre(1, 2, 1, 1));
}

TEST(TraceHeader, EveryCutIsAFaultWithinTheBytes) {
  const std::string whole = header_with_lists();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    // A copy of exactly this size, so that the sanitizer sees a read past its end.
    const std::vector<std::uint8_t> cut(whole.begin(),
                                        whole.begin() + static_cast<std::ptrdiff_t>(size));
    TraceHeader header;
    const auto fault = read_trace_header(cut, header);
    ASSERT_TRUE(fault) << size;
    EXPECT_LE(fault->offset, size);
  }
}

TEST(TraceHeader, AbsurdCountsFailAtOnce) {
  const std::string whole = header_with_lists();
  // Offsets of lengths and counts.
  const std::size_t list_a = 7 + 8 + 28 + 9 + 4 + 8;
  const struct {
    std::size_t offset;
    const char* reason;
  } kCases[] = {{0, "deviceText claims 4294967295 bytes, "},
                {7, "connectionName claims 4294967295 bytes, "},
                {list_a, "list A claims 4294967295 items"},
                {list_a + 4 + 5 + 8, "an item of list A claims 4294967295 items"}};
  for (const auto& test : kCases) {
    std::string payload = whole;
    payload.replace(test.offset, 4, le32(UINT32_MAX));
    TraceHeader header;
    const auto fault = read_trace_header(as_bytes(payload), header);
    ASSERT_TRUE(fault) << test.reason;
    EXPECT_EQ(fault->offset, test.offset);
    EXPECT_THAT(fault->reason, HasSubstr(test.reason));
  }
}

class TraceFileTest : public ::testing::Test, public TestFolder {
 protected:
  std::vector<Finding> check(const std::string& bytes) const {
    const TraceFile file(put("f.tdf", bytes));
    std::vector<Finding> findings;
    check_trace_file(file, [&](const Finding& finding) {
      EXPECT_LE(finding.offset, bytes.size()) << finding.text;
      findings.push_back(finding);
    });
    return findings;
  }
  static std::size_t faults(const std::vector<Finding>& findings) {
    return static_cast<std::size_t>(std::count_if(
        findings.begin(), findings.end(),
        [](const Finding& finding) { return finding.severity == FindingSeverity::kFault; }));
  }

  const std::vector<std::string> sections = {
      section("KZTrace", 20, header_with_lists()),
      section("KZDecode", 1, "# note\nDECODER=\nDATA_TYPE=0\nDATA_FORMAT=7\nATBID=111\n"),
      section("DEVID", 1,
              "EMU=\nPORT=\nDEVICEID=\nDEVICEMAP=a$1~\nDEVINFO=\nOUTFILES=\nTRACEID=\n"
              "PROCMAP=p$7$~\n"),
      section("EKTCONFIG", 2, "A=1\n# B\n\n{ block\nC = 2\n"),
      section("STMDECODERINFO", 1, "QBT2_5=MASTERNAME;1;2;3;4;5;6;7;8;9;10;11;12;13;0x7fffffff\n"),
      section("ARMDCM", 1, ""),
      section("OTHER", 2, "no text \xFF"),
      section("", 0, "x")};
};

TEST_F(TraceFileTest, DamageIsFoundWithinTheFile) {
  std::string whole = "TDF2";
  std::set<std::size_t> boundaries = {whole.size()};
  for (const std::string& one : sections) {
    whole += one;
    boundaries.insert(whole.size());
  }
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    EXPECT_EQ(faults(check(whole.substr(0, size))), boundaries.contains(size) ? 0U : 1U) << size;
  }
  for (char& byte : whole) {
    for (const char flip : {'\x01', '\x80', '\xFF'}) {
      byte = static_cast<char>(byte ^ flip);
      check(whole);
      byte = static_cast<char>(byte ^ flip);
    }
  }
}

TEST_F(TraceFileTest, PayloadsAreReadInFull) {
  std::string large(200'000, 'a');
  for (std::size_t i = 0; i < large.size(); i += 7) large[i] = static_cast<char>(i);
  const TraceFile file(put("f.tdf", "TDF2" + section("A", 1, "x") + section("L", 1, large)));
  EXPECT_EQ(file.payload(file.find("L", 1)), large);
  EXPECT_EQ(file.payload(file.find("A", std::nullopt)), "x");
  EXPECT_THROW(file.find("A", 2), Error);
  // A file truncated while it is read is an error, not an endless loop.
  std::filesystem::resize_file(at("f.tdf"), 1000);
  EXPECT_THROW(file.payload(file.find("L", 1)), Error);
}

TEST(SectionTextCheck, FindsTheLinesThatReadersMisunderstand) {
  using Check = void (*)(std::string_view, const FindingSink&);
  const struct {
    Check check;
    std::string text;
    std::uint64_t offset;
    const char* reason;  ///< null: sound
  } kCases[] = {
      {check_settings_text, "A=1\n B = a b \n#=\n\t\nQ=x=y", 0, nullptr},
      {check_settings_text, "A=1\nA=2\n", 4, "line 2: A is set again"},
      {check_settings_text, "=1\n", 0, "has no name"},
      {check_settings_text, "A= \n", 0, "has no value"},
      {check_settings_text, "A=1\r\n", 0, "carriage return"},
      {check_settings_text, "QBT2_0x5=a\n", 0, "QBT2_0x5: the decoder never reads it"},
      {check_decoder_text, " #\nDECODER=\nATBID = 5\n", 0, nullptr},
      {check_decoder_text, "ATBID=0x6f\n", 0, nullptr},
      {check_decoder_text, "DATA_TYPE=0x3\n", 0, "from 0 to 7"},
      {check_decoder_text, "\nATBID=112\n", 1, "from 0 to 111"},
      {check_decoder_text, "decoder=X\n", 0, "'decoder' is not a key"},
      {check_decoder_text, "DECODER\n", 0, "is not KEY=VALUE"},
      {check_device_text, "EMU=$~\nDEVICEID= 0x1 ,2\nPROCMAP=a$1$~b$2$~\n", 0, nullptr},
      {check_device_text, "# comment\n", 0, "is not KEYWORD=VALUE"},
      {check_device_text, "FOO=\n", 0, "'FOO' is not a keyword"},
      {check_device_text, "DEVICEID=0x1,\n", 0, "the device id '' is not a number"},
      {check_device_text, "DEVICEMAP=a$0x1\n", 0, "does not end in '~'"},
      {check_device_text, "DEVINFO=0x1$a~\n", 0, "has 2 fields instead of 3"},
      {check_device_text, "PROCMAP=a$1$2~\n", 0, "does not end in an empty field"},
      {check_device_text, "DEVICEMAP=a$0x100000000~\n", 0, "has a field that is not a number"},
  };
  for (const auto& test : kCases) {
    std::vector<Finding> findings;
    test.check(test.text, [&](const Finding& finding) { findings.push_back(finding); });
    ASSERT_EQ(findings.size(), test.reason == nullptr ? 0U : 1U) << test.text;
    if (test.reason == nullptr) continue;
    EXPECT_THAT(findings[0].text, HasSubstr(test.reason));
    EXPECT_EQ(findings[0].offset, test.offset) << test.text;
  }
}

}  // namespace
}  // namespace qbt2::test
