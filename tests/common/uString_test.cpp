#include "common/source/source_utilities/uString.h"

#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include "tests/support/thrown_message.h"

namespace {

using KZ_DVT::uString;

constexpr auto ErrorOf = [](auto body) { return qbt2::test::thrown_message<uString::error>(body); };

}  // namespace

TEST(UString, Replace) {
  const std::array<const char*, 4> cases[] = {
      {"a-b-c", "-", "+", "a+b+c"},  {"a-b", "-", "", "ab"},
      {"abc", "x", "y", "abc"},      {"", "x", "y", ""},
      {"aaaa", "aa", "", "aa"},       // the search skips text that moved up
      {"abb", "ab", "xxa", "xxxxa"},  // and finds a match that the replacement completed
      {"ab", "ab", "abc", "abc"},     // but not in the text before it
      {"abc", "", "x", "abc"},       {"ab", "-", "--", "ab"},
  };
  for (const auto& [source, from, to, result] : cases) {
    std::string text = source;
    EXPECT_EQ(&uString::Replace(text, from, to), &text);
    EXPECT_EQ(text, result) << source << ": " << from << " -> " << to;
  }
  std::string endless = "a-b";
  EXPECT_THROW(uString::Replace(endless, "-", "--"), uString::error);
  EXPECT_EQ(endless, "a-b");
}

TEST(UString, Split) {
  using List = std::vector<std::string>;
  const std::tuple<const char*, const char*, std::uint32_t, const char*, const char*, List>
      cases[] = {
          {"a,b,c", ",", 2, "a", "b,c", {"a", "b", "c"}},
          {"a,,b", ",", 2, "a", ",b", {"a", "", "b"}},
          {",x", ",", 2, "", "x", {"", "x"}},
          {"x,", ",", 2, "x", "", {"x"}},
          {",", ",", 2, "", "", {""}},
          {"abc", ",", 1, "abc", "", {"abc"}},
          {"", ",", 0, "", "", {}},
          {"a::b", "::", 2, "a", "b", {"a", "b"}},
          {"abc", "", 1, "abc", "", {"abc"}},
      };
  for (const auto& [source, delimiter, parts, first, rest, fields] : cases) {
    std::string before = "old";
    std::string after = "old";
    EXPECT_EQ(uString::Split(source, before, after, delimiter), parts) << source;
    EXPECT_EQ(before, first) << source;
    EXPECT_EQ(after, rest) << source;
    List list = {"kept"};
    uString::Split(list, source, delimiter);
    EXPECT_EQ(list.front(), "kept") << source;
    EXPECT_EQ(List(list.begin() + 1, list.end()), fields) << source;
  }
}

TEST(UString, Strip) {
  const std::array<const char*, 3> cases[] = {
      {" \ta b\t ", "a b\t ", " \ta b"}, {" \t ", "", ""}, {"", "", ""}};
  for (const auto& [text, without_leading, without_trailing] : cases) {
    std::string leading = text;
    std::string trailing = text;
    EXPECT_EQ(uString::StripLeading(leading, " \t"), without_leading);
    EXPECT_EQ(uString::StripTrailing(trailing, " \t"), without_trailing);
  }
}

TEST(UString, Bool) {
  const std::pair<const char*, bool> cases[] = {{"true", true},   {"TRUE", true},
                                                {"True", true},   {"false", false},
                                                {"FALSE", false}, {"False", false}};
  for (const auto& [text, value] : cases) EXPECT_EQ(uString::ToBool(text), value) << text;
  for (const std::string text : {"yes", "tRUE", "1", " true", "true "}) {
    EXPECT_EQ(ErrorOf([&] { uString::ToBool(text.c_str()); }),
              "unable to convert \"" + text + "\" to boolean");
  }
  std::string out = "old";
  EXPECT_EQ(uString::FromBool(true, out, false), "true");
  EXPECT_EQ(uString::FromBool(out, false), "truefalse");
}

TEST(UString, NullAndEmptyTexts) {
  std::string s;
  const std::pair<void (*)(std::string&), const char*> cases[] = {
      {[](auto& out) { uString::Replace(out, nullptr, "x"); },
       "unable to perform string replacement from null original text"},
      {[](auto& out) { uString::Replace(out, "x", nullptr); },
       "unable to perform string replacement with null replacement text"},
      {[](auto& out) { uString::Split(nullptr, out, out, ","); }, "unable to split null string"},
      {[](auto& out) { uString::Split("a", out, out, nullptr); },
       "unable to split with null delimeter"},
      {[](auto&) { uString::ToBool(nullptr); }, "unable to convert null string to boolean"},
      {[](auto&) { uString::ToBool(""); }, "unable to convert empty string to boolean"},
      {[](auto&) { uString::ToLong(nullptr); }, "unable to convert null string to numeric"},
      {[](auto&) { uString::ToDouble(""); }, "unable to convert empty string to numeric"},
  };
  for (const auto& [call, message] : cases) {
    EXPECT_EQ(ErrorOf([&, call = call] { call(s); }), message);
  }
}

