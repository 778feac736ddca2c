#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// An input that is read once from start to end: a file, a pipe or standard input ("-"). Bytes can
/// be looked at before they are read. One thread.
namespace qbt2 {

class InputFile {
 public:
  /// Opens `path`. Throws Error(kInput) with the system's reason, also for a directory.
  explicit InputFile(std::string path);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  /// The path as given; "standard input" for "-". For messages.
  const std::string& name() const { return name_; }
  bool is_regular() const { return is_regular_; }
  /// Size of a regular file when it was opened; 0 for a pipe.
  std::uint64_t size_bytes() const { return size_bytes_; }

  /// The next bytes, up to `bytes` of them (fewer only at the end of the input), without taking
  /// them. Valid until the next call. Throws Error(kInput) when reading fails.
  std::span<const std::uint8_t> peek(std::size_t bytes);
  /// As peek(), but of a pipe or device that is being written perhaps only what is there so far:
  /// `is_enough` is asked about it where no more is there for now, and again, with `paused`, where
  /// none came for half a second; false: wait for more.
  std::span<const std::uint8_t> peek_live(
      std::size_t bytes,
      const std::function<bool(std::span<const std::uint8_t> first_bytes, bool paused)>& is_enough);
  /// Whether read() would return without waiting, with bytes or because the input has ended.
  /// Always true for a regular file.
  bool has_input() const;
  /// Takes up to buffer.size() bytes; 0 means the end. Throws Error(kInput) with the offset when
  /// reading fails.
  std::size_t read(std::span<std::uint8_t> buffer);
  /// After read() returned 0: bytes that a regular file had when it was opened and lost since.
  std::uint64_t missing_bytes() const { return size_bytes_ - std::min(size_bytes_, position_); }
  /// Bytes taken so far.
  std::uint64_t position() const { return position_; }
  /// Back to the first byte; only for regular files. Throws Error(kInput).
  void rewind();

 private:
  std::size_t read_some(std::span<std::uint8_t> buffer);
  void drop_taken();
  bool read_ahead(std::size_t bytes);
  bool has_new_input(std::chrono::milliseconds wait) const;

  std::string name_;
  int descriptor_ = -1;
  bool owned_ = false;
  bool is_regular_ = false;
  std::uint64_t size_bytes_ = 0;
  std::uint64_t position_ = 0;
  std::vector<std::uint8_t> ahead_;  ///< peeked and not yet taken
  std::size_t ahead_taken_ = 0;
};

/// Everything that is left of the input; none when that is more than `most_bytes`, as of a stream
/// that never ends. Throws Error(kInput) where reading fails.
std::optional<std::string> read_up_to(InputFile& input, std::size_t most_bytes);

}  // namespace qbt2
