#include "common/source/logging/debug_log.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <boost/filesystem.hpp>
#include <boost/system/error_code.hpp>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <stdexcept>
#include <string>

#include "common/source/logging/elapsed_text.h"

std::int32_t g_log_level;
bool g_log_enable;

namespace {

// No constructor or destructor of these runs: the log is usable before the first static constructor
// and after the last destructor, in whatever order the host loads and unloads.
FILE* logout;
std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds> start_time;
std::mutex lock_logging;

struct record_type_text {
  log_type_t type;
  const char* text;
};

constexpr std::array<record_type_text, 9> kRecordTypeTexts = {{
    {LOG_ERROR, " E "},
    {LOG_WARNING, " W "},
    {LOG_FUNC_ENTRY, " FE"},
    {LOG_FUNC_EXIT, " FX"},
    {LOG_MSG_COMMON, " MC"},
    {LOG_MSG_USECASE, " MU"},
    {LOG_MSG_PLATFORM, " MP"},
    {LOG_MSG_DRIVER, " MD"},
    {LOG_MSG_TARGET, " MT"},
}};

constexpr bool each_type_is_its_own_bit() {
  for (std::size_t i = 0; i < kRecordTypeTexts.size(); ++i) {
    if (kRecordTypeTexts[i].type != 1 << i) return false;
  }
  return true;
}
static_assert(each_type_is_its_own_bit());

constexpr const char* kHeaderKey =
    "key - 1st column Mn | Fx | W | E: Record type [Message, Function, Warning or Error]\n"
    "    - Where n indicates message level: C - Common, U - Usecase, P - Platform, D - Driver, "
    "T - Target\n"
    "    - Where x indicates function entry/exit: E- Entry, X - eXit\n"
    "    - 2nd column timestamp: HH:MM:SS.USEC\n"
    "    - 3rd column source file\n"
    "    - 4th column source line number\n"
    "    - 5th column function name\n"
    "    - 6th column thread id\n"
    "    - 7th column message\n"
    "\n";

const char* type_text(log_type_t type) {
  for (const record_type_text& entry : kRecordTypeTexts) {
    if (entry.type == type) return entry.text;
  }
  return "   ";
}

/// One level only: a missing home directory is an error.
void make_log_directory(const boost::filesystem::path& directory) {
  boost::system::error_code error;
  if (boost::filesystem::is_directory(directory, error)) return;
  error.clear();  // a missing directory is normal at the first start
  if (boost::filesystem::create_directory(directory, error)) return;
  boost::system::error_code made_by_another;
  if (boost::filesystem::is_directory(directory, made_by_another)) return;
  std::string text = "Could not create directory at " + directory.string();
  if (error) text += " Error: " + error.message();
  throw std::runtime_error(text);
}

struct log_file {
  std::string path;
  int extra_flags;  // of open()
};

log_file choose_log_file() {
  const char* file = std::getenv("KZ_TRACE_LOGFILE");
  if (file != nullptr) return {file, 0};
  const char* home = std::getenv("HOME");
  if (home == nullptr) {
    throw std::runtime_error(
        "Environment variable HOME not defined - required to form pathname for log file if "
        "KZ_TRACE_LOGFILE not set");
  }
  const boost::filesystem::path directory = boost::filesystem::path(home) / ".KZ-trace";
  make_log_directory(directory);
  // Nobody asked for another place: a link here would truncate a file of somebody else's choice.
  return {(directory / "sysdiag_log.txt").string(), O_NOFOLLOW};
}

void open_log(const log_file& file) {
  const int descriptor =
      ::open(file.path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | file.extra_flags, 0666);
  if (descriptor >= 0) {
    logout = ::fdopen(descriptor, "w");
    if (logout == nullptr) ::close(descriptor);
  }
  if (logout == nullptr) {
    throw std::runtime_error("Error trying to open " + file.path + " for logging");
  }
}

void write_header() {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(start_time);
  std::tm local = {};
  localtime_r(&seconds, &local);
  std::fprintf(logout, "%d-%d-%d %d:%02d:%02d\n", local.tm_year + 1900, local.tm_mon + 1,
               local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
  std::fputs(kHeaderKey, logout);
  std::fflush(logout);
}

}  // namespace

void debug_log_init() {
  if (const char* level = std::getenv("KZ_TRACE_LOGGING")) {
    // Decimal only. A text that is not a number is 0: off.
    g_log_level = static_cast<std::int32_t>(std::strtol(level, nullptr, 10));
  }
  if (g_log_level <= 0) return;
  const log_file file = choose_log_file();
  if (!g_log_enable) open_log(file);
  g_log_enable = true;
  start_time = std::chrono::system_clock::now();
  write_header();

  QBT2_DEBUG_LOG(LOG_FUNC_ENTRY);
  QBT2_DEBUG_LOG(LOG_MSG_COMMON, "Log level 0x%x", static_cast<unsigned>(g_log_level));
  QBT2_DEBUG_LOG(LOG_FUNC_EXIT);
}

void debug_log_msg(log_type_t type, const char* file, int line, const char* function,
                   const char* format, ...) {
  const std::lock_guard<std::mutex> lock(lock_logging);
  if (logout == nullptr) return;
  std::fprintf(logout, "%s %s %-20s %4d %-20s %10lu  ", type_text(type),
               elapsed_text(std::chrono::system_clock::now() - start_time).data(), file, line,
               function, static_cast<unsigned long>(::pthread_self()));
  if (format != nullptr) {
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(logout, format, arguments);
    va_end(arguments);
  }
  std::fputs("\n", logout);
  std::fflush(logout);
}
