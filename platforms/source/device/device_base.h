#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "interfaces/device_session_if.h"
#include "interfaces/qbt2_export.h"
#include "platforms/source/device/component.h"
#include "platforms/source/device/device_result.h"
#include "platforms/source/device/module_map.h"
#include "platforms/source/device/named_collection.h"
#include "platforms/source/device/target.h"
#include "platforms/source/device/trace_receiver.h"
#include "platforms/source/device/trace_route.h"
#include "platforms/source/device/trace_topology.h"

/// A device as the host describes it: its components, the trace links between them, module maps,
/// targets and trace receivers. The host fills it; the decoder and the configuration manager query
/// it through IDevice_t.
///
/// The device owns everything added to it; the pointers it returns are borrowed and valid as long
/// as it lives (trace routes: until DestroyTraceRoutes). Building returns an eDeviceResult; queries
/// return null, false or an empty list for what does not exist; neither throws for bad input. One
/// thread at a time uses a device. Public operations, GetName excepted, leave entry and exit
/// records in the debug log.
namespace EktTrace {

/// A checked pair of indices into system_trace_type_map and system_trace_type_detail_map.
struct SystemTraceInfo_t {
  std::int32_t type = 0;
  std::int32_t detail = 0;
};

class QBT2_API DeviceBase_t : public IDevice_t {
 public:
  explicit DeviceBase_t(std::string name);
  virtual ~DeviceBase_t();
  DeviceBase_t(const DeviceBase_t&) = delete;
  DeviceBase_t& operator=(const DeviceBase_t&) = delete;

  const std::string& GetName() const { return name_; }

  // Building. The device takes ownership of the object; null is refused. If the result is not
  // eDeviceOk, the object is destroyed.

  /// Local names are unique among components and trace receivers, so that a link's end is
  /// unambiguous; global names are unique among components. Two components may share a trace id:
  /// in some devices such streams end in different receivers.
  eDeviceResult AddComponent(std::unique_ptr<Component_t> component);
  eDeviceResult AddModuleMap(std::unique_ptr<ModuleMap_t> map);
  eDeviceResult AddTarget(std::unique_ptr<Target_t> target);
  eDeviceResult AddTraceReceiver(std::unique_ptr<TraceReceiver_t> receiver);
  /// Trace flows from the component `source` to `sink`, a component or a trace receiver, both by
  /// local name. A receiver cannot be a source.
  eDeviceResult AddTraceLink(const std::string& source, const std::string& sink);

  // Components.

  /// By local name, or null.
  const Component_t* GetComponent(const std::string& name) const override;
  /// By global name, or null; components without a global name are not found.
  const Component_t* GetComponentByGlobalName(std::string_view globalName) const;
  /// In the order of adding.
  const std::vector<const Component_t*>& GetComponents() const;
  std::vector<const Component_t*> GetComponentsByType(eComponentType type) const;
  std::vector<const Component_t*> GetComponentsByScope(eComponentScope scope) const;
  /// False, and `traceId` unchanged, when there is no such component or it has no trace id.
  bool GetTraceId(const std::string& component, std::uint32_t& traceId) const;

  // Module maps, targets, receivers. By name, or null; the lists in the order of adding.

  const ModuleMap_t* GetModuleMap(std::string_view name) const;
  const std::vector<const ModuleMap_t*>& GetModuleMaps() const;
  const Target_t* GetTarget(std::string_view name) const;
  const std::vector<const Target_t*>& GetTargets() const;
  /// False when there is no such target. `adapter` is borrowed, outlives its use here and may be
  /// null.
  bool SetTargetAdapter(std::string_view target, ITargetAdapter_t* adapter);
  /// Null when there is no such target or it has no adapter.
  ITargetAdapter_t* GetTargetAdapter(std::string_view target) const;
  const TraceReceiver_t* GetTraceReceiver(std::string_view name) const;
  const std::vector<const TraceReceiver_t*>& GetTraceReceivers() const;

  // Trace routes. A search uses all links added so far.

  bool HasTraceRoute(const std::string& component, const std::string& receiver) const;
  /// A shortest route from the component to each receiver it reaches, shortest first. Of equally
  /// long routes the one over earlier added links comes first.
  std::vector<TraceRoute_t> FindTraceRoutes(const std::string& component) const;
  /// Finds and stores a shortest route; null if there is none. Returns the stored route if this
  /// pair has one, even if links were added since: it is in use.
  const TraceRoute_t* CreateTraceRoute(const std::string& component, const std::string& receiver);
  /// The number of stored routes.
  std::size_t GetTraceRouteCount() const;
  /// Destroys all stored routes; pointers to them become invalid.
  void DestroyTraceRoutes();

  // The kind of system trace that the device emits.

  /// Accepts the pair only if `type` is an index of system_trace_type_map and `detail` one of
  /// system_trace_type_detail_map; otherwise keeps the earlier pair and returns false. Index 0, the
  /// error kinds, is accepted like the others.
  bool SetSystemTraceInfo(std::int32_t type, std::int32_t detail);
  /// Empty until a pair was accepted.
  std::optional<SystemTraceInfo_t> GetSystemTraceInfo() const;

 private:
  eDeviceResult CheckComponent(const Component_t& component) const;
  std::optional<TraceRoute_t> FindTraceRoute(const std::string& component,
                                             const std::string& receiver) const;
  TraceRoute_t MakeTraceRoute(const TraceReach_t& reach, std::size_t end,
                              const TraceReceiver_t& receiver) const;

  std::string name_;
  NamedCollection_t<Component_t> components_;
  std::map<std::string, const Component_t*, std::less<>> byGlobalName_;
  NamedCollection_t<ModuleMap_t> moduleMaps_;
  NamedCollection_t<Target_t> targets_;
  NamedCollection_t<TraceReceiver_t> receivers_;
  TraceTopology_t topology_;
  std::vector<std::unique_ptr<const TraceRoute_t>> routes_;
  std::optional<SystemTraceInfo_t> systemTraceInfo_;
};

}  // namespace EktTrace
