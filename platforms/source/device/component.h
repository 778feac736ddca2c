#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "interfaces/device_session_if.h"
#include "interfaces/qbt2_export.h"
#include "platforms/source/device/device_result.h"
#include "platforms/source/device/property_entry.h"

/// One hardware block of a device that generates, carries or merges trace: its kind, its names and
/// its property lists. A component does not know its neighbours; links between components belong to
/// the device. One thread at a time.
namespace EktTrace {

enum eComponentType : std::uint32_t {
  eComponentOther = 0,
  eComponentCore,         ///< a processor's own trace unit
  eComponentBusTracer,    ///< traces one or more buses, for example a QB Tracer 2
  eComponentSystemTrace,  ///< a system trace module (STM)
  eComponentFunnel,       ///< merges several trace streams into one
  eComponentReplicator,   ///< copies one trace stream to several sinks
  eComponentBridge,       ///< anything else that only forwards a stream
};

/// What part of the device a component serves.
enum eComponentScope : std::uint32_t {
  eScopeDevice = 0,  ///< shared by the whole device
  eScopeSubsystem,   ///< serves one subsystem
  eScopeCore,        ///< private to one core
};

/// The kind that a device description names, for example "bus-tracer" or "device".
QBT2_API std::optional<eComponentType> FindComponentType(std::string_view text);
QBT2_API std::optional<eComponentScope> FindComponentScope(std::string_view text);

/// A trace id on the trace bus (ATB) has seven bits; 0 is the null id, 0x70 to 0x7F are reserved.
constexpr std::uint32_t kFirstTraceId = 0x01;
constexpr std::uint32_t kLastTraceId = 0x6F;

/// The fixed properties of a component.
struct ComponentInfo_t {
  std::string localName;   ///< unique in its device, for example "MOD_QBTRACER0"
  std::string globalName;  ///< unique across devices; empty: none
  eComponentType type = eComponentOther;
  eComponentScope scope = eScopeDevice;
  std::optional<std::uint32_t> traceId;  ///< only if the component marks its trace with an id
};

class QBT2_API Component_t final : public IComponent_t {
 public:
  explicit Component_t(ComponentInfo_t info);
  ~Component_t();
  Component_t(const Component_t&) = delete;
  Component_t& operator=(const Component_t&) = delete;

  /// The local name.
  const std::string& GetName() const { return info_.localName; }
  const std::string& GetGlobalName() const { return info_.globalName; }
  eComponentType GetType() const { return info_.type; }
  eComponentScope GetScope() const { return info_.scope; }
  std::optional<std::uint32_t> GetTraceId() const { return info_.traceId; }

  /// Adds an empty list, which is not the same as no list.
  eDeviceResult AddPropertyList(const std::string& list);
  /// Appends to a list, which is created if missing. Entry names and values may repeat; both are
  /// kept as given, in order. Lists borrowed earlier stay valid and show the new entry.
  eDeviceResult AddPropertyEntry(const std::string& list, const std::string& name,
                                 const std::string& value);

  const std::vector<const IPropertyEntry_t*>* GetPropertyList(
      const std::string& name) const override;

 private:
  struct PropertyList_t {
    std::deque<PropertyEntry_t> entries;  // a deque: its elements stay where they are
    std::vector<const IPropertyEntry_t*> view;
  };

  ComponentInfo_t info_;
  std::map<std::string, PropertyList_t> propertyLists_;
};

}  // namespace EktTrace
