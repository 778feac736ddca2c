#include "platforms/source/trace/tdf_helper_device_identifier.h"

#include <cstddef>
#include <istream>
#include <map>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>

#include "common/source/logging/debug_log.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "platforms/source/trace/clean_string.h"
#include "platforms/source/trace/config_text.h"
#include "platforms/source/trace/stdio_file.h"
#include "platforms/source/trace/tdf_format.h"
#include "platforms/source/trace/tdf_helper_section.h"

namespace EktTrace::ConfigFile {

using Kz::Dvt::Trace::WriteOutcome;
using Kz::Dvt::Trace::TdfFormat::kDeviceIdentifier;

const std::string DeviceIdentifier_t::SectionName = kDeviceIdentifier.name;

namespace {

using DevIdData_t = DeviceIdentifier_t::DevIdData_t;
using DeviceEntry_t = DeviceIdentifier_t::DeviceEntry_t;
using ProcEntry_t = DeviceIdentifier_t::ProcEntry_t;

constexpr char kFieldEnd = '$';
constexpr char kRecordEnd = '~';
constexpr char kItemEnd = ',';

/// The texts of fields that a record leaves out.
constexpr char kUnknownName[] = "Unknown";
constexpr char kNoNumber[] = "0";

/// A record of InputData, which all of these functions belong to.
void LogBadInput(const char* complaint, const std::string& text, int line = __builtin_LINE()) {
  if (debug_log_wants(LOG_ERROR)) {
    debug_log_msg(LOG_ERROR, __FILE__, line, "InputData", "%s: %s", complaint, text.c_str());
  }
}

/// A number of a line: hexadecimal with "0x", decimal without. Anything else is logged and 0.
std::uint32_t ReadNumber(const std::string& text) {
  const int base = text.find("0x") != std::string::npos ? 16 : 10;
  const std::optional<std::uint32_t> number = ParseUnsigned(text, base);
  if (!number) LogBadInput("Bad number, using 0", text);
  return number.value_or(0);
}

/// One record of a line. Names are trimmed: the first one of a line already is, with the line's
/// value, and the lines must agree on a name. Other texts keep their blanks.
class Record {
 public:
  explicit Record(std::string_view text) : m_fields(SplitAt(text, kFieldEnd)) {}

  std::string Name(std::size_t index) const {
    std::string name = Field(index, kUnknownName);
    clean_string(name);
    return name;
  }
  std::string Text(std::size_t index) const { return Field(index, ""); }
  std::uint32_t Number(std::size_t index) const { return ReadNumber(Field(index, kNoNumber)); }

 private:
  std::string Field(std::size_t index, const char* absent) const {
    return index < m_fields.size() ? m_fields[index] : absent;
  }

  std::vector<std::string> m_fields;
};

template <typename Handle>
void ForEachRecord(const std::string& value, Handle handle) {
  for (const std::string& text : SplitAt(value, kRecordEnd)) {
    if (!text.empty()) handle(Record(text));
  }
}

/// DEVICEID lists ids, whose devices get the provisional names "0", "1" and so on; DEVICEMAP has
/// names and ids. A record of the map names the first unnamed device of its id. If there is none it
/// adds a device, since DEVICEID leaves out ids of 0. Pairing by id, not by provisional name,
/// allows a device to be called "0".
class DeviceCollector {
 public:
  void AddId(std::uint32_t id) {
    if (id != 0) {
      m_provisional.push_back({std::to_string(m_provisional.size()), id});
    }
  }
  void AddRecord(const Record& record) { m_named.push_back({record.Name(0), record.Number(1)}); }

  /// The map's devices in its order, then those without a name. Call it after the last line, so
  /// that the order of the lines does not matter.
  std::vector<DeviceEntry_t> Take() {
    std::map<std::uint32_t, std::size_t> recordsOfId;
    for (const DeviceEntry_t& device : m_named) {
      ++recordsOfId[device.id];
    }
    for (DeviceEntry_t& device : m_provisional) {
      std::size_t& records = recordsOfId[device.id];
      if (records > 0) {
        --records;
      } else {
        m_named.push_back(std::move(device));
      }
    }
    return std::move(m_named);
  }

