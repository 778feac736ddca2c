// `qbt2 decode` with damaged input, wrong options and failing outputs: what it reports and leaves.
#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <set>
#include <thread>

#include "tests/support/tdf_bytes.h"
#include "tests/tools/tool_test.h"

namespace qbt2::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class DecodeDiagnostics : public ToolTest {
 protected:
  std::string small_capture() const {
    return put("small.stp", stp("FFFFFFFFFFFFFFFFFFFFF0 F003 105 6 00000064 6 00000019 FE"));
  }
};

/// Runs a command under a shell, which can close streams; $QBT2 is the program.
ToolResult run_in_shell(const std::string& command) {
  ::setenv("QBT2", QBT2_TOOL_PATH, 1);
  FILE* const pipe = ::popen(("(" + command + ") 2>/dev/null").c_str(), "r");
  ToolResult result;
  std::array<char, 4096> piece;
  while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), pipe)) {
    result.out.append(piece.data(), got);
  }
  const int status = ::pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
  return result;
}

// ---- damage ----

/// Offset of the first byte of each row.
std::map<std::uint64_t, std::string> by_offset(const std::string& rows) {
  std::map<std::uint64_t, std::string> lines;
  for (const std::string& line : lines_of(rows)) {
    lines[std::strtoull(line.c_str() + strlen("{\"offset\":"), nullptr, 10)] = line;
  }
  return lines;
}

/// Where an ASYNC packet begins at or after `from`: ten bytes FF, an F and the 0.
std::size_t next_async(const std::string& bytes, std::size_t from) {
  for (std::size_t at = from; at + 11 < bytes.size(); ++at) {
    const bool ones = bytes.compare(at, 10, std::string(10, '\xFF')) == 0;
    if (ones && (bytes[at + 10] & 0xFF) == 0x0F) return at;
    // In the middle of a byte: F, ten bytes FF, 0.
    if (ones && (bytes[at - 1] & 0xF0) == 0xF0 && (bytes[at + 10] & 0x0F) == 0) return at - 1;
  }
  return bytes.size();
}

TEST_F(DecodeDiagnostics, DamageCostsNoRowOutsideOfIt) {
  const std::string path = generate("capture", {"--size", "300k", "--async-every", "2000"});
  const ToolResult clean = decode({path, "--format", "jsonl"});
  std::string bytes = get("capture");
  std::vector<std::pair<std::size_t, std::size_t>> places;  // from the damage to the next ASYNC
  for (const std::size_t at : {20'011U, 90'500U, 150'003U, 299'000U}) {
    // Too many F for any packet, and no 0 after them that would make them an ASYNC.
    bytes.replace(at, 24, std::string(23, '\xFF') + '\x22');
    places.emplace_back(at, next_async(bytes, at + 24));
  }
  const ToolResult damaged =
      decode({put("damaged", bytes), "--format", "jsonl", "--stats", "--threads", "2"});
  EXPECT_EQ(damaged.status, 1);
  auto values = statistics(damaged.err);
  EXPECT_EQ(values["stp_sync_losses"], places.size());
  EXPECT_EQ(values["bytes"], bytes.size());
  EXPECT_EQ(values["stp_bytes"], bytes.size());
  EXPECT_EQ(values["bytes_skipped"] / 4 / 2000, 0U) << values["bytes_skipped"];

  const auto before = by_offset(clean.out);
  const auto after = by_offset(damaged.out);
  constexpr std::size_t kLongestMessageBytes = 60;
  std::size_t spared = 0;
  for (const auto& [offset, line] : before) {
    bool hit = false;
    for (const auto& [at, end] : places) {
      hit |= offset + kLongestMessageBytes > at && offset < end;
    }
    if (hit) continue;
    ++spared;
    const auto found = after.find(offset);
    ASSERT_NE(found, after.end()) << line;
    ASSERT_EQ(found->second, line);
  }
  EXPECT_GT(spared, before.size() * 9 / 10);
  for (const auto& [at, end] : places) {
    const std::string line = "qbt2: " + path.substr(0, path.rfind('/')) + "/damaged: byte ";
    bool reported = false;
    for (std::size_t byte = at; byte < at + 24; ++byte) {
      reported |= damaged.err.find(line + std::to_string(byte) + ": ") != std::string::npos;
    }
    EXPECT_TRUE(reported) << at << damaged.err;
  }
}

