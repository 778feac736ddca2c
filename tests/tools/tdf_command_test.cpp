#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/support/tdf_bytes.h"
#include "tests/tools/tool_test.h"

namespace qbt2::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Json = nlohmann::json;

const char* const kHeaderText =
    "# a board\n deviceText =Board A \nconnectionName=Emu/CPU_1\nheaderValue1=1\n"
    "headerValue2=0x2\nheaderValue3=3\nheaderValue4=4\nheaderValue5=5\nheaderValue6=6\n"
    "headerValue7=7\nheaderText3=third\nheaderText4=\nheaderValue8=0x123456789abcdef0\n";
const char* const kDecoderText = "DECODER=X\nDATA_TYPE=3\nDATA_FORMAT=5\nATBID=12\n";
const char* const kDeviceText =
    "EMU=E\nPORT=P\nDEVICEID=0x1,0x1a\nDEVICEMAP=a$0x1~b$0x1a~\nDEVINFO=0xab$cpu$some info~\n"
    "OUTFILES=cpu$a.out~\nTRACEID=0x10$cpu~\nPROCMAP=cpu$7$~\n";
const char* const kUsecase = "DMA1;1;0x2d00;3;4;5;6;7;8;9;10;11;12;13;14";

std::string header_payload(const std::string& timestamp) {
  std::string numbers;
  for (const std::uint32_t value : {1U, 7U, 2U, 3U, 4U, 5U, 6U}) numbers += le32(value);
  return counted("Board A ") + counted("Emu/CPU_1") + numbers + counted("third") + timestamp +
         counted("") + le32(0) + le32(0) + le32(0) + le32(0) + le32(0x9abcdef0) + le32(0x12345678);
}

/// Offset of the timestamp in a file that begins with the header above.
constexpr std::size_t kTimestampOffset = 4 + 12 + 7 + (4 + 8) + (4 + 9) + 7 * 4 + (4 + 5);

class TdfCommandTest : public ToolTest {
 protected:
  void make_tdf() const {
    const ToolResult result =
        run_tool({"tdf", "create", tdf, "--header", header, "--settings", settings,
                  "--decoder-info", decoder, "--device-id", device, "--section", "BLOB:7=" + blob});
    ASSERT_EQ(result.status, 0) << result.err;
  }

  const std::string header = put("header.txt", kHeaderText);
  const std::string decoder = put("decoder.txt", kDecoderText);
  const std::string device = put("device.txt", kDeviceText);
  const std::string settings =
      put("settings.cfg", std::string("QBT2_5=") + kUsecase + "\nATBID=0x10\n");
  const std::string blob = put("blob", std::string("0123456789abcdefXY\0\xFF", 20));
  const std::string tdf = at("a.tdf");
};

TEST_F(TdfCommandTest, CreateWritesTheFormatByteForByte) {
  make_tdf();
  std::string bytes = read_file(tdf);
  const std::string timestamp = bytes.substr(kTimestampOffset, 4);
  EXPECT_EQ(bytes,
            "TDF2" + section("KZTrace", 20, header_payload(timestamp)) +
                section("KZDecode", 1, kDecoderText) + section("DEVID", 1, kDeviceText) +
                section("STMDECODERINFO", 1, std::string("ATBID=0x10\nQBT2_5=") + kUsecase + "\n") +
                section("BLOB", 7, read_file(blob)));
  EXPECT_EQ(run_tool({"tdf", "verify", tdf}).out,
            tdf + ": byte 423: note: BLOB 7: this section is not known\n" + tdf +
                ": 5 sections, all sound, 1 note\n");
}

TEST_F(TdfCommandTest, ConfigTypesChooseTheSection) {
  for (const auto& [type, name, version] :
       {std::tuple{"arm", "ARMDCM", 1U}, {"dsp", "EKTCONFIG", 2U}, {"stm", "STMDECODERINFO", 1U}}) {
    const ToolResult result =
        run_tool({"tdf", "create", tdf, "--force", "--settings", settings, "--config-type", type});
    EXPECT_EQ(result.status, 0) << type << result.err;
    EXPECT_THAT(
        read_file(tdf),
        HasSubstr(section(name, version, std::string("ATBID=0x10\nQBT2_5=") + kUsecase + "\n")));
  }
}

