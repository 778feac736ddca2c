#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/tools/run_tool.h"
#include "tests/tools/tool_folder.h"

namespace qbt2::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::json;

/// The bytes of a STP stream from its nibbles in stream order: the low half of a byte comes first.
std::string stream(std::string nibbles) {
  std::erase(nibbles, ' ');
  std::string bytes;
  for (std::size_t i = 0; i + 1 < nibbles.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(std::string{nibbles[i + 1], nibbles[i]}, nullptr, 16));
  }
  return bytes;
}

const std::string kAsync = "FFFFFFFFFFFFFFFFFFFFF 0 ";
/// VERSION 3, 1 MHz, master 5; a word on channel 2; a flag at 0x10; a byte; a flag at 0x3F8, of
/// which three nibbles are sent; a word of master 7. An even number of nibbles.
const std::string kPackets =
    kAsync + "F003 F08000F4240 105 302 612345678 E210 4AB E33F8 107 6FFFFFFFE 00 ";

/// Formatter frames of one source: each announces the id, then holds 14 bytes of data.
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

class InfoCommandTest : public ToolFolder {
 protected:
  static Json info(const std::string& file, int status = 0) {
    const ToolResult result = run_tool({"info", file, "--format", "json"});
    EXPECT_EQ(result.status, status) << result.err;
    return Json::parse(result.out);
  }
};

const char* const kStpMembers = R"({
  "stp_version": 2, "version_packets": [3],
  "packets": {"all": 13, "NULL": 2, "M8": 2, "C8": 1, "D8": 1, "D32": 2, "FLAG": 2, "FREQ": 1,
              "VERSION": 1, "ASYNC": 1},
  "sync_losses": 0, "bytes_skipped": 0,
  "timestamps": {"count": 2, "coding": "natural", "first": 16, "last": 1016, "span_ns": 1000000},
  "frequency_hz": 1000000,
  "masters": [{"master": 5, "data_packets": 2, "channels": [2]},
              {"master": 7, "data_packets": 1, "channels": [0]}]})";

TEST_F(InfoCommandTest, CountsWhatAStpStreamHolds) {
  const std::string file = put("a.stp", stream(kPackets));
  Json expected = Json::parse(kStpMembers);
  expected.update({{"file", file}, {"kind", "stp"}, {"bytes", 39}});
  Json got = info(file);
  EXPECT_EQ(got, expected) << got.dump(1);
  const std::string text = run_tool({"info", file}).out;
  EXPECT_THAT(text, StartsWith("file: " + file + "\nkind: stp\nbytes: 39\n"));
  EXPECT_THAT(text, HasSubstr("  master 5, data_packets 2, channels 2\n"));
  EXPECT_EQ(run_tool({"info", "-"}, stream(kPackets)).out.substr(0, 33),
            "file: standard input\nkind: stp\nby");
}

TEST_F(InfoCommandTest, DamageIsToldWithItsPlace) {
  // TIME has no settled length; the stream is found again at the next ASYNC.
  const std::string good = stream(kPackets);
  const std::string file = put("a.stp", good + stream("F04 12345 ") + good);
  const ToolResult result = run_tool({"info", file});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, StartsWith("qbt2: " + file + ": byte 39: "));
  EXPECT_THAT(result.out, HasSubstr("sync_losses: 1\nbytes_skipped: 4\n"));
  EXPECT_THAT(result.out, HasSubstr("ASYNC: 2\n"));
}

TEST_F(InfoCommandTest, LooksIntoEverySourceOfFrames) {
  const std::string data = stream(kPackets);
  const std::string other(28, 'x');
  const std::string file = put("f", frames(data, 0x10) + frames(other, 0x21));
  const Json got = info(file);
  EXPECT_EQ(got.at("kind"), "frames");
  EXPECT_EQ(got.at("bytes"), 5 * 16);
  EXPECT_EQ(got.at("bytes_framing"), 5 * 2);
  const Json& sources = got.at("sources");
  ASSERT_EQ(sources.size(), 2U);
  EXPECT_EQ(sources[0].at("source"), 0x10);
  EXPECT_EQ(sources[0].at("bytes"), 42);  // three bytes fill up the last frame
  Json expected = Json::parse(kStpMembers);
  expected["packets"]["NULL"] = 8;
  expected["packets"]["all"] = 19;
  EXPECT_EQ(sources[0].at("stp"), expected) << sources[0].dump(1);
  EXPECT_EQ(sources[1], Json::parse(R"({"source": 33, "bytes": 28, "stp": null})"));
  EXPECT_EQ(run_tool({"info", "-", "--format", "json"}, content(file)).status, 0);
  // Ids that one flipped bit makes have next to no data, and are only listed.
  std::string much;
  for (int i = 0; i < 100; ++i) much += data;
  const Json flipped = info(put("g", frames(much, 0x10) + frames("y", 0x22) + frames("z", 0x23)));
  EXPECT_EQ(flipped.at("sources").size(), 1U);
  EXPECT_EQ(flipped.at("small_sources"), Json::parse("[34, 35]"));
  EXPECT_EQ(flipped.at("bytes_of_small_sources"), 28);
}

