// `qbt2 decode` on good captures: what the rows say, and that nothing else changes them.
#include "tests/tools/tool_test.h"

namespace qbt2::test {
namespace {

using testing::HasSubstr;

std::string small_capture() {
  return stp(std::string(kSync) + kFreq + kMessages);
}

std::string small_samples() {
  return sample(5, {0x64, 0xAB000019}) +
         sample(131, {0x12345678, 0x0009ABCD, 0x00000309, 0xFF000042}) +
         sample(5, {0x56789ABC, 0xAAF21234, 0x9B0D7555, 0xBA5D6ED9, 0x6FD6B55E, 0xFFFFF123});
}

/// Formatter frames, each beginning with the source's id; padding (id 0) fills the last.
std::string frames(std::uint8_t id, std::string data) {
  while (data.size() % 14 != 0 && data.size() % 2 == 0) data += '\0';
  std::string bytes;
  for (std::size_t at = 0; at < data.size(); at += 14) {
    std::string frame(1, static_cast<char>(id << 1 | 1));
    frame += data.substr(at, 14);
    if (frame.size() < 15) frame += '\1';
    frame.resize(16, '\0');
    for (std::size_t place = 2; place < 15 && at + place <= data.size(); place += 2) {
      if ((frame[place] & 1) == 0) continue;
      frame[place] = static_cast<char>(frame[place] & 0xFE);
      frame[15] = static_cast<char>(frame[15] | 1 << place / 2);
    }
    bytes += frame;
  }
  return bytes;
}

constexpr const char* kSettings =
    "QBT2_5=DMA1;1;0x1000;0;0;0;0;0;0;0;0;0;0;0;0\n"
    "QBT2_131=MASTERNAME;1;255;0;0;0;0;0;0;0;0;0;0;0;0\n";
constexpr const char* kDevice =
    R"({"version": 1, "name": "SOC", "components": [{"name": "MOD_QBTRACER0", "type": "bus-tracer",
        "property_lists": {"masterid.proc": [{"name": "CPU", "value": 5},
                                             {"name": "GPU", "value": 131}]}}]})";

constexpr const char* kThroughputValues =
    R"("Bytes":100,"Matched_":25,"AvgLength":4,"RawQBT2_0":100,"RawQBT2_1":2868903961})";
constexpr const char* kLatencyValues =
    R"("Tracked":11259154,"Matched":3430008,"MaxWait":9,"TotalWait":777,"CreditWait":66,)"
    R"("RawQBT2_0":305419896,"RawQBT2_1":633805,"RawQBT2_2":777,"RawQBT2_3":4278190146})";
constexpr const char* kTransactionValues =
    R"("address":20015998343868,"Mode_":2,"RouteID":2748,"DIR_":0,"EXCL_":1,"ByteCount":341,)"
    R"("Priority_":5,"LSIZE_":3,"PRIV_":1,"PRIVID_":195,"DTYPE_":2,"RSEL_":9,"Interest_":1,)"
    R"("EMUDBG_":0,"INNER_":2,"OUTER_":1,"SDOMAIN_":3,"QOS_":6,"SECURE_":1,"MEMTYPE_":2,)"
    R"("OPCODE_":21,"CSBAND_":165,"FLUSH_":0,"EPRIORITY_":5,"ORDERID":14,"MSBAND_":85,)"
    R"("FWPASS_":2,"PABLE_":1,"VIRTID":90,"ASEL_":11,"ATYPE_":1,"CHANNELID":291,)"
    R"("RawQBT2_0":1450744508,"RawQBT2_1":2867991092,"RawQBT2_2":2601350485,)"
    R"("RawQBT2_3":3126685401,"RawQBT2_4":1876342110,"RawQBT2_5":4294963491})";

const std::vector<std::string> kStpPlaces = {R"("offset":20,"timestamp":16,"time_ns":80)",
                                             R"("offset":32,"timestamp":16,"time_ns":80)",
                                             R"("offset":54,"timestamp":31,"time_ns":155)"};
