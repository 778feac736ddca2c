#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/base/error.h"
#include "host/base/output_file.h"
#include "host/tdf/section_sources.h"
#include "host/tdf/trace_file_writer.h"
#include "tools/qbt2/cli/help.h"
#include "tools/qbt2/cli/message.h"
#include "tools/qbt2/cli/numbers.h"
#include "tools/qbt2/cli/options.h"
#include "tools/qbt2/commands/tdf_subcommands.h"

namespace qbt2::tool {
namespace {

struct BuildArguments {
  std::string file;
  std::string header;
  std::string settings;
  std::string config_type = "stm";
  std::string decoder;
  std::string device;
  std::vector<std::string> sections;
  bool force = false;
};

/// The names of the configuration types, by number.
constexpr std::array<std::string_view, 3> kConfigTypes = {"arm", "dsp", "stm"};

/// NAME:VERSION=FILE. The file's name may hold '=' and ':', the section's name ':'.
SectionFile parse_section(const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::size_t colon = text.rfind(':', equals);
  if (equals == std::string::npos || colon == std::string::npos) {
    throw Error(ErrorCode::kUsage, "--section", "'" + text + "' is not NAME:VERSION=FILE");
  }
  const std::string version = text.substr(colon + 1, equals - colon - 1);
  return {text.substr(0, colon),
          static_cast<std::uint32_t>(parse_number("--section", version, {.most = UINT32_MAX})),
          text.substr(equals + 1)};
}

void print_note(const std::string& file, const std::string& text) {
  print_message(file, "note: " + text);
}

/// Reads the plain files, none of which may be the trace data file itself.
TraceFileContents contents_of(const BuildArguments& arguments) {
  TraceFileContents contents;
  for (const std::string& text : arguments.sections) {
    contents.others.push_back(parse_section(text));
  }
  std::vector<std::string> inputs = {arguments.header, arguments.settings, arguments.decoder,
                                     arguments.device};
  for (const SectionFile& section : contents.others) inputs.push_back(section.path);
  refuse_to_replace_inputs(arguments.file, inputs);
  if (!arguments.header.empty()) contents.header = load_header_file(arguments.header);
  if (!arguments.decoder.empty()) {
    contents.decoder = load_decoder_file(arguments.decoder, print_note);
  }
  if (!arguments.device.empty()) contents.device = load_device_file(arguments.device, print_note);
  if (!arguments.settings.empty()) {
    contents.settings = load_settings_file(arguments.settings, print_note);
  }
  for (std::size_t i = 0; i < kConfigTypes.size(); ++i) {
    if (kConfigTypes[i] != arguments.config_type) continue;
    contents.config_type = static_cast<TraceFileContents::Config::eConfigType>(i);
  }
  return contents;
}

int run_create(const BuildArguments& arguments) {
  std::error_code ignored;  // what cannot be asked for cannot be written either
  if (!arguments.force &&
      std::filesystem::exists(std::filesystem::symlink_status(arguments.file, ignored))) {
    throw Error(ErrorCode::kUsage, arguments.file, "already exists: --force replaces it");
  }
  create_trace_file(arguments.file, contents_of(arguments), arguments.force);
  return kExitOk;
}

int run_add(const BuildArguments& arguments) {
  const TraceFileContents contents = contents_of(arguments);
  if (!contents.decoder && !contents.device && !contents.settings && contents.others.empty()) {
    throw Error(
        ErrorCode::kUsage,
        "tdf add: nothing to add: give --settings, --decoder-info, --device-id or --section");
  }
  add_to_trace_file(arguments.file, contents);
  return kExitOk;
}

void add_section_options(CLI::App& app, BuildArguments& arguments) {
  app.add_option("--settings", arguments.settings, "Settings: lines of NAME=VALUE")
      ->type_name(kFileValue);
  app.add_option("--config-type", arguments.config_type, "Kind of settings: arm, dsp or stm")
      ->check(one_of({"arm", "dsp", "stm"}))
      ->capture_default_str();
  app.add_option("--decoder-info", arguments.decoder,
                 "Decoder information: DECODER, DATA_TYPE, DATA_FORMAT and ATBID lines")
      ->type_name(kFileValue);
  app.add_option("--device-id", arguments.device, "Device identifier: the lines EMU to PROCMAP")
      ->type_name(kFileValue);
  app.add_option("--section", arguments.sections,
                 "Any other section, as NAME:VERSION=FILE; may be repeated")
      ->allow_extra_args(false);
}

}  // namespace

Command add_tdf_create(CLI::App& tdf) {
  CLI::App* const app = tdf.add_subcommand("create", "Create a trace data file from plain files");
  const auto arguments = std::make_shared<BuildArguments>();
  app->add_option("FILE", arguments->file, "The trace data file to create (.tdf)")->required();
  app->add_option("--header", arguments->header,
                  "Trace header: lines of KEY=VALUE (default: all texts empty, all numbers 0)")
      ->type_name(kFileValue);
  add_section_options(*app, *arguments);
  app->add_flag("--force", arguments->force, "Replace an existing file");
  check_values(*app);
  end_help(*app,
           {"qbt2 tdf create soc.tdf --settings soc.stp.cfg",
            "qbt2 tdf create soc.tdf --settings soc.stp.cfg --section NOTES:1=notes.txt"},
           {kExitOk, kExitFailed});
  return {app, [arguments] { return run_create(*arguments); }};
}

Command add_tdf_add(CLI::App& tdf) {
  CLI::App* const app = tdf.add_subcommand("add", "Add sections to a trace data file");
  const auto arguments = std::make_shared<BuildArguments>();
  app->add_option("FILE", arguments->file, "The trace data file to add to")->required();
  add_section_options(*app, *arguments);
  check_values(*app);
  end_help(*app,
           {"qbt2 tdf add soc.tdf --section NOTES:1=notes.txt",
            "qbt2 tdf add soc.tdf --section NOTES:2=notes.txt --section PLAN:1=plan.pdf"},
           {kExitOk, kExitFailed});
  return {app, [arguments] { return run_add(*arguments); }};
}

}  // namespace qbt2::tool
