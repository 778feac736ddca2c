#pragma once

#include <cstdint>

/// Process ids. Any thread may call.
namespace KZ_DVT {

class uProcess {
 public:
  /// This process's id.
  [[nodiscard]] static std::uint32_t GetPid();
  /// True when a process of this id exists now, whoever owns it, as /proc lists it.
  [[nodiscard]] static bool LookupProcess(std::uint32_t pid);
};

}  // namespace KZ_DVT
