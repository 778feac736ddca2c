#include "common/source/logging/elapsed_text.h"

#include <cstdio>

std::array<char, 32> elapsed_text(std::chrono::nanoseconds elapsed) {
  constexpr long long kHour = 3'600'000'000'000;
  constexpr long long kMinute = 60'000'000'000;
  constexpr long long kSecond = 1'000'000'000;
  constexpr long long kMicrosecond = 1000;
  const long long d = elapsed.count();
  const long long r = d % kHour % kMinute;
  std::array<char, 32> text = {};
  std::snprintf(text.data(), text.size(), "%02lld:%02lld:%02lld.%06lld", d / kHour,
                d % kHour / kMinute, r / kSecond, r % kSecond / kMicrosecond);
  return text;
}