TEST(UString, FromLong) {
  const std::tuple<long, const char*, const char*> cases[] = {
      {-42, nullptr, "-42"},
      {5'000'000'000, nullptr, "5000000000"},
      {5'000'000'000, "%d", "5000000000"},
      {-1, "%x", "ffffffff"},
      {-1, "%lx", "ffffffffffffffff"},
      {0x12345, "%hd", "9029"},  // 0x2345
      {0x7'0000'80FF, "<%hhd>", "<-1>"},
      {-1, "%04hhX", "00FF"},
      {255, "<%08llX>", "<000000FF>"},
      {7, "100%% %+3d%%", "100%  +7%"},
      {7, "none", "none"}};
  for (const auto& [value, format, text] : cases) {
    std::string out = "old";
    EXPECT_EQ(uString::FromLong(value, out, false, format), text);
    EXPECT_EQ(uString::FromLong(out, value, format), std::string(text) + text);
  }
  std::string wide;
  EXPECT_EQ(uString::FromLong(wide, 1, "%2000d").size(), 1023U);
}

TEST(UString, FormatsThatDoNotPrintOneNumberThrow) {
  for (const char* format : {"%s", "%n", "%f", "%d %d", "%*d", "%", "%5", "%l", "%c", "%p"}) {
    std::string out = "old";
    EXPECT_THROW(uString::FromLong(1, out, false, format), uString::error) << format;
    EXPECT_EQ(out, "old") << format;
  }
  std::string out;
  EXPECT_THROW(uString::FromDouble(out, 1.0, "%d"), uString::error);
}

TEST(UString, EngineeringUnits) {
  const std::tuple<double, bool, const char*> cases[] = {
      {1500, true, "1.500000k"},   {999.999, true, "999.999000"},  {0.0015, true, "1.500000m"},
      {1.0, false, "1.000000"},    {1000, false, "1.000000kilo"},  {2.5e9, true, "2.500000G"},
      {3e-6, true, "3.000000u"},   {4e24, false, "4.000000yotta"}, {5e27, true, "5000.000000Y"},
      {0, false, "0.000000yocto"}, {-1e-24, true, "-1.000000y"},   {2e-24, false, "2.000000yocto"},
  };
  for (const auto& [value, abbreviate, text] : cases) {
    std::string out = "old";
    EXPECT_EQ(uString::FromDoubleInEngrUnits(value, out, false, nullptr, abbreviate), text);
  }
  std::string out = "f=";
  EXPECT_EQ(uString::FromDoubleInEngrUnits(out, 48e6, "%.0f ", true), "f=48 M");
}

TEST(UString, ToNumeric) {
  const std::pair<const char*, std::int64_t> cases[] = {
      {"0", 0},  {"010", 8},    {"0x1F", 31}, {"0Xff", 255},   {"42", 42}, {"-7", -7},
      {"+7", 7}, {"-010", -10}, {" 12", 12},  {"12 \t\n", 12}, {"00", 0},  {"0 ", 0}};
  for (const auto& [text, value] : cases) EXPECT_EQ(uString::ToInt64(text), value) << text;
  EXPECT_EQ(uString::ToInt64("9223372036854775807"), 9223372036854775807);
  EXPECT_EQ(uString::ToLong("-5000000000"), -5000000000);
  EXPECT_EQ(uString::ToNumeric<std::uint32_t>("4294967295"), 4294967295U);
  EXPECT_EQ(uString::ToNumeric<std::uint8_t>("65"), 65) << "a number, not a character";
  EXPECT_EQ(uString::ToNumeric<std::uint8_t>("300"), 44) << "300 - 256";
  EXPECT_EQ(uString::ToDouble("2.5e3"), 2500.0);
  EXPECT_EQ(uString::ToDouble("0.25"), 0.25);
}

TEST(UString, ToNumericRejectsWhatIsNotAllNumber) {
  for (const std::string text : {"abc", "12abc", "12 34", "09", "0x", "0xg", "1.5", " ", "-", "--1",
                                 "1,000", "9223372036854775808"}) {
    EXPECT_EQ(ErrorOf([&] { uString::ToInt64(text.c_str()); }),
              "unable to convert \"" + text + "\" to numeric");
  }
  EXPECT_THROW(uString::ToNumeric<std::uint16_t>("65536"), uString::error);
  EXPECT_THROW(uString::ToDouble("1.5.2"), uString::error);
}
