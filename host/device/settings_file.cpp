#include "host/device/settings_file.h"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>

#include "host/base/error.h"
#include "host/base/number_text.h"
#include "host/base/text_parts.h"
#include "host/base/utf8.h"
#include "host/device/settings_text.h"

namespace qbt2 {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::size_t kMostNotices = 20;

bool is_utf16(std::string_view text) {
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) return true;
  // Without a mark: every second byte of Latin text is zero.
  const std::string_view head = text.substr(0, 64);
  return head.size() >= 4 &&
         std::count(head.begin(), head.end(), '\0') * 3 >= static_cast<std::ptrdiff_t>(head.size());
}

bool is_json(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos || (text[first] != '{' && text[first] != '[')) return false;
  return nlohmann::json::accept(text);
}

/// The first byte that a text does not have.
std::optional<std::size_t> first_binary_byte(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const bool control =
        (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7F;
    const Utf8Character character = first_character(text.substr(at));
    if (control || !character.valid) return at;
    at += character.bytes;
  }
  return std::nullopt;
}

void refuse_other_files(std::string_view text, const std::string& file) {
  const auto refuse = [&file](const std::string& reason) {
    throw Error(ErrorCode::kInput, file, reason);
  };
  if (is_utf16(text)) refuse("is UTF-16 text; save the settings as UTF-8");
  if (text.starts_with("TDF")) refuse("is a trace data file of a kind that is not known");
  if (const auto at = first_binary_byte(text)) {
    throw Error(ErrorCode::kInput, file, *at,
                "neither a trace data file nor UTF-8 text, so not settings");
  }
  if (is_json(text)) refuse("is JSON, not settings; a device description is given with --device");
}

void note_repeated_keys(std::string_view text, std::vector<std::string>& notices) {
  std::map<std::string_view, std::size_t> line_of;
  std::size_t more = 0;
  for_each_line(text, [&](const TextLine& line) {
    if (!line.has_equals() || line.text.starts_with('#') || line.text.starts_with('{')) return;
    const auto [known, is_new] = line_of.emplace(line.key(), line.number);
    if (is_new) return;
    if (notices.size() < kMostNotices) {
      notices.push_back(std::string(line.key()) + " is set in line " +
                        std::to_string(known->second) + " and again in line " +
                        std::to_string(line.number) + ", which counts");
    } else {
      ++more;
    }
    known->second = line.number;
  });
  if (more != 0) {
    notices.push_back(counted(more, "more setting") + (more == 1 ? " is" : " are") + " set again");
  }
}

}  // namespace

SettingsFile parse_settings_file(std::string_view text, const std::string& file) {
  SettingsFile result;
  if (text.starts_with(kUtf8Mark)) {
    text.remove_prefix(kUtf8Mark.size());
    result.notices.emplace_back("the byte order mark at the beginning is skipped");
  }
  if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) {
    result.notices.emplace_back("is empty: no settings");
    return result;
  }
  refuse_other_files(text, file);
  bool has_setting = false;
  for_each_line(text, [&](const TextLine& line) {
    has_setting |= line.has_equals() && !line.text.starts_with('#') && !line.key().empty();
  });
  if (!has_setting) throw Error(ErrorCode::kInput, file, "has no line KEY=VALUE");
  result.settings = read_plain_settings(text);
  note_repeated_keys(text, result.notices);
  return result;
}

}  // namespace qbt2
