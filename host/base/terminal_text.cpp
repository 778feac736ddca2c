#include "host/base/terminal_text.h"

#include <algorithm>

#include "host/base/utf8.h"

namespace qbt2 {
namespace {

bool is_safe_to_show(char32_t c) {
  const bool control = c < 0x20 || (c >= 0x7F && c <= 0x9F);
  const bool line_break = c == 0x2028 || c == 0x2029;
  const bool direction = c == 0x061C || c == 0x200E || c == 0x200F ||
                         (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
  return !control && !line_break && !direction;
}

}  // namespace

void append_terminal_text(std::string_view text, TextBuffer& out) {
  char* at = out.reserve(text.size() * kReplacementCharacter.size());
  while (!text.empty()) {
    const Utf8Character character = first_character(text);
    const bool kept = character.valid && is_safe_to_show(character.code_point);
    const std::string_view written = kept ? text.substr(0, character.bytes) : kReplacementCharacter;
    at = std::copy(written.begin(), written.end(), at);
    text.remove_prefix(character.bytes);
  }
  out.commit(at);
}

}  // namespace qbt2
