#include "host/capture/capture_reader.h"

#include <array>

#include "host/capture/frames_capture.h"
#include "host/capture/sample_file.h"
#include "host/capture/stp_capture.h"
#include "host/coresight/formatter_frames.h"

namespace qbt2 {

std::string_view capture_format_name(CaptureFormat format) {
  static constexpr std::array<std::string_view, kCaptureFormatCount> kNames = {"samples", "stp",
                                                                               "frames"};
  return kNames[static_cast<std::size_t>(format)];
}

CaptureCounts& CaptureCounts::operator+=(const CaptureCounts& other) {
  bytes += other.bytes;
  bytes_framing += other.bytes_framing;
  bytes_other_sources += other.bytes_other_sources;
  stp_bytes += other.stp_bytes;
  stp_packets += other.stp_packets;
  stp_async_packets += other.stp_async_packets;
  stp_sync_losses += other.stp_sync_losses;
  bytes_skipped += other.bytes_skipped;
  damages += other.damages;
  assembly += other.assembly;
  return *this;
}

std::optional<CaptureFormat> detect_capture_format(std::span<const std::uint8_t> first_bytes) {
  // The strictest structure first: a STP stream hardly ever reads as 64 samples in a row, and
  // neither an ASYNC nor a stream around it survives the formatter's flag bytes.
  if (looks_like_samples(first_bytes)) return CaptureFormat::kSamples;
  if (looks_like_stp(first_bytes)) return CaptureFormat::kStp;
  if (looks_like_frames(first_bytes)) return CaptureFormat::kFrames;
  return std::nullopt;
}

std::unique_ptr<CaptureReader> make_capture_reader(InputFile& input, CaptureFormat format,
                                                   const CaptureOptions& options) {
  switch (format) {
    case CaptureFormat::kSamples:
      return std::make_unique<SampleFileReader>(input, options);
    case CaptureFormat::kStp:
      return std::make_unique<StpCaptureReader>(input, options);
    case CaptureFormat::kFrames:
      return std::make_unique<FramesCaptureReader>(input, options);
  }
  return nullptr;
}

}  // namespace qbt2
