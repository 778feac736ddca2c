#include "tools/qbt2/commands/decode_command.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "host/base/output_file.h"
#include "host/base/standard_output.h"
#include "host/decode/pipeline.h"
#include "host/decode/text_sink.h"
#include "tools/qbt2/cli/help.h"
#include "tools/qbt2/cli/plugin_guard.h"
#include "tools/qbt2/cli/reporter.h"
#include "tools/qbt2/cli/terminal.h"
#include "tools/qbt2/commands/decode_options.h"

namespace qbt2::tool {
namespace {

/// For --format none: rows are counted and not read back.
class CountingSink final : public RowSink {
 public:
  std::unique_ptr<RowStage> make_stage(const RunOutline& /*outline*/) override { return nullptr; }
  bool take(RowChunk& /*chunk*/, std::size_t /*capture*/) override { return true; }
};

std::unique_ptr<RowSink> make_sink(const DecodeArguments& arguments, bool rows_on_terminal,
                                   Reporter& reporter) {
  const std::string format = output_format(arguments);
  if (format == "none") return std::make_unique<CountingSink>();
  TextSinkOptions options;
  options.format = format;
  options.fields = arguments.columns;
  options.hex_addresses = arguments.hex;
  options.csv_safe = arguments.csv_safe;
  options.output = arguments.output;
  if (arguments.output == "-") options.terminal_columns = terminal_columns();
  options.is_terminal = rows_on_terminal;
  if (rows_on_terminal) options.before_write = [&reporter] { reporter.progress().clear(); };
  return std::make_unique<TextSink>(options);
}

/// A closed pipe ends the run quietly, even if damage was found before.
int exit_status(const RunReport& report) {
  return report.damaged() && report.end != RunEnd::kSinkClosed ? kExitDamaged : kExitOk;
}

int run_decode(const DecodeArguments& arguments) {
  const DecodeRequest request = request_from(arguments);
  std::vector<std::string> inputs = request.captures;
  inputs.insert(inputs.end(), {request.config, request.device});
  refuse_to_replace_inputs(arguments.output, inputs);
  separate_standard_output();  // the plug-in may print
  const bool rows_on_terminal = arguments.output == "-" && output_format(arguments) != "none" &&
                                standard_output_is_terminal();
  Reporter reporter(wants_progress(arguments.progress, rows_on_terminal));
  const PluginGuard guard(request.plugin);
  Pipeline pipeline(request, &reporter);
  const auto sink = make_sink(arguments, rows_on_terminal, reporter);
  const RunReport report = pipeline.run(*sink);
  reporter.progress().clear();
  if (report.end != RunEnd::kSinkClosed) reporter.summarise();
  if (arguments.stats) std::fputs(report.statistics_text().c_str(), stderr);
  return exit_status(report);
}

}  // namespace

Command add_decode_command(CLI::App& root) {
  CLI::App* const app = root.add_subcommand("decode", "Decode captures into rows of bus traffic");
  const auto arguments = std::make_shared<DecodeArguments>();
  arguments->add_to(*app);
  end_help(*app,
           {"qbt2 decode soc.stp --config soc.stp.cfg --limit 20",
            "qbt2 decode soc.stp --config soc.stp.cfg --format csv -o soc.csv"},
           {kExitOk, kExitDamaged, kExitFailed});
  return {app, [arguments] { return run_decode(*arguments); }};
}

}  // namespace qbt2::tool
