#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "host/capture/capture_format.h"
#include "host/capture/capture_reader.h"
#include "host/rows/row_batch.h"

/// What a run of the pipeline amounted to. Plain data.
namespace qbt2 {

/// What became of samples.
struct DecodeCounts {
  std::array<std::uint64_t, 4> rows_of_kind{};  ///< by RowKind
  std::uint64_t samples_without_row = 0;
  std::uint64_t samples_rejected = 0;

  std::uint64_t rows() const {
    return rows_of_kind[0] + rows_of_kind[1] + rows_of_kind[2] + rows_of_kind[3];
  }
  DecodeCounts& operator+=(const DecodeCounts& other);
};

/// One capture of the run.
struct CaptureReport {
  std::string file;  ///< as messages name it
  CaptureFormat format = CaptureFormat::kStp;
  CaptureCounts capture;  ///< complete where the run read the capture to its end
  DecodeCounts decode;
  std::uint64_t messages_outside = 0;  ///< not decoded: outside the request's time range
  /// Read to its end: empty, no ASYNC packet, no such source, or no message of a known length.
  bool nothing_to_decode = false;
};

enum class RunEnd : std::uint8_t {
  kComplete,    ///< every capture was read to its end
  kLimit,       ///< the request's number of rows was reached
  kSinkClosed,  ///< the sink accepts no more, for example the reader of a pipe has gone
  kStopped,     ///< stop() was called
};

struct RunReport {
  std::vector<CaptureReport> captures;  ///< in the order of the request
  RunEnd end = RunEnd::kComplete;
  /// All was read, and something of DecodeRequest::master_selection had no traffic.
  bool masters_missing = false;
  double seconds = 0;  ///< since the pipeline was made

  CaptureCounts capture_totals() const;
  DecodeCounts decode_totals() const;
  /// Part of the input was damaged, rejected, or held nothing to decode, or a chosen master was not
  /// there: exit status 1.
  bool damaged() const;
  /// "name: value" lines in their fixed order, then one messages_of_N_words line for each length
  /// seen: what `qbt2 decode --stats` prints.
  std::string statistics_text() const;
};

}  // namespace qbt2
