#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "interfaces/qbt2_export.h"
#include "platforms/source/device/device_result.h"

/// The modules of a device in one address space: the address range of a module name, and the module
/// of an address, for example that of a traced bus transaction. A device has one map for each
/// address space. One thread at a time.
namespace EktTrace {

/// One module's range: `sizeBytes` bytes from `base` on. It may end with the last byte of the
/// 64-bit space.
struct ModuleRange_t {
  std::string name;
  std::uint64_t base = 0;
  std::uint64_t sizeBytes = 0;
};

class QBT2_API ModuleMap_t final {
 public:
  explicit ModuleMap_t(std::string name) : name_(std::move(name)) {}

  const std::string& GetName() const { return name_; }

  /// Refuses an empty or taken name, a size of 0, a range past the end of the address space and one
  /// that overlaps another: an address belongs to at most one module.
  eDeviceResult Add(ModuleRange_t range);

  /// The module of this name, or null. Borrowed; lives as long as the map.
  const ModuleRange_t* FindModule(std::string_view name) const;
  /// The module that contains the address, or null.
  const ModuleRange_t* FindModuleAt(std::uint64_t address) const;

 private:
  bool Overlaps(const ModuleRange_t& range) const;

  std::string name_;
  std::map<std::uint64_t, ModuleRange_t> byBase_;
  std::map<std::string, const ModuleRange_t*, std::less<>> byName_;
};

}  // namespace EktTrace
