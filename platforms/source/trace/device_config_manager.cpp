#include "platforms/source/trace/device_config_manager.h"

#include <exception>
#include <new>
#include <stdexcept>

#include "common/source/logging/debug_log.h"
#include "common/source/source_utilities/extract_number.h"

namespace EktTrace {

using ConfigFile::DeviceConfig_t;
using Kz::Dvt::Trace::ConfigPropertyValue;
using Kz::Dvt::Trace::eTraceDataFileType;

namespace {

/// Reads a number with automatic base. `number` gets its low bits; it is unchanged if the text has
/// no number in the range of Wide.
template <typename Wide, typename Number>
void ReadNumber(const std::string& text, Number& number) {
  const auto read = KZ_DVT::ExtractNumber<Wide>(text, KZ_DVT::NumberBase::kAutomatic);
  if (read.valid) number = static_cast<Number>(read.value);
}

/// Sets type and value from the text. A text that does not convert is not an error: the number
/// stays unchanged and the text itself is the result.
void Convert(std::uint32_t kind, ConfigPropertyValue& value) {
  switch (kind) {
    case eSessionBoolean:
      value.type = Kz::Dvt::Trace::eConfigPropertyBoolean;
      value.value.booleanValue = value.text == "1" ? 1 : 0;  // "true" is false
      break;
    case eSessionSigned32:
      value.type = Kz::Dvt::Trace::eConfigPropertySigned;
      ReadNumber<std::int32_t>(value.text, value.value.signedValue);
      break;
    case eSessionSigned64:
      value.type = Kz::Dvt::Trace::eConfigPropertySigned;
      ReadNumber<std::int64_t>(value.text, value.value.signedValue);
      break;
    case eSessionUnsigned64:
      value.type = Kz::Dvt::Trace::eConfigPropertyUnsigned;
      ReadNumber<std::uint64_t>(value.text, value.value.unsignedValue);
      break;
    case eSessionText:
      value.type = Kz::Dvt::Trace::eConfigPropertyText;
      break;
    case eSessionUnsigned32:
    default:
      value.type = Kz::Dvt::Trace::eConfigPropertyUnsigned;
      ReadNumber<std::uint32_t>(value.text, value.value.unsignedValue);
      break;
  }
}

}  // namespace

DeviceConfigManager_t::DeviceConfigManager_t(IDeviceSession_t* session,
                                             const std::string& deviceName, eConfigType configType,
                                             const std::string& secondName)
    : m_session(session),
      m_deviceName(deviceName),
      m_secondName(secondName),
      m_configType(configType) {
  if (session == nullptr) throw std::runtime_error("Null device pointer");
}

void DeviceConfigManager_t::AddConfigEntry(const std::string& name, _eTraceAttributeId_t id) {
  m_attributes[name] = id;
}

std::string DeviceConfigManager_t::GetDefaultValue(const std::string& /*name*/) {
  return "Unknown";
}

void DeviceConfigManager_t::RegisterEventHandler(Kz::Dvt::Trace::CDeviceConfigEvents* handler) {
  m_eventHandler = handler;
}

bool DeviceConfigManager_t::GetInfo(int& first, int& second, std::string& text) try {
  DeviceInformation_t information;
  std::string error;
  const bool found = m_session->GetDeviceInformation(m_deviceName, information, error);
  m_lastError = error;
  if (found) {
    first = information.first;
    second = information.second;
    text = information.text;
  }
  return found;
} catch (...) {
  return RecordException();
}

bool DeviceConfigManager_t::LoadConfigurationLive() {
  for (const auto& [name, id] : m_attributes) {
    try {
      std::string value;
      std::string error;
      bool read = false;
      try {
        IConfigAccessor_t* const accessor =
            m_session->GetConfigAccessor(m_deviceName, m_secondName, error);
        read = accessor != nullptr && accessor->ReadSetting(name, value, error);
      } catch (...) {
        RecordException();
      }
      m_settings.values[name] = read ? value : GetDefaultValue(name);
      if (read) {
        QBT2_DEBUG_LOG(LOG_MSG_COMMON, "Accessed config setting %s (%s)", name.c_str(),
                       value.c_str());
        continue;
      }
      QBT2_DEBUG_LOG(LOG_MSG_COMMON, "Failed to access config setting %s. Using default value",
                     name.c_str());
      if (!error.empty()) QBT2_DEBUG_LOG(LOG_ERROR, "%s", error.c_str());
    } catch (...) {
      RecordException();
    }
  }
  return true;
}

bool DeviceConfigManager_t::LoadConfiguration(const std::string& path,
                                              eTraceDataFileType type) try {
  QBT2_DEBUG_LOG(LOG_FUNC_ENTRY);
  m_lastError.clear();
  std::string error;
  IConfigAccessor_t* const accessor =
      m_session->GetConfigAccessor(m_deviceName, m_secondName, error);
  if (accessor == nullptr || !DeviceConfig_t(path, type, m_configType).Load(m_settings, error)) {
    QBT2_DEBUG_LOG(LOG_ERROR, "%s", error.c_str());
    m_lastError = error;
    return false;
  }
  for (const auto& [name, value] : m_settings.values) {
    QBT2_DEBUG_LOG(LOG_MSG_PLATFORM, "Applying config setting %s = %s", name.c_str(),
                   value.c_str());
    std::string writeError;
    if (!accessor->WriteSetting(name, value, writeError)) {
      QBT2_DEBUG_LOG(LOG_ERROR, "%s", writeError.c_str());
    }
  }
  return true;
} catch (...) {
  return RecordException();
}

bool DeviceConfigManager_t::SaveConfiguration(const std::string& path,
                                              eTraceDataFileType type) try {
  QBT2_DEBUG_LOG(LOG_FUNC_ENTRY);
  m_lastError.clear();
  for (const auto& [name, value] : m_settings.values) {
    QBT2_DEBUG_LOG(LOG_MSG_PLATFORM, "Saving config setting %s = %s", name.c_str(), value.c_str());
  }
  bool saved = false;
  try {
    std::string error;
    saved = DeviceConfig_t(path, type, m_configType).Save(m_settings, error);
    if (!saved) {
      QBT2_DEBUG_LOG(LOG_ERROR, "%s", error.c_str());
      m_lastError = error;
    }
  } catch (...) {
    RecordException();
  }
  QBT2_DEBUG_LOG(LOG_FUNC_EXIT, "returns %s", saved ? "success" : "failure");
  return saved;
} catch (...) {
  return RecordException();
}

bool DeviceConfigManager_t::GetProperty(const std::string& name, ConfigPropertyValue& value) try {
  std::string text;
  std::string error;
  std::uint32_t kind = eSessionUnsigned32;
  if (!m_session->GetProperty(m_deviceName, m_secondName, name, text, kind, error)) {
    QBT2_DEBUG_LOG(LOG_ERROR, "%s", error.c_str());
    m_lastError = error;
    return false;
  }
  const auto held = m_settings.values.find(name);
  value.text = held != m_settings.values.end() ? held->second : text;
  Convert(kind, value);
  m_lastError = error;
  return true;
} catch (...) {
  return RecordException();
}

bool DeviceConfigManager_t::GetObjectFile(const std::string& /*name*/, std::string& path) {
  try {
    m_session->GetObjectFile(m_deviceName, path);
  } catch (...) {
    RecordException();
  }
  return true;
}

std::string DeviceConfigManager_t::GetLastError() const try {
  return m_lastError;
} catch (const std::bad_alloc&) {
  return {};
}

/// Call it in an operation's handler; the record carries that place. The session is the host's and
/// may throw anything.
bool DeviceConfigManager_t::RecordException(int line, const char* function) noexcept try {
  try {
    throw;
  } catch (const std::exception& exception) {
    m_lastError = exception.what();
  } catch (...) {
    m_lastError = "Unknown exception";
  }
  if (debug_log_wants(LOG_ERROR)) {
    debug_log_msg(LOG_ERROR, __FILE__, line, function, "%s", m_lastError.c_str());
  }
  return false;
} catch (...) {
  return false;
}

}  // namespace EktTrace
