#include "host/capture/open_capture.h"

#include "host/capture/frames_capture.h"
#include "host/capture/sample_file.h"
#include "host/capture/stp_capture.h"

namespace qbt2 {

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
