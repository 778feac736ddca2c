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
  printer.print("# time stamp " + std::to_string(header.timestamp) + "\n");
  const auto& items = header.list_items;
  if (items == decltype(header.list_items){}) return;
  printer.print("# lists of older files, with items:");
  for (std::size_t i = 0; i < items.size(); ++i) {
    printer.print(std::string(1, ' ') + "ABCD"[i] + " " + std::to_string(items[i]));
  }
  printer.print("\n");
}

Json to_json(const TraceHeader& header) {
  Json members;
  for (const TraceHeaderField& field : kTraceHeaderFields) {
    std::visit([&](auto member) { members[std::string(field.name)] = header.record.*member; },
               field.member);
  }
  members["timeStamp"] = header.timestamp;
  members["listItems"] = header.list_items;
  return {{"header", members}};
}

void print(const TraceDecode_t::TraceDecodeData_t& data, Printer& printer) {
  printer.print("DECODER=" + shown(data.decoder));
  printer.print("\nDATA_TYPE=" + std::to_string(data.dataType));
  printer.print("\nDATA_FORMAT=" + std::to_string(data.dataFormat));
  printer.print("\nATBID=" + std::to_string(data.atbId) + "\n");
}

Json to_json(const TraceDecode_t::TraceDecodeData_t& data) {
  const Json members = {{"decoder", data.decoder},
                        {"dataType", data.dataType},
                        {"dataFormat", data.dataFormat},
                        {"atbId", data.atbId}};
  return {{"decoderInfo", members}};
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

Json to_json(const DeviceIdentifier_t::DevIdData_t& data) {
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

Json to_json(const DeviceConfig_t::DeviceConfigData_t& data) {
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

Json section_content_json(const SectionData& data) {
  return std::visit([](const auto& content) { return to_json(content); }, data);
}

}  // namespace qbt2::tool
