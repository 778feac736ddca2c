#pragma once

#include <cstdint>
#include <string>

#include "interfaces/sample_format.h"

namespace qbt2 {

/// A master as the settings describe it, and so as its rows name it. Plain data.
struct NamedMaster {
  std::uint32_t id = 0;
  std::string name;
  std::uint32_t sampling_window = 0;  ///< clock cycles

  /// The probe of the master's rows; masters may share one.
  std::uint8_t probe() const { return Kz::Dvt::Trace::SampleFormat::ProbeOfMaster(id); }
};

}  // namespace qbt2
