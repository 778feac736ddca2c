#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/base/input_file.h"
#include "host/capture/capture_format.h"
#include "host/capture/capture_reader.h"
#include "host/decode/decode_request.h"
#include "host/decode/run_observer.h"

/// The captures of a request, opened and ready to be read. One thread.
namespace qbt2 {

struct OpenCapture {
  std::unique_ptr<InputFile> file;
  CaptureFormat format = CaptureFormat::kStp;
  std::unique_ptr<CaptureReader> reader;
};

/// Opens every capture of the request, before any is read: a missing one must not show after half
/// of the rows were written. The readers report to `observer`, which outlives them; null:
/// no reports. `settings_source` is the source id of frames where the request names none. Throws
/// Error as Pipeline does.
std::vector<OpenCapture> open_captures(const DecodeRequest& request,
                                       std::optional<std::uint8_t> settings_source,
                                       RunObserver* observer);

/// Bytes of all captures; 0 where one is a pipe, whose size is not known.
std::uint64_t total_bytes(const std::vector<OpenCapture>& captures);

}  // namespace qbt2
