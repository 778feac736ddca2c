#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "common/source/logging/debug_log.h"
#include "tests/common/common_test_support.h"

/// What the tests of trace files share: a folder, bytes put together by hand, and the debug log.
namespace trace_testing {

using common_test::ReadFile;

inline void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

/// A folder of its own for each test, gone afterwards.
class InFolder : public ::testing::Test {
 protected:
  std::string At(const std::string& name) const { return m_folder / name; }
  std::string Put(const std::string& name, const std::string& bytes) const {
    WriteFile(At(name), bytes);
    return At(name);
  }

  common_test::TempDirectory m_folder;
};

/// A 32-bit word, and a text behind its byte count, as the files hold them.
inline std::string Word(std::uint32_t word) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) {
    bytes += static_cast<char>(word >> shift & 0xFF);
  }
  return bytes;
}
inline std::string Text(const std::string& text) {
  return Word(static_cast<std::uint32_t>(text.size())) + text;
}
inline std::string Section(const std::string& name, std::uint32_t version,
                           const std::string& payload) {
  return Word(static_cast<std::uint32_t>(12 + name.size() + payload.size())) + Word(version) +
         Text(name) + payload;
}

/// No file of this process grows beyond the limit while this lives: a full disk without a disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &m_old);
    const rlimit limit = {bytes, m_old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &m_old);
    std::signal(SIGXFSZ, m_oldHandler);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit m_old = {};
  void (*m_oldHandler)(int);
};

/// The debug log of this process, all kinds on. Each call gives the records since the last one, as
/// "kind function: message". The log has no way to be closed, so its file stays until the end.
class DebugLog {
 public:
  static std::vector<std::string> TakeRecords() {
    static DebugLog log;
    const std::string text = ReadFile(log.m_path);
    std::istringstream lines(text.substr(std::min(log.m_read, text.size())));
    log.m_read = text.size();
    std::vector<std::string> records;
    for (std::string line; std::getline(lines, line);) {
      std::istringstream fields(line);
      std::string kind, time, file, function, message;
      long number = 0;
      long thread = 0;
      // The header's lines, and those of a message of several lines, do not read like this.
      if (line.size() < 4096 && fields >> kind >> time >> file >> number >> function >> thread &&
          time.find(':') != std::string::npos) {
        std::getline(fields.ignore(2), message);
        records.push_back(kind.append(" ").append(function).append(": ").append(message));
      }
    }
    return records;
  }

 private:
  DebugLog() : m_path(::testing::TempDir() + "qbt2-log-" + std::to_string(getpid())) {
    setenv("KZ_TRACE_LOGFILE", m_path.c_str(), 1);
    setenv("KZ_TRACE_LOGGING", "511", 1);
    debug_log_init();
  }
  ~DebugLog() { std::filesystem::remove(m_path); }

  std::string m_path;
  std::size_t m_read = 0;
};

}  // namespace trace_testing
