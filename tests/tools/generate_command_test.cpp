#include <filesystem>

#include "tests/tools/tool_test.h"

namespace qbt2::test {
namespace {

using ::testing::HasSubstr;

class GenerateCommand : public ToolTest {};

TEST_F(GenerateCommand, KeepsEarlierFilesUnlessForced) {
  const std::string capture = at("soc.stp");
  std::filesystem::create_symlink(capture, at("link"));
  const struct {
    std::vector<std::string> present;  ///< files with the content "mine"
    std::vector<std::string> arguments;
    int status;
    std::vector<std::string> kept;
  } kCases[] = {
      {{"soc.stp"}, {"-o", capture}, 2, {"soc.stp"}},
      {{"soc.stp"}, {"-o", at("link")}, 2, {"soc.stp"}},
      {{"soc.stp.cfg"}, {"-o", capture}, 2, {"soc.stp.cfg"}},
      {{"soc.stp", "soc.stp.cfg"}, {"-o", capture, "--force"}, 0, {}},
      {{"named.cfg"}, {"-o", capture, "--settings", at("named.cfg")}, 0, {}},
      {{"soc.stp"}, {"-o", capture, "--force", "--settings", at("./soc.stp")}, 2, {"soc.stp"}},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(testing::PrintToString(test.arguments));
    for (const char* const name : {"soc.stp", "soc.stp.cfg", "named.cfg"}) {
      std::filesystem::remove(at(name));
    }
    for (const std::string& name : test.present) put(name, "mine");
    std::vector<std::string> arguments = {"generate", "--messages", "10"};
    arguments.insert(arguments.end(), test.arguments.begin(), test.arguments.end());
    const ToolResult result = run_tool(arguments);
    EXPECT_EQ(result.status, test.status) << result.err;
    for (const std::string& name : test.present) {
      const bool kept = std::find(test.kept.begin(), test.kept.end(), name) != test.kept.end();
      EXPECT_EQ(get(name) == "mine", kept) << name;
    }
    if (test.status != 0) {
      EXPECT_EQ(names().size(), test.present.size() + 1);
      EXPECT_EQ(lines_of(result.err).size(), 1U) << result.err;
    }
  }
}

TEST_F(GenerateCommand, TheExampleOfADeviceDescriptionFits) {
  const std::string fields = "master,description";
  for (const char* input : {"stp", "frames"}) {
    const std::string path = generate("soc", {"--input", input, "--messages", "2k"});
    const std::string example = QBT2_SOURCE_DIR "/examples/soc.json";
    const auto rows = [&](const char* option, const std::string& file) {
      return decode({path, option, file, "--format", "csv", "--columns", fields}).out;
    };
    EXPECT_EQ(lines_of(rows("--device", example)).size(), 2001U) << input;
    EXPECT_EQ(rows("--device", example), rows("--config", path + ".cfg")) << input;
  }
}

TEST_F(GenerateCommand, EveryMasterThereIsTakesSecondsOnly) {
  ToolRun run;
  run.arguments = {"generate", "-o", "-", "--masters", "0-65535", "--messages", "10"};
  run.limit = std::chrono::seconds(30);
  const ToolResult result = run_tool(run);
  EXPECT_FALSE(result.timed_out);
  EXPECT_THAT(result.err, HasSubstr("qbt2: 10 messages ("));
}

}  // namespace
}  // namespace qbt2::test
