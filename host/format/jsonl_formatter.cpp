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
          .keeps_absent = false,
          .render = append_json_text,
          .label = append_label};
}

char* write_escape(char* at, char character) {
  *at++ = '\\';
  if (character == '"' || character == '\\') {
    *at++ = character;
    return at;
  }
  *at++ = 'u';
  return write_hex(at, static_cast<unsigned char>(character), 4);
}

bool needs_escape(std::string_view text) {
  return text[0] == '"' || text[0] == '\\' || static_cast<unsigned char>(text[0]) < 0x20;
}

}  // namespace

JsonlFormatter::JsonlFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options)
    : FragmentFormatter(catalogue, options, json_style()) {}

void append_json_text(std::string_view text, TextBuffer& out) {
  char* at = out.reserve(text.size() * kMaxEscapeChars + 2);
  *at++ = '"';
  while (!text.empty()) {
    const Utf8Character character = first_character(text);
    if (needs_escape(text)) {
      at = write_escape(at, text[0]);
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
