#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/replacement_file.h"

/// Where rows and reports go: a file that is complete or absent, or a stream. One thread.
///
/// A regular file is a ReplacementFile: it appears on commit(), and without commit() what was there
/// before stays. A device, a pipe or the standard output is written directly and never replaced;
/// commit() then only closes it.
///
/// Writing into a pipe whose reader has closed it raises SIGPIPE: the program has to ignore that
/// signal (the tool does), so that write() can report it.
namespace qbt2 {

class OutputFile {
 public:
  /// Opens `path`; "-" is the standard output, and so is /dev/stdout (/dev/fd/N and
  /// /proc/self/fd/N: that descriptor). Throws Error(kOutput) naming the path and the reason.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  OutputFile(OutputFile&&) = delete;
  OutputFile& operator=(OutputFile&&) = delete;

  /// Writes all of `text`. False when the reader of a pipe has closed it, now or before: not an
  /// error, but nothing more needs to be written. Throws Error(kOutput) on any other failure.
  [[nodiscard]] bool write(std::string_view text);
  /// Closes the output and gives a regular file its name; call it once, after the last write.
  /// Throws Error(kOutput).
  void commit();

 private:
  void open_stream(int descriptor);
  void wait_until_writable() const;
  [[noreturn]] void fail(int error) const;

  std::string shown_path_;               ///< as messages name it
  std::optional<ReplacementFile> file_;  ///< empty for a stream
  int descriptor_ = -1;                  ///< the file's, or the stream's own
  bool reader_gone_ = false;
};

/// Whether OutputFile takes `path` for a stream that is open already: "-", /dev/stdout, /dev/fd/N.
bool names_open_stream(const std::string& path);

/// Throws Error(kUsage) where `output` is one of the inputs, under whatever name or link: writing
/// it would destroy what is being read. "-" is standard input among the inputs, standard output
/// else.
void refuse_to_replace_inputs(const std::string& output, const std::vector<std::string>& inputs);

}  // namespace qbt2