const std::vector<std::string> kFramePlaces = {R"("offset":23,"timestamp":16,"time_ns":80)",
                                               R"("offset":37,"timestamp":16,"time_ns":80)",
                                               R"("offset":61,"timestamp":31,"time_ns":155)"};
const std::vector<std::string> kSamplePlaces = {R"("offset":0)", R"("offset":18)",
                                                R"("offset":46)"};

/// The three rows with what the input's layout and the settings decide.
std::string json_rows(const std::vector<std::string>& where, const std::vector<std::string>& names,
                      const std::vector<std::string>& periods) {
  const std::string value = R"(,"type":"Value","kind":")";
  // Of master 261 a sample file holds the low 8 bits.
  const std::string third = where == kSamplePlaces ? "5" : "261";
  const auto head = [&](std::size_t i, const char* probe, const std::string& stp_master) {
    std::string text = "{" + where[i];
    text.append(",\"probe\":").append(probe).append(",\"stp_master\":").append(stp_master);
    text.append(",\"master\":\"").append(names[i]);
    return text.append("\"").append(value);
  };
  return head(0, "5", "5") + R"(throughput","description":"Throughput statistics)" + periods[0] +
         "\"," + kThroughputValues + "\n" + head(1, "131", "131") +
         R"(latency","description":"Latency statistics)" + periods[1] + "\"," + kLatencyValues +
         "\n" + head(2, "5", third) + R"(transaction","description":"Transaction logging",)" +
         kTransactionValues + "\n";
}

const std::vector<std::string> kUnknown(3, "Unknown");
const std::vector<std::string> kNoPeriods(2, ": sampling period unknown");

class DecodeCommand : public ToolTest {};

TEST_F(DecodeCommand, RowsOfEveryInputLayoutWithoutSettings) {
  const struct {
    const char* input;
    std::string bytes;
    const std::vector<std::string>& places;
  } cases[] = {{"stp", small_capture(), kStpPlaces},
               {"frames", frames(0x21, small_capture()), kFramePlaces},
               {"samples", small_samples(), kSamplePlaces}};
  for (const auto& c : cases) {
    const std::string expected = json_rows(c.places, kUnknown, kNoPeriods);
    const std::string path = put("capture", c.bytes);
    for (const char* input : {c.input, "auto"}) {
      const ToolResult file = decode({path, "--format", "jsonl", "--input", input});
      EXPECT_EQ(file.out, expected) << c.input << file.err;
      EXPECT_EQ(file.status, 0) << c.input;
      const ToolResult pipe = decode({"-", "--format", "jsonl", "--input", input}, c.bytes);
      EXPECT_EQ(pipe.out, expected) << c.input << pipe.err;
      const auto notices = [&](const std::string& name) {
        const std::string framing = ": framing flag (100.0 % of 3 messages have 2, 4 or 6 words)\n";
        return (std::string(c.input) == "samples" ? "" : "qbt2: " + name + framing) +
               "qbt2: " + name +
               ": no settings, so every row says Unknown; name the masters with --config FILE\n";
      };
      EXPECT_EQ(file.err, notices(path));
      EXPECT_EQ(pipe.err, notices("standard input"));
    }
  }
}

