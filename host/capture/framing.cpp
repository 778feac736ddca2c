#include "host/capture/framing.h"

#include <array>

namespace qbt2 {

std::string_view framing_name(Framing framing) {
  static constexpr std::array<std::string_view, kFramingCount> kNames = {
      "flag", "marker-last", "timestamp-last", "marker-first"};
  return kNames[static_cast<std::size_t>(framing)];
}

}  // namespace qbt2
