#include "tools/qbt2/commands/tdf_command.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "host/base/number_text.h"
#include "host/base/output_file.h"
#include "tools/qbt2/cli/help.h"
#include "tools/qbt2/cli/message.h"
#include "tools/qbt2/cli/numbers.h"
#include "tools/qbt2/cli/options.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/commands/tdf_subcommands.h"

namespace qbt2::tool {
namespace {

std::string padded_left(const std::string& text, std::size_t width) {
  return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

struct ListArguments {
  std::string file;
  std::string format = "table";
};

/// The numbers of a section, as the table's columns; its name, which may be long, comes last.
constexpr std::size_t kNumbers = 4;
std::array<std::string, kNumbers> numbers_of(const TraceSection& section) {
  return {std::to_string(section.version), std::to_string(section.offset),
          std::to_string(section.length), std::to_string(section.payloadLength)};
}

void print_table(const TraceFile& file, Printer& printer) {
  const std::array<std::string, kNumbers> titles = {"version", "offset", "length", "payload"};
  std::array<std::size_t, kNumbers> widths{};
  for (std::size_t i = 0; i < kNumbers; ++i) widths[i] = titles[i].size();
  for (const TraceSection& section : file.sections()) {
    const auto numbers = numbers_of(section);
    for (std::size_t i = 0; i < kNumbers; ++i) widths[i] = std::max(widths[i], numbers[i].size());
  }
  const auto print_row = [&](const std::array<std::string, kNumbers>& cells,
                             const std::string& name) {
    for (std::size_t i = 0; i < kNumbers; ++i) {
      printer.print(padded_left(cells[i], widths[i]) + "  ");
    }
    printer.print(name + "\n");
  };
  print_row(titles, "name");
  for (const TraceSection& section : file.sections()) {
    print_row(numbers_of(section), shown(section.name));
  }
}

int run_list(const ListArguments& arguments) {
  const TraceFile file(arguments.file);
  Printer printer("-");
  if (arguments.format == "json") {
    JsonList list(printer, file.name(), "sections");
    for (const TraceSection& section : file.sections()) list.item(section_as_json(section));
    list.finish(fault_as_json(file));
  } else {
    print_table(file, printer);
  }
  printer.finish();
  return report_fault(file);
}

Command add_list(CLI::App& tdf) {
  CLI::App* const app = tdf.add_subcommand("list", "List the sections of a trace data file");
  const auto arguments = std::make_shared<ListArguments>();
  app->add_option("FILE", arguments->file, "The trace data file")->required();
  app->add_option("--format", arguments->format, "Output format: table or json")
      ->check(one_of({"table", "json"}))
      ->capture_default_str();
  check_values(*app);
  end_help(*app, {"qbt2 tdf list soc.tdf", "qbt2 tdf list soc.tdf --format json"},
           {kExitOk, kExitDamaged, kExitFailed});
  return {app, [arguments] { return run_list(*arguments); }};
}

struct ExtractArguments {
  std::string file;
  SectionChoice section;
  std::string output = "-";
};

int run_extract(const ExtractArguments& arguments) {
  const TraceFile file(arguments.file);
  const TraceSection& section = arguments.section.find_in(file);
  refuse_to_replace_inputs(arguments.output, {arguments.file});
  Printer printer(arguments.output);
  file.read(section, [&](std::span<const std::uint8_t> piece) {
    printer.print({reinterpret_cast<const char*>(piece.data()), piece.size()});
  });
  printer.finish();
  return file.is_cut(section) ? report_fault(file) : kExitOk;
}

Command add_extract(CLI::App& tdf) {
  CLI::App* const app = tdf.add_subcommand("extract", "Write the payload of a section to a file");
  const auto arguments = std::make_shared<ExtractArguments>();
  app->add_option("FILE", arguments->file, "The trace data file")->required();
  app->add_option("-o,--output", arguments->output, "Output file; - is standard output")
      ->type_name(kFileValue)
      ->capture_default_str();
  arguments->section.add_to(*app, "The section's name")->required();
  end_help(*app,
           {"qbt2 tdf extract soc.tdf STMDECODERINFO",
            "qbt2 tdf extract soc.tdf STMDECODERINFO -o settings.cfg"},
           {kExitOk, kExitDamaged, kExitFailed});
  return {app, [arguments] { return run_extract(*arguments); }};
}

struct VerifyArguments {
  std::string file;
  std::string format = "text";
};

const char* severity_name(FindingSeverity severity) {
  return severity == FindingSeverity::kFault ? "fault" : "note";
}

std::string summary(const TraceFile& file, std::uint64_t faults, std::uint64_t notes) {
  return counted(file.sections().size(), "section") + ", " +
         (faults == 0 ? "all sound" : counted(faults, "fault")) +
         (notes == 0 ? "" : ", " + counted(notes, "note"));
}

/// The findings are the result, so they go to standard output.
int run_verify(const VerifyArguments& arguments) {
  const TraceFile file(arguments.file);
  Printer printer("-");
  std::uint64_t faults = 0;
  std::uint64_t notes = 0;
  const bool json = arguments.format == "json";
  auto list = json ? std::make_unique<JsonList>(printer, file.name(), "findings") : nullptr;
  check_trace_file(file, [&](const Finding& finding) {
    ++(finding.severity == FindingSeverity::kFault ? faults : notes);
    const char* const severity = severity_name(finding.severity);
    if (json) {
      list->item({{"severity", severity}, {"offset", finding.offset}, {"text", finding.text}});
      return;
    }
    printer.print(shown(file.name()) + ": byte " + std::to_string(finding.offset) + ": " +
                  severity + ": " + shown(finding.text) + "\n");
  });
  if (json) {
    list->finish({{"sections", file.sections().size()}, {"faults", faults}, {"notes", notes}});
  } else {
    printer.print(shown(file.name()) + ": " + summary(file, faults, notes) + "\n");
  }
  printer.finish();
  return faults == 0 ? kExitOk : kExitDamaged;
}

Command add_verify(CLI::App& tdf) {
  CLI::App* const app =
      tdf.add_subcommand("verify", "Check a trace data file and the content of its sections");
  const auto arguments = std::make_shared<VerifyArguments>();
  app->add_option("FILE", arguments->file, "The trace data file")->required();
  app->add_option("--format", arguments->format, "Output format: text or json")
      ->check(one_of({"text", "json"}))
      ->capture_default_str();
  check_values(*app);
  end_help(*app, {"qbt2 tdf verify soc.tdf", "qbt2 tdf verify soc.tdf --format json"},
           {kExitOk, kExitDamaged, kExitFailed});
  return {app, [arguments] { return run_verify(*arguments); }};
}

}  // namespace

CLI::Option* SectionChoice::add_to(CLI::App& app, const std::string& description) {
  CLI::Option* const versions =
      app.add_option("--section-version", version,
                     "The section's version, if the file has several of that name")
          ->type_name(kNumberValue);
  check_values(app);
  CLI::Option* const section = app.add_option("SECTION", name, description);
  versions->needs(section);
  return section;
}

const TraceSection& SectionChoice::find_in(const TraceFile& file) const {
  std::optional<std::uint32_t> wanted;
  if (!version.empty()) {
    wanted = static_cast<std::uint32_t>(
        parse_number("--section-version", version, {.most = UINT32_MAX}));
  }
  return file.find(*name, wanted);
}

Json section_as_json(const TraceSection& section) {
  return {{"name", section.name},
          {"version", section.version},
          {"offset", section.offset},
          {"length", section.length},
          {"payload_length", section.payloadLength}};
}

Json fault_as_json(const TraceFile& file) {
  if (!file.fault()) return {{"fault", nullptr}};
  const Json fault = {{"offset", file.fault().offset}, {"reason", file.fault().reason}};
  return {{"fault", fault}};
}

void report(const std::string& file, std::uint64_t offset, const std::string& reason) {
  print_message(file, "byte " + std::to_string(offset) + ": " + reason);
}

int report_fault(const TraceFile& file) {
  if (!file.fault()) return kExitOk;
  report(file.name(), file.fault().offset, file.fault().reason);
  return kExitDamaged;
}

Command add_tdf_command(CLI::App& root) {
  CLI::App* const app = root.add_subcommand("tdf", "Inspect and create trace data files (.tdf)");
  app->require_subcommand(1);
  const std::vector<Command> commands = {add_list(*app),   add_tdf_show(*app),   add_extract(*app),
                                         add_verify(*app), add_tdf_create(*app), add_tdf_add(*app)};
  end_help(*app, {"qbt2 tdf create soc.tdf --settings soc.stp.cfg", "qbt2 tdf list soc.tdf"},
           {kExitOk, kExitDamaged, kExitFailed});
  return {app, [commands] { return run_chosen(commands); }};
}

}  // namespace qbt2::tool
