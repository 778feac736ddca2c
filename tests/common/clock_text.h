#pragma once

#include <chrono>
#include <ctime>
#include <string>

namespace common_test {

using Milliseconds = std::chrono::sys_time<std::chrono::milliseconds>;

inline Milliseconds Now() {
  return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

/// Whether the text is a time between `begin` and now, in UTC: strftime's `format`, and after a ':'
/// at its end the milliseconds as three digits.
inline bool IsTimeSince(Milliseconds begin, const std::string& format, const std::string& text) {
  for (const Milliseconds end = Now(); begin <= end; begin += std::chrono::milliseconds(1)) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(begin);
    std::tm utc = {};
    gmtime_r(&seconds, &utc);
    char time[64];
    std::strftime(time, sizeof time, format.c_str(), &utc);
    const auto milliseconds = begin.time_since_epoch().count() % 1000;
    const std::string tail = std::to_string(1000 + milliseconds).substr(1);
    if (text == time + (format.ends_with(':') ? tail : "")) return true;
  }
  return false;
}

}  // namespace common_test