TEST_F(TdfCommandTest, ListHasOffsetsAndLengths) {
  put("a.tdf", "TDF2" + section("KZDecode", 1, kDecoderText) + section("x\x1By\xFF", 300, "abc"));
  EXPECT_EQ(run_tool({"tdf", "list", tdf}).out,
            "version  offset  length  payload  name\n"
            "      1       4      65       45  KZDecode\n"
            "    300      69      19        3  x\xEF\xBF\xBDy\xEF\xBF\xBD\n");
  const auto json = Json::parse(run_tool({"tdf", "list", tdf, "--format", "json"}).out);
  EXPECT_EQ(json.at("sections").at(1), Json({{"name", "x\x1By\xEF\xBF\xBD"},
                                             {"version", 300},
                                             {"offset", 69},
                                             {"length", 19},
                                             {"payload_length", 3}}));
  EXPECT_TRUE(json.at("fault").is_null());
  // A damaged file is listed up to the fault.
  put("a.tdf", "TDF2" + section("KZDecode", 1, kDecoderText) + le32(0) + le32(1) + le32(0));
  const ToolResult text = run_tool({"tdf", "list", tdf});
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(text.out, HasSubstr("KZDecode\n"));
  EXPECT_EQ(text.err, "qbt2: " + tdf + ": byte 69: a section's length is 0\n");
  const ToolResult shown = run_tool({"tdf", "show", tdf, "--format", "json"});
  EXPECT_EQ(shown.status, 1);
  EXPECT_EQ(Json::parse(shown.out).at("fault").at("offset"), 69);
}

TEST_F(TdfCommandTest, ShowPrintsTheContentOfEverySection) {
  make_tdf();
  const ToolResult text = run_tool({"tdf", "show", tdf, "KZTrace"});
  EXPECT_THAT(text.out, StartsWith("# KZTrace version 20, at byte 4, 94 bytes of data\n"
                                   "deviceText=Board A \nconnectionName=Emu/CPU_1\n"
                                   "headerValue1=1\nheaderValue2=2\nheaderValue3=3\n"
                                   "headerValue4=4\nheaderValue5=5\nheaderValue6=6\n"
                                   "headerValue7=7\nheaderText3=third\nheaderText4=\n"
                                   "headerValue8=1311768467463790320\n# timestamp "));
  // --header reads what show prints.
  const std::string again = at("b.tdf");
  ASSERT_EQ(run_tool({"tdf", "create", again, "--header", put("shown", text.out)}).status, 0);
  EXPECT_EQ(read_file(again).substr(0, kTimestampOffset),
            read_file(tdf).substr(0, kTimestampOffset));
  const std::string all = run_tool({"tdf", "show", tdf}).out;
  EXPECT_THAT(all, HasSubstr("DECODER=X\nDATA_TYPE=3\nDATA_FORMAT=5\nATBID=12\n"));
  EXPECT_THAT(all, HasSubstr("device     b\n  id       0x1a\nprocessor  cpu\n  infoId   0xab\n"
                             "  infoText some info\n  traceId  0x10\n  mapValue 7\n"
                             "  outFile  a.out\n"));
  EXPECT_THAT(all, HasSubstr("#   probeName         DMA1\n#   usecaseWord1      1\n"
                             "#   samplingPeriod    0x2d00\n#   usecaseHalfWord3  3\n"));
  EXPECT_THAT(all, HasSubstr("#   filter0_registerA 7\n"));
  EXPECT_THAT(all, HasSubstr("00000000  30 31 32 33 34 35 36 37  38 39 61 62 63 64 65 66  "
                             "|0123456789abcdef|\n"
                             "00000010  58 59 00 ff                                       "
                             "|XY..|\n"));
  EXPECT_THAT(run_tool({"tdf", "show", tdf, "KZDecode", "--hex"}).out,
              HasSubstr("00000000  44 45 43 4f 44 45 52 3d  58 0a"));
  const auto json = Json::parse(run_tool({"tdf", "show", tdf, "--format", "json"}).out);
  const auto& sections = json.at("sections");
  ASSERT_EQ(sections.size(), 5U);
  EXPECT_EQ(sections[0].at("header").at("headerValue8"), 0x123456789abcdef0U);
  EXPECT_EQ(sections[1].at("decoderInfo"),
            Json::parse(R"({"decoder":"X","dataType":3,"dataFormat":5,"atbId":12})"));
  EXPECT_EQ(sections[2].at("deviceIdentifier").at("devices")[1].at("id"), 26);
  EXPECT_EQ(sections[3].at("usecases").at("QBT2_5").at("filter1_registerC"), "13");
  EXPECT_EQ(sections[3].at("settings").at("ATBID"), "0x10");
  EXPECT_EQ(sections[4].at("hex"), "30313233343536373839616263646566585900ff");
}

