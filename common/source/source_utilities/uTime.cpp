#include "common/source/source_utilities/uTime.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace KZ_DVT {
namespace {

constexpr std::size_t kFormatCapacityBytes = 1024;

/// Replaces "%s" and "%#s" by the milliseconds and leaves the rest, "%%" included, to strftime.
std::string ExpandMilliseconds(const char* format, int milliseconds) {
  std::array<char, 16> padded = {};
  std::snprintf(padded.data(), padded.size(), "%03d", milliseconds);

  std::string expanded;
  for (const char* at = format; *at != '\0'; ++at) {
    if (std::strncmp(at, "%s", 2) == 0) {
      expanded += padded.data();
      at += 1;
    } else if (std::strncmp(at, "%#s", 3) == 0) {
      expanded += std::to_string(milliseconds);
      at += 2;
    } else {
      expanded += *at;
      if (at[0] == '%' && at[1] == '%') expanded += *++at;
    }
  }
  return expanded;
}

}  // namespace

uTime::uTime() : uTime(std::chrono::system_clock::now()) {}

uTime::uTime(std::chrono::system_clock::time_point moment) {
  const auto second = std::chrono::floor<std::chrono::seconds>(moment);
  const auto within_second = std::chrono::floor<std::chrono::milliseconds>(moment - second);
  milliseconds_ = static_cast<int>(within_second.count());
  const std::time_t seconds = std::chrono::system_clock::to_time_t(second);
  ::localtime_r(&seconds, &local_);
}

std::string uTime::Format(const char* format) const {
  if (format == nullptr) {
    return {};
  }
  std::array<char, kFormatCapacityBytes> text = {};
  const std::size_t length = std::strftime(
      text.data(), text.size(), ExpandMilliseconds(format, milliseconds_).c_str(), &local_);
  return {text.data(), length};
}

}  // namespace KZ_DVT
