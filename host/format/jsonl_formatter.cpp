#include "host/format/jsonl_formatter.h"

#include <algorithm>

#include "host/base/number_text.h"
#include "host/base/utf8.h"

namespace qbt2 {
namespace {

constexpr std::size_t kMaxEscapeChars = 6;  // \u001f

void append_label(std::string_view name, TextBuffer& out) {
  append_json_text(name, out);
  out.append(":");
}

RowStyle json_style() {
  return {.open = "{",
          .separator = ",",
          .close = "}\n",
          .quote = "\"",
          .keeps_absent = false,
          .render = append_json_text,
          .label = append_label};
}

char* write_escape(char* at, char32_t character) {
  *at++ = '\\';
  if (character == '"' || character == '\\') {
    *at++ = static_cast<char>(character);
    return at;
  }
  *at++ = 'u';
  return write_hex(at, character, 4);
}

/// JSON asks for quotes, backslashes and C0; DEL and C1 are escaped too, since a terminal that
/// shows the line would act upon them.
bool needs_escape(char32_t c) {
  return c == '"' || c == '\\' || c < 0x20 || (c >= 0x7F && c <= 0x9F);
}

}  // namespace

JsonlFormatter::JsonlFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options)
    : FragmentFormatter(catalogue, options, json_style()) {}

void append_json_text(std::string_view text, TextBuffer& out) {
  char* at = out.reserve(text.size() * kMaxEscapeChars + 2);
  *at++ = '"';
  while (!text.empty()) {
    const Utf8Character character = first_character(text);
    if (needs_escape(character.code_point)) {
      at = write_escape(at, character.code_point);
    } else {
      const std::string_view written =
          character.valid ? text.substr(0, character.bytes) : kReplacementCharacter;
      at = std::copy(written.begin(), written.end(), at);
    }
    text.remove_prefix(character.bytes);
  }
  *at++ = '"';
  out.commit(at);
}

}  // namespace qbt2
