#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/// The lines of the plain texts that settings and sections are made of, as their readers see them.
/// Views into the text; pure functions, any thread.
namespace qbt2 {

/// Without the blanks and tabs at both ends.
inline std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

struct TextLine {
  std::size_t number = 0;  ///< counted from 1
  std::size_t offset = 0;  ///< of its first byte in the text
  std::string_view text;   ///< trimmed

  bool has_equals() const { return text.find('=') != std::string_view::npos; }
  /// Before and behind the first '=', trimmed; only where has_equals().
  std::string_view key() const { return trimmed(text.substr(0, text.find('='))); }
  std::string_view value() const { return trimmed(text.substr(text.find('=') + 1)); }
};

/// Calls take(const TextLine&) for every line.
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

/// The whole text as a number; empty where it is none or above `limit`.
inline std::optional<std::uint64_t> whole_number(std::string_view text, int base,
                                                 std::uint64_t limit) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, status] = std::from_chars(text.data(), end, number, base);
  if (status != std::errc{} || stop != end || number > limit) return std::nullopt;
  return number;
}

/// The same, hexadecimal behind 0x and decimal without.
inline std::optional<std::uint64_t> decimal_or_hex(std::string_view text, std::uint64_t limit) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  return whole_number(text.substr(hex ? 2 : 0), hex ? 16 : 10, limit);
}

}  // namespace qbt2
