#include "platforms/source/device/trace_receiver.h"

#include <array>

namespace EktTrace {
namespace {

constexpr std::array<std::string_view, 3> kTypes{"buffer", "system-memory", "probe"};
static_assert(kTypes.size() == eReceiverProbe + 1);

}  // namespace

std::optional<eReceiverType> FindReceiverType(std::string_view text) {
  for (std::uint32_t i = 0; i < kTypes.size(); ++i) {
    if (kTypes[i] == text) return static_cast<eReceiverType>(i);
  }
  return std::nullopt;
}

}  // namespace EktTrace
