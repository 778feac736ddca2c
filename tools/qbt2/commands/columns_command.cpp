#include "tools/qbt2/commands/columns_command.h"

#include <algorithm>
#include <memory>
#include <string>

#include "host/base/error.h"
#include "host/base/standard_output.h"
#include "host/decode/decoder_library.h"
#include "tools/qbt2/cli/help.h"
#include "tools/qbt2/cli/options.h"
#include "tools/qbt2/cli/plugin_guard.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/commands/json_list.h"

namespace qbt2::tool {
namespace {

struct ColumnsArguments {
  std::string format = "table";
  std::string plugin = kDefaultPluginPath;
};

std::string padded(const std::string& text, std::size_t width) {
  return text + std::string(width > text.size() ? width - text.size() : 0, ' ');
}

std::string as_table(const ColumnCatalogue& catalogue) {
  std::size_t key_width = 3;
  std::size_t name_width = 4;
  for (const ColumnDescription& column : catalogue.columns) {
    key_width = std::max(key_width, column.key.size());
    name_width = std::max(name_width, column.name.size());
  }
  std::string text = " #  " + padded("key", key_width) + "  " + padded("name", name_width) +
                     "  bits  description\n";
  for (std::size_t k = 0; k < catalogue.columns.size(); ++k) {
    const ColumnDescription& column = catalogue.columns[k];
    const std::string number = std::to_string(k);
    const std::string bits = std::to_string(8 * column.size_bytes);
    text.append(number.size() < 2 ? 1 : 0, ' ').append(number).append("  ");
    text.append(padded(shown(column.key), key_width)).append("  ");
    text.append(padded(shown(column.name), name_width)).append("  ");
    text.append(4 - std::min<std::size_t>(4, bits.size()), ' ').append(bits).append("  ");
    text.append(shown(column.description)).append("\n");
  }
  return text;
}

std::string as_jsonl(const ColumnCatalogue& catalogue) {
  std::string text;
  for (std::size_t k = 0; k < catalogue.columns.size(); ++k) {
    const ColumnDescription& column = catalogue.columns[k];
    const Json line = {{"column", k},
                       {"key", column.key},
                       {"name", column.name},
                       {"bits", 8 * column.size_bytes},
                       {"description", column.description}};
    text += json_text(line) + "\n";
  }
  return text;
}

int run_columns(const ColumnsArguments& arguments) {
  separate_standard_output();  // the plug-in may print
  const PluginGuard guard(arguments.plugin);
  const DecoderLibrary library(arguments.plugin);
  const DecoderLibrary::Unit unit = library.create_unit();
  const ColumnCatalogue catalogue = read_catalogue(*unit);
  Printer printer("-");
  printer.print(arguments.format == "jsonl" ? as_jsonl(catalogue) : as_table(catalogue));
  printer.finish();
  return kExitOk;
}

}  // namespace

Command add_columns_command(CLI::App& root) {
  CLI::App* const app = root.add_subcommand("columns", "List the columns of the plug-in's rows");
  const auto arguments = std::make_shared<ColumnsArguments>();
  app->add_option("--format", arguments->format, "Output format: table or jsonl")
      ->check(one_of({"table", "jsonl"}))
      ->capture_default_str();
  app->add_option("--plugin", arguments->plugin, "The decoder plug-in to load")
      ->type_name(kFileValue)
      ->capture_default_str();
  check_values(*app);
  end_help(*app, {"qbt2 columns", "qbt2 columns --format jsonl"}, {kExitOk, kExitFailed});
  return {app, [arguments] { return run_columns(*arguments); }};
}

}  // namespace qbt2::tool
