#pragma once

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "common/source/source_utilities/uFile.h"
#include "common/source/source_utilities/uMutex.h"
#include "interfaces/qbt2_export.h"

/// The utility log: text files written by loggers, and the process-wide log system that keeps the
/// current logger and the verbosity. The decoder writes here. docs/use/logs.md describes the file
/// and its environment variables.
///
/// A logger may be used from any thread; a record is never torn. The log system itself is set up
/// (InitLog, SetLoggingLevel) while no other thread logs. Call sites use QBT2_LOG.
namespace KZ_DVT {

/// Kinds of a record, as bits; a record may be of several.
enum uLogKind : std::uint32_t {
  uLogKindMessage = 1,  // "M", information
  uLogKindWarning = 2,  // "W"
  uLogKindF = 4,        // "F"
  uLogKindA = 8,        // "A"
  uLogKindError = 16,   // "E"
};

/// What stands between a record's kinds and its message; any other value: a blank.
enum uLogStyle : std::uint32_t {
  uLogStylePlain = 0,
  uLogStyleDate = 1,      // month/day/year
  uLogStyleTime = 2,      // hours:minutes:seconds:milliseconds
  uLogStyleDateTime = 3,  // both
};

class QBT2_API uLogger {
 public:
  /// A logger of "RXL_log.txt" in the working directory that starts the file anew.
  uLogger();
  /// The file is opened by the first record. A logger without a name (null) writes no file.
  uLogger(const char* fileName, bool append);
  virtual ~uLogger();
  uLogger(const uLogger&) = delete;
  uLogger& operator=(const uLogger&) = delete;

  /// Writes one record of at most 4095 bytes and a line feed; longer ones are cut. Does nothing
  /// when output is off or `kinds` is 0. A file that cannot be opened loses the record; the next
  /// one tries again. `this` is the first argument of the format attribute.
  void Log(std::uint32_t kinds, std::uint32_t style, const char* format, ...)
      __attribute__((format(printf, 4, 5)));
  /// A record of kind 1 and style 0.
  void Log(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void LogV(std::uint32_t kinds, std::uint32_t style, const char* format, std::va_list arguments)
      __attribute__((format(printf, 4, 0)));

  /// The three switches return their value before. Switching output off closes the file.
  bool EnableOutput(bool enable);
  /// Records also go to standard output.
  bool EnableLogToStdio(bool enable);
  /// Kept for the interface's sake: Linux has no debugger window, so it has no effect.
  bool EnableLogDbgOutWindow(bool enable);

  /// A file that is open is closed, and the one of the new name opened. Null is ignored.
  void SetFileName(const char* fileName, bool append);
  /// Empties the file, also when it is not open; creates none.
  void Clear();
  void Flush();
  /// The file name; empty for a logger without one.
  [[nodiscard]] std::string GetName();
  /// Logs which shared library this code runs from, when the log system's verbosity is above 0.
  void LogModuleInfo();

 private:
  static constexpr std::size_t kRecordCapacityBytes = 4096;
  static constexpr std::uint32_t kAllKinds = 31;

  [[nodiscard]] std::size_t FormatRecord(std::uint32_t kinds, std::uint32_t style,
                                         const char* format, std::va_list arguments)
      __attribute__((format(printf, 4, 0)));
  void AddRecord(std::size_t lengthBytes);
  void OpenFile();

  uFile file_;
  std::string fileName_;
  // Read before the mutex is taken, so that a switched-off logger costs no lock.
  std::atomic<bool> outputEnabled_ = true;
  bool echoToStdio_ = false;
  bool echoToDebugger_ = false;
  bool append_ = false;
  bool named_ = true;
  uMutex mutex_;
  std::array<char, kRecordCapacityBytes> buffer_ = {};
  // Stops all records when 0; it does not select among the kinds, deliberately.
  std::uint32_t levelMask_ = kAllKinds;
};

/// One per process, created on first use and never destroyed, so that records of static destructors
/// still find it.
class QBT2_API uLogSystem {
 public:
  static uLogSystem* GetLogSystem();

  /// True when the verbosity is above `threshold`. One load and a compare; does not create the log
  /// system.
  [[nodiscard]] static bool VerbosityAbove(std::int32_t threshold) noexcept {
    return verbosity_ > threshold;
  }
  [[nodiscard]] static std::int32_t GetVerbosity() noexcept { return verbosity_; }

  /// Makes a logger of `fileName` the current one. `levelVariable` names the environment variable
  /// that holds the level number, as a decimal (0 where it is unset, empty or no number);
  /// `directoryVariable`, which may be null, the one that holds the directory. With
  /// `registerLogger`, a logger registered before under this name becomes the current one and all
  /// else stays as it is. False when a name is null.
  /// Throws source_utilities_error when HOME is unset or empty; the logger is then set up, without
  /// its first two records.
  bool InitLog(const char* fileName, const char* levelVariable, const char* directoryVariable,
               bool registerLogger);
  /// The same with the level number and the directory (null or empty: none) given, and the logger
  /// registered.
  bool InitLogEx(const char* fileName, int level, const char* directory);

  /// Level numbers: 1 and 2 give verbosity 1; 3 to 5 verbosity 2; 6 verbosity 3; 2, 4, 5 and 6 echo
  /// to standard output. Any other number switches output off and is itself the verbosity. Without
  /// a current logger nothing happens.
  void SetLoggingLevel(int level);

  /// The registered logger of that name, or null. It lives as long as the process.
  [[nodiscard]] uLogger* LookupLogger(const char* name) const;
  /// Null until an InitLog() succeeded.
  [[nodiscard]] uLogger* GetCurrentLogger() const { return currentLogger_; }
  /// Number of loggers that InitLog() made.
  [[nodiscard]] std::uint32_t GetCount() const { return count_; }
  /// The flag given to the last InitLog().
  [[nodiscard]] bool GetRegisterFlag() const { return registerFlag_; }

 private:
  uLogSystem() = default;
  bool UseRegistered(const char* fileName);
  void CreateLogger(const char* fileName, const std::string& directory, int level);
  void ReportDirectories();

  // Static, so that call sites reach it without the object.
  static std::int32_t verbosity_;

  uLogger* currentLogger_ = nullptr;
  bool registerFlag_ = false;
  std::uint32_t count_ = 0;
  std::map<std::string, uLogger*> loggers_;
  std::vector<std::unique_ptr<uLogger>> owned_;
};

/// QBT2_LOG(threshold, kinds, style, format, arguments...): a record of the current logger when the
/// verbosity is above the threshold; the arguments are evaluated only then.
#define QBT2_LOG(threshold, kinds, style, ...)                                                \
  do {                                                                                        \
    if (KZ_DVT::uLogSystem::VerbosityAbove(threshold)) {                                      \
      KZ_DVT::uLogger* qbt2_logger_ = KZ_DVT::uLogSystem::GetLogSystem()->GetCurrentLogger(); \
      if (qbt2_logger_ != nullptr) {                                                          \
        qbt2_logger_->Log((kinds), (style), __VA_ARGS__);                                     \
      }                                                                                       \
    }                                                                                         \
  } while (false)

}  // namespace KZ_DVT
