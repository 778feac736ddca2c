#include "decoder/usecase_loading.h"

#include <array>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <cstdint>

#include "decoder/StpQBTracer2DecoderImpl.h"
#include "decoder/usecase_layout.h"

namespace {

using FilterRegisters = std::array<std::uint32_t, kRegisterCount>;

std::uint32_t ExtractBits(std::uint32_t value, std::uint32_t lowestBit, std::uint32_t width) {
  return (value >> lowestBit) & ((std::uint32_t{1} << width) - 1);
}

std::uint16_t PackFilterA(std::uint32_t registerA) {
  std::uint32_t packed = 0;
  for (const PackedRange& range : kPackedRanges) {
    packed |= ExtractBits(registerA, range.lowestBit, range.width) << range.targetBit;
  }
  return static_cast<std::uint16_t>(packed);
}

void StoreFilterFields(const FilterRegisters& registers, std::size_t filter,
                       Qbt2ProbeData_t& record) {
  for (const FilterField& field : kFilterFields) {
    field.store(record, filter, ExtractBits(registers[field.source], field.lowestBit, field.width));
  }
  record.filterAPacked[filter] = PackFilterA(registers[kRegisterA]);
  record.filterZero[filter] = 0;
  record.filterOne[filter] = 1;
}

/// Name of the setting that holds the use-case line of this master.
std::string SettingOfMaster(std::uint32_t masterId) {
  return std::string(Kz::Dvt::Trace::kUseCaseSettingPrefix) + std::to_string(masterId);
}

/// The name of the master with this id in the device model's list; empty pointer when it has none.
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

std::vector<std::string> SplitUsecaseLine(const std::string& line) {
  std::vector<std::string> tokens;
  boost::algorithm::split(tokens, line, boost::algorithm::is_any_of(";"));
  return tokens;
}

unsigned long ParseUsecaseNumber(const std::string& token) {
  return std::stoul(token, nullptr, 0);
}

void ParseUsecaseNumbers(const std::vector<std::string>& tokens, Qbt2ProbeData_t& record) {
  for (std::size_t token = kNameToken + 1; token < kFirstRegisterToken; ++token) {
    kTokenStores[token - 1](record, ParseUsecaseNumber(tokens[token]));
  }
  std::array<FilterRegisters, kFilterCount> filters{};
  std::size_t token = kFirstRegisterToken;
  for (FilterRegisters& registers : filters) {
    for (std::uint32_t& value : registers) {
      value = static_cast<std::uint32_t>(ParseUsecaseNumber(tokens[token++]));
    }
  }
  for (std::size_t filter = 0; filter < kFilterCount; ++filter) {
    StoreFilterFields(filters[filter], filter, record);
  }
}

// The answers for "ZeroSupress" and "ClockRate" are asked for and not used: the manager records the
// look-ups, and the decoder neither suppresses nor scales. Deliberate, both.
void StpQBTracer2Decoder::LoadUsecase() {
  TellDeviceDatabaseUtility();
  zeroSuppress = false;
  AskAndIgnore("ZeroSupress");
  clockRate = 0;
  AskAndIgnore("ClockRate");
  preparedRows.ForgetProbes();
  probes.clear();
  // One working record for all masters: a master without a usable line keeps what the one before
  // left in it. Deliberate; readers look at `recordFound` first.
  Qbt2ProbeData_t record;
  for (const std::uint32_t masterId : masterIds) {
    record.probeId = static_cast<std::uint8_t>(masterId);
    record.recordFound = false;
    try {
      LoadMaster(masterId, record);
    } catch (...) {
      // This master stays not found; the others load.
    }
    probes.push_back(record);
  }
  preparedRows.SetProbes(probes);
}

// Hosts without the companion library are the rule, so a missing utility is skipped, and one that
// fails does not keep the use case from loading.
void StpQBTracer2Decoder::TellDeviceDatabaseUtility() {
  if (deviceDatabaseUtility == nullptr) return;
  try {
    deviceDatabaseUtility->SetDeviceIdentifier(deviceIdentifier);
  } catch (...) {
    // See above.
  }
}

void StpQBTracer2Decoder::AskAndIgnore(const char* name) {
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
  record.probeName = tokens[kNameToken];
  if (record.probeName == kMasterNamePlaceholder) TakeMasterName(masterId, record.probeName);
  ParseUsecaseNumbers(tokens, record);
  record.stateBits = std::uint32_t{currentProbeId} >> 5;
  record.recordFound = true;
}

void StpQBTracer2Decoder::TakeMasterName(std::uint32_t masterId, std::string& name) const {
  if (deviceIdentifier == nullptr) return;
  const EktTrace::IDevice_t* device = deviceIdentifier->GetDeviceByName(deviceInfoName);
  if (device == nullptr) return;
  const EktTrace::IComponent_t* tracer = device->GetComponent("MOD_QBTRACER0");
  if (tracer == nullptr) return;
  const auto* masters = tracer->GetPropertyList("masterid.proc");
  const std::string* found = masters != nullptr ? FindMasterName(*masters, masterId) : nullptr;
  if (found != nullptr) name = *found;
}
