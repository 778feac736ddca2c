#pragma once

#include <chrono>
#include <ctime>
#include <string>

/// A point in local time, to the millisecond. An immutable value.
namespace KZ_DVT {

class uTime {
 public:
  /// Now.
  uTime();
  explicit uTime(std::chrono::system_clock::time_point moment);

  [[nodiscard]] int GetYear() const { return local_.tm_year + 1900; }
  /// 1 to 12.
  [[nodiscard]] int GetMonth() const { return local_.tm_mon + 1; }
  /// 1 to 31.
  [[nodiscard]] int GetDay() const { return local_.tm_mday; }

  /// strftime formatting, except that "%s" is the milliseconds as three digits and "%#s" the
  /// milliseconds without padding. Empty for a null format and for a result above 1 KiB.
  [[nodiscard]] std::string Format(const char* format) const;

 private:
  std::tm local_ = {};
  int milliseconds_ = 0;
};

}  // namespace KZ_DVT
