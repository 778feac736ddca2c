#include "platforms/source/trace/system_trace_maps.h"

#include <cstddef>

namespace EktTrace {
namespace {

template <std::size_t N>
constexpr bool IndexIsPosition(const std::array<SystemTraceRow_t, N>& rows) {
  for (std::size_t i = 0; i < N; ++i) {
    if (rows[i].index != static_cast<std::int32_t>(i)) return false;
  }
  return true;
}

constexpr std::array<SystemTraceRow_t, 5> kTypes{{
    {0, 0xC0BADBAD, "Error"},
    {1, 0xC000000A, "STM Software Messages"},
    {2, 0xC000000B, "QB Tracer"},
    {3, 0xC000000C, "QB Tracer 2"},
    {4, 0xC000000D, "Conveyor SubSystem / Queue Engine trace"},
}};

constexpr std::array<SystemTraceRow_t, 12> kDetails{{
    {0, 0x81BADBAD, "ERROR"},
    {1, 0x81000000, "STMSWMSG"},
    {2, 0x81000001, "QBT"},
    {3, 0x81000002, "MCU"},
    {4, 0x81000003, "SOC"},
    {5, 0x81000004, "QMEM0"},
    {6, 0x81000005, "QMEM1"},
    {7, 0x81000006, "SOCAC"},
    {8, 0x81000007, "SOCHC"},
    {9, 0x81000008, "D95"},
    {10, 0x81000020, "MCU"},
    {11, 0x81000021, "SOC"},
}};

static_assert(IndexIsPosition(kTypes) && IndexIsPosition(kDetails));

}  // namespace

constinit const std::array<SystemTraceRow_t, 5> system_trace_type_map = kTypes;
constinit const std::array<SystemTraceRow_t, 12> system_trace_type_detail_map = kDetails;

}  // namespace EktTrace
