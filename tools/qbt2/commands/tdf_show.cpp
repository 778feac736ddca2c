#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "host/base/number_text.h"
#include "host/base/text_parts.h"
#include "host/base/use_case_setting.h"
#include "host/tdf/trace_header.h"
#include "host/tdf/usecase_check.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/commands/tdf_subcommands.h"

namespace qbt2::tool {
namespace {

using EktTrace::ConfigFile::DeviceConfig_t;
using EktTrace::ConfigFile::DeviceIdentifier_t;
using EktTrace::ConfigFile::TraceDecode_t;

/// What the decoder calls the fields of a use-case line.
constexpr std::array<std::string_view, Kz::Dvt::Trace::kUseCaseFields> kUsecaseFieldNames = {
    "probeName",         "usecaseWord1",      "samplingPeriod",    "usecaseHalfWord3",
    "usecaseWord4",      "usecaseHalfWord5",  "usecaseWord6",      "filter0_registerA",
    "filter0_registerB", "filter0_registerC", "filter0_registerD", "filter1_registerA",
    "filter1_registerB", "filter1_registerC", "filter1_registerD"};

struct ShowArguments {
  std::string file;
  SectionChoice section;
  bool hex = false;
  std::string format = "text";
};

/// Known sections, taken apart by the system's own readers; each as text or as the members of a
/// JSON object.
struct HeaderView {
  const TraceHeader& header;

  void print(Printer& printer) const {
    for (const TraceHeaderField& field : kTraceHeaderFields) {
      printer.print(std::string(field.name) + "=" + text_of(field) + "\n");
    }
    printer.print("# time stamp " + std::to_string(header.time_stamp) + "\n");
    const auto& items = header.list_items;
    if (items == decltype(header.list_items){}) return;
    printer.print("# lists of older files, with items:");
    for (std::size_t i = 0; i < items.size(); ++i) {
      printer.print(std::string(1, ' ') + "ABCD"[i] + " " + std::to_string(items[i]));
    }
    printer.print("\n");
  }

  Json json() const {
    Json members;
    for (const TraceHeaderField& field : kTraceHeaderFields) {
      std::visit([&](auto member) { members[std::string(field.name)] = header.record.*member; },
                 field.member);
    }
    members["timeStamp"] = header.time_stamp;
    members["listItems"] = header.list_items;
    return {{"header", members}};
  }

