#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/device/device_description.h"
#include "interfaces/device_session_if.h"
#include "platforms/source/device/device_identifier.h"

/// The reference host's device session: a configuration manager's view of its device, without a
/// live device. Its settings are those of the description, overridden by those written since (a
/// manager writes every setting that it loads from a file). Used by one thread at a time; must
/// outlive the managers and decoder units that use it.
namespace qbt2 {

/// The settings of one device, read and written through the manager's accessor.
class SessionSettings final : public EktTrace::IConfigAccessor_t {
 public:
  explicit SessionSettings(std::map<std::string, DescribedSetting> described)
      : described_(std::move(described)) {}

  /// False with `error` filled, and `value` unchanged, for a setting neither described nor written.
  bool ReadSetting(const std::string& name, std::string& value, std::string& error) override;
  /// Refuses an empty name only. A value that is not of the described kind is kept: the manager
  /// returns it with the kind and without a number.
  bool WriteSetting(const std::string& name, const std::string& value, std::string& error) override;

  /// False when the setting is not known. The kind is the described one, or text for a setting
  /// that was only written.
  bool find(const std::string& name, DescribedSetting& setting) const;
  /// All settings with their current values, in byte order of the names.
  std::map<std::string, std::string> values() const;

 private:
  std::map<std::string, DescribedSetting> described_;
  std::map<std::string, std::string> written_;
};

class DeviceSession final : public EktTrace::IDeviceSession_t {
 public:
  /// A session on default_device_description().
  DeviceSession();
  explicit DeviceSession(DeviceDescription description);
  DeviceSession(const DeviceSession&) = delete;
  DeviceSession& operator=(const DeviceSession&) = delete;

  /// The name under which a configuration manager finds the device.
  const std::string& device_name() const { return device_name_; }
  /// The description's, see DeviceDescription.
  std::optional<std::uint8_t> trace_id() const { return trace_id_; }
  const SessionSettings& settings() const { return settings_; }
  /// Writes each setting, as a manager does with those that it loads from a file. Throws
  /// Error(kInput) at an empty name.
  void write_settings(const std::map<std::string, std::string>& settings);
  /// The master ids with a setting QBT2_<id>, in ascending order. Names that the decoder never
  /// reads (leading zeros, hexadecimal, more than 32 bits) do not count.
  std::vector<std::uint32_t> master_ids() const;
  /// The name that the description gives a master; empty where it gives none.
  std::optional<std::string> described_name(std::uint32_t master);

  // EktTrace::IDeviceSession_t. The second name is ignored: a session has one set of settings. A
  // device of another name is refused with an error text.
  Kz::Dvt::Trace::CDeviceIdentifier* GetDeviceIdentifier() override;
  EktTrace::IConfigAccessor_t* GetConfigAccessor(const std::string& device,
                                                 const std::string& second,
                                                 std::string& error) override;
  /// Empty when there is no such device or no object file.
  void GetObjectFile(const std::string& device, std::string& path) override;
  /// The description's two numbers and the device's name, by which the decoder finds the device.
  bool GetDeviceInformation(const std::string& device, EktTrace::DeviceInformation_t& information,
                            std::string& error) override;
  bool GetProperty(const std::string& device, const std::string& second, const std::string& name,
                   std::string& value, std::uint32_t& kind, std::string& error) override;

 private:
  bool is_known(const std::string& device, std::string& error) const;

  std::string device_name_;
  std::string object_file_;
  int first_number_;
  int second_number_;
  std::optional<std::uint8_t> trace_id_;
  SessionSettings settings_;
  EktTrace::DeviceIdentifier_t identifier_;
};

}  // namespace qbt2
