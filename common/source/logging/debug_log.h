#pragma once

#include <cstdint>
#include <exception>

#include "interfaces/qbt2_export.h"

/// The debug log: one line per event, for developers and support, written by every part of the
/// library and by the host's own modules. It is off until debug_log_init() opens it, and stays open
/// until the process ends. Records may come from any thread; debug_log_init() runs once, before the
/// threads that log.
///
/// Call sites use QBT2_DEBUG_LOG or QBT2_DEBUG_LOG_SCOPE, which cost the test of two globals when
/// the log is off. docs/use/logs.md describes the file and its environment variables.

/// Record types: one bit each in g_log_level, and the code shown in a record's first column.
enum log_type_t : std::int32_t {
  LOG_ERROR = 0x001,
  LOG_WARNING = 0x002,
  LOG_FUNC_ENTRY = 0x004,
  LOG_FUNC_EXIT = 0x008,
  LOG_MSG_COMMON = 0x010,
  LOG_MSG_USECASE = 0x020,
  LOG_MSG_PLATFORM = 0x040,
  LOG_MSG_DRIVER = 0x080,
  LOG_MSG_TARGET = 0x100,
};

/// Mask of the record types to write. Set by debug_log_init() only.
extern QBT2_API std::int32_t g_log_level;

/// True once the log file is open; never cleared. Set by debug_log_init() only.
extern QBT2_API bool g_log_enable;

/// Opens the log if KZ_TRACE_LOGGING (a decimal bit mask) asks for it, and writes its header; does
/// nothing otherwise. The file is KZ_TRACE_LOGFILE, else sysdiag_log.txt in $HOME/.KZ-trace, which
/// is created; there, a symbolic link in the file's place is refused. Programs that the process
/// starts do not inherit the file. A second call writes a second header into the open file and
/// restarts its clock. Takes no lock. Throws std::runtime_error when HOME is needed and missing,
/// when the directory cannot be made and when the file cannot be opened; the log is then still
/// closed.
QBT2_API void debug_log_init();

/// Writes one record, or nothing when the log is closed. It does not look at g_log_level: the call
/// site does. `file` and `function` must not be null; a null `format` gives a record without a
/// message. Throws std::system_error if its mutex cannot be locked, nothing else.
QBT2_API void debug_log_msg(log_type_t type, const char* file, int line, const char* function,
                            const char* format = nullptr, ...)
    __attribute__((format(printf, 5, 6)));

/// True if a record of this type would be written.
inline bool debug_log_wants(log_type_t type) noexcept {
  return g_log_enable && (g_log_level & type) != 0;
}

/// QBT2_DEBUG_LOG(type[, format, arguments...]): writes a record. The arguments are evaluated only
/// if the record is written.
#define QBT2_DEBUG_LOG(type, ...)                                                     \
  do {                                                                                \
    if (debug_log_wants(type)) {                                                      \
      debug_log_msg((type), __FILE__, __LINE__, __func__ __VA_OPT__(, ) __VA_ARGS__); \
    }                                                                                 \
  } while (false)

/// Writes an entry record now and an exit record at the end of the scope, exceptions included. Use
/// QBT2_DEBUG_LOG(LOG_FUNC_EXIT, ...) instead if the exit record has a result.
class debug_log_scope {
 public:
  debug_log_scope(const char* file, int line, const char* function)
      : file_(file), line_(line), function_(function) {
    if (debug_log_wants(LOG_FUNC_ENTRY)) debug_log_msg(LOG_FUNC_ENTRY, file_, line_, function_);
  }
  ~debug_log_scope() {
    if (debug_log_wants(LOG_FUNC_EXIT)) write_exit();
  }
  debug_log_scope(const debug_log_scope&) = delete;
  debug_log_scope& operator=(const debug_log_scope&) = delete;

 private:
  void write_exit() const noexcept {
    try {
      debug_log_msg(LOG_FUNC_EXIT, file_, line_, function_);
    } catch (const std::exception&) {
      // A record that cannot be written must not end the process while a stack unwinds.
      return;
    }
  }

  const char* file_;
  int line_;
  const char* function_;
};

/// First statement of a public operation: entry record here, exit record at the end of the scope.
/// Both carry this line's number.
#define QBT2_DEBUG_LOG_SCOPE() \
  const debug_log_scope qbt2_debug_log_scope_(__FILE__, __LINE__, __func__)
