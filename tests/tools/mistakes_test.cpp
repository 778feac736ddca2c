// Typical mistakes at the command line: what the program says, and that nothing is left behind.
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

std::vector<NamedFile> files_at_hand() {
  const std::string words = "FFFFFFFFFFFFFFFFFFFFF0 F003 105 6 00000064 6 00000019";
  return {
      {"small.stp", stp(words + "FE")},
      {"words.stp", stp(words)},  // no message ends
      // The last word of a message is marked; the last message is cut by the end.
      {"marks.stp", stp("FFFFFFFFFFFFFFFFFFFFF0 F003 105 6 00000064 FA 00000019 6 00000064 "
                        "FA 00000019 6 00000064")},
      {"small.cfg", "QBT2_6=DMA;1;4096;0;0;0;0;0;0;0;0;0;0;0;0\n"},
      {"empty", ""},
      {"padding.frames", std::string(32, '\0')},
      {"ones", std::string(40, '\x11')},
      {"text", "This is no capture, whatever its name says.\n"},
      {"bad.tdf", "TDF2\x01"},
      {"bad.json", "{"},
  };
}

const Mistake kMistakes[] = {
    // ---- inputs ----
    {"decode missing", 2, {"missing: cannot open: No such file or directory"}, {}},
    {"decode small.stp missing", 2, {"missing: cannot open: No such file"}, {}},
    {"decode .", 2, {"qbt2: .: is a directory"}, {}},
    {"decode text", 2, {"text: byte 0: not recognised as a capture"}, {}},
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
    {"info - < bad.tdf", 2, {"standard input: is a trace data file", "found by seeking"}, {}},
    {"tdf list missing.tdf", 2, {"missing.tdf: "}, {}},
    {"tdf show /dev/null", 2, {"/dev/null: "}, {}},
    {"tdf verify missing.tdf", 2, {"missing.tdf: "}, {}},

    // ---- settings, device descriptions, plug-ins ----
    {"decode small.stp --config missing", 2, {"missing: cannot open: No such file"}, {}},
    {"decode small.stp --config .", 2, {"/.: is a directory"}, {}},
    {"decode small.stp --config bad.tdf", 2, {"bad.tdf: no settings: "}, {}},
    {"decode small.stp --config /dev/null", 2, {"settings are read from a regular file"}, {}},
    {"decode small.stp --device missing", 2, {"missing: "}, {}},
    {"decode small.stp --device bad.json", 2, {"bad.json: byte "}, {}},
    {"decode small.stp --plugin none.so", 2, {"none.so: cannot load the decoder"}, {}},
    {"decode small.stp --plugin ./text", 2, {"./text: cannot load the decoder plug-in: "}, {}},
    {"decode small.stp --plugin libm.so.6", 2, {"libm.so.6: is not a decoder plug-in"}, {}},
    {"columns --plugin libm.so.6", 2, {"libm.so.6: is not a decoder plug-in"}, {}},

    // ---- outputs ----
    {"decode small.stp --framing flag -o /dev/full", 2, {"/dev/full: No space left on device"}, {}},
    {"decode small.stp -o missing/rows", 2, {"missing/rows: No such file or directory"}, {}},
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
    {"decode small.stp --limit ten", 2, {"--limit: 'ten' is not a number (decimal"}, {}},
    {"decode small.stp --limit -1", 2, {"--limit: '-1' is not a number"}, {}},
    {"decode small.stp --limit 0x", 2, {"--limit: '0x' is not a number"}, {}},
    {"decode small.stp --limit 18446744073709551616", 2, {"18446744073709551616 is too large"}, {}},
    {"decode small.stp --master 0x10000", 2, {"--master: 0x10000 is too large"}, {}},
    {"decode small.stp --atb-id 0x70", 2, {"--atb-id: 0x70 is too large (at most 111)"}, {}},
    {"decode small.stp --atb-id 0", 2, {"--atb-id: 0 is the null trace ID"}, {}},
    {"decode small.stp --clock-hz 0", 2, {"--clock-hz: at least 1"}, {}},
    {"decode small.stp --threads 0", 2, {"--threads: at least 1"}, {}},
    {"decode small.stp --threads 257", 2, {"--threads: 257 is too large (at most 256)"}, {}},
};

class Mistakes : public ToolTest {
 protected:
  ToolResult run(const char* line) const {
    ToolRun run;
    run.folder = folder_;
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

}  // namespace
}  // namespace qbt2::test
