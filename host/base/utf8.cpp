#include "host/base/utf8.h"

#include <array>

namespace qbt2 {
namespace {

/// First bytes of sequences of several bytes, and what the second byte may be: a narrower range
/// than 80 to BF excludes overlong forms, surrogates and code points above U+10FFFF.
struct LeadRange {
  std::uint8_t first, last;
  std::uint8_t bytes;
  std::uint8_t second_low, second_high;
};
constexpr std::array<LeadRange, 8> kLeadRanges{{
    {0xC2, 0xDF, 2, 0x80, 0xBF},
    {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF},
    {0xED, 0xED, 3, 0x80, 0x9F},
    {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF},
    {0xF1, 0xF3, 4, 0x80, 0xBF},
    {0xF4, 0xF4, 4, 0x80, 0x8F},
}};

const LeadRange* lead_range(std::uint8_t lead) {
  for (const LeadRange& range : kLeadRanges) {
    if (lead >= range.first && lead <= range.last) return &range;
  }
  return nullptr;
}

}  // namespace

Utf8Character first_character(std::string_view text) {
  const auto byte = [&](std::size_t n) { return static_cast<std::uint8_t>(text[n]); };
  if (byte(0) < 0x80) return {byte(0), 1, true};
  const LeadRange* const range = lead_range(byte(0));
  if (range == nullptr) return {0xFFFD, 1, false};
  char32_t code_point = byte(0) & (0x7FU >> range->bytes);
  for (std::size_t n = 1; n < range->bytes; ++n) {
    const std::uint8_t low = n == 1 ? range->second_low : 0x80;
    const std::uint8_t high = n == 1 ? range->second_high : 0xBF;
    if (n == text.size() || byte(n) < low || byte(n) > high) return {0xFFFD, n, false};
    code_point = code_point << 6 | (byte(n) & 0x3FU);
  }
  return {code_point, range->bytes, true};
}

TextExtent measure_text(std::string_view text, std::size_t limit) {
  TextExtent extent;
  while (extent.characters < limit && extent.bytes < text.size()) {
    extent.bytes += first_character(text.substr(extent.bytes)).bytes;
    ++extent.characters;
  }
  return extent;
}

}  // namespace qbt2
