#include "decoder/StpQBTracer2DecoderImpl.h"

#include <new>

#include "common/source/source_utilities/uDll.h"
#include "decoder/decoder_log.h"
#include "decoder/trace_environment.h"

using Kz::Dvt::Trace::CDeviceDataBaseUtility;

StpQBTracer2Decoder::StpQBTracer2Decoder() {
  SetUpTraceEnvironment();
  QBT2_LOG(kLogAboveTwo, KZ_DVT::uLogKindMessage, kDecoderLogStyle,
           "Create STM StpQBTracer2Decoder");
  LoadDeviceDatabaseUtility();
  NameColumns(columns);
  preparedRows.SetColumns(columns);
  preparedRows.SetProbes(probes);
}

// The companion library stays loaded and its object alive, as other units of the process may use
// them. The log outlives every unit.
StpQBTracer2Decoder::~StpQBTracer2Decoder() = default;

// The companion library is an optional component of a host's installation. Without it, or when it
// fails, the decoder goes on without a message.
void StpQBTracer2Decoder::LoadDeviceDatabaseUtility() {
  try {
    KZ_DVT::uDll library(nullptr, KZ_DVT::uDll::kDefaultFlags);
    if (!library.FindAndLoad("DeviceDataBaseUtility", KZ_DVT::uDll::kDefaultFlags)) return;
    const auto create =
        library.GetFunction<CDeviceDataBaseUtility* (*)()>("CreateDeviceDataBaseUtility");
    if (create == nullptr) return;
    destroyDeviceDatabaseUtility = library.GetSymbol("DestroyDeviceDataBaseUtility");
    // The library must stay loaded from the first call on: handling an exception of its own needs
    // its code.
    library.Release();
    deviceDatabaseUtility = create();
  } catch (...) {
    deviceDatabaseUtility = nullptr;
  }
}

void StpQBTracer2Decoder::SetDeviceConfigManager(Kz::Dvt::Trace::CDeviceConfigManager* manager) {
  deviceConfigManager = manager;
  if (manager != nullptr) manager->GetInfo(deviceInfoFirst, deviceInfoSecond, deviceInfoName);
}

void StpQBTracer2Decoder::SetDeviceIdentifier(Kz::Dvt::Trace::CDeviceIdentifier* identifier) {
  deviceIdentifier = identifier;
}

void StpQBTracer2Decoder::GetFunctionInformation(Kz::Dvt::Trace::eFunctionType& type) const {
  type = Kz::Dvt::Trace::eFunctionTypeDefault;
}

void StpQBTracer2Decoder::GetMasterIds(std::vector<std::uint32_t>& ids) const {
  ids = masterIds;
}

// Deliberately cleared before the copy, so passing the decoder's own list leaves it empty.
void StpQBTracer2Decoder::SetMasterIds(const std::vector<std::uint32_t>& ids) {
  masterIds.clear();
  masterIds.insert(masterIds.end(), ids.begin(), ids.end());
}

void StpQBTracer2Decoder::GetInfo(const std::string& /*key*/,
                                  Kz::Dvt::Trace::ConfigPropertyValue& /*value*/) const {}

void StpQBTracer2Decoder::InitColumn(std::vector<SharedColumns>& shared, std::uint32_t firstId,
                                     std::uint32_t& count) {
  count = 0;
  for (DecoderColumn& column : columns) {
    column.columnId = firstId + count;
    ++count;
  }
  preparedRows.SetColumns(columns);
  for (const DecoderColumn& column : columns) {
    shared.push_back({column.name, column.columnId, false});
  }
}

void StpQBTracer2Decoder::GetColumnInfo(std::uint32_t id, Kz::Dvt::Trace::eInput& input,
                                        std::uint32_t& bits, bool& enabled, std::string& name,
                                        std::string& key, std::string& description) const {
  for (const DecoderColumn& column : columns) {
    if (column.columnId != id) continue;
    name = column.name;
    enabled = column.enabled;
    const qbt2StaticColumnInfo& info = FindColumnInfo(columns, column);
    bits = info.dataSize * 8;
    key = info.keyName;
    description = info.description;
    input = Kz::Dvt::Trace::eInputUnsignedValue;
    return;
  }
}

void StpQBTracer2Decoder::AddColumn(std::uint32_t id, bool enable) {
  for (DecoderColumn& column : columns) {
    if (column.columnId == id) {
      column.enabled = enable;
      column.disabled = !enable;
    }
  }
}

void StpQBTracer2Decoder::DataReset() {
  LoadUsecase();
}

void* CreateDecoderUnit() {
  // The host casts the result to a pointer to the interface.
  return static_cast<Kz::Dvt::Trace::CDecoderUnitIF*>(new StpQBTracer2Decoder);
}

// Deliberately frees the storage without running the destructor, as part of the contract with
// hosts: the memory of the members (texts, lists) is lost, and a leak checker reports it. The
// prepared rows, the largest part of it by far, are no part of that contract.
void DestroyDecoderUnit(void* unit) {
  if (unit == nullptr) return;
  auto* const interface = static_cast<Kz::Dvt::Trace::CDecoderUnitIF*>(unit);
  static_cast<StpQBTracer2Decoder*>(interface)->FreePreparedRows();
  ::operator delete(unit);
}
