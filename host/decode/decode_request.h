#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/capture/capture_format.h"
#include "host/capture/capture_reader.h"
#include "host/decode/decoder_library.h"

/// What a pipeline is to read, and how. Plain data; every member but `captures` has a default that
/// fits most captures.
namespace qbt2 {

/// Rows with from <= time < to. A message without that time is left out.
struct TimeRange {
  enum class Unit : std::uint8_t {
    kTicks,        ///< SampleHead::timestamp
    kNanoseconds,  ///< SampleHead::time_ns
  };
  Unit unit = Unit::kTicks;
  std::uint64_t from = 0;
  std::uint64_t to = UINT64_MAX;
};

struct DecodeRequest {
  /// Paths; "-" is standard input. Decoded in this order.
  std::vector<std::string> captures;
  std::optional<CaptureFormat> input;     ///< empty: detected, for each capture
  std::optional<std::uint8_t> source_id;  ///< frames; empty: the settings' ATBID, else the only one
  std::optional<Framing> framing;         ///< empty: chosen, for each capture
  std::uint64_t clock_hz = 0;             ///< rate of the timestamps where no FREQ packet has it

  std::string config;  ///< settings: a .tdf or lines of KEY=VALUE; empty: none
  std::string device;  ///< device description (JSON); empty: none
  std::string plugin = kDefaultPluginPath;

  std::vector<std::uint16_t> masters;  ///< full STP ids; empty: all
  /// Further masters as a user names them (select_masters()): ids, ranges, lists, names of the
  /// settings. One without any traffic is reported and makes the run damaged().
  std::vector<std::string> master_selection;
  std::optional<TimeRange> time;  ///< empty: all
  /// Names of the fields that are read back from the decoder, separated by commas; empty: all.
  std::string fields;
  std::uint64_t limit = UINT64_MAX;  ///< rows
  /// Worker threads, the caller's own included; 0: one for each core. A run with a limit uses one.
  unsigned threads = 0;
};

}  // namespace qbt2
