#pragma once

#include <string>

#include "platforms/source/trace/device_config_manager.h"

/// The configuration manager of a System Trace Module that carries bus tracer messages: its fixed
/// settings, and one use-case setting for each bus master that the device model lists.
namespace EktTrace {

class QBT2_API DeviceConfigManagerStm_t : public DeviceConfigManager_t {
 public:
  /// Registers the settings. A device without the component "MOD_QBTRACER0", or without its master
  /// list, has the fixed ones only. Throws as the base does and as the session does.
  DeviceConfigManagerStm_t(IDeviceSession_t* session, const std::string& deviceName,
                           const std::string& secondName);

  /// A new manager, which the caller owns and deletes, or null with `error` filled: exceptions of
  /// the construction are caught. Never throws; without memory for the text `error` stays as it
  /// was.
  static DeviceConfigManagerStm_t* Construct(IDeviceSession_t* session,
                                             const std::string& deviceName,
                                             const std::string& secondName,
                                             std::string& error) noexcept;

  /// "0" for every name, registered or not.
  std::string GetDefaultValue(const std::string& name) override;

 private:
  void AddMasterEntries(IDeviceSession_t& session);

  std::string m_stmDeviceName;
};

}  // namespace EktTrace