 private:
  std::string text_of(const TraceHeaderField& field) const {
    const auto text = [&](auto member) -> std::string {
      const auto& value = header.record.*member;
      if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::string>) {
        return shown(value);
      } else {
        return std::to_string(value);
      }
    };
    return std::visit(text, field.member);
  }
};

void print_decoder(const TraceDecode_t::TraceDecodeData_t& data, Printer& printer) {
  printer.print("DECODER=" + shown(data.decoder));
  printer.print("\nDATA_TYPE=" + std::to_string(data.dataType));
  printer.print("\nDATA_FORMAT=" + std::to_string(data.dataFormat));
  printer.print("\nATBID=" + std::to_string(data.atbId) + "\n");
}

Json decoder_json(const TraceDecode_t::TraceDecodeData_t& data) {
  const Json members = {{"decoder", data.decoder},
                        {"dataType", data.dataType},
                        {"dataFormat", data.dataFormat},
                        {"atbId", data.atbId}};
  return {{"decoderInfo", members}};
}

void print_device(const DeviceIdentifier_t::DevIdData_t& data, Printer& printer) {
  printer.print("emulator   " + shown(data.emulator) + "\nport       " + shown(data.port) + "\n");
  for (const auto& device : data.devices) {
    printer.print("device     " + shown(device.name) + "\n");
    printer.print("  id       " + hex_text(device.id) + "\n");
  }
  for (const auto& processor : data.processors) {
    printer.print("processor  " + shown(processor.name) + "\n");
    printer.print("  infoId   " + hex_text(processor.infoId) + "\n");
    printer.print("  infoText " + shown(processor.infoText) + "\n");
    printer.print("  traceId  " + hex_text(processor.traceId) + "\n");
    printer.print("  mapValue " + std::to_string(processor.mapValue) + "\n");
    printer.print("  outFile  " + shown(processor.outFile) + "\n");
  }
}

Json device_json(const DeviceIdentifier_t::DevIdData_t& data) {
  Json devices = Json::array();
  for (const auto& device : data.devices) {
    devices.push_back({{"name", device.name}, {"id", device.id}});
  }
  Json processors = Json::array();
  for (const auto& processor : data.processors) {
    processors.push_back({{"name", processor.name},
                          {"infoId", processor.infoId},
                          {"infoText", processor.infoText},
                          {"traceId", processor.traceId},
                          {"mapValue", processor.mapValue},
                          {"outFile", processor.outFile}});
  }
  const Json members = {{"emulator", data.emulator},
                        {"port", data.port},
                        {"devices", devices},
                        {"processors", processors}};
  return {{"deviceIdentifier", members}};
}

void print_settings(const DeviceConfig_t::DeviceConfigData_t& data, Printer& printer) {
  for (const auto& [name, value] : data.values) {
    printer.print(shown(name) + "=" + shown(value) + "\n");
    if (!has_use_case_prefix(name)) continue;
    const std::string fault = usecase_line_fault(value);
    if (!fault.empty()) {
      printer.print("#   no use case: " + shown(fault) + "\n");
      continue;
    }
    const std::vector<std::string_view> fields = split(value, ';');
    for (std::size_t i = 0; i < fields.size(); ++i) {
      std::string label(kUsecaseFieldNames[i]);
      label.resize(18, ' ');
      printer.print("#   " + label + shown(fields[i]) + "\n");
    }
  }
}

Json settings_json(const DeviceConfig_t::DeviceConfigData_t& data) {
  Json settings = Json::object();
  Json usecases = Json::object();
  for (const auto& [name, value] : data.values) {
    settings[name] = value;
    if (!has_use_case_prefix(name)) continue;
    const std::string fault = usecase_line_fault(value);
    if (!fault.empty()) {
      usecases[name] = {{"fault", fault}};
      continue;
    }
    const std::vector<std::string_view> fields = split(value, ';');
    for (std::size_t i = 0; i < fields.size(); ++i) {
      usecases[name][std::string(kUsecaseFieldNames[i])] = fields[i];
    }
  }
  return {{"settings", settings}, {"usecases", usecases}};
}

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
    if (hex_) return dump(section);
    switch (section_content(section)) {
      case SectionContent::kTraceHeader:
        return header(section);
      case SectionContent::kDecoder:
        return text_section<TraceDecode_t::TraceDecodeData_t>(section, TraceDecode_t::InputValues,
                                                              print_decoder, decoder_json);
      case SectionContent::kDevice: {
        const auto input = [&](std::istream& stream, DeviceIdentifier_t::DevIdData_t& data) {
          DeviceIdentifier_t::InputData(stream, section.version, data);
        };
        return text_section<DeviceIdentifier_t::DevIdData_t>(section, input, print_device,
                                                             device_json);
      }
      case SectionContent::kSettings:
        return text_section<DeviceConfig_t::DeviceConfigData_t>(
            section, DeviceConfig_t::InputValues, print_settings, settings_json);
      case SectionContent::kUnknown:
        return dump(section);
    }
  }

  /// The exit status of the whole.
  int finish() {
    if (list_) list_->finish(fault_as_json(file_));
    printer_.finish();
    return std::max(status_, report_fault(file_));
  }

 private:
  void print_heading(const TraceSection& section) {
    printer_.print(std::string(is_first_ ? "" : "\n") + "# " + shown(section.name) + " version " +
                   std::to_string(section.version) + ", at byte " + std::to_string(section.offset) +
                   ", " + std::to_string(section.payloadLength) + " bytes of data\n");
    is_first_ = false;
  }

  void print_json(const TraceSection& section, const Json& members) {
    Json object = section_as_json(section);
    object.update(members);
    list_->item(object);
  }

  /// A record that cannot be read is told of, and shown as the bytes that it is.
  void header(const TraceSection& section) {
    const std::string payload = file_.payload(section);
    TraceHeader header;
    const auto fault = read_trace_header(
        {reinterpret_cast<const std::uint8_t*>(payload.data()), payload.size()}, header);
    if (fault) {
      report(file_.name(), section.payloadOffset + fault->offset,
             section_label(section) + ": " + fault->reason);
      status_ = kExitDamaged;
      return dump(section);
    }
    const HeaderView view{header};
    if (list_) {
      print_json(section, view.json());
    } else {
      view.print(printer_);
    }
  }

  template <typename Data, typename Input, typename Print, typename ToJson>
  void text_section(const TraceSection& section, Input input, Print print, ToJson to_json) {
    const std::string payload = file_.payload(section);
    std::istringstream stream{std::string(text_of_payload(payload))};
    Data data;
    input(stream, data);
    if (list_) {
      print_json(section, to_json(data));
    } else {
      print(data, printer_);
    }
  }

  void dump(const TraceSection& section) {
    if (list_) return dump_as_json(section);
    std::uint64_t offset = 0;
    std::vector<std::uint8_t> line;
    const auto print_line = [&] {
      printer_.print(dump_line(offset, line));
      offset += line.size();
      line.clear();
    };
    file_.read(section, [&](std::span<const std::uint8_t> piece) {
      for (const std::uint8_t byte : piece) {
        line.push_back(byte);
        if (line.size() == kDumpBytes) print_line();
      }
    });
    if (!line.empty()) print_line();
  }

  /// A payload may be larger than a JSON value should be held in memory, so it is written as read.
  void dump_as_json(const TraceSection& section) {
    list_->begin_item();
    std::string object = json_text(section_as_json(section));
    object.pop_back();
    printer_.print(object + ",\"hex\":\"");
    file_.read(section, [&](std::span<const std::uint8_t> piece) {
      std::string digits;
      for (const std::uint8_t byte : piece) append_hex(digits, byte, 2);
      printer_.print(digits);
    });
    printer_.print("\"}");
  }

  static constexpr std::size_t kDumpBytes = 16;

  static std::string dump_line(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    std::string text;
    append_hex(text, offset, 8);
    text += ' ';
    for (std::size_t i = 0; i < kDumpBytes; ++i) {
      text += i == kDumpBytes / 2 ? "  " : " ";
      if (i < bytes.size()) {
        append_hex(text, bytes[i], 2);
      } else {
        text += "  ";
      }
    }
    text += "  |";
    for (const std::uint8_t byte : bytes) {
      text += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
    }
    return text + "|\n";
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
      arguments.section.name.empty() ? nullptr : &arguments.section.find_in(file);
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
  CLI::App* const app = tdf.add_subcommand("show", "Show what is in the sections");
  const auto arguments = std::make_shared<ShowArguments>();
  app->add_option("FILE", arguments->file, "The trace data file")->required();
  CLI::Option* const section =
      app->add_option("SECTION", arguments->section.name, "One section only, by its name");
  arguments->section.add_version_option(*app);
  app->get_option("--section-version")->needs(section);
  app->add_flag("--hex", arguments->hex, "Show the bytes, also of sections that are known");
  app->add_option("--format", arguments->format, "How to print: text or json")
      ->check(CLI::IsMember({"text", "json"}))
      ->capture_default_str();
  refuse_empty_values(*app);
  return {app, [arguments] { return run_show(*arguments); }};
}

}  // namespace qbt2::tool
