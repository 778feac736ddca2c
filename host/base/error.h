#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

/// What the host library throws when a run cannot go on: a usage mistake, or an input or output
/// that cannot be opened, read or written. Damage inside a capture is not an error: it is counted
/// and reported through callbacks, and the run continues.
namespace qbt2 {

enum class ErrorCode {
  kUsage,   ///< options that contradict each other, unknown names
  kInput,   ///< a file that cannot be opened, read or understood
  kOutput,  ///< a file that cannot be created or written
  kPlugin,  ///< the decoder plug-in cannot be loaded or lacks an entry point
};

/// One line for the user: what() is "file: reason" or "file: byte N: reason".
class Error : public std::runtime_error {
 public:
  Error(ErrorCode code, const std::string& text) : std::runtime_error(text), code_(code) {}
  Error(ErrorCode code, const std::string& file, const std::string& reason)
      : std::runtime_error(file + ": " + reason), code_(code) {}
  Error(ErrorCode code, const std::string& file, std::uint64_t offset, const std::string& reason)
      : std::runtime_error(file + ": byte " + std::to_string(offset) + ": " + reason),
        code_(code),
        offset_(offset) {}

  ErrorCode code() const { return code_; }
  /// Byte of the input at which the error is, if it has a place.
  std::optional<std::uint64_t> offset() const { return offset_; }

 private:
  ErrorCode code_;
  std::optional<std::uint64_t> offset_;
};

}  // namespace qbt2
