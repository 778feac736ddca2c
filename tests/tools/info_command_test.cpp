#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tests/support/tdf_bytes.h"
#include "tests/tools/tool_test.h"

namespace qbt2::test {
namespace {

using ::testing::EndsWith;
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

const std::string kUseCase = ";1;16;0;0;0;0;0;0;0;0;0;0;0;0\n";

const char* const kStpText = R"(file        standard input
size        39 bytes
kind        stp: an STP stream
faults      none
version     STP 2 (VERSION packets: 3)
packets     13: 2 NULL, 2 M8, 1 C8, 1 D8, 2 D32, 2 FLAG, 1 FREQ, 1 VERSION,
            1 ASYNC
timestamps  2, natural coding, ticks 16 to 1016
clock       1000000 Hz (1.0 MHz)
duration    1.000 ms
masters     2

master  data packets  channels  name
     5             2         2  D�MA
     7             1         0  -
)";

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
  // The name would turn a terminal's text red; 261 has no packets.
  const std::string settings =
      put("names", "QBT2_5=D\xC2\x9BMA" + kUseCase + "QBT2_261=X" + kUseCase);
  const ToolResult named = run_tool({"info", "-", "--config", settings}, kStream);
  EXPECT_EQ(named.out, kStpText);
  EXPECT_EQ(named.status, 0) << named.err;
  // TIME has no defined length; the reader resynchronises at the next ASYNC.
  put("a.stp", kStream + stp("F04 12345 ") + kStream);
  const ToolResult damaged = run_tool({"info", file});
  EXPECT_EQ(damaged.status, 1);
  EXPECT_THAT(damaged.err, StartsWith("qbt2: " + file + ": byte 39: "));
  EXPECT_THAT(damaged.out, HasSubstr("\nfaults      1\n"));
  EXPECT_THAT(damaged.out, HasSubstr("\nskipped     4 bytes\n"));
}

TEST_F(InfoCommandTest, ListsTheBusiestOfManyMasters) {
  std::string nibbles = "FFFFFFFFFFFFFFFFFFFFF0 F003 ";
  for (int id = 0; id < 20000; ++id) {
    std::array<char, 32> packets{};
    std::snprintf(packets.data(), packets.size(), "F1%04X 4%02d ", id, id % 10);
    nibbles += packets.data();
  }
  const std::string file = put("many.stp", stp(nibbles + "F14E1F 411 0"));
  const std::string text = run_tool({"info", file}).out;
  EXPECT_THAT(text, HasSubstr("masters     20000, the 20 with the most data packets below"));
  EXPECT_THAT(text,
              HasSubstr("channels\n 19999             2  not listed\n     0             1  0\n"));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10 + 20 + 2);
  const std::string all = run_tool({"info", file, "--all"}).out;
  EXPECT_THAT(all, HasSubstr("masters     20000\n"));
  EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 10 + 20000 + 2);
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
  const std::string text = run_tool({"info", "-"}, get("f")).out;
  EXPECT_THAT(text, HasSubstr("framing     10 bytes\nsources     2\n\nsource      0x10\n"
                              "size        42 bytes\nkind        stp: an STP stream\n"));
  EXPECT_THAT(text, HasSubstr("\nsource      0x21\nsize        28 bytes\nkind        not STP"));
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
  EXPECT_THAT(run_tool({"info", at("s")}).out,
              EndsWith("samples     4: 2 of 2 words, 1 of 3 words, 1 of 6 words\n"
                       "probes      5-6, 9\n"));
  // A probe is named by the first of the masters that share it.
  put("names", "QBT2_261=A" + kUseCase + "QBT2_517=B" + kUseCase);
  EXPECT_THAT(run_tool({"info", at("s"), "--config", at("names")}).out,
              EndsWith("probes      3\n\nprobe  name\n    5  A\n    6  -\n    9  -\n"));
  EXPECT_EQ(info(put("cut", bytes + bytes.substr(0, 10)), 1).at("bytes_skipped"), 10);
}

TEST_F(InfoCommandTest, RecognisesOtherFiles) {
  const struct {
    std::string bytes;
    const char* members;
    const char* text;  ///< after the file's name
  } kCases[] = {
      {"TDF2" + section("X", 2, "abc"),
       R"({"kind": "trace data file", "bytes": 20, "sections_in_all": 1,
           "sections": [{"name": "X", "version": 2, "payload_length": 3}]})",
       "size        20 bytes\nkind        trace data file\nfaults      none\nsections    1\n\n"
       "version  payload bytes  name\n      2              3  X\n"},
      {"# c\nA=1\nQBT2_5=DMA;1;2;3;4;5;6;7;8;9;10;11;12;13;14\n",
       R"({"kind": "settings", "bytes": 52, "settings": 2,
           "usecases": [{"setting": "QBT2_5", "name": "DMA"}]})",
       "size        52 bytes\nkind        settings\nfaults      none\nsettings    2\n"
       "masters     1\n\nmaster  name\n     5  DMA\n"},
      {R"({"version": 1, "name": "CHIP", "settings": {"QBT2_7": "A"}})",
       R"({"kind": "device description", "bytes": 59, "device": "CHIP", "components": [],
           "settings": 1, "masters": [7]})",
       "size        59 bytes\nkind        device description\nfaults      none\n"
       "device      CHIP\ncomponents  0\nsettings    1\nmasters     7\n"},
  };
  for (const auto& test : kCases) {
    Json expected = Json::parse(test.members);
    expected["file"] = at("x");
    EXPECT_EQ(info(put("x", test.bytes)), expected);
    EXPECT_EQ(run_tool({"info", at("x")}).out, "file        " + at("x") + "\n" + test.text);
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
    EXPECT_THAT(result.out, HasSubstr(std::string("kind        ") + test.kind + "\n"));
    EXPECT_THAT(result.err, HasSubstr(test.reason));
  }
}

}  // namespace
}  // namespace qbt2::test
