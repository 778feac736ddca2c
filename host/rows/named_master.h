#pragma once

#include <cstdint>
#include <string>

namespace qbt2 {

/// A master as the settings describe it, and so as its rows name it. Plain data.
struct NamedMaster {
  std::uint32_t id = 0;
  std::string name;
  std::uint32_t sampling_window = 0;  ///< clock cycles
};

}  // namespace qbt2
