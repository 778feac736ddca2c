#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/base/output_file.h"

/// What a sub-command prints piece by piece: collected into large writes, and ended at once when
/// the reader has gone. One thread.
namespace qbt2::tool {

/// Thrown when the reader of the output has gone. main() ends the run quietly, with status 0.
struct ReaderGone {};

class Printer {
 public:
  explicit Printer(const std::string& path) : file_(path) {}

  /// Throws ReaderGone, and Error(kOutput) as OutputFile does.
  void print(std::string_view text) {
    pending_ += text;
    if (pending_.size() >= kPieceBytes) flush();
  }
  /// Call it once, after the last print().
  void finish() {
    flush();
    file_.commit();
  }

 private:
  static constexpr std::size_t kPieceBytes = std::size_t{64} << 10;

  void flush() {
    if (!file_.write(pending_)) throw ReaderGone();
    pending_.clear();
  }

  OutputFile file_;
  std::string pending_;
};

/// Text for a terminal: control characters and what is not UTF-8 become U+FFFD.
std::string shown(std::string_view text);

}  // namespace qbt2::tool
