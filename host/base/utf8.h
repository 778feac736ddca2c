#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// UTF-8 as the Unicode standard defines well-formed sequences: no surrogates, no overlong forms,
/// nothing above U+10FFFF. Any thread.
namespace qbt2 {

/// U+FFFD in UTF-8: what stands for each part of a text that is broken.
inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

struct Utf8Character {
  char32_t code_point = 0;  ///< U+FFFD when not valid
  std::size_t bytes = 0;    ///< of the text; when not valid, the length of the maximal subpart
  bool valid = false;
};

/// The character at the start of `text`, which is not empty. A broken sequence counts as one for as
/// many bytes as a well-formed one could have begun with, so that all decoders that follow the
/// standard's advice put the same number of U+FFFD.
Utf8Character first_character(std::string_view text);

/// Code points that a terminal shows, or broken parts, up to `limit` of them: how many columns the
/// text takes, near enough (wide and combining characters are not told apart).
struct TextExtent {
  std::size_t characters = 0;
  std::size_t bytes = 0;  ///< of these characters
};
TextExtent measure_text(std::string_view text, std::size_t limit);

}  // namespace qbt2