TEST_F(InfoCommandTest, CountsSamplesByTheirWords) {
  std::string bytes;
  for (const auto& [probe, words] : {std::pair{5, 2U}, {5, 6U}, {6, 2U}, {9, 3U}}) {
    bytes += std::string(1, '\0') + static_cast<char>(probe) + std::string(2, '\0');
    bytes += word(5 * words);
    for (std::uint32_t i = 0; i < words; ++i) bytes.append(1, '\x04').append(word(i));
  }
  const Json got = info(put("s", bytes));
  EXPECT_EQ(got.at("kind"), "samples");
  EXPECT_EQ(got.at("samples"), 4);
  EXPECT_EQ(got.at("samples_of_words"), Json::parse(R"({"2": 2, "3": 1, "6": 1})"));
  EXPECT_EQ(got.at("probes"), Json::parse("[5, 6, 9]"));
  EXPECT_THAT(run_tool({"info", at("s")}).out, HasSubstr("probes: 5-6, 9\n"));
  EXPECT_EQ(info(put("cut", bytes + bytes.substr(0, 10)), 1).at("bytes_skipped"), 10);
}

TEST_F(InfoCommandTest, KnowsOtherFilesToo) {
  const Json tdf = info(put("a.tdf", "TDF2" + section("X", 2, "abc")));
  EXPECT_EQ(tdf.at("kind"), "trace data file");
  EXPECT_EQ(tdf.at("sections"),
            Json::parse(R"([{"name": "X", "version": 2, "payload_length": 3}])"));
  const Json settings =
      info(put("s.cfg", "# c\nA=1\nQBT2_5=DMA;1;2;3;4;5;6;7;8;9;10;11;12;13;14\n"));
  EXPECT_EQ(settings.at("kind"), "settings");
  EXPECT_EQ(settings.at("settings"), 2);
  EXPECT_EQ(settings.at("usecases"), Json::parse(R"([{"setting": "QBT2_5", "name": "DMA"}])"));
  const Json device = info(put("d.json", R"({"version": 1, "name": "CHIP"})"));
  EXPECT_EQ(device.at("kind"), "device description");
  EXPECT_EQ(device.at("device"), "CHIP");
}

TEST_F(InfoCommandTest, SaysWhatItCannotTell) {
  const struct {
    std::string bytes;
    int status;
    const char* kind;
    const char* reason;
  } kCases[] = {
      {"", 1, "unknown", "is empty"},
      {std::string(100, '\x01'), 1, "unknown", "is nothing that is known here"},
      {"some words\n", 1, "unknown", "neither settings nor a device description"},
      {"{\"nam\": 1}", 1, "unknown", "no device description: "},
      {"QBT2_5=a;b\n", 1, "settings", "byte 0: line 1: QBT2_5: 2 fields instead of 15"},
      {"TDF2xyz", 1, "trace data file", "byte 4: the file ends after 3 of 12 bytes"},
  };
  for (const auto& test : kCases) {
    const ToolResult result = run_tool({"info", put("x", test.bytes)});
    EXPECT_EQ(result.status, test.status) << test.reason;
    EXPECT_THAT(result.out, HasSubstr(std::string("kind: ") + test.kind + "\n"));
    EXPECT_THAT(result.err, HasSubstr(test.reason));
  }
  for (const std::string& file : {at("none"), at("")}) {
    const ToolResult result = run_tool({"info", file});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  }
  const ToolResult pipe = run_tool({"info", "-"}, "TDF2");
  EXPECT_EQ(pipe.status, 2);
  EXPECT_THAT(pipe.err, HasSubstr("found by seeking"));
}

}  // namespace
}  // namespace qbt2::test
