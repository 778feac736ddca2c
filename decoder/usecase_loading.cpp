#include <cstdint>
#include <string>
#include <vector>

#include "decoder/StpQBTracer2DecoderImpl.h"
#include "decoder/usecase_layout.h"
#include "decoder/usecase_line.h"

namespace {

/// Name of the setting that holds the use-case line of this master.
std::string SettingOfMaster(std::uint32_t masterId) {
  return std::string(Kz::Dvt::Trace::kUseCaseSettingPrefix) + std::to_string(masterId);
}

/// The name of the master with this id in the device model's list, or null.
const std::string* FindMasterName(const std::vector<const EktTrace::IPropertyEntry_t*>& masters,
                                  std::uint32_t masterId) {
  for (const EktTrace::IPropertyEntry_t* master : masters) {
    if (master != nullptr &&
        static_cast<std::uint32_t>(ParseUsecaseNumber(master->GetValue())) == masterId) {
      return &master->GetName();
    }
  }
  return nullptr;
}

}  // namespace

// "ZeroSupress" and "ClockRate" are looked up and the answers not used. Deliberate: the manager
// records the look-ups, and the decoder neither suppresses nor scales.
void StpQBTracer2Decoder::LoadUsecase() {
  NotifyDeviceDatabaseUtility();
  zeroSuppress = false;
  QueryAndIgnore("ZeroSupress");
  clockRate = 0;
  QueryAndIgnore("ClockRate");
  preparedRows.ClearProbes();
  probes.clear();
  // One working record for all masters: that of a master without a usable line still has the values
  // of the one before. Deliberate; readers check `recordFound` first.
  Qbt2ProbeData_t record;
  for (const std::uint32_t masterId : masterIds) {
    record.probeId = static_cast<std::uint8_t>(masterId);
    record.recordFound = false;
    try {
      LoadMaster(masterId, record);
    } catch (...) {
      // This master has no usable line; the others are loaded.
    }
    probes.push_back(record);
  }
  preparedRows.SetProbes(probes);
}

// Most hosts do not have the companion library: without it, or when it fails, loading goes on.
void StpQBTracer2Decoder::NotifyDeviceDatabaseUtility() {
  if (deviceDatabaseUtility == nullptr) return;
  try {
    deviceDatabaseUtility->SetDeviceIdentifier(deviceIdentifier);
  } catch (...) {
    // See above.
  }
}

void StpQBTracer2Decoder::QueryAndIgnore(const char* name) {
  if (deviceConfigManager != nullptr) {
    Kz::Dvt::Trace::ConfigPropertyValue ignored;
    deviceConfigManager->GetProperty(name, ignored);
  }
}

void StpQBTracer2Decoder::LoadMaster(std::uint32_t masterId, Qbt2ProbeData_t& record) {
  Kz::Dvt::Trace::ConfigPropertyValue line;
  if (deviceConfigManager == nullptr ||
      !deviceConfigManager->GetProperty(SettingOfMaster(masterId), line)) {
    return;
  }
  const std::vector<std::string> tokens = SplitUsecaseLine(line.text);
  if (tokens.size() != Kz::Dvt::Trace::kUseCaseFields) return;
  record.probeName = tokens[Kz::Dvt::Trace::kUseCaseNameField];
  if (record.probeName == Kz::Dvt::Trace::kMasterNamePlaceholder) {
    LookUpMasterName(masterId, record.probeName);
  }
  ParseUsecaseNumbers(tokens, record);
  record.stateBits = std::uint32_t{currentProbeId} >> 5;
  record.recordFound = true;
}

void StpQBTracer2Decoder::LookUpMasterName(std::uint32_t masterId, std::string& name) const {
  if (deviceIdentifier == nullptr) return;
  const EktTrace::IDevice_t* device = deviceIdentifier->GetDeviceByName(deviceInfoName);
  if (device == nullptr) return;
  const EktTrace::IComponent_t* tracer = device->GetComponent("MOD_QBTRACER0");
  if (tracer == nullptr) return;
  const auto* masters = tracer->GetPropertyList("masterid.proc");
  const std::string* found = masters != nullptr ? FindMasterName(*masters, masterId) : nullptr;
  if (found != nullptr) name = *found;
}
