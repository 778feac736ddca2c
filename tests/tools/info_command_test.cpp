#include <nlohmann/json.hpp>

#include "tests/support/tdf_bytes.h"
#include "tests/tools/tool_test.h"

namespace qbt2::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::json;

/// ASYNC, VERSION 3, 1 MHz, master 5; a word on channel 2; a flag at 0x10; a byte; a flag at 0x3F8,
/// of which three nibbles are sent; a word of master 7. An even number of nibbles.
const std::string kStream = stp(
    "FFFFFFFFFFFFFFFFFFFFF 0 F003 F08000F4240 105 302 612345678 E210 4AB E33F8 107 6FFFFFFFE 00");

const char* const kStpMembers = R"({
  "stp_version": 2, "version_packets": [3],
  "packets": {"all": 13, "NULL": 2, "M8": 2, "C8": 1, "D8": 1, "D32": 2, "FLAG": 2, "FREQ": 1,
              "VERSION": 1, "ASYNC": 1},
  "sync_losses": 0, "bytes_skipped": 0,
  "timestamps": {"count": 2, "coding": "natural", "first": 16, "last": 1016, "span_ns": 1000000},
  "frequency_hz": 1000000,
  "masters": [{"master": 5, "data_packets": 2, "channels": [2]},
              {"master": 7, "data_packets": 1, "channels": [0]}]})";

/// Formatter frames of one source: an ID change, then 14 bytes of data.
std::string frames(const std::string& data, unsigned id) {
  std::string all;
  for (std::size_t at = 0; at < data.size(); at += 14) {
    std::string frame(1, static_cast<char>(id << 1 | 1));
    frame += data.substr(at, 14);
    frame.resize(15, '\0');
    char flags = 0;
    for (unsigned i = 2; i < 15; i += 2) {
      flags = static_cast<char>(flags | (frame[i] & 1) << (i / 2));
      frame[i] = static_cast<char>(frame[i] & ~1);
    }
    all += frame + flags;
  }
  return all;
}

class InfoCommandTest : public ToolTest {
 protected:
  static Json info(const std::string& file, int status = 0) {
    const ToolResult result = run_tool({"info", file, "--format", "json"});
    EXPECT_EQ(result.status, status) << result.err;
    return Json::parse(result.out);
  }
};

TEST_F(InfoCommandTest, CountsThePacketsOfAnStpStream) {
  const std::string file = put("a.stp", kStream);
  Json expected = Json::parse(kStpMembers);
  expected.update({{"file", file}, {"kind", "stp"}, {"bytes", 39}});
  EXPECT_EQ(info(file), expected);
  const std::string text = run_tool({"info", file}).out;
  EXPECT_THAT(text, StartsWith("file: " + file + "\nkind: stp\nbytes: 39\n"));
  EXPECT_THAT(text, HasSubstr("  master 5, data_packets 2, channels 2\n"));
  EXPECT_THAT(run_tool({"info", "-"}, kStream).out,
              StartsWith("file: standard input\nkind: stp\n"));
  // TIME has no defined length; the reader resynchronises at the next ASYNC.
  put("a.stp", kStream + stp("F04 12345 ") + kStream);
  const ToolResult damaged = run_tool({"info", file});
  EXPECT_EQ(damaged.status, 1);
  EXPECT_THAT(damaged.err, StartsWith("qbt2: " + file + ": byte 39: "));
  EXPECT_THAT(damaged.out, HasSubstr("sync_losses: 1\nbytes_skipped: 4\n"));
  EXPECT_THAT(damaged.out, HasSubstr("ASYNC: 2\n"));
}