 private:
  std::vector<DeviceEntry_t> m_provisional;
  std::vector<DeviceEntry_t> m_named;
};

/// Several lines describe one processor, by name. Processors are kept in the order in which they
/// are first named. If a line has a name twice, its second record describes the second processor of
/// that name.
class ProcessorCollector {
 public:
  void BeginLine() { m_mentions.clear(); }

  ProcEntry_t& Named(const std::string& name) {
    std::vector<std::size_t>& ofName = m_byName[name];
    std::size_t& mention = m_mentions[name];
    if (mention == ofName.size()) {
      ofName.push_back(m_processors.size());
      m_processors.emplace_back().name = name;
    }
    return m_processors[ofName[mention++]];
  }

  std::vector<ProcEntry_t> Take() { return std::move(m_processors); }

 private:
  std::vector<ProcEntry_t> m_processors;
  std::map<std::string, std::vector<std::size_t>> m_byName;
  std::map<std::string, std::size_t> m_mentions;
};

struct Collected {
  DevIdData_t& data;
  DeviceCollector devices;
  ProcessorCollector processors;
};

void InputEmulator(const std::string& value, Collected& all) {
  all.data.emulator = value;
}

void InputPort(const std::string& value, Collected& all) {
  all.data.port = value;
}

void InputDeviceIds(const std::string& value, Collected& all) {
  for (std::string item : SplitAt(value, kItemEnd)) {
    clean_string(item);
    if (!item.empty()) all.devices.AddId(ReadNumber(item));
  }
}

void InputDeviceMap(const std::string& value, Collected& all) {
  ForEachRecord(value, [&](const Record& record) { all.devices.AddRecord(record); });
}

void InputInfo(const std::string& value, Collected& all) {
  ForEachRecord(value, [&](const Record& record) {
    ProcEntry_t& processor = all.processors.Named(record.Name(1));
    processor.infoId = record.Number(0);
    processor.infoText = record.Text(2);
  });
}

void InputOutFiles(const std::string& value, Collected& all) {
  ForEachRecord(value, [&](const Record& record) {
    all.processors.Named(record.Name(0)).outFile = record.Text(1);
  });
}

void InputTraceIds(const std::string& value, Collected& all) {
  ForEachRecord(value, [&](const Record& record) {
    all.processors.Named(record.Name(1)).traceId = record.Number(0);
  });
}

void InputProcessorMap(const std::string& value, Collected& all) {
  ForEachRecord(value, [&](const Record& record) {
    all.processors.Named(record.Name(0)).mapValue = record.Number(1);
  });
}

struct Keyword {
  std::string_view name;
  void (*input)(const std::string& value, Collected& all);
};

constexpr Keyword kKeywords[] = {
    {"EMU", InputEmulator},        {"PORT", InputPort},        {"DEVICEID", InputDeviceIds},
    {"DEVICEMAP", InputDeviceMap}, {"DEVINFO", InputInfo},     {"PROCMAP", InputProcessorMap},
    {"OUTFILES", InputOutFiles},   {"TRACEID", InputTraceIds},
};

void InputKeyword(const std::string& name, const std::string& value, Collected& all) {
  for (const Keyword& keyword : kKeywords) {
    if (keyword.name == name) {
      all.processors.BeginLine();
      keyword.input(value, all);
      return;
    }
  }
  LogBadInput("Unrecognized keyword in data section", name);
}

void InputLine(const std::string& line, Collected& all) {
  const KeyValue field(line);
  if (!field.hasEquals) {
    // Deliberate: despite the message the line is not ignored. The whole line is keyword and value,
    // so that a bare EMU sets the emulator to "EMU".
    LogBadInput("Line does not match syntax, ignoring", line);
  }
  InputKeyword(field.key, field.value, all);
}

std::string PlainPath(const std::string& fileName) {
  return KZ_DVT::uEnvironment::GetVar("KZ_TRACE_LOGGING_DIR") + "/" + fileName + ".dim";
}

}  // namespace

DeviceIdentifier_t::DeviceIdentifier_t(std::string fileName, std::uint32_t fileType)
    : m_fileName(std::move(fileName)), m_fileType(fileType) {}

bool DeviceIdentifier_t::Save(const DevIdData_t& data, std::string& errorText) try {
  TextOutput stream;
  OutputData(stream, kDeviceIdentifier.version, data);
  const std::string text = stream.str();
  QBT2_DEBUG_LOG(LOG_MSG_PLATFORM, "Saving Device Identifer data: %s ", text.c_str());
  if (m_fileType == kTdfFileType) {
    SaveSectionText(m_fileName, kDeviceIdentifier, text);
    return true;
  }
  if (m_fileType != kPlainFileType4) {
    return SetError("Invalid file type for writing Device Configuration", errorText);
  }
  const std::string path = PlainPath(m_fileName);
  switch (Kz::Dvt::Trace::WriteWholeFile(path, text)) {
    case WriteOutcome::NotOpened:
      return SetError("Failed to open " + path + " for writing", errorText);
    case WriteOutcome::NotWritten:
      return SetError("Failed to write " + path, errorText);
    case WriteOutcome::Written:
      break;
  }
  return true;
} catch (...) {
  return ReportException(errorText);
}

bool DeviceIdentifier_t::Load(DevIdData_t& data, std::string& errorText) try {
  std::string text;
  if (m_fileType == kTdfFileType) {
    text = LoadSectionText(m_fileName, kDeviceIdentifier);
  } else if (m_fileType == kPlainFileType4) {
    const std::string path = PlainPath(m_fileName);
    if (!Kz::Dvt::Trace::ReadWholeFile(path, text)) {
      return SetError("Failed to open file " + path, errorText);
    }
  } else {
    return SetError(kFileTypeNotSupported, errorText);
  }
  TextInput stream(text);
  InputData(stream, kDeviceIdentifier.version, data);
  return true;
} catch (...) {
  return ReportException(errorText);
}

void DeviceIdentifier_t::OutputData(std::ostream& stream, unsigned /*version*/,
                                    const DevIdData_t& data) {
  stream << "EMU=" << data.emulator << "\nPORT=" << data.port << "\nDEVICEID=";
  const char* separator = "";
  for (const DeviceEntry_t& device : data.devices) {
    stream << separator << HexText(device.id);
    separator = ",";
  }
  stream << "\nDEVICEMAP=";
  for (const DeviceEntry_t& device : data.devices) {
    stream << device.name << kFieldEnd << HexText(device.id) << kRecordEnd;
  }
  stream << "\nDEVINFO=";
  for (const ProcEntry_t& processor : data.processors) {
    stream << HexText(processor.infoId) << kFieldEnd << processor.name << kFieldEnd
           << processor.infoText << kRecordEnd;
  }
  stream << "\nOUTFILES=";
  for (const ProcEntry_t& processor : data.processors) {
    if (!processor.outFile.empty()) {
      stream << processor.name << kFieldEnd << processor.outFile << kRecordEnd;
    }
  }
  stream << "\nTRACEID=";
  for (const ProcEntry_t& processor : data.processors) {
    stream << HexText(processor.traceId) << kFieldEnd << processor.name << kRecordEnd;
  }
  stream << "\nPROCMAP=";
  for (const ProcEntry_t& processor : data.processors) {
    // The third field is deliberately empty; readers of this line expect it.
    stream << processor.name << kFieldEnd << std::to_string(processor.mapValue) << kFieldEnd
           << kRecordEnd;
  }
  stream << '\n';
}

void DeviceIdentifier_t::InputData(std::istream& stream, unsigned /*version*/, DevIdData_t& data) {
  Collected all{data, {}, {}};
  std::string line;
  while (std::getline(stream, line)) {
    clean_string(line);
    InputLine(line, all);  // empty lines too: no writer makes one, so they are logged
  }
  data.devices = all.devices.Take();
  data.processors = all.processors.Take();
}

}  // namespace EktTrace::ConfigFile
