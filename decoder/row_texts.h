#pragma once

#include <cstdint>
#include <sstream>
#include <string>

#include "decoder/probe_data.h"

/// The texts of a row, for the row writers and the prepared rows. Pure functions.

/// Lowercase hexadecimal digits without prefix or leading zeros; "0" for zero.
inline std::string HexDigits(std::uint32_t value) {
  std::ostringstream text;
  text << std::hex << value;
  return text.str();
}

inline constexpr const char* kTransactionDescription = "Transaction logging";

/// Description of a statistics row; `kind` is "Throughput" or "Latency", `hexPeriod` the sampling
/// period's hexadecimal digits.
inline std::string StatisticsDescription(const std::string& kind, const Qbt2ProbeData_t& probe,
                                         const std::string& hexPeriod) {
  if (!probe.recordFound) return kind + " statistics: sampling period unknown";
  return kind + " statistics per 0x" + hexPeriod + " clock cycles";
}
