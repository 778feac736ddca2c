#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace qbt2::test {

/// Whether programs that this process starts do not inherit the file. Fails the test if the file is
/// not open.
inline bool closes_on_exec(const std::string& path) {
  const auto wanted = std::filesystem::canonical(path);
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code closed;  // the iterator's own descriptor
    if (std::filesystem::read_symlink(entry.path(), closed) != wanted) continue;
    const int descriptor = std::stoi(entry.path().filename());
    return (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
  }
  ADD_FAILURE() << path << " is not open";
  return false;
}

}  // namespace qbt2::test
