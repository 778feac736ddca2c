#include "tools/qbt2/commands/info_command.h"

#include <memory>
#include <string>
#include <string_view>

#include "host/decode/decoder_setup.h"
#include "tools/qbt2/cli/help.h"
#include "tools/qbt2/cli/options.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/cli/reporter.h"
#include "tools/qbt2/cli/terminal.h"
#include "tools/qbt2/commands/file_info.h"
#include "tools/qbt2/commands/info_json.h"
#include "tools/qbt2/commands/info_text.h"
#include "tools/qbt2/commands/master_names.h"

namespace qbt2::tool {
namespace {

struct InfoArguments {
  std::string file;
  std::string format = "text";
  std::string config;
  bool all = false;
};

/// The width of pages that are not shown on a terminal.
constexpr std::size_t kPageColumns = 80;

/// Reports what is odd in the settings.
MasterNames names_from(const std::string& config, Reporter& reporter) {
  if (config.empty()) return {};
  DecoderSetup setup(config, "");
  for (const std::string& text : setup.warnings()) {
    reporter.on_notice(shown(config), shown(text));
  }
  return MasterNames(setup);
}

std::string text_of(const InputFile& input, const FileInfo& info, const MasterNames& names,
                    const InfoArguments& arguments) {
  if (arguments.format == "json") return json_text(info_json(input.name(), info, names), 2) + "\n";
  const std::size_t columns = terminal_columns();
  return info_text(input.name(), info, names,
                   {.columns = columns == 0 ? kPageColumns : columns, .all = arguments.all});
}

int run_info(const InfoArguments& arguments) {
  InputFile input(arguments.file);
  Reporter reporter(wants_progress("auto", false));
  const MasterNames names = names_from(arguments.config, reporter);
  InfoEvents events;
  events.on_damage = [&](std::uint64_t offset, std::string_view reason) {
    reporter.on_damage(shown(input.name()), offset, shown(reason));
  };
  events.on_notice = [&](std::string_view text) {
    reporter.on_notice(shown(input.name()), shown(text));
  };
  events.on_progress = [&](std::uint64_t bytes) {
    reporter.on_progress(bytes, input.size_bytes());
  };

  const FileInfo info = read_file_info(input, events);
  if (info.is_known() && !info.is_capture() && !arguments.config.empty()) {
    events.on_notice("--config has no effect: it names the masters of captures, and this is " +
                     info.kind);
  }
  reporter.progress().clear();
  reporter.summarise();
  Printer printer("-");
  printer.print(text_of(input, info, names, arguments));
  printer.finish();
  return info.is_known() && info.faults == 0 ? kExitOk : kExitDamaged;
}

}  // namespace

Command add_info_command(CLI::App& root) {
  CLI::App* const app = root.add_subcommand("info", "Report what a file is and what it contains");
  const auto arguments = std::make_shared<InfoArguments>();
  app->add_option("FILE", arguments->file, "Any input; - is standard input")->required();
  app->add_option("--format", arguments->format, "Output format: text or json")
      ->check(one_of({"text", "json"}))
      ->capture_default_str();
  app->add_option("--config", arguments->config,
                  "Settings that name the masters of a capture: a .tdf, or lines of KEY=VALUE")
      ->type_name(kFileValue);
  app->add_flag("--all", arguments->all, "Text: list all masters and sections, not only 20");
  check_values(*app);
  end_help(*app, {"qbt2 info soc.stp --config soc.stp.cfg", "qbt2 info soc.stp --format json"},
           {kExitOk, kExitDamaged, kExitFailed});
  return {app, [arguments] { return run_info(*arguments); }};
}

}  // namespace qbt2::tool
