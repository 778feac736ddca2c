#include "platforms/source/device/device_base.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "common/source/logging/debug_log.h"
#include "platforms/source/trace/system_trace_maps.h"

namespace EktTrace {
namespace {

template <std::size_t N>
bool HasIndex(const std::array<SystemTraceRow_t, N>& rows, std::int32_t index) {
  return std::any_of(rows.begin(), rows.end(),
                     [index](const SystemTraceRow_t& row) { return row.index == index; });
}

template <class Condition>
std::vector<const Component_t*> Select(const std::vector<const Component_t*>& components,
                                       Condition condition) {
  std::vector<const Component_t*> selected;
  std::copy_if(components.begin(), components.end(), std::back_inserter(selected), condition);
  return selected;
}

bool IsTraceId(std::uint32_t id) {
  return id >= kFirstTraceId && id <= kLastTraceId;
}

}  // namespace

DeviceBase_t::DeviceBase_t(std::string name) : name_(std::move(name)) {
  QBT2_DEBUG_LOG_SCOPE();
}

DeviceBase_t::~DeviceBase_t() {
  QBT2_DEBUG_LOG_SCOPE();
  DestroyTraceRoutes();
}

eDeviceResult DeviceBase_t::AddComponent(std::unique_ptr<Component_t> component) {
  QBT2_DEBUG_LOG_SCOPE();
  if (component == nullptr) return eDeviceNullObject;
  const eDeviceResult result = CheckComponent(*component);
  if (result != eDeviceOk) {
    QBT2_DEBUG_LOG(LOG_ERROR, "Component %s refused: %s", component->GetName().c_str(),
                   DeviceResultText(result));
    return result;
  }
  if (!component->GetGlobalName().empty()) {
    byGlobalName_.emplace(component->GetGlobalName(), component.get());
  }
  return components_.Add(std::move(component));
}

eDeviceResult DeviceBase_t::CheckComponent(const Component_t& component) const {
  const eDeviceResult named = components_.Check(component.GetName());
  if (named != eDeviceOk) return named;
  if (receivers_.Find(component.GetName()) != nullptr) return eDeviceDuplicateName;
  if (byGlobalName_.contains(component.GetGlobalName())) return eDeviceDuplicateGlobalName;
  const std::optional<std::uint32_t> traceId = component.GetTraceId();
  return traceId && !IsTraceId(*traceId) ? eDeviceInvalidTraceId : eDeviceOk;
}

eDeviceResult DeviceBase_t::AddModuleMap(std::unique_ptr<ModuleMap_t> map) {
  QBT2_DEBUG_LOG_SCOPE();
  return moduleMaps_.Add(std::move(map));
}

eDeviceResult DeviceBase_t::AddTarget(std::unique_ptr<Target_t> target) {
  QBT2_DEBUG_LOG_SCOPE();
  return targets_.Add(std::move(target));
}

eDeviceResult DeviceBase_t::AddTraceReceiver(std::unique_ptr<TraceReceiver_t> receiver) {
  QBT2_DEBUG_LOG_SCOPE();
  if (receiver == nullptr) return eDeviceNullObject;
  if (components_.Find(receiver->GetName()) != nullptr) return eDeviceDuplicateName;
  return receivers_.Add(std::move(receiver));
}

eDeviceResult DeviceBase_t::AddTraceLink(const std::string& source, const std::string& sink) {
  QBT2_DEBUG_LOG_SCOPE();
  if (components_.Find(source) == nullptr) return eDeviceUnknownComponent;
  if (components_.Find(sink) == nullptr && receivers_.Find(sink) == nullptr) {
    return eDeviceUnknownLinkEnd;
  }
  return topology_.AddLink(source, sink);
}

const Component_t* DeviceBase_t::GetComponent(const std::string& name) const {
  QBT2_DEBUG_LOG_SCOPE();
  return components_.Find(name);
}

const Component_t* DeviceBase_t::GetComponentByGlobalName(std::string_view globalName) const {
  QBT2_DEBUG_LOG_SCOPE();
  const auto found = byGlobalName_.find(globalName);
  return found == byGlobalName_.end() ? nullptr : found->second;
}

const std::vector<const Component_t*>& DeviceBase_t::GetComponents() const {
  QBT2_DEBUG_LOG_SCOPE();
  return components_.GetAll();
}

std::vector<const Component_t*> DeviceBase_t::GetComponentsByType(eComponentType type) const {
  QBT2_DEBUG_LOG_SCOPE();
  return Select(components_.GetAll(),
                [type](const Component_t* component) { return component->GetType() == type; });
}

std::vector<const Component_t*> DeviceBase_t::GetComponentsByScope(eComponentScope scope) const {
  QBT2_DEBUG_LOG_SCOPE();
  return Select(components_.GetAll(),
                [scope](const Component_t* component) { return component->GetScope() == scope; });
}

bool DeviceBase_t::GetTraceId(const std::string& component, std::uint32_t& traceId) const {
  QBT2_DEBUG_LOG_SCOPE();
  const Component_t* found = components_.Find(component);
  if (found == nullptr || !found->GetTraceId()) return false;
  traceId = *found->GetTraceId();
  return true;
}

const ModuleMap_t* DeviceBase_t::GetModuleMap(std::string_view name) const {
  QBT2_DEBUG_LOG_SCOPE();
  return moduleMaps_.Find(name);
}

const std::vector<const ModuleMap_t*>& DeviceBase_t::GetModuleMaps() const {
  QBT2_DEBUG_LOG_SCOPE();
  return moduleMaps_.GetAll();
}

const Target_t* DeviceBase_t::GetTarget(std::string_view name) const {
  QBT2_DEBUG_LOG_SCOPE();
  return targets_.Find(name);
}

const std::vector<const Target_t*>& DeviceBase_t::GetTargets() const {
  QBT2_DEBUG_LOG_SCOPE();
  return targets_.GetAll();
}

bool DeviceBase_t::SetTargetAdapter(std::string_view target, ITargetAdapter_t* adapter) {
  QBT2_DEBUG_LOG_SCOPE();
  Target_t* found = targets_.Find(target);
  if (found == nullptr) return false;
  found->SetAdapter(adapter);
  return true;
}

ITargetAdapter_t* DeviceBase_t::GetTargetAdapter(std::string_view target) const {
  QBT2_DEBUG_LOG(LOG_FUNC_ENTRY);
  const Target_t* found = targets_.Find(target);
  ITargetAdapter_t* adapter = found == nullptr ? nullptr : found->GetAdapter();
  QBT2_DEBUG_LOG(LOG_FUNC_EXIT, "Returning target adapter %p", static_cast<void*>(adapter));
  return adapter;
}

const TraceReceiver_t* DeviceBase_t::GetTraceReceiver(std::string_view name) const {
  QBT2_DEBUG_LOG_SCOPE();
  return receivers_.Find(name);
}

const std::vector<const TraceReceiver_t*>& DeviceBase_t::GetTraceReceivers() const {
  QBT2_DEBUG_LOG_SCOPE();
  return receivers_.GetAll();
}

bool DeviceBase_t::HasTraceRoute(const std::string& component, const std::string& receiver) const {
  QBT2_DEBUG_LOG_SCOPE();
  return FindTraceRoute(component, receiver).has_value();
}

std::vector<TraceRoute_t> DeviceBase_t::FindTraceRoutes(const std::string& component) const {
  QBT2_DEBUG_LOG_SCOPE();
  std::vector<TraceRoute_t> routes;
  if (components_.Find(component) == nullptr) return routes;
  const TraceReach_t reach = topology_.Search(component);
  for (std::size_t step = 1; step < reach.GetSteps().size(); ++step) {
    const TraceReceiver_t* receiver = receivers_.Find(reach.GetSteps()[step].name);
    if (receiver != nullptr) routes.push_back(MakeTraceRoute(reach, step, *receiver));
  }
  return routes;
}

const TraceRoute_t* DeviceBase_t::CreateTraceRoute(const std::string& component,
                                                   const std::string& receiver) {
  QBT2_DEBUG_LOG_SCOPE();
  for (const auto& route : routes_) {
    if (route->GetSource().GetName() == component && route->GetReceiver().GetName() == receiver) {
      return route.get();
    }
  }
  std::optional<TraceRoute_t> found = FindTraceRoute(component, receiver);
  if (!found) return nullptr;
  routes_.push_back(std::make_unique<const TraceRoute_t>(std::move(*found)));
  QBT2_DEBUG_LOG(LOG_MSG_PLATFORM, "Created trace route %s", routes_.back()->GetText().c_str());
  return routes_.back().get();
}

std::size_t DeviceBase_t::GetTraceRouteCount() const {
  QBT2_DEBUG_LOG_SCOPE();
  return routes_.size();
}

void DeviceBase_t::DestroyTraceRoutes() {
  QBT2_DEBUG_LOG_SCOPE();
  QBT2_DEBUG_LOG(LOG_MSG_PLATFORM, "Destroying %d trace routes", static_cast<int>(routes_.size()));
  routes_.clear();
}

bool DeviceBase_t::SetSystemTraceInfo(std::int32_t type, std::int32_t detail) {
  QBT2_DEBUG_LOG_SCOPE();
  if (!HasIndex(system_trace_type_map, type) || !HasIndex(system_trace_type_detail_map, detail)) {
    QBT2_DEBUG_LOG(LOG_ERROR, "System trace type %d, detail %d refused", type, detail);
    return false;
  }
  systemTraceInfo_ = SystemTraceInfo_t{type, detail};
  return true;
}

std::optional<SystemTraceInfo_t> DeviceBase_t::GetSystemTraceInfo() const {
  QBT2_DEBUG_LOG_SCOPE();
  return systemTraceInfo_;
}

std::optional<TraceRoute_t> DeviceBase_t::FindTraceRoute(const std::string& component,
                                                         const std::string& receiver) const {
  const TraceReceiver_t* end = receivers_.Find(receiver);
  if (end == nullptr || components_.Find(component) == nullptr) return std::nullopt;
  const TraceReach_t reach = topology_.Search(component);
  const auto& steps = reach.GetSteps();
  const auto found = std::find_if(steps.begin(), steps.end(),
                                  [&](const auto& step) { return step.name == receiver; });
  if (found == steps.end()) return std::nullopt;
  return MakeTraceRoute(reach, static_cast<std::size_t>(found - steps.begin()), *end);
}

/// Every name before the end of a path is a component: AddTraceLink accepts no other source.
TraceRoute_t DeviceBase_t::MakeTraceRoute(const TraceReach_t& reach, std::size_t end,
                                          const TraceReceiver_t& receiver) const {
  std::vector<const Component_t*> components;
  for (const std::string_view name : reach.PathTo(reach.GetSteps()[end].predecessor)) {
    components.push_back(components_.Find(name));
  }
  return {std::move(components), receiver};
}

}  // namespace EktTrace
