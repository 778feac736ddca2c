#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// Looks through the texts of a trace data file for what their readers would pass over, cut down or
/// understand otherwise than it was meant: those readers never complain but in the debug log. Each
/// finding is told as it is met, so memory does not grow with their number. Pure functions.
namespace qbt2 {

enum class FindingSeverity : std::uint8_t {
  kNote,   ///< worth knowing; nothing is wrong
  kFault,  ///< something is lost or means something else
};

struct Finding {
  FindingSeverity severity = FindingSeverity::kFault;
  std::uint64_t offset = 0;  ///< byte of what was looked at
  std::string text;
};
using FindingSink = std::function<void(const Finding&)>;

/// NAME=VALUE lines of a device's settings. Faults: lines that are no settings, names set twice,
/// values with a carriage return, QBT2_ lines that the decoder cannot use.
void check_settings_text(std::string_view text, const FindingSink& sink);
/// The lines DECODER, DATA_TYPE, DATA_FORMAT and ATBID. Faults: other lines, values out of range.
void check_decoder_text(std::string_view text, const FindingSink& sink);
/// The eight lines of a device identifier. Faults: other lines, records without their fields,
/// numbers that are none.
void check_device_text(std::string_view text, const FindingSink& sink);

}  // namespace qbt2
