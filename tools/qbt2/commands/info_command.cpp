#include "tools/qbt2/commands/info_command.h"

#include <memory>
#include <string>
#include <string_view>

#include "tools/qbt2/cli/help.h"
#include "tools/qbt2/cli/options.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/cli/reporter.h"
#include "tools/qbt2/cli/terminal.h"
#include "tools/qbt2/commands/file_info.h"
#include "tools/qbt2/commands/json_outline.h"

namespace qbt2::tool {
namespace {

struct InfoArguments {
  std::string file;
  std::string format = "text";
};

int run_info(const InfoArguments& arguments) {
  InputFile input(arguments.file);
  Reporter reporter(wants_progress("auto", false));
  bool is_damaged = false;
  InfoEvents events;
  events.on_damage = [&](std::uint64_t offset, std::string_view reason) {
    is_damaged = true;
    reporter.on_damage(shown(input.name()), offset, shown(reason));
  };
  events.on_notice = [&](std::string_view text) {
    reporter.on_notice(shown(input.name()), shown(text));
  };
  events.on_progress = [&](std::uint64_t bytes) {
    reporter.on_progress(bytes, input.size_bytes());
  };

  const FileInfo info = read_file_info(input, events);
  reporter.summarise();
  Json document = {{"file", input.name()}, {"kind", info.kind}};
  document.update(info.members);
  Printer printer("-");
  printer.print(arguments.format == "json" ? json_text(document, 2) + "\n" : outline(document));
  printer.finish();
  return is_damaged || info.is_bad ? kExitDamaged : kExitOk;
}

}  // namespace

Command add_info_command(CLI::App& root) {
  CLI::App* const app = root.add_subcommand("info", "Report what a file is and what it contains");
  const auto arguments = std::make_shared<InfoArguments>();
  app->add_option("FILE", arguments->file, "Any input; - is standard input")->required();
  app->add_option("--format", arguments->format, "Output format: text or json")
      ->check(one_of({"text", "json"}))
      ->capture_default_str();
  check_values(*app);
  end_help(*app, {"qbt2 info soc.stp", "qbt2 info soc.stp --format json"},
           {kExitOk, kExitDamaged, kExitFailed});
  return {app, [arguments] { return run_info(*arguments); }};
}

}  // namespace qbt2::tool
