#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/base/output_file.h"
#include "host/decode/row_sink.h"
#include "host/format/row_formatter.h"

/// Rows as text, into a file or a stream. One thread; its stages format on the workers.
namespace qbt2 {

struct TextSinkOptions {
  std::string format = "csv";        ///< as make_row_formatter takes it
  std::string fields;                ///< names separated by commas; empty: the format's own choice
  std::size_t terminal_columns = 0;  ///< table: width to fit into, 0 for no limit
  bool hex_addresses = false;        ///< as in FormatOptions
  bool csv_safe = false;             ///< as in FormatOptions
  std::string output = "-";          ///< as OutputFile takes it
  /// The output is a terminal: control characters, which CSV leaves as they are, become U+FFFD.
  bool is_terminal = false;
  /// Called before text is written, so that a progress bar can make room. May be empty.
  std::function<void()> before_write;
};

/// Writes the header before the first row (not earlier, so that on a terminal a line about the
/// framing comes before the table and not inside it), the rows and the footer. A regular file
/// appears complete at the end of the run, and not at all where the run was stopped or failed.
class TextSink final : public RowSink {
 public:
  explicit TextSink(TextSinkOptions options);

  /// Throws Error(kUsage) for an unknown format or field.
  std::unique_ptr<RowStage> make_stage(const RunOutline& outline) override;
  /// Opens the output: not before the inputs are open. Throws Error(kOutput), as all below do.
  void begin(const RunOutline& outline) override;
  /// False once the reader of a pipe has gone.
  bool take(RowChunk& chunk, std::size_t capture) override;
  void end(const RunReport& report) override;

 private:
  std::unique_ptr<RowFormatter> make_formatter(const RunOutline& outline) const;
  void write_header();
  bool write(std::string_view text);

  TextSinkOptions options_;
  std::optional<OutputFile> output_;
  std::unique_ptr<RowFormatter> formatter_;  ///< for header and footer
  bool header_written_ = false;
};

}  // namespace qbt2
