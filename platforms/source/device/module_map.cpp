#include "platforms/source/device/module_map.h"

#include <iterator>
#include <limits>

namespace EktTrace {
namespace {

/// The last address of a range of a size above 0. Never overflows for an accepted range.
std::uint64_t LastAddress(const ModuleRange_t& range) {
  return range.base + (range.sizeBytes - 1);
}

bool IsInvalid(const ModuleRange_t& range) {
  return range.sizeBytes == 0 ||
         range.sizeBytes - 1 > std::numeric_limits<std::uint64_t>::max() - range.base;
}

}  // namespace

eDeviceResult ModuleMap_t::Add(ModuleRange_t range) {
  if (range.name.empty()) return eDeviceEmptyName;
  if (byName_.contains(range.name)) return eDeviceDuplicateName;
  if (IsInvalid(range)) return eDeviceInvalidRange;
  if (Overlaps(range)) return eDeviceOverlappingRange;
  const std::uint64_t base = range.base;
  const ModuleRange_t& kept = byBase_.emplace(base, std::move(range)).first->second;
  byName_.emplace(kept.name, &kept);
  return eDeviceOk;
}

const ModuleRange_t* ModuleMap_t::FindModule(std::string_view name) const {
  const auto found = byName_.find(name);
  return found == byName_.end() ? nullptr : found->second;
}

const ModuleRange_t* ModuleMap_t::FindModuleAt(std::uint64_t address) const {
  const auto above = byBase_.upper_bound(address);
  if (above == byBase_.begin()) return nullptr;
  const ModuleRange_t& below = std::prev(above)->second;
  return address <= LastAddress(below) ? &below : nullptr;
}

bool ModuleMap_t::Overlaps(const ModuleRange_t& range) const {
  if (FindModuleAt(range.base) != nullptr) return true;
  const auto above = byBase_.lower_bound(range.base);
  return above != byBase_.end() && above->first <= LastAddress(range);
}

}  // namespace EktTrace