TEST_F(DecodeCommand, SettingsNameMastersAndPeriods) {
  const std::string capture = put("capture.stp", small_capture());
  const std::string text = put("settings.cfg", kSettings);
  const std::string section = "STMDECODERINFO";
  const std::string tdf =
      put("settings.tdf",
          "TDF2" + le32(static_cast<std::uint32_t>(12 + section.size() + strlen(kSettings))) +
              le32(1) + le32(static_cast<std::uint32_t>(section.size())) + section + kSettings);
  const std::string device = put("soc.json", kDevice);
  const std::vector<std::string> periods = {" per 0x1000 clock cycles", " per 0xff clock cycles"};
  // Without a description the name stays what it is in the settings.
  for (const std::string& config : {text, tdf}) {
    const ToolResult plain = decode({capture, "--format", "jsonl", "--config", config});
    EXPECT_EQ(plain.out, json_rows(kStpPlaces, {"DMA1", "MASTERNAME", "DMA1"}, periods));
    const ToolResult described =
        decode({capture, "--format", "jsonl", "--config", config, "--device", device});
    EXPECT_EQ(described.out, json_rows(kStpPlaces, {"DMA1", "GPU", "DMA1"}, periods));
    EXPECT_THAT(described.err,
                HasSubstr("qbt2: " + config +
                          ": the rows of masters 5, 261 carry the name of master 5 (DMA1): the low "
                          "8 bits of their ids are the same; the field stp_master tells them "
                          "apart\n"));
    EXPECT_EQ(described.status, 0);
  }
}

TEST_F(DecodeCommand, ReportsSettingsThatCannotBeUsed) {
  const std::string capture = put("capture.stp", small_capture());
  const std::string config = put("settings.cfg",
                                 "QBT2_5=DMA1;1;long;0;0;0;0;0;0;0;0;0;0;0;0\n"
                                 "QBT2_7=ISP;1;1\nQBT2_0x8=X;1\n");
  const ToolResult result = decode({capture, "--format", "jsonl", "--config", config});
  EXPECT_EQ(result.out, json_rows(kStpPlaces, kUnknown, kNoPeriods));
  EXPECT_EQ(result.status, 0);
  for (const char* line :
       {"masters 5, 7 have settings that the decoder cannot read; their rows say Unknown "
        "(QBT2_5: field 2 ('long') is not a number)",
        "QBT2_0x8: the decoder never reads it, ids must be plain decimal",
        "master 7 has settings but no traffic",
        "master 131 has traffic but no settings; its rows say Unknown"}) {
    EXPECT_THAT(result.err, HasSubstr("qbt2: " + config + ": " + line + "\n"));
  }
}

TEST_F(DecodeCommand, CsvHasAllColumnsAndTheTableTheChosenOnes) {
  const std::string capture = put("capture.stp", small_capture());
  const auto commas = [](std::size_t count) { return std::string(count, ','); };
  const std::string csv =
      "offset,timestamp,time_ns,probe,stp_master,master,type,kind,description,address,Bytes,"
      "Matched_,AvgLength,"
      "Tracked,Matched,MaxWait,TotalWait,CreditWait,Mode_,RouteID,DIR_,EXCL_,ByteCount,Priority_,"
      "LSIZE_,PRIV_,PRIVID_,DTYPE_,RSEL_,Interest_,EMUDBG_,INNER_,OUTER_,SDOMAIN_,QOS_,SECURE_,"
      "MEMTYPE_,OPCODE_,CSBAND_,FLUSH_,EPRIORITY_,ORDERID,MSBAND_,FWPASS_,PABLE_,VIRTID,ASEL_,"
      "ATYPE_,CHANNELID,RawQBT2_0,RawQBT2_1,RawQBT2_2,RawQBT2_3,RawQBT2_4,RawQBT2_5\n"
      "20,16,80,5,5,Unknown,Value,throughput,Throughput statistics: sampling period "
      "unknown,,100,25,4" +
      commas(36) + ",100,2868903961" + commas(4) +
      "\n32,16,80,131,131,Unknown,Value,latency,Latency statistics: sampling period unknown," +
      commas(3) + ",11259154,3430008,9,777,66" + commas(31) + ",305419896,633805,777,4278190146" +
      commas(2) + "\n54,31,155,5,261,Unknown,Value,transaction,Transaction logging,20015998343868" +
      commas(8) +
      ",2,2748,0,1,341,5,3,1,195,2,9,1,0,2,1,3,6,1,2,21,165,0,5,14,85,2,1,90,11,1,291,1450744508,"
      "2867991092,2601350485,3126685401,1876342110,4294963491\n";
  EXPECT_EQ(decode({capture, "--format", "csv"}).out, csv);
  EXPECT_EQ(decode({capture, "--columns", "offset,master,kind,address,Bytes"}).out,
            "      offset  master                    kind                address       Bytes\n"
            "------------  ------------------------  -----------  --------------  ----------\n"
            "          20  Unknown                   throughput                          100\n"
            "          32  Unknown                   latency\n"
            "          54  Unknown                   transaction  0x123456789abc\n");
  EXPECT_EQ(decode({capture, "--format", "jsonl", "--columns", "kind, bytes ,offset"}).out,
            "{\"kind\":\"throughput\",\"Bytes\":100,\"offset\":20}\n"
            "{\"kind\":\"latency\",\"offset\":32}\n{\"kind\":\"transaction\",\"offset\":54}\n");
  EXPECT_EQ(decode({capture, "--format", "none"}).out, "");
}