TEST_F(TdfCommandTest, ExtractWritesThePayloadOfOneVersion) {
  make_tdf();
  EXPECT_EQ(run_tool({"tdf", "extract", tdf, "BLOB"}).out, read_file(blob));
  EXPECT_EQ(run_tool({"tdf", "extract", tdf, "BLOB", "-o", at("out")}).out, "");
  EXPECT_EQ(get("out"), read_file(blob));
  ASSERT_EQ(run_tool({"tdf", "add", tdf, "--section", "BLOB:8=" + header}).status, 0);
  EXPECT_THAT(run_tool({"tdf", "extract", tdf, "BLOB"}).err, HasSubstr("has several versions"));
  EXPECT_EQ(run_tool({"tdf", "extract", tdf, "BLOB", "--section-version", "8"}).out, kHeaderText);
  const ToolResult missing = run_tool({"tdf", "extract", tdf, "BL", "-o", at("absent")});
  EXPECT_EQ(missing.status, 2);
  EXPECT_THAT(missing.err, HasSubstr("has no section BL: it has KZTrace 20, KZDecode 1"));
  EXPECT_FALSE(names().contains("absent"));
  // A section may go without a name, and a list of names stays short.
  std::string many = "TDF2" + section("", 1, "nameless");
  for (std::uint32_t i = 0; i < 30; ++i) many += section("S", i, "x");
  put("a.tdf", many);
  EXPECT_EQ(run_tool({"tdf", "extract", tdf, ""}).out, "nameless");
  EXPECT_EQ(run_tool({"tdf", "show", tdf, "", "--format", "json"}).out,
            "{\"file\":\"" + tdf +
                "\",\"sections\":[\n{\"name\":\"\",\"version\":1,\"offset\":4,\"length\":20,"
                "\"payload_length\":8,\"hex\":\"6e616d656c657373\"}\n],\"fault\":null}\n");
  EXPECT_THAT(run_tool({"tdf", "extract", tdf, "T"}).err, EndsWith("S 17, S 18 and 11 more\n"));
}

TEST_F(TdfCommandTest, ManySettingsAreShownInLinearTime) {
  constexpr int kSettings = 160'000;
  std::string text;
  for (int i = 0; i < kSettings; ++i) text.append("S").append(std::to_string(i)).append("=\x7F\n");
  put("a.tdf", "TDF2" + section("ARMDCM", 1, text) +
                   section("DEVID", 1,
                           "DEVICEID=" + std::string((17 << 20) / 2, '1') +
                               std::string((17 << 20) / 2, '~') + "\n"));
  ToolRun run;
  run.arguments = {"tdf", "show", tdf, "--format", "json"};
  run.limit = std::chrono::seconds(30);
  const ToolResult result = run_tool(run);
  ASSERT_FALSE(result.timed_out);
  EXPECT_THAT(result.out, HasSubstr("\"S0\":\"\\u007f\",\"S1\":\"\\u007f\",\"S10\""));
  EXPECT_THAT(result.err, HasSubstr("DEVID 1: is larger than 16 MiB, so its bytes are shown"));
  const auto sections = Json::parse(result.out).at("sections");
  EXPECT_EQ(sections.at(0).at("settings").size(), kSettings);
  EXPECT_THAT(sections.at(1).at("hex").get<std::string>(), StartsWith("44455649434549443d31"));
}

/// Without a lock the second of two programs replaces what the first has just added.
TEST_F(TdfCommandTest, AddingAtTheSameTimeLosesNothing) {
  put("a.tdf", "TDF2" + section("ARMDCM", 1, std::string(1 << 20, '#')));
  constexpr int kRounds = 15;
  const auto add_all = [this](const char* name) {
    for (int i = 0; i < kRounds; ++i) {
      const std::string argument = std::string(name) + ":" + std::to_string(i) + "=" + blob;
      EXPECT_EQ(run_tool({"tdf", "add", tdf, "--section", argument}).err, "");
    }
  };
  std::thread other(add_all, "B");
  add_all("A");
  other.join();
  const auto json = Json::parse(run_tool({"tdf", "list", tdf, "--format", "json"}).out);
  EXPECT_EQ(json.at("sections").size(), 1 + 2 * kRounds);
}

