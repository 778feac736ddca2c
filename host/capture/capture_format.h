#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

/// The formats of captures, and their detection from the first bytes. Pure functions; any
/// thread may call them.
namespace qbt2 {

enum class CaptureFormat : std::uint8_t {
  kSamples,  ///< the plug-in's samples, back to back
  kStp,      ///< an STP version 2 stream
  kFrames,   ///< 16-byte CoreSight formatter frames around STP
};
inline constexpr int kCaptureFormatCount = 3;

/// "samples", "stp", "frames".
std::string_view capture_format_name(CaptureFormat format);

/// How many bytes of an input detect_capture_format() needs at most.
inline constexpr std::size_t kDetectionBytes = std::size_t{256} << 10;

/// The format of an input that begins with `first_bytes`; empty when it is none of them.
std::optional<CaptureFormat> detect_capture_format(std::span<const std::uint8_t> first_bytes);

}  // namespace qbt2
