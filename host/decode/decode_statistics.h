#pragma once

#include <cstdint>
#include <string>

#include "host/capture/capture_reader.h"
#include "host/decode/decode_worker.h"

/// The account of a whole run, as `qbt2 decode --stats` prints it.
namespace qbt2 {

struct DecodeStatistics {
  CaptureCounts capture;
  DecodeCounts decode;
  double seconds = 0;

  /// "name: value" lines in their fixed order, then one messages_of_N_words line a length seen.
  std::string to_text() const;
};

}  // namespace qbt2