TEST_F(TdfCommandTest, VerifyReportsFaultsOfTheFileAndOfItsSections) {
  const std::string sound = section("KZDecode", 1, kDecoderText);
  const struct {
    std::string bytes;
    std::string finding;
  } kCases[] = {
      {"TDF3", "byte 0: fault: the file does not start with \"TDF2\""},
      {"TDF2" + sound.substr(0, 30), "byte 4: fault: the file ends after 10 of 45 bytes"},
      {"TDF2" + sound + sound, "byte 69: fault: KZDecode 1: an earlier section has this name"},
      {"TDF2" + section("KZTrace", 20, header_payload(le32(0)) + "x"),
       "byte 117: fault: KZTrace 20: 1 byte left after the record"},
      {"TDF2" + section("KZDecodf", 1, ""),
       "fault: KZDecodf 1: the name differs from KZDecode in one byte"},
      {"TDF2" + section("STMDECODERINFO", 2, ""),
       "fault: STMDECODERINFO 2: readers look for version 1 of this section"},
      {"TDF2" + section("KZTrace", 20, header_payload(le32(0)).substr(0, 93)),
       "byte 109: fault: KZTrace 20: the payload ends inside headerValue8"},
      {"TDF2" + section("KZDecode", 1, "DECODER=X\nDATA_TYPE=8\n"),
       "byte 34: fault: KZDecode 1: line 2: DATA_TYPE is not a decimal number from 0 to 7"},
      {"TDF2" + section("ARMDCM", 1, "QBT2_5=a;b\n"),
       "fault: ARMDCM 1: line 1: QBT2_5: 2 fields instead of 15; its rows say Unknown"},
      {"TDF2" + section("ARMDCM", 1, std::string("A=1\0B=2", 7)),
       "byte 25: fault: ARMDCM 1: a zero byte ends the text; 3 bytes after it will never be read"},
      {"TDF2" + section("DEVID", 1, "TRACEID=zero$cpu~\n"),
       "fault: DEVID 1: line 1: the record 'zero$cpu' has a field that is not a number"},
  };
  for (const auto& test : kCases) {
    put("a.tdf", test.bytes);
    const ToolResult result = run_tool({"tdf", "verify", tdf});
    EXPECT_EQ(result.status, 1) << test.finding;
    EXPECT_THAT(result.out, HasSubstr(test.finding));
    const auto json = run_tool({"tdf", "verify", tdf, "--format", "json"});
    EXPECT_EQ(Json::parse(json.out).at("faults"), 1) << json.out;
  }
}

TEST_F(TdfCommandTest, AFailedRunChangesNoFile) {
  make_tdf();
  const std::string before = read_file(tdf);
  put("bad.cfg", "A=1\nENABLE\n");
  put("bad.dec", "ATBID=x\n");
  put("bad.hdr", "\nheaderValue1=0x100000000\n");
  put("large.hdr", "deviceText=" + std::string(10300, 'x') + "\n");
  const std::string huge = put("huge", "");
  std::filesystem::resize_file(huge, (std::uintmax_t{128} << 20) - 12);  // without the name's byte
  std::filesystem::create_symlink(tdf, at("link"));
  const auto names_before = names();
  const std::string fresh = at("fresh.tdf");
  const struct {
    std::vector<std::string> arguments;
    const char* reason;
  } kCases[] = {
      {{"create", tdf}, "already exists: --force replaces it"},
      {{"create", at("fresh.bin")}, "ends in .tdf"},
      {{"create", at("none/fresh.tdf")}, "none does not exist"},
      {{"create", fresh, "--settings", at("none.cfg")}, "none.cfg: cannot open"},
      {{"create", fresh, "--settings", at("bad.cfg")}, "bad.cfg: line 2: has no '='"},
      {{"create", fresh, "--decoder-info", at("bad.dec")}, "bad.dec: line 1: ATBID is not"},
      {{"create", fresh, "--header", at("bad.hdr")},
       "bad.hdr: line 2: headerValue1 is not a number"},
      {{"create", fresh, "--header", at("bad.dec")}, "'ATBID' is not a field of the trace header"},
      {{"create", fresh, "--header", at("large.hdr")}, "larger than 10240 bytes"},
      {{"create", fresh, "--section", "A:1"}, "is not NAME:VERSION=FILE"},
      {{"create", fresh, "--section", "A:1=" + blob, "--section", "A:1=" + blob},
       "already has a section A 1"},
      {{"create", fresh, "--section", "A:1=" + at("none")}, "cannot open"},
      {{"create", fresh, "--section", "A:1=" + huge}, "would be 134217729 bytes long"},
      {{"create", fresh, "--section", "=" + blob}, "is not NAME:VERSION=FILE"},
      {{"add", tdf}, "nothing to add"},
      {{"add", tdf, "--decoder-info", decoder}, "already has a section KZDecode 1"},
      {{"add", tdf, "--section", "A:1=" + blob, "--section", "B:1=" + at("none")}, "cannot open"},
      {{"add", tdf, "--section", ":1=" + blob}, "a section needs a name"},
      {{"add", blob, "--section", "A:1=" + header}, "ends in .tdf"},
      {{"add", tdf, "--section", "A:1=" + tdf}, "is also read in this run"},
      {{"create", tdf, "--force", "--settings", at("link")}, "is also read in this run"},
      {{"extract", tdf, "BLOB", "-o", tdf}, "is also read in this run"},
      {{"extract", at("link"), "BLOB", "-o", tdf}, "is also read in this run"},
      {{"extract", tdf, "BLOB", "-o", at("link")}, "is also read in this run"},
  };
  for (const auto& test : kCases) {
    std::vector<std::string> arguments = test.arguments;
    arguments.insert(arguments.begin(), "tdf");
    const ToolResult result = run_tool(arguments);
    EXPECT_EQ(result.status, 2) << test.reason;
    EXPECT_THAT(result.err, HasSubstr(test.reason));
    EXPECT_EQ(lines_of(result.err).size(), 1U) << result.err;
    EXPECT_EQ(names(), names_before) << test.reason;
    EXPECT_EQ(read_file(tdf), before) << test.reason;
  }
}

