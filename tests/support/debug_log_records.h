#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "common/source/logging/debug_log.h"
#include "tests/support/saved_environment.h"
#include "tests/support/test_folder.h"

namespace qbt2::test {

/// The debug log's records during its life, of all kinds; before and after, nothing is logged. The
/// log itself cannot be closed: its file stays until the process ends.
class DebugLogRecords {
 public:
  DebugLogRecords() : file_(open_file()) {
    g_log_level = 511;
    take();
  }
  ~DebugLogRecords() { g_log_level = 0; }
  DebugLogRecords(const DebugLogRecords&) = delete;
  DebugLogRecords& operator=(const DebugLogRecords&) = delete;

  /// The records since the last call as "kind message", entry and exit records as
  /// "kind function: message".
  std::vector<std::string> take() { return take(false); }
  /// The same, all as "kind function: message".
  std::vector<std::string> take_with_functions() { return take(true); }

 private:
  struct LogFile {
    std::string path = testing::TempDir() + "qbt2-log-" + std::to_string(getpid());
    ~LogFile() { std::filesystem::remove(path); }
  };

  static const std::string& open_file() {
    static const LogFile file;
    if (!g_log_enable) {
      const SavedEnvironment saved;
      set_variable("KZ_TRACE_LOGFILE", file.path);
      set_variable("KZ_TRACE_LOGGING", "511");
      debug_log_init();
    }
    return file.path;
  }

  std::vector<std::string> take(bool with_functions) {
    const std::vector<std::string> lines = read_lines(file_);
    std::vector<std::string> records;
    for (; read_ < lines.size(); ++read_) {
      std::istringstream fields(lines[read_]);
      std::string kind, time, file, function, message;
      std::uint64_t number = 0, thread = 0;
      if (lines[read_].size() >= 4096) continue;  // huge ones are left out
      if (fields >> kind >> time >> file >> number >> function >> thread &&
          time.find(':') != std::string::npos) {
        std::getline(fields.ignore(2), message);
        const bool with_function = with_functions || kind.starts_with('F');
        records.push_back(kind + " " + (with_function ? function + ": " : "") + message);
      } else if (!records.empty()) {
        records.back() += "\n" + lines[read_];  // a message of several lines
      }
    }
    return records;
  }

  const std::string& file_;
  std::size_t read_ = 0;
};

}  // namespace qbt2::test
