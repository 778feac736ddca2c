#include "platforms/source/trace/device_config_manager_stm.h"

#include <exception>
#include <iterator>

#include "common/source/logging/debug_log.h"

namespace EktTrace {

namespace {

struct ConfigEntry {
  const char* name;
  _eTraceAttributeId_t id;
};

/// "STM_ATB_Id" and "ATBID" are two settings with one id.
constexpr ConfigEntry kEntries[] = {
    {"Instruction_Compress", eTraceAttributeInstructionCompress},
    {"Data_Compress", eTraceAttributeDataCompress},
    {"STM_data_flip", eTraceAttributeDataFlip},
    {"HEAD_Present_0", eTraceAttributeHeadPresent0},
    {"HEAD_Pointer_0", eTraceAttributeHeadPointer0},
    {"HEAD_Present_1", eTraceAttributeHeadPresent1},
    {"HEAD_Pointer_1", eTraceAttributeHeadPointer1},
    {"STM_Buffer_Wrapped", eTraceAttributeBufferWrapped},
    {"TWP_Protocol", eTraceAttributeTwpProtocol},
    {"STM_DTC_fprocess_clock_hz", eTraceAttributeDtcClockHz},
    {"STM_DTC_target_pins", eTraceAttributeDtcTargetPins},
    {"Needs_Preprocess", eTraceAttributeNeedsPreprocess},
    {"STM_STP_Version", eTraceAttributeStpVersion},
    {"STM_ATB_Id", eTraceAttributeAtbId},
    {"STM_HwDbgLib_Import", eTraceAttributeHwDbgLibImport},
    {"Protocol", eTraceAttributeProtocol},
    {"ATBID", eTraceAttributeAtbId},
};
static_assert(std::size(kEntries) == 17);

constexpr char kTracerComponent[] = "MOD_QBTRACER0";
constexpr char kMasterList[] = "masterid.proc";

}  // namespace

DeviceConfigManagerStm_t::DeviceConfigManagerStm_t(IDeviceSession_t* session,
                                                   const std::string& deviceName,
                                                   const std::string& secondName)
    : DeviceConfigManager_t(session, deviceName, ConfigFile::DeviceConfig_t::eStmConfig,
                            secondName),
      m_stmDeviceName(deviceName) {
  for (const ConfigEntry& entry : kEntries) {
    AddConfigEntry(entry.name, entry.id);
  }
  AddMasterEntries(*session);
}

/// Deliberate: a master's id is taken as the device model writes it. "0x5" becomes the setting
/// QBT2_0x5, although the decoder asks by decimal number.
void DeviceConfigManagerStm_t::AddMasterEntries(IDeviceSession_t& session) {
  const auto* const identifier = session.GetDeviceIdentifier();
  const auto* const device =
      identifier != nullptr ? identifier->GetDeviceByName(m_stmDeviceName) : nullptr;
  const auto* const component =
      device != nullptr ? device->GetComponent(kTracerComponent) : nullptr;
  const auto* const masters =
      component != nullptr ? component->GetPropertyList(kMasterList) : nullptr;
  if (masters == nullptr) return;
  for (const IPropertyEntry_t* const master : *masters) {
    if (master != nullptr) {
      AddConfigEntry(std::string(Kz::Dvt::Trace::kUseCaseSettingPrefix) + master->GetValue(),
                     eTraceAttributeQbt2UseCase);
    }
  }
}

DeviceConfigManagerStm_t* DeviceConfigManagerStm_t::Construct(IDeviceSession_t* session,
                                                              const std::string& deviceName,
                                                              const std::string& secondName,
                                                              std::string& error) noexcept try {
  // "Configuraton" is the text that hosts know.
  static constexpr char kPrefix[] = "Device Configuraton Manager could not be created: ";
  try {
    return new DeviceConfigManagerStm_t(session, deviceName, secondName);
  } catch (const std::exception& exception) {
    error = std::string(kPrefix) + exception.what();
  } catch (...) {
    error = std::string(kPrefix) + "Unknown exception ";
  }
  QBT2_DEBUG_LOG(LOG_ERROR, "%s", error.c_str());
  return nullptr;
} catch (...) {
  return nullptr;  // no memory even for the message
}

std::string DeviceConfigManagerStm_t::GetDefaultValue(const std::string& /*name*/) {
  return "0";
}

}  // namespace EktTrace
