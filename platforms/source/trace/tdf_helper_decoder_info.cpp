#include "platforms/source/trace/tdf_helper_decoder_info.h"

#include <istream>
#include <ostream>
#include <sstream>
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

const std::string TraceDecode_t::SectionName = kDecoderInfo.name;

namespace {

using TraceDecodeData_t = TraceDecode_t::TraceDecodeData_t;

/// Data types and data formats are below it.
constexpr std::uint32_t kKindLimit = 8;

KZ_DVT::ExtractedNumber<std::uint32_t> ExtractDecimal(const std::string& value) {
  return KZ_DVT::ExtractNumber<std::uint32_t>(value, KZ_DVT::NumberBase::kDecimal);
}

/// A data type or a data format. An invalid one becomes 0 and is logged.
std::uint32_t ReadKind(const std::string& value, const char* complaint) {
  const auto number = ExtractDecimal(value);
  if (number.valid && number.value < kKindLimit) return number.value;
  if (debug_log_wants(LOG_ERROR)) {
    const std::string text = complaint + std::to_string(static_cast<std::int32_t>(number.value));
    QBT2_DEBUG_LOG(LOG_ERROR, "%s", text.c_str());
  }
  return 0;
}

void InputDecoderLine(const std::string& line, TraceDecodeData_t& data) {
  const KeyValue field(line);
  const auto& [key, value, hasEquals] = field;
  if (!hasEquals || key.empty() || value.empty()) {
    QBT2_DEBUG_LOG(LOG_ERROR, "Bad syntax: %s", line.c_str());
  } else if (key == "DECODER") {
    data.decoder = value;
  } else if (key == "DATA_TYPE") {
    data.dataType = ReadKind(value, "Unrecognized data type: ");
  } else if (key == "DATA_FORMAT") {
    data.dataFormat = ReadKind(value, "Unrecognized data format: ");
  } else if (key == "ATBID") {
    const auto number = ExtractDecimal(value);
    if (number.valid) {
      data.atbId = number.value;
    } else {
      QBT2_DEBUG_LOG(LOG_ERROR, "Bad syntax: %s", line.c_str());
    }
  } else {
    QBT2_DEBUG_LOG(LOG_ERROR, "Unrecognized name: %s", key.c_str());
  }
}

}  // namespace

TraceDecode_t::TraceDecode_t(std::string fileName, std::uint32_t fileType)
    : m_fileName(std::move(fileName)), m_fileType(fileType) {}

bool TraceDecode_t::Save(const TraceDecodeData_t& data, std::string& errorText) try {
  if (m_fileType != kTdfFileType) return SetError(kFileTypeNotSupported, errorText);
  if (!TDFHandler::ISTDF(m_fileName.c_str())) return SetError(kBadTdfFile, errorText);
  std::ostringstream stream;
  OutputValues(stream, data);
  SaveSectionText(m_fileName, kDecoderInfo, stream.str());
  return true;
} catch (...) {
  return ReportException(errorText);
}

bool TraceDecode_t::Load(TraceDecodeData_t& data, std::string& errorText) try {
  if (m_fileType != kTdfFileType) return SetError(kFileTypeNotSupported, errorText);
  std::string text;
  if (!LoadSectionText(m_fileName, kDecoderInfo, text, errorText)) return false;
  std::istringstream stream(text);
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
    if (!line.empty() && line.front() != '#') InputDecoderLine(line, data);
  }
}

}  // namespace EktTrace::ConfigFile
