#include "platforms/source/trace/tdf_helper_device_config.h"

#include <array>
#include <istream>
#include <ostream>
#include <utility>

#include "common/source/logging/debug_log.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "platforms/source/trace/clean_string.h"
#include "platforms/source/trace/config_text.h"
#include "platforms/source/trace/stdio_file.h"
#include "platforms/source/trace/tdf_format.h"
#include "platforms/source/trace/tdf_handler.h"
#include "platforms/source/trace/tdf_helper_section.h"

namespace EktTrace::ConfigFile {

using namespace Kz::Dvt::Trace::TdfFormat;
using Kz::Dvt::Trace::TDFHandler;
using Kz::Dvt::Trace::WriteOutcome;

const std::string DeviceConfig_t::ArmSectionName = kArmConfig.name;
const std::string DeviceConfig_t::DspSectionName = kDspConfig.name;
const std::string DeviceConfig_t::StmSectionName = kStmConfig.name;

namespace {

/// By configuration type.
constexpr std::array<SectionKind, 3> kSections = {kArmConfig, kDspConfig, kStmConfig};
static_assert(DeviceConfig_t::eArmConfig == 0 && DeviceConfig_t::eDspConfig == 1 &&
              DeviceConfig_t::eStmConfig == 2);

const SectionKind& SectionOf(std::uint32_t configType) {
  if (configType >= kSections.size()) Fail("Bad configuration type.");
  return kSections[configType];
}

bool SavePlainFile(const std::string& path, const std::string& text, std::string& errorText) {
  switch (Kz::Dvt::Trace::WriteWholeFile(path, text)) {
    case WriteOutcome::NotOpened:
      return SetError("Error opening file " + path + " for writing", errorText);
    case WriteOutcome::NotWritten:
      return SetError("Error writing file " + path, errorText);
    case WriteOutcome::Written:
      break;
  }
  return true;
}

}  // namespace

DeviceConfig_t::DeviceConfig_t(std::string fileName, std::uint32_t fileType,
                               std::uint32_t configType)
    : m_fileName(std::move(fileName)), m_fileType(fileType), m_configType(configType) {}

bool DeviceConfig_t::Save(const DeviceConfigData_t& data, std::string& errorText) try {
  TextOutput stream;
  OutputValues(stream, data);
  const std::string text = stream.str();
  QBT2_DEBUG_LOG(LOG_MSG_PLATFORM, "Saving Device Config data to file %s\n: %s ",
                 m_fileName.c_str(), text.c_str());
  switch (m_fileType) {
    case kPlainFileType1:
    case kPlainFileType2:
    case kPlainFileType4:
      return SavePlainFile(m_fileName, text, errorText);
    case kTdfFileType:
      return SaveSection(text, errorText);
    default:
      return SetError(kFileTypeNotSupported, errorText);
  }
} catch (...) {
  return ReportException(errorText);
}

bool DeviceConfig_t::SaveSection(const std::string& text, std::string& errorText) const {
  if (!TDFHandler::ISTDF(m_fileName.c_str())) return SetError(kBadTdfFile, errorText);
  SaveSectionText(m_fileName, SectionOf(m_configType), text);
  return true;
}

bool DeviceConfig_t::Load(DeviceConfigData_t& data, std::string& errorText) try {
  switch (m_fileType) {
    case kPlainFileType1:
    case kPlainFileType4:  // not type 2, which can only be saved
      return LoadPlainFile(data, errorText);
    case kTdfFileType:
      return LoadSection(data);
    default:
      return SetError(kFileTypeNotSupported, errorText);
  }
} catch (...) {
  return ReportException(errorText);
}

bool DeviceConfig_t::LoadPlainFile(DeviceConfigData_t& data, std::string& errorText) const {
  // Without the variable the directory is empty, so that an absolute name still works.
  const std::string path = KZ_DVT::uEnvironment::GetVar("KZ_TRACE_SETTINGS_DIR") + "/" + m_fileName;
  std::string text;
  if (!Kz::Dvt::Trace::ReadWholeFile(path, text)) {
    return SetError("Failed to open file " + path, errorText);
  }
  TextInput stream(text);
  InputValues(stream, data);
  return true;
}

bool DeviceConfig_t::LoadSection(DeviceConfigData_t& data) const {
  if (!TDFHandler::ISTDF(m_fileName.c_str())) Fail(kBadTdfFile);
  TextInput stream(LoadSectionText(m_fileName, SectionOf(m_configType)));
  InputValues(stream, data);
  return true;
}

void DeviceConfig_t::OutputValues(std::ostream& stream, const DeviceConfigData_t& data) const {
  for (const auto& [name, value] : data.values) {
    stream << name << '=' << value << '\n';
  }
  if (m_configType != eStmConfig) return;
  for (const IUseCaseText_t* block : {data.useCaseText1, data.useCaseText2, data.useCaseText3}) {
    if (block != nullptr) stream << block->GetText();
  }
}

void DeviceConfig_t::InputValues(std::istream& stream, DeviceConfigData_t& data) {
  std::string line;
  while (std::getline(stream, line)) {
    clean_string(line);
    if (line.empty() || line.front() == '#') continue;
    if (line.front() == '{') {
      InputOneUseCase(line, stream, data);
    } else {
      InputOneValue(line, data);
    }
  }
}

void DeviceConfig_t::InputOneValue(const std::string& line, DeviceConfigData_t& data) {
  // Deliberate: a line without '=' is a switch, a setting whose value is its own name.
  const KeyValue setting(line);
  if (!setting.key.empty() && !setting.value.empty()) data.values[setting.key] = setting.value;
}

void DeviceConfig_t::InputOneUseCase(const std::string& /*line*/, std::istream& /*stream*/,
                                     DeviceConfigData_t& /*data*/) {}

}  // namespace EktTrace::ConfigFile