TEST_F(DecodeDiagnostics, GeneratedDamageNeverHangsAndEveryByteIsCounted) {
  for (const char* input : {"stp", "frames", "samples"}) {
    const std::vector<std::string> options = {"--input", input, "--messages", "20k"};
    std::vector<std::string> more = options;
    more.insert(more.end(), {"--damage", "30"});
    const ToolResult clean = decode({generate("clean", options), "--input", input, "--format",
                                     "jsonl", "--columns", "RawQBT2_0,RawQBT2_1,RawQBT2_5"});
    const ToolResult result =
        decode({generate("damaged", more), "--input", input, "--format", "jsonl", "--columns",
                "RawQBT2_0,RawQBT2_1,RawQBT2_5", "--stats"});
    EXPECT_FALSE(result.timed_out);
    EXPECT_EQ(result.status, 1) << input << result.err.substr(0, 500);
    auto values = statistics(result.err);
    EXPECT_EQ(values["bytes"], std::filesystem::file_size(at("damaged")));
    // Damage ends a sample file: the rest cannot be found.
    if (std::string(input) == "samples") continue;
    EXPECT_EQ(values["bytes_framing"] + values["bytes_other_sources"] + values["stp_bytes"],
              values["bytes"]);
    const std::vector<std::string> kept = lines_of(result.out);
    const std::vector<std::string> all = lines_of(clean.out);
    std::multiset<std::string> expected(all.begin(), all.end());
    std::size_t good = 0;
    for (const std::string& line : kept) {
      const auto found = expected.find(line);
      if (found == expected.end()) continue;
      expected.erase(found);
      ++good;
    }
    EXPECT_GT(good, all.size() * 6 / 10) << input;
    EXPECT_LT(kept.size() - good, 60U) << input;  // two a place
  }
}

TEST_F(DecodeDiagnostics, ReportsRejectedAndCutSamplesAndGoesOn) {
  std::string short_pair = sample(7, {1});  // seven payload bytes: the second word is not there
  short_pair[4] = 7;
  short_pair += std::string(2, '\x04');
  const std::string good = sample(5, {0x64, 0x19});
  const std::string rejected = "master 7: the decoder rejects the sample (kind 2, detail 0)\n";
  const struct {
    std::string bytes;
    int status;
    std::size_t rows;
    std::vector<std::string> lines;
  } cases[] = {
      {good + short_pair + good, 1, 2, {"byte 18: " + rejected}},
      {good + good.substr(0, 17), 1, 1, {"byte 18: the last sample is cut short\n"}},
      {good + good.substr(0, 7), 1, 1, {"byte 18: the last sample is cut short\n"}},
      {good + std::string(7, '\xFF') + good, 1, 1, {"byte 18: the sample header gives "}},
      // No row is not damage: an empty message, one of three words, a length byte other than 4.
      {good + sample(5, {}) + sample(5, {1, 2, 3}) + good, 0, 2, {}},
  };
  for (const auto& c : cases) {
    const ToolResult result = decode(
        {"-", "--input", "samples", "--format", "jsonl", "--columns", "Bytes", "--stats"}, c.bytes);
    EXPECT_EQ(result.status, c.status) << result.err;
    EXPECT_EQ(lines_of(result.out).size(), c.rows) << result.err;
    EXPECT_EQ(statistics(result.err)["bytes"], c.bytes.size());
    EXPECT_EQ(result.err.find("qbt2: ") != std::string::npos, !c.lines.empty()) << result.err;
    for (const std::string& line : c.lines) {
      EXPECT_THAT(result.err, HasSubstr("qbt2: standard input: " + line));
    }
  }
}

