#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
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

/// How many parts a text has between its separators: one more than there are separators.
inline std::size_t part_count(std::string_view text, char separator) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), separator)) + 1;
}

/// Calls take(std::string_view) for every part, any of which may be empty.
template <typename Take>
void for_each_part(std::string_view text, char separator, Take&& take) {
  for (;;) {
    const std::size_t end = text.find(separator);
    take(text.substr(0, end));
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + 1);
  }
}

/// The parts themselves; for texts whose length is bounded.
inline std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for_each_part(text, separator, [&](std::string_view part) { parts.push_back(part); });
  return parts;
}

/// A text for a message, cut where it is too long for one line.
inline std::string excerpt(std::string_view text) {
  constexpr std::size_t kMost = 80;
  return std::string(text.substr(0, kMost)).append(text.size() > kMost ? "..." : "");
}

/// One line of a text of KEY=VALUE lines.
struct TextLine {
  std::size_t number = 0;  ///< counted from 1
  std::size_t offset = 0;  ///< of its first byte in the text
  std::string_view text;   ///< trimmed
  std::string_view whole;  ///< not trimmed

  bool has_equals() const { return text.find('=') != std::string_view::npos; }
  /// Before and after the first '=', trimmed; only where has_equals().
  std::string_view key() const { return trimmed(text.substr(0, text.find('='))); }
  std::string_view value() const { return trimmed(text.substr(text.find('=') + 1)); }
  /// The value with its blanks.
  std::string_view whole_value() const { return whole.substr(whole.find('=') + 1); }
};

/// Calls take(const TextLine&) for every line, empty ones included.
template <typename Take>
void for_each_line(std::string_view text, Take&& take) {
  TextLine line;
  while (line.offset < text.size()) {
    const std::size_t end = std::min(text.find('\n', line.offset), text.size());
    line.whole = text.substr(line.offset, end - line.offset);
    line.text = trimmed(line.whole);
    ++line.number;
    take(static_cast<const TextLine&>(line));
    line.offset = end + 1;
  }
}

}  // namespace qbt2
