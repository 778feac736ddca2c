#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <string>

#include "decoder/probe_data.h"

/// The texts of a row, for the row writers and the prepared rows. Pure functions.

/// Lowercase hexadecimal digits without prefix or leading zeros; "0" for zero. Not through a
/// stream: that would group them as the host's locale says.
inline std::string HexDigits(std::uint32_t value) {
  std::array<char, 8> digits;
  return {digits.data(),
          std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr};
}

inline constexpr const char* kTransactionDescription = "Transaction logging";

/// Description of a statistics row; `kind` is "Throughput" or "Latency", `hexPeriod` the sampling
/// period's hexadecimal digits.
inline std::string StatisticsDescription(const std::string& kind, const Qbt2ProbeData_t& probe,
                                         const std::string& hexPeriod) {
  if (!probe.recordFound) return kind + " statistics: sampling period unknown";
  return kind + " statistics per 0x" + hexPeriod + " clock cycles";
}