TEST_F(DecodeDiagnostics, ShowsTwentyLinesOfADiagnosticAndCountsTheRest) {
  std::string short_pair = sample(7, {1});
  short_pair[4] = 7;
  short_pair += std::string(2, '\x04');
  std::string bytes;
  for (int i = 0; i < 9'000; ++i) bytes += short_pair;  // more than one piece of reading
  const ToolResult result = decode({"-", "--input", "samples", "--format", "none"}, bytes);
  EXPECT_EQ(result.status, 1);
  const auto lines = lines_of(result.err);
  ASSERT_EQ(lines.size(), 21U) << result.err;
  EXPECT_THAT(lines[19], HasSubstr("byte 285: "));  // 15 bytes each
  EXPECT_EQ(lines[20], "qbt2: 8980 more lines about rejected samples are not shown");
}

TEST_F(DecodeDiagnostics, SeveralSourcesNeedAChoice) {
  const std::string path =
      generate("capture", {"--input", "frames", "--other-sources", "2", "--messages", "2000"});
  const ToolResult open = decode({path, "-o", at("rows")});
  EXPECT_EQ(open.status, 2);
  EXPECT_THAT(open.err,
              HasSubstr("several trace sources: 0x01, 0x02, 0x10; choose one with --atb-id"));
  EXPECT_FALSE(std::filesystem::exists(at("rows")));
  const ToolResult chosen = decode({path, "--atb-id", "16", "--format", "csv"});
  EXPECT_EQ(chosen.status, 0);
  EXPECT_EQ(lines_of(chosen.out).size(), 2001U);
  // The generator's settings name the source; --atb-id goes before them.
  EXPECT_EQ(lines_of(decode({path, "--config", path + ".cfg", "--format", "csv"}).out).size(),
            2001U);
  const ToolResult absent =
      decode({path, "--config", path + ".cfg", "--atb-id", "0x33", "--format", "jsonl"});
  EXPECT_EQ(absent.status, 1);
  EXPECT_EQ(absent.out, "");
  EXPECT_THAT(
      absent.err,
      HasSubstr("the frames contain no data of source 0x33; sources present: 0x01, 0x02, 0x10"));
}

// ---- what ends a run ----

TEST_F(DecodeDiagnostics, AnInputIsNeverReplaced) {
  const std::string capture = small_capture();
  const std::string before = get("small.stp");
  const std::string config = put("soc.cfg", "A=1\n");
  ::link(capture.c_str(), at("hard").c_str());
  ::symlink("small.stp", at("soft").c_str());
  for (const std::string& output : {capture, at("hard"), at("soft"), at("./small.stp"), config}) {
    const ToolResult result = decode({capture, "--config", config, "-o", output});
    EXPECT_EQ(result.status, 2) << output;
    EXPECT_EQ(result.err,
              "qbt2: " + output + ": is also read in this run; choose another output\n");
  }
  EXPECT_EQ(run_in_shell("$QBT2 decode - < " + capture + " >> " + capture).status, 2);
  EXPECT_EQ(get("small.stp"), before);
  EXPECT_EQ(get("soc.cfg"), "A=1\n");
}

TEST_F(DecodeDiagnostics, AClosedPipeEndsTheRunQuietly) {
  const std::string path = generate("capture", {"--messages", "100k"});
  for (const char* threads : {"1", "4"}) {
    ToolRun run;
    run.arguments = {"decode", path,        "--format", "csv",      "--threads",
                     threads,  "--framing", "flag",     "--config", path + ".cfg"};
    run.close_output_after = 1;
    const ToolResult result = run_tool(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, StartsWith("offset,"));
  }
  ToolRun columns;
  columns.arguments = {"columns"};
  columns.close_output_after = 0;
  EXPECT_EQ(run_tool(columns).status, 0);
}

TEST_F(DecodeDiagnostics, ClosedStreams) {
  const std::string good = small_capture();
  const struct {
    std::string command;
    int status;
    std::string rows;
  } cases[] = {
      {"$QBT2 decode " + good + " >&-", 2, ""},
      {"$QBT2 columns >&-", 2, ""},
      {"$QBT2 decode - <&-", 2, ""},
      // What goes to the missing standard error must not end up in the file that got its number.
      {"$QBT2 generate -o " + at("made") +
           " --messages 10 2>&- && $QBT2 decode --framing flag --format jsonl "
           "--columns offset --limit 1 " +
           at("made") + " 2>&-",
       0, "{\"offset\":30}\n"},
  };
  for (const auto& c : cases) {
    const ToolResult result = run_in_shell(c.command);
    EXPECT_EQ(result.status, c.status) << c.command;
    EXPECT_EQ(result.out, c.rows) << c.command;
  }
}

// ---- hostile surroundings ----

TEST_F(DecodeDiagnostics, APlugInThatMisbehavesIsNamed) {
  const std::string capture = small_capture();
  const std::string plugin = QBT2_HOSTILE_PLUGIN;
  const auto run = [&](const std::string& how, std::vector<std::string> arguments) {
    ToolRun hostile;
    hostile.environment = {"QBT2_TEST_MISBEHAVIOUR=" + how};
    hostile.arguments = std::move(arguments);
    hostile.arguments.insert(hostile.arguments.end(), {"--plugin", plugin});
    return run_tool(hostile);
  };
  const std::size_t files_before = files();
  for (const char* place : {"CreateDecoderUnit", "InitColumn", "ProcessSamples"}) {
    for (const char* what : {"throws", "exits"}) {
      for (const char* threads : {"1", "2"}) {
        const std::string how = std::string(place) + " " + what;
        const ToolResult result =
            run(how, {"decode", capture, "-o", at("rows"), "--threads", threads});
        EXPECT_EQ(result.status, 2) << how << result.err;
        EXPECT_THAT(result.err, HasSubstr("qbt2: " + plugin + ": the decoder plug-in ")) << how;
        EXPECT_EQ(files(), files_before) << how;
      }
    }
  }
  EXPECT_EQ(run("InitColumn exits", {"columns"}).status, 2);
  const ToolResult prints = run("prints", {"decode", capture, "--format", "csv"});
  EXPECT_EQ(prints.status, 0) << prints.err;
  EXPECT_EQ(prints.out, decode({capture, "--format", "csv"}).out);
  EXPECT_THAT(prints.err, HasSubstr("a plug-in's own words"));
  ::mkfifo(at("pipe.so").c_str(), 0600);
  const ToolResult pipe = decode({capture, "--plugin", at("pipe.so")});
  EXPECT_EQ(pipe.status, 2);
  EXPECT_THAT(pipe.err, HasSubstr("/pipe.so: is not a decoder plug-in"));
}

TEST_F(DecodeDiagnostics, ASignalEndsTheRunAndLeavesNoFile) {
  const std::string pipe = at("pipe");
  ::mkfifo(pipe.c_str(), 0600);
  const std::string writer = "(cat " + small_capture() + "; sleep 3) > " + pipe + " & ";
  const std::size_t files_before = files();
  const struct {
    const char* name;
    int number;
  } cases[] = {{"INT", SIGINT}, {"TERM", SIGTERM}, {"HUP", SIGHUP}};
  for (const auto& c : cases) {
    const ToolResult result =
        run_in_shell(writer + "timeout -s " + c.name + " --preserve-status 0.7 $QBT2 decode " +
                     "--input stp " + pipe + " -o " + at("rows") + "; s=$?; kill $!; exit $s");
    EXPECT_EQ(result.status, 128 + c.number) << c.name;
    EXPECT_EQ(files(), files_before) << c.name;
  }
}

TEST_F(DecodeDiagnostics, LimitsOfTheSystemAreErrorsOrWorkedAround) {
  const std::string path = generate("capture", {"--messages", "3000"});
  const std::size_t files_before = files();
  const ToolResult result = run_in_shell("ulimit -f 8; $QBT2 decode " + path + " --format csv -o " +
                                         at("rows") + " 2>" + at("err"));
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(get("err"), HasSubstr("qbt2: " + at("rows") + ": File too large\n"));
  EXPECT_EQ(files(), files_before + 1);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // they need address space
  // The stacks of more threads do not fit into the address space.
  EXPECT_EQ(run_in_shell("ulimit -s 4000000; ulimit -v 3000000; $QBT2 decode " + path +
                         " --threads 4 --format csv")
                .out,
            decode({path, "--format", "csv"}).out);
#endif
}

TEST_F(DecodeDiagnostics, ControlCharactersOfAFileAreShownAndNotSent) {
  const std::string evil =
      "\033]0;owned\a\xC2\x9B"
      "31m\x7F";
  const std::string path = at("x" + evil + ".stp");
  EXPECT_THAT(decode({path}).err, AllOf(HasSubstr("owned"), HasSubstr("cannot open")));
  put("bad.json", "{\"" + evil);
  const std::string good = small_capture();
  std::string settings = "QBT2_5=" + evil + ";1;x;0;0;0;0;0;0;0;0;0;0;0;0\nQBT2_" + evil + "=1\n";
  for (const ToolResult& result :
       {decode({path}), decode({good, "--config", put("c" + evil + ".cfg", settings)}),
        decode({good, "--device", at("bad.json")}), decode({good, "--columns", evil}),
        decode({good, "--" + evil}), decode({good, "--format", evil}),
        decode({good, "--plugin", path})}) {
    EXPECT_NE(result.err, "");
    for (const char c : result.err + result.out) {
      EXPECT_FALSE((c >= 0 && c < 0x20 && c != '\n') || c == 0x7F) << result.err;
    }
    EXPECT_EQ((result.err + result.out).find("\xC2\x9B"), std::string::npos) << result.err;
  }
}

// ---- terminals ----

/// Not every container has pseudo-terminals.
bool has_terminals() {
  int ends[2] = {-1, -1};
  if (::openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) != 0) return false;
  for (const int end : ends) ::close(end);
  return true;
}

