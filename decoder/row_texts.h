#pragma once

#include <cstdint>
#include <sstream>
#include <string>

#include "decoder/message_layout.h"
#include "decoder/probe_data.h"

/// The texts and the one computed value of a row that both roads to it share: the row writers and
/// the prepared rows. Pure functions.

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

/// Bytes per matched transaction of a throughput message, cut to a whole number. A tracer that
/// counted bytes but no match has no average; 0 is shown then, so that the row is not lost.
inline std::uint32_t AverageLength(const std::uint32_t* words) {
  const auto total = static_cast<std::uint32_t>(Extract(words, kThroughputFields[0].value));
  const auto matched = static_cast<std::uint32_t>(Extract(words, kThroughputFields[1].value));
  return matched == 0 ? 0 : total / matched;
}
