#pragma once

#include <cstddef>
#include <string>

/// The temporary files that this process has created and not yet renamed, kept where a signal
/// handler can get at them: a run that is ended by a signal must not leave half a file behind.
namespace qbt2 {

/// Lists a path for as long as it lives. Any thread. A path of more than kMaxBytes, or one too many
/// at the same time, is not listed.
class TemporaryFileEntry {
 public:
  explicit TemporaryFileEntry(const std::string& path);
  ~TemporaryFileEntry();
  TemporaryFileEntry(const TemporaryFileEntry&) = delete;
  TemporaryFileEntry& operator=(const TemporaryFileEntry&) = delete;

  static constexpr std::size_t kMaxBytes = 4095;
  static constexpr std::size_t kMaxEntries = 16;

 private:
  std::size_t slot_;  ///< kMaxEntries: not listed
};

/// Removes every listed file. Async-signal-safe; the process is expected to end afterwards.
void remove_temporary_files() noexcept;

}  // namespace qbt2
