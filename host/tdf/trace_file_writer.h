#pragma once

#include <string>

#include "host/tdf/trace_file_contents.h"

/// Creates trace data files, and adds sections to them, with the section classes' own writers. The
/// file is complete or absent: it is built under a temporary name next to its own, and after any
/// failure an earlier file stays as it was. A file is locked while it is extended or replaced:
/// another writer, in whatever process, waits. One thread.
namespace qbt2 {

/// Creates `path`. Throws Error: kUsage when the name does not end in ".tdf", when the file
/// exists and `replace` is not set, or when two sections have one name and version; kInput when a
/// section's file cannot be read or is too large (a section holds 128 MiB, a file 4 GiB); kOutput
/// when writing fails.
void create_trace_file(const std::string& path, const TraceFileContents& contents, bool replace);

/// Adds sections to `path`. Throws as above, and kInput when the file is damaged, since readers
/// would never find a section after the damage.
void add_to_trace_file(const std::string& path, const TraceFileContents& contents);

}  // namespace qbt2
