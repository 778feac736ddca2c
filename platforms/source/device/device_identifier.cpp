#include "platforms/source/device/device_identifier.h"

#include <utility>

#include "common/source/logging/debug_log.h"

namespace EktTrace {

DeviceIdentifier_t::DeviceIdentifier_t() = default;

DeviceIdentifier_t::~DeviceIdentifier_t() = default;

eDeviceResult DeviceIdentifier_t::AddDevice(std::unique_ptr<DeviceBase_t> device) {
  QBT2_DEBUG_LOG_SCOPE();
  return devices_.Add(std::move(device));
}

const DeviceBase_t* DeviceIdentifier_t::GetDeviceByName(const std::string& name) const {
  QBT2_DEBUG_LOG_SCOPE();
  return devices_.Find(name);
}

}  // namespace EktTrace
