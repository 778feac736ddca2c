#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "host/base/number_text.h"
#include "tools/qbt2/cli/help.h"
#include "tools/qbt2/cli/options.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/commands/section_view.h"
#include "tools/qbt2/commands/tdf_dump.h"
#include "tools/qbt2/commands/tdf_subcommands.h"

namespace qbt2::tool {
namespace {

struct ShowArguments {
  std::string file;
  SectionChoice section;
  bool hex = false;
  std::string format = "text";
};

/// Writes one section after the other, in one of the two formats.
class Show {
 public:
  Show(const TraceFile& file, const ShowArguments& arguments)
      : file_(file),
        hex_(arguments.hex),
        printer_("-"),
        list_(arguments.format == "json"
                  ? std::make_unique<JsonList>(printer_, file.name(), "sections")
                  : nullptr) {}

  void section(const TraceSection& section) {
    if (!list_) print_heading(section);
    const std::optional<SectionData> data = hex_ ? std::nullopt : read(section);
    if (!data) {
      dump(section);
    } else if (list_) {
      begin_object(section);
      print_section_json(*data, printer_);
      printer_.print("}");
    } else {
      print_section(*data, printer_);
    }
  }

  /// The exit status of the whole.
  int finish() {
    if (list_) list_->finish(fault_as_json(file_));
    printer_.finish();
    return std::max(status_, report_fault(file_));
  }

 private:
  /// Empty for a section that can only be dumped. A fault of its content is reported.
  std::optional<SectionData> read(const TraceSection& section) {
    std::optional<TraceHeaderFault> fault;
    std::optional<SectionData> data = read_section(file_, section, fault);
    if (fault) {
      report(file_.name(), section.payloadOffset + fault->offset,
             section_label(section) + ": " + fault->reason);
      status_ = kExitDamaged;
    } else if (!data && section_content(section) != SectionContent::kUnknown) {
      report(file_.name(), section.offset,
             section_label(section) + ": is larger than 16 MiB, so its bytes are shown");
    }
    return data;
  }

  void print_heading(const TraceSection& section) {
    printer_.print(std::string(is_first_ ? "" : "\n") + "# " + shown(section.name) + " version " +
                   std::to_string(section.version) + ", at byte " + std::to_string(section.offset) +
                   ", " + counted(section.payloadLength, "byte") + " of data\n");
    is_first_ = false;
  }

  /// The object of a section up to the members that describe its content.
  void begin_object(const TraceSection& section) {
    list_->begin_item();
    std::string object = json_text(section_as_json(section));
    object.back() = ',';
    printer_.print(object);
  }

  void dump(const TraceSection& section) {
    if (!list_) return print_hex_dump(file_, section, printer_);
    begin_object(section);
    printer_.print("\"hex\":\"");
    print_hex_digits(file_, section, printer_);
    printer_.print("\"}");
  }

  const TraceFile& file_;
  bool hex_;
  Printer printer_;
  std::unique_ptr<JsonList> list_;
  bool is_first_ = true;
  int status_ = kExitOk;
};

int run_show(const ShowArguments& arguments) {
  const TraceFile file(arguments.file);
  const TraceSection* const chosen =
      arguments.section.name ? &arguments.section.find_in(file) : nullptr;
  Show show(file, arguments);
  if (chosen != nullptr) {
    show.section(*chosen);
  } else {
    for (const TraceSection& section : file.sections()) show.section(section);
  }
  return show.finish();
}

}  // namespace

Command add_tdf_show(CLI::App& tdf) {
  CLI::App* const app = tdf.add_subcommand("show", "Show the content of the sections");
  const auto arguments = std::make_shared<ShowArguments>();
  app->add_option("FILE", arguments->file, "The trace data file")->required();
  app->add_flag("--hex", arguments->hex, "Show all sections as bytes, those of known kinds too");
  app->add_option("--format", arguments->format, "Output format: text or json")
      ->check(one_of({"text", "json"}))
      ->capture_default_str();
  arguments->section.add_to(*app, "One section only, by its name");
  end_help(*app, {"qbt2 tdf show soc.tdf", "qbt2 tdf show soc.tdf STMDECODERINFO --hex"},
           {kExitOk, kExitDamaged, kExitFailed});
  return {app, [arguments] { return run_show(*arguments); }};
}

}  // namespace qbt2::tool
