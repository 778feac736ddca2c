#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "interfaces/qbt2_export.h"

/// The kinds of system trace that the library knows, by index and by the host's code. The device
/// model accepts a (type, detail) pair only if the type is an index of the first table and the
/// detail an index of the second. Constant data: any thread may read it at any time, static
/// initialisers included.
namespace EktTrace {

/// One kind of system trace.
struct SystemTraceRow_t {
  std::int32_t index;     ///< position in its table; a (type, detail) pair is checked against it
  std::uint32_t code;     ///< the host's code of this kind
  std::string_view name;  ///< for the user; not unique in the detail table
};

/// The source of a trace.
extern QBT2_API const std::array<SystemTraceRow_t, 5> system_trace_type_map;

/// The part of the source. Deliberate: "MCU" and "SOC" occur twice with different codes, and the
/// codes skip from 0x81000008 to 0x81000020; hosts know these values.
extern QBT2_API const std::array<SystemTraceRow_t, 12> system_trace_type_detail_map;

}  // namespace EktTrace
