#include "tools/qbt2/commands/section_view.h"

#include <array>
#include <sstream>
#include <string_view>
#include <type_traits>
#include <vector>

#include "host/base/number_text.h"
#include "host/base/text_parts.h"
#include "host/base/use_case_setting.h"
#include "host/tdf/usecase_check.h"

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

std::string json_member(std::string_view name, const Json& value) {
  return json_text(Json(name)) + ":" + json_text(value);
}

/// The elements of an array, or the members of an object, printed one by one.
class JsonPieces {
 public:
  JsonPieces(Printer& printer, char open, char close) : printer_(printer), close_(close) {
    printer_.print({&open, 1});
  }
  void add(const std::string& piece) {
    if (!is_first_) printer_.print(",");
    printer_.print(piece);
    is_first_ = false;
  }
  void finish() { printer_.print({&close_, 1}); }

 private:
  Printer& printer_;
  char close_;
  bool is_first_ = true;
};

std::string field_text(const TraceHeader& header, const TraceHeaderField& field) {
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

void print(const TraceHeader& header, Printer& printer) {
  for (const TraceHeaderField& field : kTraceHeaderFields) {
    printer.print(std::string(field.name) + "=" + field_text(header, field) + "\n");
  }
  printer.print("# timestamp " + std::to_string(header.timestamp) + "\n");
  const auto& items = header.list_items;
  if (items == decltype(header.list_items){}) return;
  printer.print("# lists of older files, with items:");
  for (std::size_t i = 0; i < items.size(); ++i) {
    printer.print(std::string(1, ' ') + "ABCD"[i] + " " + std::to_string(items[i]));
  }
  printer.print("\n");
}

void print_json(const TraceHeader& header, Printer& printer) {
  Json members;
  for (const TraceHeaderField& field : kTraceHeaderFields) {
    std::visit([&](auto member) { members[std::string(field.name)] = header.record.*member; },
               field.member);
  }
  members["timeStamp"] = header.timestamp;
  members["listItems"] = header.list_items;
  printer.print(json_member("header", members));
}

void print(const TraceDecode_t::TraceDecodeData_t& data, Printer& printer) {
  printer.print("DECODER=" + shown(data.decoder));
  printer.print("\nDATA_TYPE=" + std::to_string(data.dataType));
  printer.print("\nDATA_FORMAT=" + std::to_string(data.dataFormat));
  printer.print("\nATBID=" + std::to_string(data.atbId) + "\n");
}

void print_json(const TraceDecode_t::TraceDecodeData_t& data, Printer& printer) {
  const Json members = {{"decoder", data.decoder},
                        {"dataType", data.dataType},
                        {"dataFormat", data.dataFormat},
                        {"atbId", data.atbId}};
  printer.print(json_member("decoderInfo", members));
}

void print(const DeviceIdentifier_t::DevIdData_t& data, Printer& printer) {
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

void print_json(const DeviceIdentifier_t::DevIdData_t& data, Printer& printer) {
  printer.print("\"deviceIdentifier\":{" + json_member("emulator", data.emulator) + "," +
                json_member("port", data.port) + ",\"devices\":");
  JsonPieces devices(printer, '[', ']');
  for (const auto& device : data.devices) {
    devices.add(json_text({{"name", device.name}, {"id", device.id}}));
  }
  devices.finish();
  printer.print(",\"processors\":");
  JsonPieces processors(printer, '[', ']');
  for (const auto& processor : data.processors) {
    processors.add(json_text({{"name", processor.name},
                              {"infoId", processor.infoId},
                              {"infoText", processor.infoText},
                              {"traceId", processor.traceId},
                              {"mapValue", processor.mapValue},
                              {"outFile", processor.outFile}}));
  }
  processors.finish();
  printer.print("}");
}

void print(const DeviceConfig_t::DeviceConfigData_t& data, Printer& printer) {
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

Json usecase_json(const std::string& line) {
  const std::string fault = usecase_line_fault(line);
  if (!fault.empty()) return {{"fault", fault}};
  Json usecase;
  const std::vector<std::string_view> fields = split(line, ';');
  for (std::size_t i = 0; i < fields.size(); ++i) {
    usecase[std::string(kUsecaseFieldNames[i])] = fields[i];
  }
  return usecase;
}

void print_json(const DeviceConfig_t::DeviceConfigData_t& data, Printer& printer) {
  printer.print("\"settings\":");
  JsonPieces settings(printer, '{', '}');
  for (const auto& [name, value] : data.values) settings.add(json_member(name, value));
  settings.finish();
  printer.print(",\"usecases\":");
  JsonPieces usecases(printer, '{', '}');
  for (const auto& [name, value] : data.values) {
    if (has_use_case_prefix(name)) usecases.add(json_member(name, usecase_json(value)));
  }
  usecases.finish();
}

/// What a reader takes from the text of a payload.
template <typename Data, typename Input>
Data read_text(const std::string& payload, Input input) {
  std::istringstream stream{std::string(text_of_payload(payload))};
  Data data;
  input(stream, data);
  return data;
}

}  // namespace

std::optional<SectionData> read_section(const TraceFile& file, const TraceSection& section,
                                        std::optional<TraceHeaderFault>& fault) {
  const SectionContent content = section_content(section);
  if (content == SectionContent::kUnknown) return std::nullopt;
  const bool is_text = content != SectionContent::kTraceHeader;
  if (is_text && section.payloadLength > kMostTextBytes) return std::nullopt;
  const std::string payload = file.payload(section);
  switch (content) {
    case SectionContent::kTraceHeader: {
      TraceHeader header;
      fault = read_trace_header(
          {reinterpret_cast<const std::uint8_t*>(payload.data()), payload.size()}, header);
      if (fault) return std::nullopt;
      return header;
    }
    case SectionContent::kDecoder:
      return read_text<TraceDecode_t::TraceDecodeData_t>(payload, TraceDecode_t::InputValues);
    case SectionContent::kDevice:
      return read_text<DeviceIdentifier_t::DevIdData_t>(
          payload, [&](std::istream& stream, DeviceIdentifier_t::DevIdData_t& data) {
            DeviceIdentifier_t::InputData(stream, section.version, data);
          });
    case SectionContent::kSettings:
      return read_text<DeviceConfig_t::DeviceConfigData_t>(payload, DeviceConfig_t::InputValues);
    case SectionContent::kUnknown:
      break;
  }
  return std::nullopt;
}

void print_section(const SectionData& data, Printer& printer) {
  std::visit([&](const auto& content) { print(content, printer); }, data);
}

void print_section_json(const SectionData& data, Printer& printer) {
  std::visit([&](const auto& content) { print_json(content, printer); }, data);
}

}  // namespace qbt2::tool
