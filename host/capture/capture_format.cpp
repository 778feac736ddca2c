#include "host/capture/capture_format.h"

#include <array>

#include "host/capture/sample_file.h"
#include "host/coresight/frame_detection.h"
#include "host/stp/stp_detection.h"

namespace qbt2 {

std::string_view capture_format_name(CaptureFormat format) {
  static constexpr std::array<std::string_view, kCaptureFormatCount> kNames = {"samples", "stp",
                                                                               "frames"};
  return kNames[static_cast<std::size_t>(format)];
}

std::optional<CaptureFormat> detect_capture_format(std::span<const std::uint8_t> first_bytes) {
  // The strictest structure first: an STP stream hardly ever reads as 64 samples in a row, and
  // neither an ASYNC nor a stream around it survives the formatter's flag bytes.
  if (looks_like_samples(first_bytes)) return CaptureFormat::kSamples;
  if (looks_like_stp(first_bytes)) return CaptureFormat::kStp;
  if (looks_like_frames(first_bytes)) return CaptureFormat::kFrames;
  return std::nullopt;
}

}  // namespace qbt2
