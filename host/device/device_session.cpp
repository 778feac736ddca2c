#include "host/device/device_session.h"

#include <algorithm>

#include "host/base/error.h"
#include "host/base/parse_number.h"
#include "host/base/use_case_setting.h"

namespace qbt2 {

bool SessionSettings::ReadSetting(const std::string& name, std::string& value, std::string& error) {
  DescribedSetting setting;
  if (!find(name, setting)) {
    error = "The device has no setting " + name;
    return false;
  }
  error.clear();
  value = setting.value;
  return true;
}

bool SessionSettings::WriteSetting(const std::string& name, const std::string& value,
                                   std::string& error) {
  if (name.empty()) {
    error = "A setting needs a name";
    return false;
  }
  error.clear();
  written_[name] = value;
  return true;
}

bool SessionSettings::find(const std::string& name, DescribedSetting& setting) const {
  const auto described = described_.find(name);
  const auto written = written_.find(name);
  if (described == described_.end() && written == written_.end()) return false;
  setting = described == described_.end() ? DescribedSetting{} : described->second;
  if (written != written_.end()) setting.value = written->second;
  return true;
}

std::map<std::string, std::string> SessionSettings::values() const {
  std::map<std::string, std::string> all = written_;
  for (const auto& [name, setting] : described_) all.emplace(name, setting.value);
  return all;
}

DeviceSession::DeviceSession() : DeviceSession(default_device_description()) {}

DeviceSession::DeviceSession(DeviceDescription description)
    : device_name_(description.device->GetName()),
      object_file_(std::move(description.object_file)),
      first_number_(description.first_number),
      second_number_(description.second_number),
      trace_id_(description.trace_id),
      settings_(std::move(description.settings)) {
  identifier_.AddDevice(std::move(description.device));
}

void DeviceSession::write_settings(const std::map<std::string, std::string>& settings) {
  std::string error;
  for (const auto& [name, value] : settings) {
    if (!settings_.WriteSetting(name, value, error)) throw Error(ErrorCode::kInput, error);
  }
}

std::vector<std::uint32_t> DeviceSession::master_ids() const {
  std::vector<std::uint32_t> ids;
  for (const auto& [name, value] : settings_.values()) {
    if (const auto id = use_case_master(name)) ids.push_back(*id);
  }
  std::sort(ids.begin(), ids.end());
  return ids;
}

std::optional<std::string> DeviceSession::described_name(std::uint32_t master) {
  const EktTrace::IDevice_t* const device = identifier_.GetDeviceByName(device_name_);
  const EktTrace::IComponent_t* const tracer =
      device != nullptr ? device->GetComponent(std::string(kTracerName)) : nullptr;
  const auto* const masters =
      tracer != nullptr ? tracer->GetPropertyList(std::string(kMasterList)) : nullptr;
  if (masters == nullptr) return std::nullopt;
  for (const EktTrace::IPropertyEntry_t* const entry : *masters) {
    if (entry == nullptr) continue;
    const auto id = parse_c_number(entry->GetValue());
    if (id && static_cast<std::uint32_t>(*id) == master) return entry->GetName();
  }
  return std::nullopt;
}

Kz::Dvt::Trace::CDeviceIdentifier* DeviceSession::GetDeviceIdentifier() {
  return &identifier_;
}

EktTrace::IConfigAccessor_t* DeviceSession::GetConfigAccessor(const std::string& device,
                                                              const std::string& /*second*/,
                                                              std::string& error) {
  return is_known(device, error) ? &settings_ : nullptr;
}

void DeviceSession::GetObjectFile(const std::string& device, std::string& path) {
  path = device == device_name_ ? object_file_ : std::string();
}

bool DeviceSession::GetDeviceInformation(const std::string& device,
                                         EktTrace::DeviceInformation_t& information,
                                         std::string& error) {
  if (!is_known(device, error)) return false;
  information = {first_number_, second_number_, device_name_};
  return true;
}

bool DeviceSession::GetProperty(const std::string& device, const std::string& /*second*/,
                                const std::string& name, std::string& value, std::uint32_t& kind,
                                std::string& error) {
  if (!is_known(device, error)) return false;
  DescribedSetting setting;
  if (!settings_.find(name, setting)) {
    error = "The device has no setting " + name;
    return false;
  }
  value = setting.value;
  kind = setting.kind;
  return true;
}

bool DeviceSession::is_known(const std::string& device, std::string& error) const {
  if (device == device_name_) {
    error.clear();
    return true;
  }
  error = "There is no device named " + device;
  return false;
}

}  // namespace qbt2
