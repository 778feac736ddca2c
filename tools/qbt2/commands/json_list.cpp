#include "tools/qbt2/commands/json_list.h"

#include <cstddef>

#include "host/base/number_text.h"

namespace qbt2::tool {
namespace {

/// Bytes of the DEL or C1 control character at the beginning of valid UTF-8; 0 for another one.
std::size_t control_bytes(std::string_view text) {
  if (text[0] == '\x7F') return 1;
  const bool is_c1 = text[0] == '\xC2' && text.size() > 1 && text[1] <= '\x9F';
  return is_c1 ? 2 : 0;
}

}  // namespace

std::string json_text(const Json& value, int indent) {
  const std::string plain = value.dump(indent, ' ', false, Json::error_handler_t::replace);
  std::string text;
  text.reserve(plain.size());
  // Outside its strings JSON is printable ASCII.
  for (std::size_t at = 0; at < plain.size();) {
    const std::size_t bytes = control_bytes(std::string_view(plain).substr(at));
    if (bytes == 0) {
      text += plain[at++];
      continue;
    }
    text += "\\u";
    append_hex(text, static_cast<unsigned char>(plain[at + bytes - 1]), 4);
    at += bytes;
  }
  return text;
}

}  // namespace qbt2::tool
