#pragma once

#include <cstdint>

namespace TargetOperations {

class IProperty;

/// The host's job manager. The library uses only its property look-up, on the thread that uses the
/// property tree.
class JobManagerInterface {
 public:
  /// The property with this id in the tree under `root`, or null. The pointer is borrowed: no
  /// reference is added, and the caller does not release it. Does not throw.
  virtual IProperty* FindProperty(const IProperty* root, std::uint32_t id) = 0;

 protected:
  ~JobManagerInterface() = default;
};

}  // namespace TargetOperations
