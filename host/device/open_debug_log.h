#pragma once

#include <string>

/// The debug log is opened by the host, once in a process and before threads are started.
namespace qbt2 {

/// Opens the debug log where the environment variable KZ_TRACE_LOGGING asks for it; else nothing is
/// opened or created. Returns why it could not be opened, empty where all is well: the decoder
/// works without it.
std::string open_debug_log();

}  // namespace qbt2
