#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// Checks the texts of a trace data file for lines that their readers would ignore, truncate or
/// misunderstand: those readers report nothing but to the debug log. Each finding is reported when
/// it is found, so memory does not grow with their number. Pure functions.
namespace qbt2 {

enum class FindingSeverity : std::uint8_t {
  kNote,   ///< worth knowing; nothing is wrong
  kFault,  ///< something is lost or misunderstood
};

struct Finding {
  FindingSeverity severity = FindingSeverity::kFault;
  std::uint64_t offset = 0;  ///< byte of the text or file that is checked
  std::string text;
};
using FindingSink = std::function<void(const Finding&)>;

/// NAME=VALUE lines of a device's settings. Faults: lines that are not settings, names set twice,
/// values with a carriage return, QBT2_ lines that the decoder cannot use.
void check_settings_text(std::string_view text, const FindingSink& sink);
/// The lines DECODER, DATA_TYPE, DATA_FORMAT and ATBID. Faults: other lines, values out of range.
void check_decoder_text(std::string_view text, const FindingSink& sink);
/// The eight lines of a device identifier. Faults: other lines, records with missing fields, fields
/// that are not numbers.
void check_device_text(std::string_view text, const FindingSink& sink);

}  // namespace qbt2
