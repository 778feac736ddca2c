#include "tools/qbt2/commands/columns_command.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/error.h"
#include "host/base/standard_output.h"
#include "host/decode/decoder_library.h"
#include "host/rows/row_fields.h"
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

constexpr std::size_t kFieldWidth = 11;  // description
constexpr std::size_t kTypeWidth = 6;    // number

std::string padded(const std::string& text, std::size_t width) {
  return text + std::string(width > text.size() ? width - text.size() : 0, ' ');
}

std::string_view type_name(const FieldDescription& field) {
  return field.is_text ? "text" : "number";
}

/// The fields that rows have before the decoder's columns.
std::vector<FieldDescription> leading_fields() {
  std::vector<FieldDescription> fields;
  for (std::size_t n = 0; n < kBuiltinFieldCount; ++n) {
    fields.push_back(describe_field(static_cast<BuiltinField>(n)));
  }
  return fields;
}

std::string fields_as_table() {
  std::string text = "Fields of rows before the decoder's columns:\n\n";
  text += padded("key", kFieldWidth) + "  " + padded("type", kTypeWidth) + "  description\n";
  for (const FieldDescription& field : leading_fields()) {
    text += padded(std::string(field.name), kFieldWidth) + "  " +
            padded(std::string(type_name(field)), kTypeWidth) + "  ";
    text.append(field.description).append("\n");
  }
  return text;
}

std::string columns_as_table(const ColumnCatalogue& catalogue) {
  std::size_t key_width = 3;
  std::size_t name_width = 4;
  for (const ColumnDescription& column : catalogue.columns) {
    key_width = std::max(key_width, column.key.size());
    name_width = std::max(name_width, column.name.size());
  }
  std::string text = "Columns of the decoder:\n\n";
  text += " #  " + padded("key", key_width) + "  " + padded("name", name_width) +
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

std::string as_table(const ColumnCatalogue& catalogue) {
  return fields_as_table() + "\n" + columns_as_table(catalogue);
}

std::string as_jsonl(const ColumnCatalogue& catalogue) {
  std::string text;
  std::size_t number = 0;
  for (const FieldDescription& field : leading_fields()) {
    const Json line = {{"field", number++},
                       {"key", field.name},
                       {"type", type_name(field)},
                       {"description", field.description}};
    text += json_text(line) + "\n";
  }
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
  CLI::App* const app = root.add_subcommand(
      "columns", "List the fields of rows: the leading ones and the decoder's columns");
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
