#pragma once

#include <string>

/// Keeps other processes that take the same lock away from a file while it is read, extended and
/// replaced. One thread.
namespace qbt2 {

class FileLock {
 public:
  /// Waits for the lock on the file that has the name `path` at that moment, links followed: one
  /// that was replaced while this waited is not it any more. Locks nothing where there is no file
  /// that can be opened. Throws Error(kOutput) where the file system has no locks.
  explicit FileLock(const std::string& path);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int descriptor_ = -1;
};

}  // namespace qbt2
