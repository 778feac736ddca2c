#include "platforms/source/trace/config_text.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "platforms/source/trace/clean_string.h"

namespace EktTrace::ConfigFile {

KeyValue::KeyValue(const std::string& line) : key(line), value(line) {
  const std::size_t equals = line.find('=');
  hasEquals = equals != std::string::npos;
  if (hasEquals) {
    key.erase(equals);
    value.erase(0, equals + 1);
  }
  clean_string(key);
  clean_string(value);
}

std::vector<std::string> SplitAt(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    parts.emplace_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

std::optional<std::uint32_t> ParseUnsigned(std::string_view text, int base) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  if (base == 16 && text.starts_with("0x")) text.remove_prefix(2);
  std::uint32_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (result.ec != std::errc()) return std::nullopt;
  return number;
}

std::string HexText(std::uint32_t number) {
  std::array<char, 8> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16);
  return "0x" + std::string(digits.data(), result.ptr);
}

}  // namespace EktTrace::ConfigFile
