#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "interfaces/qbt2_export.h"

/// The end of a trace route. Immutable.
namespace EktTrace {

enum eReceiverType : std::uint32_t {
  eReceiverBuffer = 0,    ///< a trace buffer on the chip
  eReceiverSystemMemory,  ///< a range of the device's own memory
  eReceiverProbe,         ///< a probe on the trace pins
};

/// The type that a device description names: "buffer", "system-memory" or "probe".
QBT2_API std::optional<eReceiverType> FindReceiverType(std::string_view text);

class TraceReceiver_t final {
 public:
  /// `sizeBytes` is the receiver's capacity; 0 if unknown or unlimited.
  TraceReceiver_t(std::string name, eReceiverType type, std::uint64_t sizeBytes)
      : name_(std::move(name)), type_(type), sizeBytes_(sizeBytes) {}

  const std::string& GetName() const { return name_; }
  eReceiverType GetType() const { return type_; }
  std::uint64_t GetSizeBytes() const { return sizeBytes_; }

 private:
  std::string name_;
  eReceiverType type_;
  std::uint64_t sizeBytes_;
};

}  // namespace EktTrace