TEST_F(TdfCommandTest, AddAppendsAndKeepsTheRest) {
  const std::string old = "TDF2" + section("ARMDCM", 1, "A=1\n");
  put("a.tdf", old);
  std::filesystem::permissions(tdf, std::filesystem::perms(0640));
  std::filesystem::create_symlink(tdf, at("link.tdf"));
  const ToolResult result = run_tool(
      {"tdf", "add", at("link.tdf"), "--decoder-info", decoder, "--section", "E:0=/dev/null"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(read_file(tdf), old + section("KZDecode", 1, kDecoderText) + section("E", 0, ""));
  EXPECT_EQ(std::filesystem::status(tdf).permissions(), std::filesystem::perms(0640));
  EXPECT_TRUE(std::filesystem::is_symlink(at("link.tdf")));
  // After damage nothing would be found.
  put("a.tdf", old + "x");
  EXPECT_THAT(run_tool({"tdf", "add", tdf, "--decoder-info", decoder}).err, HasSubstr("byte 26"));
  EXPECT_EQ(read_file(tdf), old + "x");
}

TEST_F(TdfCommandTest, AFileEndsBelowFourGibibytes) {
  // 31 sections of 128 MiB and one that leaves 80 bytes: a sparse file, of which little is stored.
  constexpr std::uint64_t kLength = 0x8000000;
  std::ofstream file(tdf, std::ios::binary);
  file << "TDF2";
  for (std::uint32_t i = 0; i < 32; ++i) {
    file.seekp(static_cast<std::streamoff>(4 + kLength * i));
    file << le32(static_cast<std::uint32_t>(i < 31 ? kLength : kLength - 84)) << le32(i)
         << counted("BIG");
  }
  file.close();
  std::filesystem::resize_file(tdf, (std::uintmax_t{1} << 32) - 80);
  EXPECT_EQ(run_tool({"tdf", "list", tdf}).status, 0);
  const ToolResult result =
      run_tool({"tdf", "add", tdf, "--section", "A:1=" + put("p", std::string(67, 'x'))});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, HasSubstr("would be 4294967296 bytes long; a file ends below 4 GiB"));
  std::ofstream(tdf, std::ios::binary | std::ios::app)
      << section("A", 1, std::string(67, 'x')) << section("ARMDCM", 1, "A=1\n");
  EXPECT_THAT(run_tool({"tdf", "verify", tdf}).out,
              HasSubstr("byte 4294967296: fault: ARMDCM 1: its data begin past 4 GiB"));
}

TEST_F(TdfCommandTest, SettingsFromEitherFileGiveTheSameRows) {
  const std::string capture = generate("demo.stp", {"--messages", "200"});
  ASSERT_EQ(run_tool({"tdf", "create", tdf, "--settings", capture + ".cfg"}).status, 0);
  const auto rows = [&](const std::string& config) {
    return decode({"--format", "csv", "--config", config, capture}).out;
  };
  EXPECT_THAT(rows(tdf), HasSubstr("CPU_CLUSTER0"));
  EXPECT_EQ(rows(tdf), rows(capture + ".cfg"));
}

TEST_F(TdfCommandTest, AClosedPipeEndsTheRunQuietly) {
  put("a.tdf", "TDF2" + section("BIG", 1, std::string(4 << 20, 'x')));
  for (const char* const format : {"text", "json"}) {
    ToolRun run;
    run.arguments = {"tdf", "show", tdf, "--format", format};
    run.close_output_after = 100;
    const ToolResult result = run_tool(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, IsEmpty());
  }
}

}  // namespace
}  // namespace qbt2::test
