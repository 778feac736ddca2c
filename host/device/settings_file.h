#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// A plain settings file that a user names: read as read_plain_settings() reads it, after a check
/// that it can be settings at all. The library itself accepts any bytes; a capture or a JSON
/// document given by mistake would silently leave all masters without a name. Pure
/// functions, any thread.
namespace qbt2 {

inline constexpr std::size_t kMaxSettingsBytes = std::size_t{16} << 20;  ///< of a whole file

struct SettingsFile {
  std::map<std::string, std::string> settings;
  std::vector<std::string> notices;  ///< what the user should know, a line each
};

/// `file` is its name in messages. Throws Error(kInput) with the reason for what is
/// another container, UTF-16, not UTF-8, binary, JSON, or has no line KEY=VALUE.
/// An empty file is accepted with a notice; so are a byte order mark, which is skipped, and keys
/// that are set twice, of which the last one counts.
SettingsFile parse_settings_file(std::string_view text, const std::string& file);

}  // namespace qbt2
