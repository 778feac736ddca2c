#include "host/tdf/section_sources.h"

#include <optional>
#include <sstream>
#include <string_view>

#include "host/base/error.h"
#include "host/base/input_file.h"
#include "host/tdf/section_text_check.h"
#include "platforms/source/trace/tdf_format.h"

namespace qbt2 {
namespace {

namespace format = Kz::Dvt::Trace::TdfFormat;
using EktTrace::ConfigFile::DeviceConfig_t;
using EktTrace::ConfigFile::DeviceIdentifier_t;
using EktTrace::ConfigFile::TraceDecode_t;

constexpr std::size_t kMostPlainBytes = std::size_t{16} << 20;

std::string read_plain_file(const std::string& path) {
  std::string text = load_section_payload(path, kMostPlainBytes, "is larger than 16 MiB");
  if (const std::size_t zero = text.find('\0'); zero != std::string::npos) {
    throw Error(ErrorCode::kInput, path, zero, "has a zero byte, so it is not a text");
  }
  return text;
}

/// The text of a plain file without faults.
std::string read_checked(const std::string& path,
                         void (*check)(std::string_view, const FindingSink&),
                         const TextNote& on_note) {
  std::string text = read_plain_file(path);
  check(text, [&](const Finding& finding) {
    if (finding.severity == FindingSeverity::kFault) {
      throw Error(ErrorCode::kInput, path, finding.text);
    }
    on_note(path, finding.text);
  });
  return text;
}

}  // namespace

TraceHeaderRecord load_header_file(const std::string& path) {
  return parse_trace_header_text(read_plain_file(path), path);
}

TraceDecode_t::TraceDecodeData_t load_decoder_file(const std::string& path,
                                                   const TextNote& on_note) {
  std::istringstream stream(read_checked(path, check_decoder_text, on_note));
  TraceDecode_t::TraceDecodeData_t data;
  TraceDecode_t::InputValues(stream, data);
  return data;
}

DeviceIdentifier_t::DevIdData_t load_device_file(const std::string& path, const TextNote& on_note) {
  std::istringstream stream(read_checked(path, check_device_text, on_note));
  DeviceIdentifier_t::DevIdData_t data;
  DeviceIdentifier_t::InputData(stream, format::kDeviceIdentifier.version, data);
  return data;
}

DeviceConfig_t::DeviceConfigData_t load_settings_file(const std::string& path,
                                                      const TextNote& on_note) {
  std::istringstream stream(read_checked(path, check_settings_text, on_note));
  DeviceConfig_t::DeviceConfigData_t data;
  DeviceConfig_t::InputValues(stream, data);
  return data;
}

std::string load_section_payload(const std::string& path, std::size_t most_bytes,
                                 const std::string& too_large) {
  InputFile file(path);
  std::optional<std::string> bytes = read_up_to(file, most_bytes);
  if (!bytes) throw Error(ErrorCode::kInput, file.name(), too_large);
  return *std::move(bytes);
}

}  // namespace qbt2