TEST_F(InfoCommandTest, ReportsEverySourceOfFrames) {
  const std::string file = put("f", frames(kStream, 0x10) + frames(std::string(28, 'x'), 0x21));
  const Json got = info(file);
  Json expected = Json::parse(kStpMembers);  // three zero bytes fill up the last frame
  expected["packets"]["NULL"] = 8;
  expected["packets"]["all"] = 19;
  EXPECT_EQ(got, Json({{"file", file},
                       {"kind", "frames"},
                       {"bytes", 5 * 16},
                       {"bytes_framing", 5 * 2},
                       {"frames_cut", 0},
                       {"sources",
                        {{{"source", 0x10}, {"bytes", 42}, {"stp", expected}},
                         {{"source", 0x21}, {"bytes", 28}, {"stp", nullptr}}}}}));
  EXPECT_EQ(run_tool({"info", "-", "--format", "json"}, get("f")).status, 0);
  // Ids that one flipped bit makes have next to no data, and are only listed.
  std::string much;
  for (int i = 0; i < 100; ++i) much += kStream;
  const Json flipped = info(put("g", frames(much, 0x10) + frames("y", 0x22) + frames("z", 0x23)));
  EXPECT_EQ(flipped.at("sources").size(), 1U);
  EXPECT_EQ(flipped.at("small_sources"), Json({34, 35}));
  EXPECT_EQ(flipped.at("bytes_of_small_sources"), 28);
}

TEST_F(InfoCommandTest, CountsSamplesByTheirWords) {
  const std::string bytes =
      sample(5, {0, 1}) + sample(5, {0, 1, 2, 3, 4, 5}) + sample(6, {0, 1}) + sample(9, {0, 1, 2});
  const Json got = info(put("s", bytes));
  EXPECT_EQ(got.at("kind"), "samples");
  EXPECT_EQ(got.at("samples"), 4);
  EXPECT_EQ(got.at("samples_of_words"), Json::parse(R"({"2": 2, "3": 1, "6": 1})"));
  EXPECT_EQ(got.at("probes"), Json({5, 6, 9}));
  EXPECT_THAT(run_tool({"info", at("s")}).out, HasSubstr("probes: 5-6, 9\n"));
  EXPECT_EQ(info(put("cut", bytes + bytes.substr(0, 10)), 1).at("bytes_skipped"), 10);
}

TEST_F(InfoCommandTest, RecognisesOtherFiles) {
  const struct {
    std::string bytes;
    const char* members;
  } kCases[] = {
      {"TDF2" + section("X", 2, "abc"),
       R"({"kind": "trace data file", "bytes": 20, "sections_in_all": 1,
           "sections": [{"name": "X", "version": 2, "payload_length": 3}]})"},
      {"# c\nA=1\nQBT2_5=DMA;1;2;3;4;5;6;7;8;9;10;11;12;13;14\n",
       R"({"kind": "settings", "bytes": 52, "settings": 2,
           "usecases": [{"setting": "QBT2_5", "name": "DMA"}]})"},
      {R"({"version": 1, "name": "CHIP", "settings": {"QBT2_7": "A"}})",
       R"({"kind": "device description", "bytes": 59, "device": "CHIP", "components": [],
           "settings": 1, "masters": [7]})"},
  };
  for (const auto& test : kCases) {
    Json expected = Json::parse(test.members);
    expected["file"] = at("x");
    EXPECT_EQ(info(put("x", test.bytes)), expected);
  }
}

TEST_F(InfoCommandTest, ReportsWhatIsUnknownOrBad) {
  const struct {
    std::string bytes;
    const char* kind;
    const char* reason;
  } kCases[] = {
      {"", "unknown", "is empty"},
      {std::string(100, '\x01'), "unknown", "is not a capture, a trace data file or a text"},
      {"some words\n", "unknown", "neither settings nor a device description"},
      {"{\"nam\": 1}", "unknown", "is not a device description: $"},
      {"QBT2_5=a;b\n", "settings", "byte 0: line 1: QBT2_5: 2 fields instead of 15"},
      {"TDF2xyz", "trace data file", "byte 4: the file ends after 3 of 12 bytes"},
  };
  for (const auto& test : kCases) {
    const ToolResult result = run_tool({"info", put("x", test.bytes)});
    EXPECT_EQ(result.status, 1) << test.reason;
    EXPECT_THAT(result.out, HasSubstr(std::string("kind: ") + test.kind + "\n"));
    EXPECT_THAT(result.err, HasSubstr(test.reason));
  }
}

}  // namespace
}  // namespace qbt2::test
