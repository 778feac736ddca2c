#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "interfaces/device_session_if.h"
#include "interfaces/qbt2_export.h"
#include "platforms/source/device/device_base.h"
#include "platforms/source/device/named_collection.h"

/// The devices of a host, found by name; what a host hands to SetDeviceIdentifier. Owns its
/// devices. One thread at a time.
namespace EktTrace {

class QBT2_API DeviceIdentifier_t final : public Kz::Dvt::Trace::CDeviceIdentifier {
 public:
  DeviceIdentifier_t();
  ~DeviceIdentifier_t();
  DeviceIdentifier_t(const DeviceIdentifier_t&) = delete;
  DeviceIdentifier_t& operator=(const DeviceIdentifier_t&) = delete;

  /// Takes the device over when its name is new and not empty, else destroys it. Never null.
  eDeviceResult AddDevice(std::unique_ptr<DeviceBase_t> device);

  /// The device of this name, or null. Borrowed; lives as long as this object.
  const DeviceBase_t* GetDeviceByName(const std::string& name) const override;
  /// The same device for a host that changes it, for example to keep trace routes.
  DeviceBase_t* GetMutableDevice(std::string_view name) { return devices_.Find(name); }
  /// In the order of adding.
  const std::vector<const DeviceBase_t*>& GetDevices() const { return devices_.GetAll(); }

 private:
  NamedCollection_t<DeviceBase_t> devices_;
};

}  // namespace EktTrace
