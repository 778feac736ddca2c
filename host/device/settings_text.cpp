#include "host/device/settings_text.h"

#include "host/base/text_parts.h"

namespace qbt2 {

std::map<std::string, std::string> read_plain_settings(std::string_view text) {
  std::map<std::string, std::string> settings;
  for_each_line(text, [&](const TextLine& line) {
    if (line.text.starts_with('#') || line.text.starts_with('{')) return;
    const std::string_view key = line.has_equals() ? line.key() : line.text;
    const std::string_view value = line.has_equals() ? line.value() : line.text;
    if (!key.empty() && !value.empty()) settings[std::string(key)] = value;
  });
  return settings;
}

}  // namespace qbt2
