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

RowStyle csv_style() {
  return {.open = "",
          .separator = ",",
          .close = kRecordEnd,
          .keeps_absent = true,
          .render = append_csv_text,
          .label = nullptr};
}

}  // namespace

CsvFormatter::CsvFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options)
    : FragmentFormatter(catalogue, options, csv_style()) {}

void CsvFormatter::header(TextBuffer& out) {
  for (std::size_t n = 0; n < fields().size(); ++n) {
    if (n != 0) out.append(",");
    append_csv_text(field_name(catalogue(), fields()[n]), out);
  }
  out.append(kRecordEnd);
}

void append_csv_text(std::string_view text, TextBuffer& out) {
  const bool quoted = needs_quotes(text);
  char* at = out.reserve(text.size() * kReplacementCharacter.size() + 2);
  if (quoted) *at++ = '"';
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

}  // namespace qbt2
