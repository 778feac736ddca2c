#pragma once

#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

/// Parsing and printing of configuration texts: KEY=VALUE lines, lists, numbers. Internal to
/// platforms/source/trace; no state, any thread.
namespace EktTrace::ConfigFile {

/// Text streams that throw std::bad_alloc. By default a stream swallows it and ends early, so that
/// half a text would pass for the whole.
class TextInput : public std::istringstream {
 public:
  explicit TextInput(const std::string& text) : std::istringstream(text) { exceptions(badbit); }
};
class TextOutput : public std::ostringstream {
 public:
  TextOutput() { exceptions(badbit); }
};

/// A line split at its first '=', both parts trimmed. Without an '=' each part is the whole line,
/// trimmed: some sections take such a line as a switch.
struct KeyValue {
  explicit KeyValue(const std::string& line);

  std::string key;
  std::string value;
  bool hasEquals;
};

/// All parts between the separators, empty ones included; one more part than separators.
std::vector<std::string> SplitAt(std::string_view text, char separator);

/// The number at the start of the text, after blanks and tabs and, in base 16, "0x". None without
/// digits or beyond 32 bits; signs are not accepted. Anything after the digits is ignored.
std::optional<std::uint32_t> ParseUnsigned(std::string_view text, int base);

/// "0x" and lower-case digits without leading zeros, whatever the locale.
std::string HexText(std::uint32_t number);

}  // namespace EktTrace::ConfigFile
