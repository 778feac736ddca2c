#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platforms/source/device/device_result.h"

/// Owns objects with unique, non-empty names (GetName()), finds them by name and lists them in the
/// order of adding. Objects never move, so borrowed pointers are valid as long as the collection
/// lives. One thread at a time.
namespace EktTrace {

template <class T>
class NamedCollection_t {
 public:
  eDeviceResult Check(std::string_view name) const {
    if (name.empty()) return eDeviceEmptyName;
    return Find(name) == nullptr ? eDeviceOk : eDeviceDuplicateName;
  }

  /// Takes ownership of `item`; null is refused. If the result is not eDeviceOk, it is destroyed.
  eDeviceResult Add(std::unique_ptr<T> item) {
    if (item == nullptr) return eDeviceNullObject;
    const eDeviceResult result = Check(item->GetName());
    if (result != eDeviceOk) return result;
    listed_.push_back(item.get());
    byName_.emplace(item->GetName(), std::move(item));
    return eDeviceOk;
  }

  T* Find(std::string_view name) const {
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second.get();
  }

  const std::vector<const T*>& GetAll() const { return listed_; }

 private:
  std::map<std::string, std::unique_ptr<T>, std::less<>> byName_;
  std::vector<const T*> listed_;
};

}  // namespace EktTrace
