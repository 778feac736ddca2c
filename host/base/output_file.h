#pragma once

#include <string>
#include <string_view>

/// Where rows and reports go: a file that is complete or absent, or a stream. One thread.
///
/// A regular file is written under a temporary name beside its own and takes its name on commit();
/// without commit() the temporary goes and what was there before stays. A device, a pipe or the
/// standard output is written straight through and never replaced; commit() then only closes it.
///
/// Writing into a pipe whose reader has gone raises SIGPIPE: the program is to ignore that signal
/// (the tool does), so that write() can tell of it.
namespace qbt2 {

class OutputFile {
 public:
  /// Opens `path`; "-" is the standard output, and so is /dev/stdout (/dev/fd/N and
  /// /proc/self/fd/N: that descriptor). A symbolic link is followed, and stays. A file that is
  /// replaced passes on its permissions. Throws Error(kOutput) naming the path and the reason.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  OutputFile(OutputFile&&) = delete;
  OutputFile& operator=(OutputFile&&) = delete;

  /// Writes all of `text`. False when the reader of a pipe has gone, now or before: no error, but
  /// nothing more is wanted. Throws Error(kOutput) on any other failure.
  [[nodiscard]] bool write(std::string_view text);
  /// Closes and gives a regular file its name; call it once, after the last write. Throws
  /// Error(kOutput).
  void commit();

 private:
  OutputFile() =
      default;  ///< delegated to, so that the destructor cleans up after a failed opening
  void open_stream(int number);
  void open_through(const std::string& path);
  void open_temporary(const std::string& target);
  void keep_permissions(const std::string& target) const;
  void wait_until_writable() const;
  [[noreturn]] void fail(int error) const;

  std::string shown_path_;  ///< as messages name it
  std::string target_;      ///< what the temporary becomes, links resolved
  std::string temporary_;   ///< empty when written straight through
  int descriptor_ = -1;
  bool reader_gone_ = false;
};

}  // namespace qbt2
