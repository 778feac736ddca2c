#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platforms/source/device/component.h"
#include "platforms/source/device/trace_receiver.h"

/// A path of trace: from a component, through others, to a receiver. A value of borrowed pointers,
/// valid as long as the device that returned it.
namespace EktTrace {

class TraceRoute_t final {
 public:
  /// `components`: in the order of the trace flow, the source first; not empty.
  TraceRoute_t(std::vector<const Component_t*> components, const TraceReceiver_t& receiver)
      : components_(std::move(components)), receiver_(&receiver) {}

  const Component_t& GetSource() const { return *components_.front(); }
  const std::vector<const Component_t*>& GetComponents() const { return components_; }
  const TraceReceiver_t& GetReceiver() const { return *receiver_; }
  /// For display: "STM0 -> FUNNEL0 -> ETB0".
  QBT2_API std::string GetText() const;

 private:
  std::vector<const Component_t*> components_;
  const TraceReceiver_t* receiver_;
};

}  // namespace EktTrace
