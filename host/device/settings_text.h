#pragma once

#include <map>
#include <string>
#include <string_view>

/// Plain settings files: text with one setting a line, KEY=VALUE. Pure functions, any thread.
namespace qbt2 {

/// The settings of a plain text, by name: exactly what a configuration manager reads from the same
/// bytes in a file.
///
/// Lines end with a line feed; the last one may go without. Blanks and tabs around a line, a key
/// and a value do not count; every other byte does, a carriage return and a zero byte included.
/// Lines that start with '#' or '{' and lines without a key or a value hold no setting. A line
/// without '=' is a switch: its value is its own name. The last line of a key wins.
std::map<std::string, std::string> read_plain_settings(std::string_view text);

}  // namespace qbt2
