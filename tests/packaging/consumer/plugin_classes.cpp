// Functions of every installed header of the plug-in that are not inline: they must link.
#include "common/source/errors/error_code.h"
#include "common/source/logging/debug_log.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uFile.h"
#include "common/source/source_utilities/uLogger.h"
#include "common/source/source_utilities/uMutex.h"
#include "common/source/source_utilities/uString.h"
#include "platforms/source/device/device_base.h"
#include "platforms/source/device/device_identifier.h"
#include "platforms/source/trace/device_config_manager_stm.h"
#include "platforms/source/trace/system_trace_maps.h"
#include "platforms/source/trace/tdf_handler.h"
#include "platforms/source/trace/tdf_helper.h"
#include "platforms/source/trace/tdf_walker.h"
#include "platforms/source/trace/usecase_system.h"
#include "target_operations/operations.h"

namespace {

bool utilities_work() {
  KZ_DVT::uMutex mutex;
  const KZ_DVT::uMutex::ScopedLock lock(mutex);
  std::string text = KZ_DVT::uEnvironment::GetVar("HOME");
  debug_log_init();
  QBT2_DEBUG_LOG(LOG_ERROR, "not written");
  QBT2_LOG(0, 1, 0, "not written");
  try {
    static_cast<void>(KZ_DVT::uString::ToLong("none"));
    return false;
  } catch (const KZ_DVT::uString::error&) {
    return !KZ_DVT::uFile().Open(nullptr, "r") && KZ_DVT::uLogger().GetName() == "RXL_log.txt" &&
           Kz::Dvt::Hwdbg::hwDbgError().GetSeverity() == Kz::Dvt::Hwdbg::hwDbgError::eError &&
           GetTraceUserDirectory(text).ends_with(".KZ-trace");
  }
}

bool device_model_works() {
  using namespace EktTrace;
  TraceTopology_t topology;
  topology.AddLink("a", "b");
  DeviceBase_t device("SOC");
  ModuleMap_t map("bus");
  DeviceIdentifier_t identifier;
  return topology.Search("a").PathTo(1).size() == 2 && FindComponentType("core") &&
         FindComponentScope("core") && FindReceiverType("probe") &&
         device.AddComponent(nullptr) == eDeviceNullObject &&
         *DeviceResultText(map.Add({"m", 0, 1})) != 0 && map.FindModuleAt(0) != nullptr &&
         device.GetComponents().empty() && device.CreateTraceRoute("a", "b") == nullptr &&
         identifier.GetDeviceByName("SOC") == nullptr && system_trace_type_map[3].index == 3;
}

bool trace_files_work() {
  using namespace EktTrace::ConfigFile;
  std::string error = " x ";
  clean_string(error);
  KzTrace_t::KzTraceData_t header;
  TraceDecode_t::TraceDecodeData_t info;
  DeviceIdentifier_t::DevIdData_t devices;
  DeviceConfig_t::DeviceConfigData_t settings;
  Kz::Dvt::Trace::TdfFault fault;
  return error == "x" && !Kz::Dvt::Trace::TDFHandler::ISTDF("none.tdf") && FileSize("none") == 0 &&
         !KzTrace_t("none.tdf").Load(header, error) && !TraceDecode_t("none").Load(info, error) &&
         !DeviceIdentifier_t("none").Load(devices, error) &&
         !DeviceConfig_t("none", 0, 1).Load(settings, error) &&
         Kz::Dvt::Trace::ListSections("none.tdf", fault).empty() &&
         EktTrace::SysUcGetAddressValue(nullptr, 1, nullptr) == 0 &&
         EktTrace::DeviceConfigManagerStm_t::Construct(nullptr, "d", "s", error) == nullptr;
}

bool properties_work() {
  using namespace TargetOperations;
  const auto flag = ReferenceCounting::Adopt(BooleanProperty::Construct({"n", "d"}, true));
  const auto cast = ReferenceCounting::Adopt(CastIBoolean(flag.Get()));
  return cast && cast->GetValue() && CastIString(nullptr) == nullptr;
}

}  // namespace

bool plugin_classes_work();
bool plugin_classes_work() {
  return utilities_work() && device_model_works() && trace_files_work() && properties_work();
}
