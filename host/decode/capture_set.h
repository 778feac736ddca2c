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
#include "host/pieces/stp_piece_capture.h"

/// The captures of a request, opened and ready to be read. One thread.
namespace qbt2 {

struct OpenCapture {
  std::unique_ptr<InputFile> file;
  CaptureFormat format = CaptureFormat::kStp;
  // One of the two:
  std::unique_ptr<CaptureReader> reader;
  std::unique_ptr<StpPieceCapture> pieces;

  std::uint64_t position() const { return pieces ? pieces->position() : reader->position(); }
  CaptureCounts counts() const { return pieces ? pieces->counts() : reader->counts(); }
};

/// Opens every capture of the request, before any is read: a missing one must not show after half
/// of the rows were written. The readers report to `observer`, which outlives them; null:
/// no reports. `settings_source` is the source id of frames where the request names none.
/// `in_pieces`: files of one STP stream are read in pieces; pipes are not, as a piece would wait
/// for its end. Throws Error as Pipeline does.
std::vector<OpenCapture> open_captures(const DecodeRequest& request,
                                       std::optional<std::uint8_t> settings_source, bool in_pieces,
                                       RunObserver* observer);

/// Bytes of all captures; 0 where one is a pipe, whose size is not known.
std::uint64_t total_bytes(const std::vector<OpenCapture>& captures);

}  // namespace qbt2
