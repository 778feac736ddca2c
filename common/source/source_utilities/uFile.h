#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "interfaces/qbt2_export.h"

/// A buffered file, closed by the destructor. One thread at a time uses it. Nothing throws: each
/// operation returns whether it succeeded; on a closed file it fails.
namespace KZ_DVT {

class QBT2_API uFile {
 public:
  /// Closes the current file and opens `path` with an fopen mode. False on failure and on null.
  [[nodiscard]] bool Open(const char* path, const char* mode);
  /// False if buffered data could not be written; the file is closed anyway.
  bool Close();
  [[nodiscard]] bool IsOpen() const { return file_ != nullptr; }

  /// True if all `size_bytes` were written.
  [[nodiscard]] bool Write(const void* data, std::size_t size_bytes);
  /// Writes buffered data to the system.
  bool Flush();
  /// Cuts the file, or extends it with zeros, to `size_bytes` and moves to its end.
  [[nodiscard]] bool Truncate(std::uint64_t size_bytes);

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Closer> file_;
};

}  // namespace KZ_DVT
