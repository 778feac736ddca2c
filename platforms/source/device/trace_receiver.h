#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "interfaces/qbt2_export.h"

/// Where trace ends up: the end of every trace route. Constant once made.
namespace EktTrace {

enum eReceiverType : std::uint32_t {
  eReceiverBuffer = 0,    ///< a trace buffer on the chip
  eReceiverSystemMemory,  ///< a range of the device's own memory
  eReceiverProbe,         ///< trace pins with a probe behind them
};

/// The words of a device description: "buffer", "system-memory", "probe".
QBT2_API std::optional<eReceiverType> FindReceiverType(std::string_view text);
QBT2_API std::string_view ReceiverTypeText(eReceiverType type);

class TraceReceiver_t final {
 public:
  /// `sizeBytes` is what the receiver can hold; 0 when that is not known or has no end.
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
