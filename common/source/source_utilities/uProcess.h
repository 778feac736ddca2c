#pragma once

#include <cstdint>

/// Process ids. Any thread may call.
namespace KZ_DVT {

class uProcess {
 public:
  /// This process's id.
  [[nodiscard]] static std::uint32_t GetPid();
  /// True if /proc lists a process of this id now, of any owner.
  [[nodiscard]] static bool LookupProcess(std::uint32_t pid);
};

}  // namespace KZ_DVT
