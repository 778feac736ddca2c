#pragma once

#include <chrono>
#include <ctime>
#include <string>

/// A moment in local time, to the millisecond. A value, immutable once made.
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
  [[nodiscard]] int GetHour() const { return local_.tm_hour; }
  [[nodiscard]] int GetMinute() const { return local_.tm_min; }
  [[nodiscard]] int GetSecond() const { return local_.tm_sec; }
  /// 0 to 999.
  [[nodiscard]] int GetMillisecond() const { return milliseconds_; }

  /// strftime formatting, in which "%s" stands for the milliseconds as three digits and "%#s" for
  /// the milliseconds without padding. Empty for a null format and for a result above 1 KiB.
  [[nodiscard]] std::string Format(const char* format) const;

 private:
  std::tm local_ = {};
  int milliseconds_ = 0;
};

}  // namespace KZ_DVT
