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
/// A logger may be used from any thread; records never interleave. Set up the log system (InitLog,
/// SetLoggingLevel) while no other thread logs. Call sites use QBT2_LOG.
namespace KZ_DVT {

/// Kinds of a record, as bits; a record may have several.
enum uLogKind : std::uint32_t {
  uLogKindMessage = 1,  ///< "M", information
  uLogKindWarning = 2,  ///< "W"
  uLogKindF = 4,        ///< "F"
  uLogKindA = 8,        ///< "A"
  uLogKindError = 16,   ///< "E"
};

/// The timestamp between a record's kinds and its message; any other value: a blank.
enum uLogStyle : std::uint32_t {
  uLogStylePlain = 0,
  uLogStyleDate = 1,      ///< month/day/year
  uLogStyleTime = 2,      ///< hours:minutes:seconds:milliseconds
  uLogStyleDateTime = 3,  ///< both
};

class QBT2_API uLogger {
 public:
  /// A logger of "RXL_log.txt" in the working directory, which it truncates.
  uLogger();
  /// The file is opened by the first record. A logger without a name (null) writes no file.
  uLogger(const char* fileName, bool append);
  virtual ~uLogger();
  uLogger(const uLogger&) = delete;
  uLogger& operator=(const uLogger&) = delete;

  /// Writes one record of at most 4095 bytes and a line feed; longer ones are cut. Does nothing if
  /// output is off or `kinds` is 0. If the file cannot be opened, the record is lost and the next
  /// one tries again. `this` is the first argument of the format attribute.
  void Log(std::uint32_t kinds, std::uint32_t style, const char* format, ...)
      __attribute__((format(printf, 4, 5)));
  /// A record of kind 1 and style 0.
  void Log(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void LogV(std::uint32_t kinds, std::uint32_t style, const char* format, std::va_list arguments)
      __attribute__((format(printf, 4, 0)));

  /// The three switches return their previous value. Switching output off closes the file.
  bool EnableOutput(bool enable);
  /// Records also go to standard output.
  bool EnableLogToStdio(bool enable);
  /// Part of the interface; without effect on Linux, which has no debugger window.
  bool EnableLogDbgOutWindow(bool enable);

  /// If the file is open, it is closed and the new one opened. Null is ignored.
  void SetFileName(const char* fileName, bool append);
  /// Empties the file even if it is not open; never creates it.
  void Clear();
  void Flush();
  /// The file name; empty if it has none.
  [[nodiscard]] std::string GetName();
  /// Logs the path of the shared library that contains this code, if the verbosity is above 0.
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
  /// Read before the mutex is locked, so that a switched-off logger costs no lock.
  std::atomic<bool> outputEnabled_ = true;
  bool echoToStdio_ = false;
  bool echoToDebugger_ = false;
  bool append_ = false;
  bool named_ = true;
  uMutex mutex_;
  std::array<char, kRecordCapacityBytes> buffer_ = {};
  /// Deliberate: 0 stops all records, but the bits do not select kinds.
  std::uint32_t levelMask_ = kAllKinds;
};

/// One per process, created on first use and never destroyed, so that static destructors can still
/// log.
class QBT2_API uLogSystem {
 public:
  static uLogSystem* GetLogSystem();

  /// One load and a compare; does not create the log system.
  [[nodiscard]] static bool VerbosityAbove(std::int32_t threshold) noexcept {
    return verbosity_ > threshold;
  }
  [[nodiscard]] static std::int32_t GetVerbosity() noexcept { return verbosity_; }

  /// Makes a logger of `fileName` the current one. `levelVariable` names the environment variable
  /// of the level number, a decimal (0 if it is unset, empty or not a number); `directoryVariable`,
  /// which may be null, that of the directory. With `registerLogger`, a logger already registered
  /// under this name becomes the current one and nothing else changes. False if a name is null.
  /// Throws source_utilities_error if HOME is unset or empty; the logger is then set up, without
  /// its first two records.
  bool InitLog(const char* fileName, const char* levelVariable, const char* directoryVariable,
               bool registerLogger);
  /// The same with the level number and the directory (null or empty: none) as values; always
  /// registers the logger.
  bool InitLogEx(const char* fileName, int level, const char* directory);

  /// Levels 1 and 2 mean verbosity 1, 3 to 5 verbosity 2, 6 verbosity 3; 2, 4, 5 and 6 echo to
  /// standard output. Any other number switches output off and is itself the verbosity. Does
  /// nothing without a current logger.
  void SetLoggingLevel(int level);

  /// The registered logger of that name, or null. It lives until the process ends.
  [[nodiscard]] uLogger* LookupLogger(const char* name) const;
  /// Null until an InitLog() succeeded.
  [[nodiscard]] uLogger* GetCurrentLogger() const { return currentLogger_; }
  /// Number of loggers that InitLog() made.
  [[nodiscard]] std::uint32_t GetCount() const { return count_; }

 private:
  uLogSystem() = default;
  bool UseRegistered(const char* fileName);
  void CreateLogger(const char* fileName, const std::string& directory, int level);
  void ReportDirectories();

  /// Static, so that call sites do not need the object.
  static std::int32_t verbosity_;

  uLogger* currentLogger_ = nullptr;
  bool registerFlag_ = false;
  std::uint32_t count_ = 0;
  std::map<std::string, uLogger*> loggers_;
  std::vector<std::unique_ptr<uLogger>> owned_;
};

/// QBT2_LOG(threshold, kinds, style, format, arguments...): a record of the current logger if the
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
