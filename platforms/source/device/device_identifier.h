#pragma once

#include <memory>
#include <string>

#include "interfaces/device_session_if.h"
#include "interfaces/qbt2_export.h"
#include "platforms/source/device/device_base.h"
#include "platforms/source/device/named_collection.h"

/// The devices of a host, found by name; a host passes it to SetDeviceIdentifier. Owns its devices.
/// One thread at a time.
namespace EktTrace {

class QBT2_API DeviceIdentifier_t final : public Kz::Dvt::Trace::CDeviceIdentifier {
 public:
  DeviceIdentifier_t();
  ~DeviceIdentifier_t();
  DeviceIdentifier_t(const DeviceIdentifier_t&) = delete;
  DeviceIdentifier_t& operator=(const DeviceIdentifier_t&) = delete;

  /// Takes ownership. A device whose name is empty or taken is destroyed; null is refused.
  eDeviceResult AddDevice(std::unique_ptr<DeviceBase_t> device);

  /// The device of this name, or null. Borrowed; lives as long as this object.
  const DeviceBase_t* GetDeviceByName(const std::string& name) const override;

 private:
  NamedCollection_t<DeviceBase_t> devices_;
};

}  // namespace EktTrace
