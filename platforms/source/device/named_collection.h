#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platforms/source/device/device_result.h"

/// Owns objects that each have a unique, non-empty GetName(), finds them by it and lists them in
/// the order of adding. Objects never move, so borrowed pointers live as long as the collection.
/// One thread at a time.
namespace EktTrace {

template <class T>
class NamedCollection_t {
 public:
  eDeviceResult Check(std::string_view name) const {
    if (name.empty()) return eDeviceEmptyName;
    return Find(name) == nullptr ? eDeviceOk : eDeviceDuplicateName;
  }

  /// Takes `item` over when the result is eDeviceOk, else it is destroyed. `item` is not null.
  eDeviceResult Add(std::unique_ptr<T> item) {
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
