#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

/// Texts taken apart: settings, the plain files of sections, lists on the command line. All parts
/// are views into the text that was given. Pure functions, any thread.
namespace qbt2 {

/// Without the blanks and tabs at both ends.
inline std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The parts between the separators: one more than there are separators, any of them may be empty.
inline std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

/// One line of a text of KEY=VALUE lines.
struct TextLine {
  std::size_t number = 0;  ///< counted from 1
  std::size_t offset = 0;  ///< of its first byte in the text
  std::string_view text;   ///< trimmed

  bool has_equals() const { return text.find('=') != std::string_view::npos; }
  /// Before and after the first '=', trimmed; only where has_equals().
  std::string_view key() const { return trimmed(text.substr(0, text.find('='))); }
  std::string_view value() const { return trimmed(text.substr(text.find('=') + 1)); }
};

/// Calls take(const TextLine&) for every line, empty ones included.
template <typename Take>
void for_each_line(std::string_view text, Take&& take) {
  TextLine line;
  while (line.offset < text.size()) {
    const std::size_t end = std::min(text.find('\n', line.offset), text.size());
    line.text = trimmed(text.substr(line.offset, end - line.offset));
    ++line.number;
    take(static_cast<const TextLine&>(line));
    line.offset = end + 1;
  }
}

}  // namespace qbt2
