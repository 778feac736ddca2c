#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

/// A buffered file, closed at the end of its life. One thread at a time uses it. Nothing throws:
/// each operation says whether it succeeded, and on a closed file fails.
namespace KZ_DVT {

class uFile {
 public:
  /// Opens `path` with an fopen mode, in place of a file that is open. False, and closed, on
  /// failure or null.
  [[nodiscard]] bool Open(const char* path, const char* mode);
  /// False when buffered data could not be written; the file is closed all the same.
  bool Close();
  [[nodiscard]] bool IsOpen() const { return file_ != nullptr; }

  /// True when all `size_bytes` were taken.
  [[nodiscard]] bool Write(const void* data, std::size_t size_bytes);
  /// The number of bytes read, less than asked for at the end of the file or on an error.
  [[nodiscard]] std::size_t Read(void* data, std::size_t size_bytes);
  /// Hands buffered data to the system.
  bool Flush();
  /// Cuts the file, or extends it with zeros, to `size_bytes`, and goes on at its end.
  [[nodiscard]] bool Truncate(std::uint64_t size_bytes);

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Closer> file_;
};

}  // namespace KZ_DVT
