#pragma once

#include <string>

#include "common/source/source_utilities/uTime.h"

/// The trace environment of the process: its debug client, its trace directories, and the log that
/// all decoder units write to.
///
/// Set up once for the process, guarded by a plain flag: decoder units are created one at a time.

/// The first call sets "KZ_TRACE_DEBUGCLIENT_PID", creates the trace directories under
/// $HOME/.KZ-trace, publishes them in "KZ_TRACE_LOGGING_DIR", "KZ_TRACE_DATA_DIR" and
/// "KZ_TRACE_SETTINGS_DIR", and names the log file. Every call then opens the log. Never throws: a
/// failure ends the set-up at that point, and the next call tries again.
void SetUpTraceEnvironment() noexcept;

/// The name of the log file of a day: month, day and year follow each other without padding, as in
/// kz_trace_log_7142026_4711.txt. `pid` is the id of the debug client.
std::string MakeTraceLogFileName(const KZ_DVT::uTime& day, const std::string& pid);

/// The name of the process's log file, without directory; empty until a set-up succeeded.
const std::string& TraceLogFileName();
