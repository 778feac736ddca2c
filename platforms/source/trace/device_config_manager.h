#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "interfaces/device_config_manager_if.h"
#include "interfaces/device_session_if.h"
#include "interfaces/qbt2_export.h"
#include "platforms/source/trace/tdf_helper.h"

/// The settings of a traced device by name: read live from the device session, from a saved
/// configuration, or one at a time on demand; what was read can be saved. Flavours register the
/// names they know. One thread at a time uses a manager: the host's configuration thread.
namespace EktTrace {

/// Ids of the configuration attributes in use, as the host's device layer numbers them.
enum _eTraceAttributeId_t : std::uint32_t {
  eTraceAttributeBufferWrapped = 14,
  eTraceAttributeTwpProtocol = 20,
  eTraceAttributeDtcClockHz = 21,
  eTraceAttributeAtbId = 23,
  eTraceAttributeHeadPresent0 = 33,
  eTraceAttributeHeadPresent1 = 34,
  eTraceAttributeHeadPointer0 = 35,
  eTraceAttributeHeadPointer1 = 36,
  eTraceAttributeStpVersion = 37,
  eTraceAttributeNeedsPreprocess = 38,
  eTraceAttributeDataFlip = 39,
  eTraceAttributeDtcTargetPins = 41,
  eTraceAttributeHwDbgLibImport = 42,
  eTraceAttributeInstructionCompress = 51,
  eTraceAttributeDataCompress = 52,
  eTraceAttributeProtocol = 65,
  eTraceAttributeQbt2UseCase = 66,
};

/// Slot order is that of the interface, then GetDefaultValue. Failures are a false result and a
/// text that GetLastError returns. After construction nothing throws, even if the session does.
class QBT2_API DeviceConfigManager_t : public Kz::Dvt::Trace::CDeviceConfigManager {
 public:
  using eConfigType = ConfigFile::DeviceConfig_t::eConfigType;
  using AttributeMap = std::map<std::string, _eTraceAttributeId_t>;

  /// `session` is borrowed and outlives the manager; null throws std::runtime_error. `deviceName`
  /// is the session's name of the device; `secondName` is passed to the session with it, unchanged.
  DeviceConfigManager_t(IDeviceSession_t* session, const std::string& deviceName,
                        eConfigType configType, const std::string& secondName);
  ~DeviceConfigManager_t() override = default;

  void RegisterEventHandler(Kz::Dvt::Trace::CDeviceConfigEvents* handler) override;
  bool GetInfo(int& first, int& second, std::string& text) override;

  /// Reads every registered setting; those that cannot be read get GetDefaultValue. Always true:
  /// failures show as defaults and in the debug log.
  bool LoadConfigurationLive() override;

  /// Adds the settings of a file to the stored values and writes all stored values to the device. A
  /// setting that cannot be written is logged; the load still succeeds.
  bool LoadConfiguration(const std::string& path, Kz::Dvt::Trace::eTraceDataFileType type) override;
  bool SaveConfiguration(const std::string& path, Kz::Dvt::Trace::eTraceDataFileType type) override;

  /// The session says whether the setting exists and what kind it is; a value that was loaded or
  /// read live wins over the session's. Numbers are decimal, 0x hexadecimal or 0 octal; a text that
  /// is not a number leaves `value.value` unchanged.
  bool GetProperty(const std::string& name, Kz::Dvt::Trace::ConfigPropertyValue& value) override;

  /// The device's object file. Deliberate: a device has one, so `name` is not used and the result
  /// is always true.
  bool GetObjectFile(const std::string& name, std::string& path) override;
  std::string GetLastError() const override;

  /// The value of a setting that cannot be read.
  virtual std::string GetDefaultValue(const std::string& name);

  /// Registers a setting; a registered name gets the new id.
  void AddConfigEntry(const std::string& name, _eTraceAttributeId_t id);
  const AttributeMap& GetConfigEntries() const { return m_attributes; }

 private:
  bool RecordException(int line = __builtin_LINE(),
                       const char* function = __builtin_FUNCTION()) noexcept;

  AttributeMap m_attributes;
  IDeviceSession_t* m_session;
  std::string m_deviceName;
  std::string m_secondName;
  eConfigType m_configType;
  Kz::Dvt::Trace::CDeviceConfigEvents* m_eventHandler = nullptr;
  std::string m_lastError;
  ConfigFile::DeviceConfig_t::DeviceConfigData_t m_settings;
};

}  // namespace EktTrace
