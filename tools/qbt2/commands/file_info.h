#pragma once

#include <string>

#include "host/base/input_file.h"
#include "host/capture/capture_info.h"
#include "tools/qbt2/commands/json_list.h"

/// What a file is and what it contains: a capture in one of its formats, a trace data file, a
/// device description or plain settings. Nothing is decoded. One thread.
namespace qbt2::tool {

struct FileInfo {
  std::string kind = "unknown";
  Json members =
      Json::object();  ///< what is known of a file of this kind, as `qbt2 info` prints it
  /// Whether the file is of no known kind, or damaged where no single byte can be named.
  bool is_bad = false;
};

/// Reads the input to its end. A trace data file is opened again by its name, since sections are
/// found by seeking; from standard input it is refused. Reports to `events`, all of which must be
/// set. Throws Error(kInput) where the input cannot be read.
FileInfo read_file_info(InputFile& input, const InfoEvents& events);

}  // namespace qbt2::tool
