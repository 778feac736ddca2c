#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The CoreSight formatter frame: the bytes of several trace sources in one stream.
///
/// A frame is 16 bytes. Bytes 0 to 14 are data, or, at even places, ID changes: bit 0 set, the new
/// trace ID above it. Byte 15 has a flag for each even byte, bit i for byte 2 * i: of a data byte
/// its bit 0 (which is 0 in its place), of an ID change whether it takes effect after the odd byte
/// that follows instead of at once. Data of the null trace ID is padding (host/base/trace_id.h).
///
/// A continuous stream also has synchronization packets: FF FF FF 7F between two frames, and the
/// halfword FF 7F between any two halfwords while nothing is sent. Neither can be data, as FF at an
/// even place would change to the reserved ID 0x7F. Constants only.
namespace qbt2 {

inline constexpr std::size_t kFrameBytes = 16;
inline constexpr std::size_t kFrameDataBytes = 15;
inline constexpr std::size_t kFrameFlagsPlace = 15;
/// The last place for data or an ID change: even, with no odd byte after it.
inline constexpr std::size_t kFrameLastPlace = 14;

inline constexpr std::array<std::uint8_t, 4> kFrameSync = {0xFF, 0xFF, 0xFF, 0x7F};
inline constexpr std::array<std::uint8_t, 2> kHalfwordSync = {0xFF, 0x7F};

}  // namespace qbt2
