#pragma once

#include <string>

/// The trace environment of the process: its debug client, its trace directories, and the log that
/// all decoder units write to.
///
/// Set up once for the process, guarded by a plain flag: decoder units are created one at a time.

/// The first call sets "KZ_TRACE_DEBUGCLIENT_PID", creates the trace directories under
/// $HOME/.KZ-trace, publishes them in "KZ_TRACE_LOGGING_DIR", "KZ_TRACE_DATA_DIR" and
/// "KZ_TRACE_SETTINGS_DIR", and names the log file. Every call then opens the log. Never throws: a
/// failure ends the set-up at that point, and the next call tries again.
void SetUpTraceEnvironment() noexcept;

/// The log file's name without directory; empty until a set-up succeeded.
const std::string& TraceLogFileName();
