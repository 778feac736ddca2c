#pragma once

#include <string>
#include <utility>

/// A target: a processor or access port through which the host accesses the device. The model keeps
/// its name and the host's adapter. One thread at a time.
namespace EktTrace {

/// The host's object that accesses a target. The model stores the pointer and never calls it.
class ITargetAdapter_t {
 protected:
  ~ITargetAdapter_t() = default;
};

class Target_t final {
 public:
  explicit Target_t(std::string name) : name_(std::move(name)) {}

  const std::string& GetName() const { return name_; }
  /// The host's adapter, or null. Borrowed.
  ITargetAdapter_t* GetAdapter() const { return adapter_; }
  void SetAdapter(ITargetAdapter_t* adapter) { adapter_ = adapter; }

 private:
  std::string name_;
  ITargetAdapter_t* adapter_ = nullptr;
};

}  // namespace EktTrace
