#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// UTF-8 as the Unicode standard defines well-formed sequences: no surrogates, no overlong forms,
/// nothing above U+10FFFF. Any thread.
namespace qbt2 {

/// U+FFFD in UTF-8: replaces each malformed part of a text.
inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

struct Utf8Character {
  char32_t code_point = 0;  ///< U+FFFD when not valid
  std::size_t bytes = 0;    ///< of the text; when not valid, the length of the maximal subpart
  bool valid = false;
};

/// The character at the start of `text`, which must not be empty. A malformed sequence is one
/// character as long as it could still have become well-formed: the practice that the standard
/// recommends, so that all decoders replace it by the same number of U+FFFD.
Utf8Character first_character(std::string_view text);

/// Code points or malformed parts, up to `limit` of them: roughly the columns that the text takes
/// on a terminal (wide and combining characters count as one).
struct TextExtent {
  std::size_t characters = 0;
  std::size_t bytes = 0;  ///< of these characters
};
TextExtent measure_text(std::string_view text, std::size_t limit);

}  // namespace qbt2