TEST_F(DecodeCommand, TheSuffixOfTheOutputChoosesTheFormat) {
  const std::string capture = put("capture.stp", small_capture());
  const struct {
    const char* file;
    std::vector<std::string> options;
    const char* begin;
  } cases[] = {
      {"rows.csv", {"--csv-safe"}, "offset\n"},
      {"a.csv.jsonl", {}, "{"},
      {"table.csv", {"--format", "table"}, "      offset"},
      {"rows.txt", {}, "      offset"},
      {"csv", {}, "      offset"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> arguments{capture, "--columns", "offset", "-o", at(c.file)};
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    EXPECT_EQ(decode(arguments).status, 0) << c.file;
    EXPECT_EQ(get(c.file).rfind(c.begin, 0), 0U) << c.file;
  }
}

TEST_F(DecodeCommand, RowsOfSeveralCapturesSayWhichTheyComeFrom) {
  const std::string stp = put("capture.stp", small_capture());
  const std::string samples = put("capture.smp", small_samples());
  std::istringstream rows(decode({stp, samples, "--format", "csv"}).out);
  std::string begins;
  for (std::string line; std::getline(rows, line);) begins += line.substr(0, 10) + " ";
  EXPECT_EQ(begins,
            "capture,of 1,20,16,80 1,32,16,80 1,54,31,15 2,0,,,5,5, 2,18,,,131 2,46,,,5,5 ");
  EXPECT_EQ(decode({samples, stp, "--columns", "stp_master", "--format", "csv"}).out,
            "stp_master\n5\n131\n5\n5\n131\n261\n");
}

TEST_F(DecodeCommand, ChoosesRows) {
  const std::string capture = put("capture.stp", small_capture());
  const std::string samples = put("capture.smp", small_samples());
  const std::string no_freq = put("no-freq.stp", stp(std::string(kSync) + kMessages));
  const struct {
    std::vector<std::string> arguments;
    const char* offsets;
  } cases[] = {
      {{capture}, "20 32 54"},
      {{capture, "--limit", "0"}, ""},
      {{capture, "--limit", "1"}, "20"},
      {{capture, "--limit", "0x2", "--threads", "3"}, "20 32"},
      {{capture, samples, "--limit", "4"}, "20 32 54 0"},
      {{samples, capture, samples}, "0 18 46 20 32 54 0 18 46"},
      {{capture, "--master", "5"}, "20"},
      {{capture, "--master", "0x105", "--master", "131"}, "32 54"},
      {{capture, "--master", "9"}, ""},
      // A sample file holds the low 8 bits of an id only.
      {{samples, "--master", "5"}, "0 46"},
      {{samples, "--master", "0x105"}, ""},
  };
  for (const auto& c : cases) {
    std::vector<std::string> arguments = c.arguments;
    arguments.insert(arguments.end(), {"--format", "csv", "--columns", "offset"});
    const ToolResult result = decode(arguments);
    std::string offsets;
    for (const std::string& line : lines_of(result.out)) {
      if (line == "offset") continue;
      offsets.append(offsets.empty() ? "" : " ").append(line);
    }
    EXPECT_EQ(offsets, c.offsets) << testing::PrintToString(c.arguments) << result.err;
    const bool is_missing =
        c.arguments.size() > 1 && c.arguments[1] == "--master" && offsets.empty();
    EXPECT_EQ(result.status, is_missing ? 1 : 0) << testing::PrintToString(c.arguments);
  }
  const auto times = [&](const std::string& path, const char* hz) {
    return decode({path, "--format", "jsonl", "--columns", "time_ns", "--clock-hz", hz}).out;
  };
  EXPECT_EQ(times(no_freq, "1000000000"), "{\"time_ns\":16}\n{\"time_ns\":16}\n{\"time_ns\":31}\n");
  EXPECT_EQ(times(capture, "1"), "{\"time_ns\":80}\n{\"time_ns\":80}\n{\"time_ns\":155}\n");
  EXPECT_EQ(decode({no_freq, "--format", "jsonl", "--columns", "time_ns"}).out, "{}\n{}\n{}\n");
}

TEST_F(DecodeCommand, StatisticsAccountForEveryByte) {
  const ToolResult result =
      decode({put("capture", frames(0x21, small_capture())), "--format", "none", "--stats"});
  std::map<std::string, std::uint64_t> values = statistics(result.err);
  EXPECT_GE(values["bytes_per_second"], 1U);
  for (const char* name : {"seconds", "bytes_per_second", "rows_per_second"}) values.erase(name);
  const std::map<std::string, std::uint64_t> expected = {{"bytes", 96},
                                                         {"bytes_framing", 13},
                                                         {"bytes_other_sources", 0},
                                                         {"stp_bytes", 83},
                                                         {"stp_packets", 21},
                                                         {"stp_sync_losses", 0},
                                                         {"bytes_skipped", 0},
                                                         {"words", 12},
                                                         {"messages", 3},
                                                         {"source_errors", 0},
                                                         {"messages_incomplete", 0},
                                                         {"rows", 3},
                                                         {"rows_throughput", 1},
                                                         {"rows_latency", 1},
                                                         {"rows_transaction", 1},
                                                         {"ignored_packets", 0},
                                                         {"samples_without_row", 0},
                                                         {"samples_rejected", 0},
                                                         {"messages_of_2_words", 1},
                                                         {"messages_of_4_words", 1},
                                                         {"messages_of_6_words", 1}};
  EXPECT_EQ(values, expected);
}

// ---- several ways, the same rows ----

constexpr const char* kTimelessFields =
    "master,kind,description,address,Bytes,AvgLength,Tracked,TotalWait,RouteID,ByteCount,VIRTID,"
    "CHANNELID,RawQBT2_0,RawQBT2_1,RawQBT2_2,RawQBT2_3,RawQBT2_4,RawQBT2_5";

TEST_F(DecodeCommand, EveryLayoutAndFramingGivesTheSameRows) {
  const std::string count = "3000";
  const std::string samples =
      generate("samples", {"--input", "samples", "--messages", count, "--seed", "7"});
  const ToolResult expected = decode(
      {samples, "--config", samples + ".cfg", "--format", "jsonl", "--columns", kTimelessFields});
  std::vector<std::string> sorted = lines_of(expected.out);
  ASSERT_EQ(sorted.size(), 3000U);
  std::sort(sorted.begin(), sorted.end());
  for (const char* framing : {"flag", "marker-last", "timestamp-last", "marker-first"}) {
    std::string times;
    for (const char* input : {"stp", "frames"}) {
      std::vector<std::string> options = {"--input",    input, "--framing", framing,
                                          "--messages", count, "--seed",    "7"};
      const bool is_frames = std::string(input) == "frames";
      if (is_frames) options.insert(options.end(), {"--other-sources", "2"});
      const std::string path = generate("capture", options);
      for (const char* chosen : {framing, "auto"}) {
        const std::vector<std::string> common = {path,    "--config",  path + ".cfg", "--format",
                                                 "jsonl", "--framing", chosen,        "--columns"};
        std::vector<std::string> arguments = common;
        arguments.emplace_back(kTimelessFields);
        const ToolResult result = decode(arguments);
        const std::string shown = std::string(input) + " " + framing + " as " + chosen;
        ASSERT_EQ(result.status, 0) << shown << result.err;
        // Under marker-first a message ends, and its row comes, when the next of its master begins.
        std::vector<std::string> lines = lines_of(result.out);
        if (std::string(framing) != "marker-first") {
          ASSERT_TRUE(result.out == expected.out) << shown;
        }
        std::sort(lines.begin(), lines.end());
        ASSERT_TRUE(lines == sorted) << shown;
        arguments.back() = "timestamp,time_ns,RawQBT2_0";
        const ToolResult timed = decode(arguments);
        if (times.empty()) times = timed.out;
        ASSERT_TRUE(timed.out == times) << shown;
      }
    }
  }
}

TEST_F(DecodeCommand, ThreadsPipesAndOutputFilesChangeNoByte) {
  const std::string path = generate("capture", {"--size", "700k"});
  for (const char* format : {"table", "csv", "jsonl"}) {
    const std::vector<std::string> options = {"--format", format, "--config", path + ".cfg"};
    const auto run = [&](std::vector<std::string> arguments, const std::string& input = {}) {
      arguments.insert(arguments.end(), options.begin(), options.end());
      return decode(arguments, input).out;
    };
    const std::string expected = run({path, "--threads", "1"});
    ASSERT_GT(lines_of(expected).size(), 20'000U);
    EXPECT_TRUE(run({path, "--threads", "4"}) == expected) << format;
    EXPECT_TRUE(run({"-", "--threads", "4"}, get("capture")) == expected) << format;
    EXPECT_EQ(run({path, "-o", at("rows")}), "");
    EXPECT_TRUE(get("rows") == expected) << format;
  }
}

// ---- real captures ----

TEST_F(DecodeCommand, RealCaptures) {
  const struct {
    const char* file;
    const char* atb_id;
    std::map<std::string, std::uint64_t> expected;
  } cases[] = {
      // 2509 + 2508 words; the first of the 1255 messages lost three of its four at the beginning.
      {"stm-board-a.cs.bin",
       "0x20",
       {{"bytes", 32768},
        {"words", 5017},
        {"messages", 1255},
        {"rows", 1254},
        {"rows_latency", 1254},
        {"messages_of_1_words", 1},
        {"messages_of_4_words", 1254},
        {"stp_sync_losses", 0}}},
      {"stm-board-b.cs.bin",
       "0x20",
       {{"bytes", 32768}, {"words", 153}, {"messages", 39}, {"rows", 38}, {"rows_latency", 38}}},
      // 24 marked words and 113 others in 23 messages, and one that the end cuts.
      {"flagged-messages.cs.bin",
       "0x10",
       {{"bytes", 768}, {"words", 137}, {"messages", 23}, {"messages_incomplete", 1}}},
  };
  for (const auto& c : cases) {
    const std::string path = std::string(QBT2_SHARED_DATA_DIR) + "/" + c.file;
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no " << path;
    const ToolResult result = decode({path, "--framing", "flag", "--format", "jsonl", "--stats"});
    EXPECT_EQ(result.status, 0) << result.err;
    auto values = statistics(result.err);
    for (const auto& [name, value] : c.expected) EXPECT_EQ(values[name], value) << c.file << name;
    EXPECT_EQ(values["bytes_framing"] + values["bytes_other_sources"] + values["stp_bytes"],
              values["bytes"]);
    EXPECT_EQ(lines_of(result.out).size(), values["rows"]) << c.file;
    const auto chosen = decode({path, "--framing", "flag", "--format", "jsonl", "--input", "frames",
                                "--atb-id", c.atb_id});
    EXPECT_TRUE(chosen.out == result.out) << c.file;
  }
}

}  // namespace
}  // namespace qbt2::test
