#include "host/capture/open_capture.h"

#include "host/capture/frames_capture.h"
#include "host/capture/sample_file.h"
#include "host/capture/stp_capture.h"

namespace qbt2 {
namespace {

/// So many first bytes are not taken for frames or samples by chance.
constexpr std::size_t kEnoughBytes = std::size_t{4} << 10;

/// Whether more bytes would not change what was detected. That of an STP stream is final: its
/// beginning is not well-formed samples, and the ASYNC and VERSION found stay there.
bool is_final(std::optional<CaptureFormat> format, std::size_t bytes) {
  return format && (*format == CaptureFormat::kStp || bytes >= kEnoughBytes);
}

}  // namespace

std::optional<CaptureFormat> detect_capture_format(InputFile& input) {
  return detect_capture_format(
      input.peek_live(kDetectionBytes, [](std::span<const std::uint8_t> bytes, bool paused) {
        const auto format = detect_capture_format(bytes);
        return paused ? format.has_value() : is_final(format, bytes.size());
      }));
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
