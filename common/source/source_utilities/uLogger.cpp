#include "common/source/source_utilities/uLogger.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uTime.h"

namespace KZ_DVT {
namespace {

constexpr const char* kDefaultFileName = "RXL_log.txt";

struct KindLetter {
  std::uint32_t kind;
  char letter;
};

constexpr std::array<KindLetter, 5> kKindLetters = {{
    {uLogKindMessage, 'M'},
    {uLogKindWarning, 'W'},
    {uLogKindF, 'F'},
    {uLogKindA, 'A'},
    {uLogKindError, 'E'},
}};

struct Level {
  bool echoToStdio;
  bool echoToDebugger;
  std::int32_t verbosity;
};

/// Levels 1 to 6. They switch output on; all other numbers switch it off.
constexpr std::array<Level, 6> kLevels = {{
    {false, false, 1},
    {true, false, 1},
    {false, false, 2},
    {true, false, 2},
    {true, true, 2},
    {true, true, 3},
}};

std::string Timestamp(std::uint32_t style) {
  switch (style) {
    case uLogStyleDate:
      return uTime().Format("%m/%d/%y | ");
    case uLogStyleTime:
      return uTime().Format("%H:%M:%S:%s | ");
    case uLogStyleDateTime:
      return uTime().Format("%m/%d/%y %H:%M:%S:%s | ");
    default:
      return " ";
  }
}

bool IsLineBreak(char c) {
  return c == '\n' || c == '\r';
}

/// The length without one line break at the end: a character, or a pair of two different ones.
std::size_t WithoutLineBreak(const char* text, std::size_t length) {
  if (length == 0 || !IsLineBreak(text[length - 1])) return length;
  const bool is_pair =
      length >= 2 && IsLineBreak(text[length - 2]) && text[length - 2] != text[length - 1];
  return length - (is_pair ? 2 : 1);
}

/// 0 (off) if unset, empty or not a number.
int LevelFromEnvironment(const char* variable) {
  const long level = std::strtol(uEnvironment::GetVar(variable).c_str(), nullptr, 10);
  return static_cast<int>(
      std::clamp<long>(level, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

}  // namespace

uLogger::uLogger() : uLogger(kDefaultFileName, false) {}

uLogger::uLogger(const char* fileName, bool append)
    : fileName_(fileName != nullptr ? fileName : ""),
      append_(append),
      named_(fileName != nullptr) {}

uLogger::~uLogger() = default;

void uLogger::Log(std::uint32_t kinds, std::uint32_t style, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  LogV(kinds, style, format, arguments);
  va_end(arguments);
}

void uLogger::Log(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  LogV(uLogKindMessage, uLogStylePlain, format, arguments);
  va_end(arguments);
}

void uLogger::LogV(std::uint32_t kinds, std::uint32_t style, const char* format,
                   std::va_list arguments) {
  if (!outputEnabled_ || kinds == 0 || levelMask_ == 0) return;
  const uMutex::ScopedLock lock(mutex_);
  AddRecord(FormatRecord(kinds, style, format, arguments));
}

std::size_t uLogger::FormatRecord(std::uint32_t kinds, std::uint32_t style, const char* format,
                                  std::va_list arguments) {
  std::size_t length = 0;
  for (const KindLetter& entry : kKindLetters) {
    buffer_[length++] = (kinds & entry.kind) != 0 ? entry.letter : ' ';
  }
  buffer_[length++] = ' ';
  const std::string timestamp = Timestamp(style);
  length += timestamp.copy(&buffer_[length], buffer_.size() - length);

  const std::size_t room = buffer_.size() - length;
  // The analyser loses track of the list on its way from Log(); every caller has started it.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  const int printed =
      format != nullptr ? std::vsnprintf(&buffer_[length], room, format, arguments) : 0;
  // A cut message fills the room except for the terminator; one that printf rejects is empty.
  return length + std::min(static_cast<std::size_t>(std::max(printed, 0)), room - 1);
}

void uLogger::AddRecord(std::size_t lengthBytes) {
  if (!outputEnabled_) return;
  std::size_t length = WithoutLineBreak(buffer_.data(), lengthBytes);
  buffer_[length++] = '\n';  // at most in place of the terminator
  if (!file_.IsOpen()) OpenFile();
  if (file_.Write(buffer_.data(), length)) file_.Flush();
  if (echoToStdio_) {
    std::fwrite(buffer_.data(), 1, length, stdout);
    std::fflush(stdout);
  }
}

void uLogger::OpenFile() {
  // After a failure the next record tries again.
  if (named_) static_cast<void>(file_.Open(fileName_.c_str(), append_ ? "a+" : "w+"));
}

bool uLogger::EnableOutput(bool enable) {
  const uMutex::ScopedLock lock(mutex_);
  if (!enable) file_.Close();
  return outputEnabled_.exchange(enable);
}

bool uLogger::EnableLogToStdio(bool enable) {
  const uMutex::ScopedLock lock(mutex_);
  return std::exchange(echoToStdio_, enable);
}

bool uLogger::EnableLogDbgOutWindow(bool enable) {
  const uMutex::ScopedLock lock(mutex_);
  return std::exchange(echoToDebugger_, enable);
}

void uLogger::SetFileName(const char* fileName, bool append) {
  if (fileName == nullptr) return;
  const uMutex::ScopedLock lock(mutex_);
  fileName_ = fileName;
  append_ = append;
  named_ = true;
  if (file_.IsOpen()) {
    file_.Close();
    OpenFile();
  }
}

void uLogger::Clear() {
  const uMutex::ScopedLock lock(mutex_);
  // Failures are ignored: there may be no file yet.
  if (file_.IsOpen()) {
    static_cast<void>(file_.Truncate(0));
  } else if (named_) {
    static_cast<void>(!::truncate(fileName_.c_str(), 0));
  }
}

void uLogger::Flush() {
  const uMutex::ScopedLock lock(mutex_);
  file_.Flush();
}

std::string uLogger::GetName() {
  const uMutex::ScopedLock lock(mutex_);
  return named_ ? fileName_ : std::string();
}

void uLogger::LogModuleInfo() {
  static const char in_this_library = 0;
  Dl_info info = {};
  if (uLogSystem::VerbosityAbove(0) && ::dladdr(&in_this_library, &info) != 0) {
    Log("MODULE INFO - %s", info.dli_fname);
  }
}

std::int32_t uLogSystem::verbosity_ = 0;

uLogSystem* uLogSystem::GetLogSystem() {
  static uLogSystem* const system = new uLogSystem;
  return system;
}

bool uLogSystem::InitLog(const char* fileName, const char* levelVariable,
                         const char* directoryVariable, bool registerLogger) {
  if (fileName == nullptr || levelVariable == nullptr) return false;
  registerFlag_ = registerLogger;
  if (UseRegistered(fileName)) return true;
  const std::string directory =
      directoryVariable != nullptr ? uEnvironment::GetVar(directoryVariable) : "";
  CreateLogger(fileName, directory, LevelFromEnvironment(levelVariable));
  return true;
}

bool uLogSystem::InitLogEx(const char* fileName, int level, const char* directory) {
  if (fileName == nullptr) return false;
  registerFlag_ = true;
  if (!UseRegistered(fileName)) {
    CreateLogger(fileName, directory != nullptr ? directory : "", level);
  }
  return true;
}

bool uLogSystem::UseRegistered(const char* fileName) {
  uLogger* const logger = registerFlag_ ? LookupLogger(fileName) : nullptr;
  if (logger == nullptr) return false;
  currentLogger_ = logger;
  return true;
}

void uLogSystem::CreateLogger(const char* fileName, const std::string& directory, int level) {
  const std::string path = directory.empty() ? fileName : directory + "/" + fileName;
  owned_.push_back(std::make_unique<uLogger>(path.c_str(), true));
  currentLogger_ = owned_.back().get();
  if (registerFlag_) loggers_.emplace(fileName, currentLogger_);
  ++count_;
  SetLoggingLevel(level);
  ReportDirectories();
}

void uLogSystem::ReportDirectories() {
  std::string directory;
  currentLogger_->Log(uLogKindMessage, uLogStyleTime,
                      "Logger : trace user settings directory is %s",
                      uEnvironment::GetTraceUserSettingsDirectory(directory).c_str());
  currentLogger_->Log(uLogKindMessage, uLogStyleTime,
                      "Logger : trace temporary data directory is %s",
                      uEnvironment::GetTraceTemporaryDataDirectory(directory).c_str());
}

void uLogSystem::SetLoggingLevel(int level) {
  if (currentLogger_ == nullptr) return;
  const bool output = level >= 1 && level <= static_cast<int>(kLevels.size());
  // Deliberate: when off, the verbosity is the number itself. Call sites may pass their test, but
  // nothing is written.
  const Level entry =
      output ? kLevels[static_cast<std::size_t>(level - 1)] : Level{false, false, level};
  currentLogger_->EnableOutput(output);
  currentLogger_->EnableLogToStdio(entry.echoToStdio);
  currentLogger_->EnableLogDbgOutWindow(entry.echoToDebugger);
  verbosity_ = entry.verbosity;
}

uLogger* uLogSystem::LookupLogger(const char* name) const {
  const auto found = name != nullptr ? loggers_.find(name) : loggers_.end();
  return found != loggers_.end() ? found->second : nullptr;
}

}  // namespace KZ_DVT
