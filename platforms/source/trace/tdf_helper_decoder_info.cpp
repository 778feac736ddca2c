#include "platforms/source/trace/tdf_helper_decoder_info.h"

#include <istream>
#include <ostream>
#include <utility>

#include "common/source/logging/debug_log.h"
#include "common/source/source_utilities/extract_number.h"
#include "platforms/source/trace/clean_string.h"
#include "platforms/source/trace/config_text.h"
#include "platforms/source/trace/tdf_format.h"
#include "platforms/source/trace/tdf_handler.h"
#include "platforms/source/trace/tdf_helper_section.h"

namespace EktTrace::ConfigFile {

using Kz::Dvt::Trace::TDFHandler;
using Kz::Dvt::Trace::TdfFormat::kDecoderInfo;
using KZ_DVT::NumberBase;

const std::string TraceDecode_t::SectionName = kDecoderInfo.name;

namespace {

using TraceDecodeData_t = TraceDecode_t::TraceDecodeData_t;

/// Data types and data formats are below it.
constexpr std::uint32_t kKindLimit = 8;

KZ_DVT::ExtractedNumber<std::uint32_t> Extract(const std::string& value, NumberBase base) {
  return KZ_DVT::ExtractNumber<std::uint32_t>(value, base);
}

/// A data type or a data format, in decimal. An invalid one becomes 0 and is complained about.
std::string InputKind(const std::string& value, const char* complaint, std::uint32_t& kind) {
  const auto number = Extract(value, NumberBase::kDecimal);
  const bool known = number.valid && number.value < kKindLimit;
  kind = known ? number.value : 0;
  return known ? "" : complaint + std::to_string(static_cast<std::int32_t>(number.value));
}

/// Returns what is wrong with the line; empty if nothing is.
std::string InputDecoderLine(const std::string& line, TraceDecodeData_t& data) {
  std::string badSyntax = "Bad syntax: " + line;
  const auto [key, value, hasEquals] = KeyValue(line);
  if (!hasEquals || key.empty() || value.empty()) return badSyntax;
  if (key == "DATA_TYPE") return InputKind(value, "Unrecognized data type: ", data.dataType);
  if (key == "DATA_FORMAT") return InputKind(value, "Unrecognized data format: ", data.dataFormat);
  if (key == "DECODER") {
    data.decoder = value;
  } else if (key == "ATBID") {
    const auto number = Extract(value, NumberBase::kAutomatic);
    if (!number.valid) return badSyntax;
    data.atbId = number.value;
  } else {
    return "Unrecognized name: " + key;
  }
  return {};
}

}  // namespace

TraceDecode_t::TraceDecode_t(std::string fileName, std::uint32_t fileType)
    : m_fileName(std::move(fileName)), m_fileType(fileType) {}

bool TraceDecode_t::Save(const TraceDecodeData_t& data, std::string& errorText) try {
  if (m_fileType != kTdfFileType) return SetError(kFileTypeNotSupported, errorText);
  if (!TDFHandler::ISTDF(m_fileName.c_str())) return SetError(kBadTdfFile, errorText);
  TextOutput stream;
  OutputValues(stream, data);
  SaveSectionText(m_fileName, kDecoderInfo, stream.str());
  return true;
} catch (...) {
  return ReportException(errorText);
}

bool TraceDecode_t::Load(TraceDecodeData_t& data, std::string& errorText) try {
  if (m_fileType != kTdfFileType) return SetError(kFileTypeNotSupported, errorText);
  TextInput stream(LoadSectionText(m_fileName, kDecoderInfo));
  InputValues(stream, data);
  return true;
} catch (...) {
  return ReportException(errorText);
}

void TraceDecode_t::OutputValues(std::ostream& stream, const TraceDecodeData_t& data) {
  stream << "DECODER=" << data.decoder << '\n'
         << "DATA_TYPE=" << std::to_string(data.dataType) << '\n'
         << "DATA_FORMAT=" << std::to_string(data.dataFormat) << '\n'
         << "ATBID=" << std::to_string(data.atbId) << '\n';
}

void TraceDecode_t::InputValues(std::istream& stream, TraceDecodeData_t& data) {
  std::string line;
  while (std::getline(stream, line)) {
    clean_string(line);
    if (line.empty() || line.front() == '#') continue;
    const std::string complaint = InputDecoderLine(line, data);
    if (!complaint.empty()) QBT2_DEBUG_LOG(LOG_ERROR, "%s", complaint.c_str());
  }
}

}  // namespace EktTrace::ConfigFile
