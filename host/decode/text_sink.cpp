#include "host/decode/text_sink.h"

#include <algorithm>

#include "host/base/error.h"
#include "host/base/terminal_text.h"
#include "host/base/text_buffer.h"
#include "host/decode/run_report.h"
#include "host/format/formatter_factory.h"
#include "host/rows/row_fields.h"

namespace qbt2 {
namespace {

struct TextChunk final : RowChunk {
  void clear() override { text.clear(); }
  TextBuffer text;
};

/// Lines for a terminal; valid until the next call.
std::string_view for_terminal(std::string_view text) {
  static thread_local TextBuffer shown;
  shown.clear();
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    append_terminal_text(text.substr(0, end), shown);
    if (end != text.size()) shown.append("\n");
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return shown.view();
}

class TextStage final : public RowStage {
 public:
  explicit TextStage(std::unique_ptr<RowFormatter> formatter) : formatter_(std::move(formatter)) {}

  std::unique_ptr<RowChunk> make_chunk() override { return std::make_unique<TextChunk>(); }
  void append(const RowBatch& rows, std::size_t capture, RowChunk& chunk) override {
    formatter_->append(rows, capture, static_cast<TextChunk&>(chunk).text);
  }

 private:
  std::unique_ptr<RowFormatter> formatter_;
};

}  // namespace

TextSink::TextSink(TextSinkOptions options) : options_(std::move(options)) {}

std::unique_ptr<RowFormatter> TextSink::make_formatter(const RunOutline& outline) const {
  const ColumnCatalogue& catalogue = outline.catalogue;
  FormatOptions options;
  if (!options_.fields.empty()) options.fields = parse_field_list(catalogue, options_.fields);
  options.terminal_columns = options_.terminal_columns;
  options.several_captures = outline.captures > 1;
  options.masters = outline.masters;
  options.has_timestamps = outline.has_timestamps;
  options.hex_addresses = options_.hex_addresses;
  options.csv_safe = options_.csv_safe;
  auto formatter = make_row_formatter(options_.format, catalogue, options);
  if (!formatter) throw Error(ErrorCode::kUsage, "unknown format '" + options_.format + "'");
  return formatter;
}

std::unique_ptr<RowStage> TextSink::make_stage(const RunOutline& outline) {
  return std::make_unique<TextStage>(make_formatter(outline));
}

void TextSink::begin(const RunOutline& outline) {
  formatter_ = make_formatter(outline);
  output_.emplace(options_.output);
}

bool TextSink::write(std::string_view text) {
  if (text.empty()) return true;
  if (options_.before_write) options_.before_write();
  return output_->write(options_.is_terminal ? for_terminal(text) : text);
}

void TextSink::write_header() {
  if (header_written_) return;
  header_written_ = true;
  TextBuffer text;
  formatter_->header(text);
  (void)write(text.view());  // a reader that has gone shows with the rows
}

bool TextSink::take(RowChunk& chunk, std::size_t /*capture*/) {
  write_header();
  return write(static_cast<TextChunk&>(chunk).text.view());
}

void TextSink::end(const RunReport& report) {
  if (report.end == RunEnd::kStopped || report.end == RunEnd::kSinkClosed) return;
  write_header();
  TextBuffer text;
  formatter_->footer(text);
  if (write(text.view())) output_->commit();
}

}  // namespace qbt2
