// Typical mistakes at the command line: what the program says, and that nothing is left behind.
#include <cstring>

#include "tests/tools/tool_test.h"

namespace qbt2::test {
namespace {

using testing::HasSubstr;
using testing::Not;

/// One mistake. All mistakes: every line on standard error begins with "qbt2: "; with status 2
/// there is only one line, nothing on standard output, and no file appears or goes.
struct Mistake {
  const char* arguments;               ///< separated by blanks; '' is an empty one, < a file's name
  int status;                          ///< exit status
  std::vector<std::string> words;      ///< must be on standard error
  std::vector<std::string> not_words;  ///< must not be there
};

/// The files that the mistakes are made with.
struct NamedFile {
  const char* name;
  std::string bytes;
};

/// Bytes that give the frame demultiplexer a new source in every frame.
std::string many_ids() {
  std::string bytes;
  for (int id = 1; id < 0x60; ++id)
    bytes += static_cast<char>(2 * id + 1) + std::string(15, '\x02');
  return bytes;
}

std::vector<NamedFile> files_at_hand() {
  const std::string words = "FFFFFFFFFFFFFFFFFFFFF0 F003 105 6 00000064 6 00000019";
  return {
      {"small.stp", stp(words + "FE")},
      {"words.stp", stp(words)},  // no message ends
      // The last word of a message is marked; the last message is cut by the end.
      {"marks.stp", stp("FFFFFFFFFFFFFFFFFFFFF0 F003 105 6 00000064 FA 00000019 6 00000064 "
                        "FA 00000019 6 00000064")},
      {"timed.stp", stp(words + "E 2 64")},
      {"bytes.stp", stp("FFFFFFFFFFFFFFFFFFFFF0 F003 105 4 64 4 19 FE")},
      {"shared.stp", stp(words + "FE F1 0105 6 00000064 6 00000019 FE")},
      {"small.cfg",
       "QBT2_6=DMA;1;4096;0;0;0;0;0;0;0;0;0;0;0;0\nQBT2_7=ISP;1;16;0;0;0;0;0;0;0;0;0;0;0;0\n"},
      {"names.cfg",
       "QBT2_5=6;1;16;0;0;0;0;0;0;0;0;0;0;0;0\nQBT2_261=1-9;1;16;0;0;0;0;0;0;0;0;0;0;0;0\n"},
      {"odd.cfg", "QBT2_5=DMA;1;2d00;0;0;0;0;0;0;0;0;0;0;0;0\nSTM_DTC_fprocess_clock_hz=1000\n"},
      {"empty", ""},
      {"padding.frames", std::string(32, '\0')},
      {"ones", std::string(40, '\x11')},
      {"text", "This is no capture, whatever its name says.\n"},
      {"bad.tdf", "TDF2\x01"},
      {"soc.cfg", "# an SoC\nATBID=1\n"},
      {"soc.gz", "\x1F\x8B\x08\x01\x02\x03"},
      {"soc.xz", std::string("\xFD"
                             "7zXZ\0\0",
                             7)},
      {"soc.gz.frames", many_ids()},
      {"rows.csv", "offset,timestamp\n20,16\n"},
      {"rows.jsonl", "{\"offset\":20}\n"},
      {"bad.json", "{"},
  };
}

const Mistake kMistakes[] = {
    // ---- inputs ----
    {"decode missing", 2, {"missing: cannot open: No such file or directory"}, {}},
    {"decode small.stp missing", 2, {"missing: cannot open: No such file"}, {}},
    {"decode .", 2, {"qbt2: .: is a directory"}, {}},
    {"decode text", 2, {"text: byte 0: not recognised as a capture: looks like text"}, {}},
    {"decode soc.gz", 2, {"looks like gzip data; unpack it: gzip -dc FILE | qbt2 decode -"}, {}},
    {"decode bytes.stp", 0, {"no D32 or D64 packet, so there are no rows (", "ignored: 2)"}, {}},
    {"decode --input stp soc.gz", 1, {"looks like gzip data", "no ASYNC"}, {}},
    {"decode soc.xz", 2, {"looks like xz data; unpack it: xz -dc FILE"}, {}},
    {"decode soc.cfg", 2, {"looks like settings; settings are given with --config"}, {}},
    {"decode bad.tdf", 2, {"looks like a trace data file; settings are given with --config"}, {}},
    {"decode rows.csv", 2, {"looks like rows that have been decoded (CSV)"}, {}},
    {"decode rows.jsonl", 2, {"looks like rows that have been decoded (JSON lines)"}, {}},
    {"decode --input frames soc.gz.frames", 2, {"does not look like formatter frames: "}, {"0x0"}},
    {"info soc.gz", 1, {"looks like gzip data"}, {}},
    {"info rows.csv", 1, {"looks like rows that have been decoded"}, {}},
    {"decode small.stp text -o rows", 2, {"text: byte 0: not recognised"}, {}},
    {"decode - -", 2, {"standard input (-) can be read only once"}, {}},
    {"decode empty", 1, {"empty: is empty"}, {}},
    {"decode --input frames - < empty", 1, {"standard input: is empty"}, {}},
    {"decode --input samples empty", 1, {"empty: is empty"}, {}},
    {"decode --input stp ones", 1, {"ones: contains no ASYNC packet"}, {}},
    {"decode --input frames padding.frames", 1, {"the frames contain no trace source"}, {}},
    {"decode --input frames --atb-id 9 padding.frames", 1, {"no data of source 0x09"}, {}},
    {"decode words.stp", 1, {"2 words, but no complete message of", "in any framing"}, {"flag"}},
    {"decode --framing flag --config small.cfg marks.stp",
     1,
     {"--framing flag finds no message", "auto would choose marker-last (100.0 % of 2 messages"},
     {"traffic"}},
    {"decode --framing marker-last marks.stp", 0, {}, {"would choose"}},
    {"info missing", 2, {"missing: cannot open"}, {}},
    {"info .", 2, {"is a directory"}, {}},
    {"info soc.cfg --config small.cfg", 0, {"--config has no effect", "this is settings"}, {}},
    {"info small.stp --config text", 2, {"qbt2: text: "}, {}},
    {"info - < bad.tdf", 2, {"standard input: is a trace data file", "found by seeking"}, {}},
    {"tdf list missing.tdf", 2, {"missing.tdf: "}, {}},
    {"tdf show /dev/null", 2, {"/dev/null: "}, {}},
    {"tdf verify missing.tdf", 2, {"missing.tdf: "}, {}},

    // ---- settings, device descriptions, plug-ins ----
    {"decode small.stp --config missing", 2, {"missing: cannot open: No such file"}, {}},
    {"decode small.stp --config .", 2, {"qbt2: .: is a directory"}, {}},
    {"decode small.stp --config small.stp", 2, {"not settings: looks like a capture (stp)"}, {}},
    {"decode small.stp --config soc.gz", 2, {"not settings: looks like gzip data"}, {"decode -"}},
    {"decode small.stp --device soc.cfg", 2, {"looks like settings; settings are given with"}, {}},
    {"decode small.stp --device small.stp", 2, {"not a device description: looks like a"}, {}},
    {"decode small.stp --plugin text", 2, {"this folder is ./text"}, {}},
    {"decode small.stp --config bad.tdf", 2, {"bad.tdf: no settings: "}, {}},
    {"decode small.stp --config /dev/null", 2, {"settings are read from a regular file"}, {}},
    {"decode small.stp --device missing", 2, {"missing: "}, {}},
    {"decode small.stp --device bad.json", 2, {"bad.json: byte "}, {}},
    {"decode small.stp --plugin none.so", 2, {"none.so: cannot load the decoder"}, {}},
    {"decode small.stp --plugin ./text",
     2,
     {"./text: is not a decoder plug-in, not even a shared library"},
     {}},
    {"decode small.stp --plugin libm.so.6", 2, {"libm.so.6: is not a decoder plug-in"}, {}},
    {"columns --plugin libm.so.6", 2, {"libm.so.6: is not a decoder plug-in"}, {}},

    // Before any row is decoded, so that a limit does not hide them; the masters' traffic is not
    // judged then.
    {"decode small.stp --limit 1 --config odd.cfg",
     0,
     {"odd.cfg: QBT2_5: field 2 ('2d00') is read as 2;"},
     {"traffic"}},
    {"decode small.stp --config small.cfg",
     0,
     {"small.cfg: masters 6-7 have settings but no traffic",
      "master 5 has traffic but no settings"},
     {"Unknown; name"}},
    {"decode shared.stp --config odd.cfg --limit 9",
     0,
     {"rows of masters 5, 261 carry the name of master 5 (DMA)", "stp_master tells them apart"},
     {"261 has traffic"}},
    {"decode small.stp", 0, {"small.stp: no settings", "with --config small.cfg, which lies"}, {}},
    {"decode timed.stp --columns time_ns",
     0,
     {"no FREQ packet gives the rate of the timestamps", "--clock-hz"},
     {"settings"}},
    {"decode timed.stp --config odd.cfg", 0, {"have STM_DTC_fprocess_clock_hz=1000,"}, {}},
    {"decode timed.stp --clock-hz 9", 0, {}, {"FREQ"}},

    // ---- masters ----
    {"decode small.stp --master 7", 1, {"--master: 7: no traffic in any", "of master 5"}, {}},
    {"decode small.stp --master 7 --master 0x5", 1, {"--master: 7: no traffic"}, {}},
    {"decode small.stp --master 7,0x5", 0, {}, {"no traffic"}},
    {"decode small.stp --master 4-31", 0, {}, {"no traffic"}},
    {"decode small.stp --master 16-31", 1, {"--master: 16-31: no traffic"}, {}},
    {"decode small.stp --master 7-5", 2, {"--master: the range 7-5 ends before it begins"}, {}},
    {"decode small.stp --master 5,", 2, {"--master: empty part in the list '5,'"}, {}},
    {"decode small.stp --master DMA", 2, {"'DMA' is not an id", "names need --config"}, {}},
    {"decode small.stp --master DNA --config small.cfg", 2, {"'DNA'; the nearest is 'DMA'"}, {}},
    {"decode small.stp --master DMA --config small.cfg", 1, {"--master: DMA: no traffic"}, {}},
    {"decode shared.stp --master DMA --config odd.cfg", 0, {"odd.cfg"}, {"no traffic"}},
    // An exact name goes first: 6 and 1-9 are names here, of masters 5 and 261.
    {"decode shared.stp --master 6 --master 1-9 --config names.cfg", 0, {}, {"no traffic"}},

    // ---- outputs ----
    {"decode small.stp --framing flag --columns offset -o /dev/full",
     2,
     {"/dev/full: No space left on device"},
     {}},
    {"decode small.stp -o missing/rows",
     2,
     {"missing/rows: the folder missing does not exist"},
     {}},
    {"generate -o missing/x", 2, {"the folder missing does not exist"}, {}},
    {"tdf create missing/x.tdf", 2, {"the folder missing does not exist"}, {}},
    {"decode small.stp -o loop", 2, {"loop: Too many levels of symbolic links"}, {"unexp"}},
    {"decode loop", 2, {"loop: cannot open: Too many levels"}, {}},
    {"decode small.stp --config loop", 2, {"loop: cannot open: Too many levels"}, {}},
    {"tdf create loop/x.tdf", 2, {"Too many levels of symbolic links"}, {"unexp"}},
    {"decode small.stp -o .", 2, {"qbt2: .: Is a directory"}, {}},
    {"decode small.stp -o text/rows", 2, {"text/rows: Not a directory"}, {}},

    // ---- options that contradict each other ----
    {"decode small.stp --input stp --atb-id 1", 2, {"--atb-id goes with --input frames"}, {}},
    {"decode small.stp --input samples --framing flag", 2, {"--framing goes with STP"}, {}},
    {"decode small.stp --input samples --clock-hz 1", 2, {"--clock-hz goes with STP"}, {}},
    {"decode small.stp --format none -o rows", 2, {"-o contradicts --format none"}, {}},
    {"decode small.stp --format none --columns Bytes", 2, {"--columns contradicts"}, {}},
    {"decode small.stp --format none --hex", 2, {"--hex contradicts"}, {}},
    {"decode small.stp --csv-safe -o rows.csv.old",
     2,
     {"--csv-safe goes with --format csv, not"},
     {}},

    // ---- names of columns ----
    {"decode small.stp --columns Byts", 2, {"column 'Byts'", "nearest is 'Bytes'"}, {}},
    {"decode small.stp --columns Bytes,", 2, {"empty name in the list of columns"}, {}},
    {"decode small.stp --columns Bytes,bytes", 2, {"'Bytes' is named twice"}, {}},

    // ---- numbers ----
    {"decode small.stp --limit ten", 2, {"--limit: 'ten' is not a number (decimal or"}, {}},
    {"decode small.stp --limit -1", 2, {"--limit: '-1' is not a number"}, {}},
    {"decode small.stp --limit 0x", 2, {"--limit: '0x' is not a number"}, {}},
    {"decode small.stp --limit 10q", 2, {"--limit: '10q' is not a number", "k, M, G"}, {}},
    {"decode small.stp --limit 18446744073709551616", 2, {"is too large (at most 1844"}, {}},
    {"decode small.stp --limit 18446744073709552k", 2, {"'18446744073709552k' is too large"}, {}},
    {"decode small.stp --limit 0x2k --framing flag --columns offset", 0, {}, {"qbt2"}},
    {"decode small.stp --clock-hz 200M --framing flag --columns offset", 0, {}, {"qbt2"}},
    {"decode small.stp --master 0x10000", 2, {"--master: ", "0x10000"}, {}},
    {"decode small.stp --atb-id 0x70", 2, {"--atb-id: '0x70' is too large (at most 111)"}, {}},
    {"decode small.stp --atb-id 0", 2, {"--atb-id: 0 is the null trace ID"}, {}},
    {"decode small.stp --clock-hz 0", 2, {"--clock-hz: '0' is too small (at least 1)"}, {}},
    {"decode small.stp --threads 0", 2, {"--threads: '0' is too small (at least 1)"}, {}},
    {"decode small.stp --threads 257", 2, {"--threads: '257' is too large (at most 256)"}, {}},
    {"generate -o x --damage 1M1", 2, {"--damage: '1M1' is not a number"}, {}},

    // ---- words that the program does not know ----
    {"", 2, {"no command given; the commands are decode, columns"}, {}},
    {"decod small.stp", 2, {"unknown command 'decod'; the nearest is 'decode'"}, {}},
    {"help", 2, {"unknown command 'help'; the commands are decode, "}, {"nearest"}},
    {"tdf", 2, {"no command given; the commands are list, show"}, {}},
    {"tdf lst x.tdf", 2, {"unknown command 'lst'; the nearest is 'list'"}, {}},
    {"decode small.stp --colums=kind", 2, {"option '--colums'; the nearest is '--columns'"}, {}},
    {"decode small.stp -limit 3", 2, {"option '-limit'; the nearest is '--limit'"}, {}},
    {"decode small.stp --nonsense", 2, {"'--nonsense'; see qbt2 decode --help"}, {"nearest"}},
    {"generate --outptu x", 2, {"'--outptu'; the nearest is '--output'"}, {"missing"}},
    {"--limit 3 decode small.stp", 2, {"the option --limit goes after 'qbt2 decode'"}, {}},
    {"info small.stp text", 2, {"unexpected argument 'text'; see qbt2 info --help"}, {}},
    {"decode", 2, {"CAPTURE is missing; see qbt2 decode --help"}, {}},
    {"decode small.stp --input wav", 2, {"--input: 'wav' is not one of auto, samples"}, {"near"}},
    {"decode small.stp --format csb", 2, {"--format: 'csb' is not", "nearest is 'csv'"}, {}},
    {"generate -o", 2, {"--output: needs a value"}, {}},
    {"decode small.stp --config --limit 3", 2, {"--config: needs a value before --limit"}, {}},
    {"decode small.stp --limit 1 --limit 2", 2, {"--limit: is given more than once"}, {}},
    {"decode small.stp --stats=maybe", 2, {"--stats: takes no value"}, {}},
    {"decode small.stp --columns ''", 2, {"--columns: empty value"}, {}},
    {"decode small.stp --config ''", 2, {"--config: empty value"}, {}},
    {"decode small.stp --plugin ''", 2, {"--plugin: empty value"}, {}},
    {"generate -o ''", 2, {"--output: empty value"}, {}},
    {"decode ''", 2, {"CAPTURE: empty value"}, {}},
};

class Mistakes : public ToolTest {
 protected:
  ToolResult run(const char* line, const std::string& output = {}) const {
    ToolRun run;
    run.folder = folder_;
    run.output = output;
    std::istringstream words(line);
    for (std::string word; words >> word;) {
      if (word == "<" && words >> word) {
        run.input = get(word);
      } else {
        run.arguments.push_back(word == "''" ? "" : word);
      }
    }
    return run_tool(run);
  }
};

TEST_F(Mistakes, AreExplainedInOneLine) {
  for (const NamedFile& file : files_at_hand()) put(file.name, file.bytes);
  std::filesystem::create_symlink("loop", at("loop"));
  const std::set<std::string> files_before = names();
  for (const Mistake& mistake : kMistakes) {
    SCOPED_TRACE(std::string("qbt2 ") + mistake.arguments);
    const ToolResult result = run(mistake.arguments);
    EXPECT_EQ(result.status, mistake.status) << result.err;
    for (const std::string& line : lines_of(result.err)) EXPECT_EQ(line.substr(0, 6), "qbt2: ");
    for (const std::string& text : mistake.words) EXPECT_THAT(result.err, HasSubstr(text));
    for (const std::string& text : mistake.not_words) EXPECT_THAT(result.err, Not(HasSubstr(text)));
    if (mistake.status != 2) continue;
    EXPECT_EQ(lines_of(result.err).size(), 1U) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(names(), files_before);
  }
}

// ---- help ----

/// The lines of a command's help after `heading`, up to the next empty one, without their blanks.
std::vector<std::string> lines_below(const std::string& heading, const std::string& help) {
  std::vector<std::string> lines;
  bool below = false;
  for (const std::string& line : lines_of(help)) {
    if (below && line.empty()) break;
    if (below) lines.push_back(line.substr(2));
    below |= line == heading;
  }
  return lines;
}

/// Every command, from the help of the one above it, with its help.
void collect_help(const std::string& command, std::map<std::string, std::string>& all) {
  ToolRun run;
  std::istringstream words(command);
  for (std::string word; words >> word;) run.arguments.push_back(word);
  run.arguments.emplace_back("--help");
  const ToolResult result = run_tool(run);
  EXPECT_EQ(result.status, 0) << command;
  EXPECT_EQ(result.err, "") << command;
  all[command] = result.out;
  for (const std::string& line : lines_below("Commands:", result.out)) {
    if (line.front() != ' ') collect_help(command + " " + line.substr(0, line.find(' ')), all);
  }
}

TEST_F(Mistakes, HelpFitsATerminalAndItsExamplesWork) {
  std::map<std::string, std::string> help;
  collect_help("", help);
  EXPECT_EQ(help.size(), 12U);
  generate("soc.stp", {"--messages", "10"});
  for (const char* name : {"notes.txt", "plan.pdf", "soc.tdf"}) put(name, "TDF2");
  ASSERT_EQ(run("tdf add soc.tdf --settings soc.stp.cfg").status, 0);
  for (const auto& [command, text] : help) {
    for (const std::string& line : lines_of(text)) EXPECT_LE(line.size(), 80U) << command << line;
    EXPECT_THAT(
        lines_below("Exit status:", text),
        testing::Contains("2  wrong usage, or a file that could not be opened, read or written"));
    const std::vector<std::string> examples = lines_below("Examples:", text);
    EXPECT_EQ(examples.size(), 2U) << command;
    for (const std::string& example : examples) {
      // These replace no file.
      const bool captures = example.starts_with("qbt2 generate -o soc.stp");
      const bool tdf = example.starts_with("qbt2 tdf create");
      if (captures) std::filesystem::remove(at("soc.stp"));
      if (captures) std::filesystem::remove(at("soc.stp.cfg"));
      if (tdf) std::filesystem::remove(at("soc.tdf"));
      const ToolResult result = run(example.c_str() + std::strlen("qbt2 "));
      EXPECT_EQ(result.status, 0) << example << result.err;
    }
  }
  EXPECT_EQ(run_tool({"--version"}).out, "qbt2 " QBT2_VERSION "\n");
}

/// The debug log is opened only where it is asked for, and its lack stops nothing.
TEST_F(Mistakes, TheDebugLogIsOpenedOnRequestOnly) {
  const std::string log = at("debug.log");
  const struct {
    std::vector<std::string> environment;
    const char* message;
    bool has_log;
  } cases[] = {
      {{"HOME=" + at("none"), "KZ_TRACE_LOGGING=0"}, "", false},
      {{"HOME=" + at("none"), "KZ_TRACE_LOGGING=1"}, "qbt2: no debug log: Could not create", false},
      {{"KZ_TRACE_LOGGING=1", "KZ_TRACE_LOGFILE=" + log}, "", true},
  };
  for (const auto& c : cases) {
    ToolRun run;
    run.arguments = {"tdf", "create", at("x.tdf"), "--force"};
    run.environment = c.environment;
    const ToolResult result = run_tool(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, testing::StartsWith(c.message));
    EXPECT_EQ(result.err.empty(), std::string(c.message).empty()) << result.err;
    const auto expected =
        c.has_log ? std::set<std::string>{"debug.log", "x.tdf"} : std::set<std::string>{"x.tdf"};
    EXPECT_EQ(names(), expected);
  }
}

/// What does not reach the reader is not "done", whichever command wrote it.
TEST_F(Mistakes, AFullDiskIsReported) {
  const std::string capture = generate("soc.stp", {"--messages", "10"});
  ASSERT_EQ(run_tool({"tdf", "create", at("soc.tdf"), "--settings", capture + ".cfg"}).status, 0);
  for (const char* line :
       {"--help", "--version", "decode --help", "columns", "info soc.stp", "decode soc.stp",
        "decode soc.stp --format csv", "generate -o -", "tdf show soc.tdf", "tdf list soc.tdf",
        "tdf verify soc.tdf", "tdf extract soc.tdf STMDECODERINFO"}) {
    const ToolResult result = run(line, "/dev/full");
    EXPECT_EQ(result.status, 2) << line;
    EXPECT_THAT(result.err, HasSubstr("qbt2: standard output: No space left on device\n")) << line;
  }
}

}  // namespace
}  // namespace qbt2::test
