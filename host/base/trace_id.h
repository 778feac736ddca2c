#pragma once

#include <cstdint>

/// Trace IDs: which source a byte on the trace bus (ATB) comes from. Seven bits; 0 marks padding,
/// 0x70 to 0x7F are reserved. Constants only.
namespace qbt2 {

inline constexpr std::uint8_t kNullTraceId = 0;  ///< padding of the formatter, never a source
inline constexpr std::uint8_t kLargestTraceId = 0x6F;
inline constexpr std::uint8_t kFirstReservedTraceId = kLargestTraceId + 1;

}  // namespace qbt2
