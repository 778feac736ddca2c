#include "host/format/csv_formatter.h"

#include <algorithm>

#include "host/base/utf8.h"

namespace qbt2 {
namespace {

// A line feed alone, as line tools expect and every CSV reader on this system accepts; quoting
// follows RFC 4180.
constexpr std::string_view kRecordEnd = "\n";

bool needs_quotes(std::string_view text) {
  return text.empty() || std::any_of(text.begin(), text.end(), [](char c) {
           return c == ',' || c == '"' || static_cast<unsigned char>(c) < 0x20;
         });
}

/// A spreadsheet takes a cell with this first character for a formula, or drops the character and
/// then does.
bool begins_formula(std::string_view text) {
  return !text.empty() && std::string_view("=+-@\t\r").find(text[0]) != std::string_view::npos;
}

void append_cell(std::string_view mark, std::string_view text, TextBuffer& out) {
  const bool quoted = needs_quotes(text);
  char* at = out.reserve(text.size() * kReplacementCharacter.size() + mark.size() + 2);
  if (quoted) *at++ = '"';
  at = std::copy(mark.begin(), mark.end(), at);
  while (!text.empty()) {
    const Utf8Character character = first_character(text);
    if (text[0] == '"') *at++ = '"';
    const std::string_view written =
        character.valid ? text.substr(0, character.bytes) : kReplacementCharacter;
    at = std::copy(written.begin(), written.end(), at);
    text.remove_prefix(character.bytes);
  }
  if (quoted) *at++ = '"';
  out.commit(at);
}

void append_safe_text(std::string_view text, TextBuffer& out) {
  append_cell(begins_formula(text) ? "'" : "", text, out);
}

RowStyle csv_style(bool safe) {
  return {.open = "",
          .separator = ",",
          .close = kRecordEnd,
          .quote = "",
          .keeps_absent = true,
          .render = safe ? append_safe_text : append_csv_text,
          .label = nullptr};
}

}  // namespace

CsvFormatter::CsvFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options)
    : FragmentFormatter(catalogue, options, csv_style(options.csv_safe)) {}

void CsvFormatter::header(TextBuffer& out) {
  for (std::size_t n = 0; n < fields().size(); ++n) {
    if (n != 0) out.append(",");
    style().render(field_name(catalogue(), fields()[n]), out);
  }
  out.append(kRecordEnd);
}

void append_csv_text(std::string_view text, TextBuffer& out) {
  append_cell("", text, out);
}

}  // namespace qbt2
