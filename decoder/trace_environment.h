#pragma once

#include <string>

/// The trace environment of the process: which debug client its tools belong to, where its trace
/// files lie, and the log that every decoder unit writes to.
///
/// Set up once for the process and guarded by a plain flag: decoder units are created one at a
/// time.

/// Settles "KZ_TRACE_DEBUGCLIENT_PID", makes the trace directories under $HOME/.KZ-trace, publishes
/// them in "KZ_TRACE_LOGGING_DIR", "KZ_TRACE_DATA_DIR" and "KZ_TRACE_SETTINGS_DIR" and names the
/// log file; then, on every call, opens the log. Never throws: whatever fails ends the set-up
/// there, and the next call tries again what has not been done.
void SetUpTraceEnvironment() noexcept;

/// The log file's name without directory; empty until a set-up succeeded.
const std::string& TraceLogFileName();
