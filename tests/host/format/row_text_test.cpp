#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <random>
#include <vector>

#include "host/base/number_text.h"
#include "host/base/utf8.h"

namespace qbt2::test {
namespace {

template <typename Number>
void expect_digits_of(std::uint64_t value) {
  std::vector<char> out(kMaxNumberChars);
  const auto number = static_cast<Number>(value);
  ASSERT_EQ(std::string(out.data(), write_decimal_of(out.data(), number)), std::to_string(number));
}

TEST(NumberText, AgreesWithTheStandardLibrary) {
  std::vector<std::uint64_t> values;
  for (std::uint64_t value = 0; value < 2000; ++value) values.push_back(value);
  for (std::uint64_t power = 1; power != 0 && power < ~std::uint64_t{0} / 10; power *= 10) {
    for (const std::uint64_t value : {power * 10 - 1, power * 10, power * 10 + 1}) {
      values.push_back(value);
    }
  }
  for (unsigned bit = 0; bit < 64; ++bit) {
    for (const std::uint64_t value : {(std::uint64_t{1} << bit) - 1, std::uint64_t{1} << bit}) {
      values.push_back(value);
    }
  }
  values.push_back(~std::uint64_t{0});
  std::mt19937_64 random(7);
  for (int n = 0; n < 20000; ++n) values.push_back(random() >> (random() % 64));

  for (const std::uint64_t value : values) {
    const std::vector<char> untouched(kMaxNumberChars, '#');
    std::vector<char> out = untouched;  // exact size: the sanitizers see a write past it
    ASSERT_EQ(std::string(out.data(), write_decimal(out.data(), value)), std::to_string(value));
    expect_digits_of<std::uint8_t>(value);
    expect_digits_of<std::uint16_t>(value);
    expect_digits_of<std::uint32_t>(value);
    ASSERT_EQ(decimal_length(value), std::to_string(value).size());
    std::array<char, 32> expected;
    std::snprintf(expected.data(), expected.size(), "%" PRIx64, value);
    ASSERT_EQ(std::string(out.data(), write_hex(out.data(), value)), expected.data());
    std::snprintf(expected.data(), expected.size(), "%012" PRIx64, value);
    ASSERT_EQ(std::string(out.data(), write_hex(out.data(), value, 12)), expected.data());
  }
}

/// The text with <n> for each broken part of n bytes and [] around each whole character.
std::string taken_apart(std::string_view text) {
  std::string parts;
  while (!text.empty()) {
    const Utf8Character character = first_character(text);
    std::array<char, 16> part;
    if (character.valid) {
      std::snprintf(part.data(), part.size(), "[%X]", static_cast<unsigned>(character.code_point));
    } else {
      std::snprintf(part.data(), part.size(), "<%zu>", character.bytes);
    }
    parts += part.data();
    text.remove_prefix(character.bytes);
  }
  return parts;
}

TEST(Utf8, TakesWellFormedCharactersAndMaximalSubparts) {
  const struct {
    std::string_view text;
    const char* parts;
  } cases[] = {
      {"a\x7F", "[61][7F]"},
      {"\xC2\x80\xDF\xBF", "[80][7FF]"},
      {"\xE0\xA0\x80\xEF\xBF\xBF", "[800][FFFF]"},
      {"\xED\x9F\xBF\xEE\x80\x80", "[D7FF][E000]"},
      {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "[10000][10FFFF]"},
      {"\x80\xBF", "<1><1>"},
      {"\xC0\xAF", "<1><1>"},
      {"\xE0\x9F\xBF", "<1><1><1>"},
      {"\xED\xA0\x80", "<1><1><1>"},
      {"\xF0\x8F\xBF\xBF", "<1><1><1><1>"},
      {"\xF4\x90\x80\x80", "<1><1><1><1>"},
      {"\xF5\xFF", "<1><1>"},
      {"\xE2\x82", "<2>"},
      {"\xF0\x9F\x98", "<3>"},
      {"\xF0\x9F\x98z", "<3>[7A]"},
      // The example that the Unicode standard gives for this practice (table 3-11).
      {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", "<2><1><3><2>[41]"},
  };
  for (const auto& c : cases) EXPECT_EQ(taken_apart(c.text), c.parts) << c.parts;
}

TEST(Utf8, MeasuresUpToALimit) {
  const std::string_view text = "a\xC3\xA9\xFF\xE2\x82\xAC";
  EXPECT_EQ(measure_text(text, 99).characters, 4U);
  EXPECT_EQ(measure_text(text, 99).bytes, text.size());
  EXPECT_EQ(measure_text(text, 2).bytes, 3U);
  EXPECT_EQ(measure_text("", 5).characters, 0U);
}

}  // namespace
}  // namespace qbt2::test