struct TerminalResult {
  int status = -1;
  std::string text;
};

/// The program with a terminal of so many columns as all its streams; rows go to `output` if given.
TerminalResult run_on_terminal(unsigned short columns, std::vector<std::string> arguments,
                               const char* output = nullptr) {
  winsize size{40, columns, 0, 0};
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
  if (child < 0) return {};
  if (child == 0) {
    if (output != nullptr) {
      const int file = ::open(output, O_WRONLY | O_CREAT | O_TRUNC, 0600);
      ::dup2(file, STDOUT_FILENO);
    }
    arguments.insert(arguments.begin(), QBT2_TOOL_PATH);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    ::execv(QBT2_TOOL_PATH, pointers.data());
    ::_exit(127);
  }
  TerminalResult result;
  std::array<char, 4096> piece;
  for (ssize_t got = 0; (got = ::read(terminal, piece.data(), piece.size())) > 0;) {
    result.text.append(piece.data(), static_cast<std::size_t>(got));
  }
  ::close(terminal);
  int status = 0;
  ::waitpid(child, &status, 0);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
  return result;
}

std::size_t characters(const std::string& line) {
  return static_cast<std::size_t>(
      std::count_if(line.begin(), line.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

TEST_F(DecodeDiagnostics, TheTableFitsTheTerminal) {
  if (!has_terminals()) GTEST_SKIP() << "no pseudo-terminals here";
  const std::string path = generate("capture", {"--messages", "500"});
  for (const std::uint16_t columns : std::initializer_list<std::uint16_t>{60, 80, 120, 200}) {
    const TerminalResult result =
        run_on_terminal(columns, {"decode", path, "--config", path + ".cfg"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.text, Not(HasSubstr("\033")));  // no bar among rows
    std::vector<std::string> lines = lines_of(result.text);
    ASSERT_EQ(lines.size(), 504U) << columns;
    EXPECT_THAT(lines.front(), HasSubstr("framing flag"));
    lines.erase(lines.begin());
    for (std::string& line : lines) {
      line.pop_back();  // the terminal's CR
      ASSERT_LE(characters(line), columns) << line;
    }
    EXPECT_EQ(characters(lines[2]), columns) << lines[2];  // the rule takes the whole width
  }
}

TEST_F(DecodeDiagnostics, TheTableShowsWhatMattersFirstAtEveryWidth) {
  if (!has_terminals()) GTEST_SKIP() << "no pseudo-terminals here";
  const std::string capture = put("each.stp", stp(std::string(kSync) + kFreq + kMessages));
  const std::string settings = put("soc.cfg",
                                   "QBT2_5=DISPLAY_CONTROLLER_0;1;0x1000;0;0;0;0;0;0;0;0;0;0;0;0\n"
                                   "QBT2_131=GPU;1;0x1000;0;0;0;0;0;0;0;0;0;0;0;0\n");
  const struct {
    std::uint16_t columns;
    const char* table;
  } cases[] = {
      {60,
       "sampling window: 4096 clock cycles (0x1000)\n"
       "        time  master        values\n"
       "------------  ------------  --------------------------------\n"
       "    0.080 us  DISPLA…LER_0  Bytes=100 Matched_=25 …\n"
       "    0.080 us  GPU           MaxWait=9 TotalWait=777 …\n"
       "    0.155 us  DISPLA…LER_0  0x123456789abc ByteCount=341 …\n"},
      {80,
       "sampling window: 4096 clock cycles (0x1000)\n"
       "           time  master            values\n"
       "---------------  ----------------  ---------------------------------------------\n"
       "       0.080 us  DISPLAY_…OLLER_0  Bytes=100 Matched_=25 AvgLength=4 …\n"
       "       0.080 us  GPU               MaxWait=9 TotalWait=777 Tracked=11259154 …\n"
       "       0.155 us  DISPLAY_…OLLER_0  0x123456789abc ByteCount=341 DIR_=0 …\n"},
      {120,
       "sampling window: 4096 clock cycles (0x1000)\n"
       "              time  master                       address  values\n"
       "------------------  --------------------  --------------  "
       "--------------------------------------------------------------\n"
       "          0.080 us  DISPLAY_CONTROLLER_0                  "
       "Bytes=100 Matched_=25 AvgLength=4 RawQBT2_0=100 …\n"
       "          0.080 us  GPU                                   "
       "MaxWait=9 TotalWait=777 Tracked=11259154 CreditWait=66 …\n"
       "          0.155 us  DISPLAY_CONTROLLER_0  0x123456789abc  "
       "ByteCount=341 DIR_=0 OPCODE_=21 RouteID=2748 CHANNELID=291 …\n"},
      {200,
       "sampling window: 4096 clock cycles (0x1000)\n"
       "              time  master                kind                address        offset  "
       "values\n"
       "------------------  --------------------  -----------  --------------  ------------  "
       "------------------------------------------------------------"
       "-------------------------------------------------------\n"
       "          0.080 us  DISPLAY_CONTROLLER_0  throughput                             20  "
       "Bytes=100 Matched_=25 AvgLength=4 RawQBT2_0=100 RawQBT2_1=2868903961\n"
       "          0.080 us  GPU                   latency                                32  "
       "MaxWait=9 TotalWait=777 Tracked=11259154 CreditWait=66 Matched=3430008 "
       "RawQBT2_0=305419896 RawQBT2_1=633805 …\n"
       "          0.155 us  DISPLAY_CONTROLLER_0  transaction  0x123456789abc            54  "
       "ByteCount=341 DIR_=0 OPCODE_=21 RouteID=2748 CHANNELID=291 Priority_=5 QOS_=6 SECURE_=1 "
       "Mode_=2 EXCL_=1 LSIZE_=3 …\n"},
  };
  for (const auto& c : cases) {
    std::string text = run_on_terminal(c.columns, {"decode", capture, "--config", settings}).text;
    std::erase(text, '\r');
    EXPECT_THAT(text, HasSubstr(c.table)) << c.columns;
  }
  const std::string samples = put("each.smp", sample(5, {0x64, 0xAB000019}));
  EXPECT_THAT(run_on_terminal(60, {"decode", samples, "--config", settings}).text,
              HasSubstr("master        values\r\n"
                        "------------  ----------------------------------------------\r\n"
                        "DISPLA…LER_0  Bytes=100 Matched_=25 AvgLength=4 "));
  const std::string unnamed = run_on_terminal(60, {"decode", capture}).text;
  EXPECT_THAT(unnamed, HasSubstr("    0.080 us  probe 5       Bytes=100 Matched_=25 …"));
  EXPECT_THAT(unnamed, HasSubstr("    0.155 us  master 261    0x123456789abc ByteCount=341 …"));
}

TEST_F(DecodeDiagnostics, RowsOnATerminalCannotActOnIt) {
  if (!has_terminals()) GTEST_SKIP() << "no pseudo-terminals here";
  const std::string settings = put("soc.tdf", "TDF2" + section("STMDECODERINFO", 1,
                                                               "QBT2_5=a\x1B[31m\xC2\x9B\x7F"
                                                               "b;1;1;0;0;0;0;0;0;0;0;0;0;0;0\n"));
  for (const char* format : {"table", "csv", "jsonl"}) {
    const TerminalResult result =
        run_on_terminal(200, {"decode", small_capture(), "--config", settings, "--format", format,
                              "--columns", "master"});
    EXPECT_EQ(result.status, 0) << result.text;
    EXPECT_EQ(result.text.find('\033'), std::string::npos) << format;
    EXPECT_EQ(result.text.find('\x7F'), std::string::npos) << format;
    EXPECT_EQ(result.text.find("\xC2\x9B"), std::string::npos) << format;
    EXPECT_THAT(result.text, HasSubstr("b")) << format;
  }
}

/// A named pipe that delivers a capture in two halves with a pause between them, once: long
/// enough for a progress bar to be drawn after it.
class PausingPipe {
 public:
  PausingPipe(const std::string& path, const std::string& bytes) : path_(path) {
    ::mkfifo(path.c_str(), 0600);
    feeder_ = std::thread([path, bytes] {
      std::ofstream pipe(path, std::ios::binary);
      const auto half = static_cast<std::streamsize>(bytes.size() / 2);
      pipe.write(bytes.data(), half).flush();
      std::this_thread::sleep_for(std::chrono::milliseconds(250));
      pipe.write(bytes.data() + half, static_cast<std::streamsize>(bytes.size()) - half);
    });
  }
  ~PausingPipe() {
    feeder_.join();
    ::unlink(path_.c_str());
  }
  PausingPipe(const PausingPipe&) = delete;
  PausingPipe& operator=(const PausingPipe&) = delete;

 private:
  std::string path_;
  std::thread feeder_;
};

TEST_F(DecodeDiagnostics, TheProgressBarIsDrawnOnlyWhereItIsWanted) {
  if (!has_terminals()) GTEST_SKIP() << "no pseudo-terminals here";
  generate("capture", {"--messages", "2000"});
  const std::string bytes = get("capture");
  const std::string pipe = at("pipe");
  const struct {
    const char* word;
    bool rows_on_terminal;
    const char* no_color;
    bool expected;
  } cases[] = {
      {"auto", false, nullptr, true}, {"auto", false, "1", false},      {"auto", false, "", true},
      {"auto", true, nullptr, false}, {"never", false, nullptr, false}, {"always", true, "1", true},
  };
  for (const auto& c : cases) {
    const PausingPipe feeding(pipe, bytes);
    if (c.no_color != nullptr) ::setenv("NO_COLOR", c.no_color, 1);
    const TerminalResult result = run_on_terminal(
        80, {"decode", pipe, "--input", "stp", "--format", "csv", "--progress", c.word},
        c.rows_on_terminal ? nullptr : "/dev/null");
    ::unsetenv("NO_COLOR");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.text.find(" MB/s") != std::string::npos, c.expected) << c.word;
    EXPECT_EQ(result.text.find('\033') != std::string::npos, c.expected) << c.word;
    if (!c.expected) continue;
    EXPECT_EQ(result.text.find(" MB/s\n"), std::string::npos);
    const std::string end = "\r\033[K";  // the bar is wiped before a row and at the end
    for (std::size_t at = result.text.find(" MB/s"); at != std::string::npos;
         at = result.text.find(" MB/s", at + 1)) {
      EXPECT_EQ(result.text.substr(at + 5, end.size()), end);
    }
  }
  const PausingPipe feeding(pipe, bytes);
  const ToolResult elsewhere = decode({pipe, "--input", "stp", "--format", "csv"});
  EXPECT_EQ(elsewhere.err.find('\r'), std::string::npos) << elsewhere.err;
}

TEST(ColumnsCommand, ListsTheLeadingFieldsAndTheCatalogue) {
  const auto table = lines_of(run_tool({"columns"}).out);
  ASSERT_EQ(table.size(), 63U);  // 3 + 11 fields, 4 + 45 columns
  EXPECT_THAT(table[8], testing::StartsWith("stp_master   number  STP master in full"));
  EXPECT_THAT(table[23],
              AllOf(HasSubstr(" 5  MaxWait"), HasSubstr("Max Wait"), HasSubstr(" 16  ")));
  const auto objects = lines_of(run_tool({"columns", "--format", "jsonl"}).out);
  ASSERT_EQ(objects.size(), 56U);
  EXPECT_THAT(objects[6], testing::StartsWith(
                              R"({"field":6,"key":"master","type":"text","description":"name)"));
  EXPECT_EQ(
      objects[15],
      R"({"column":4,"key":"Matched","name":"Matched Transactions","bits":32,)"
      R"("description":"Total number of matched transactions recorded per sampling window."})");
  EXPECT_EQ(run_tool({"columns", "--plugin", "libm.so.6"}).status, 2);
}

}  // namespace
}  // namespace qbt2::test
