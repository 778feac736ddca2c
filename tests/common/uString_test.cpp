#include "common/source/source_utilities/uString.h"

#include <gtest/gtest.h>

#include "tests/support/thrown_message.h"

namespace {

using KZ_DVT::uString;

constexpr auto ErrorOf = [](auto body) { return qbt2::test::thrown_message<uString::error>(body); };

}  // namespace

TEST(UString, Replace) {
  const struct {
    const char* text;
    const char* from;
    const char* to;
    const char* result;
  } cases[] = {
      {"a-b-c", "-", "+", "a+b+c"},  {"a-b", "-", "", "ab"},
      {"abc", "x", "y", "abc"},      {"", "x", "y", ""},
      {"aaaa", "aa", "", "aa"},       // the search skips text that moved up
      {"abb", "ab", "xxa", "xxxxa"},  // and finds a match that the replacement completed
      {"ab", "ab", "abc", "abc"},     // but not in the text before it
      {"abc", "", "x", "abc"},
  };
  for (const auto& c : cases) {
    std::string text = c.text;
    EXPECT_EQ(&uString::Replace(text, c.from, c.to), &text);
    EXPECT_EQ(text, c.result) << c.text << ": " << c.from << " -> " << c.to;
  }
}

TEST(UString, ReplaceThatWouldNeverEndThrows) {
  std::string text = "a-b";
  EXPECT_THROW(uString::Replace(text, "-", "--"), uString::error);
  EXPECT_EQ(text, "a-b");
  std::string without = "ab";
  EXPECT_EQ(uString::Replace(without, "-", "--"), "ab");
}

TEST(UString, SplitInTwo) {
  const struct {
    const char* source;
    const char* delimiter;
    std::uint32_t parts;
    const char* first;
    const char* rest;
  } cases[] = {
      {"a,b,c", ",", 2, "a", "b,c"}, {",x", ",", 2, "", "x"}, {"x,", ",", 2, "x", ""},
      {"abc", ",", 1, "abc", ""},    {"", ",", 0, "", ""},    {"a::b", "::", 2, "a", "b"},
      {"abc", "", 1, "abc", ""},
  };
  for (const auto& c : cases) {
    std::string first = "old";
    std::string rest = "old";
    EXPECT_EQ(uString::Split(c.source, first, rest, c.delimiter), c.parts) << c.source;
    EXPECT_EQ(first, c.first) << c.source;
    EXPECT_EQ(rest, c.rest) << c.source;
  }
}

TEST(UString, SplitIntoList) {
  using List = std::vector<std::string>;
  const std::vector<std::pair<const char*, List>> cases = {
      {"a,,b", {"a", "", "b"}}, {"a,", {"a"}}, {"", {}}, {",", {""}},
      {",a", {"", "a"}},        {"a", {"a"}},
  };
  for (const auto& [source, fields] : cases) {
    List list;
    uString::Split(list, source, ",");
    EXPECT_EQ(list, fields) << source;
  }
  List grown = {"before"};
  uString::Split(grown, "a,b", ",");
  EXPECT_EQ(grown, (List{"before", "a", "b"}));
}

TEST(UString, Strip) {
  const struct {
    const char* text;
    const char* leading;
    const char* trailing;
  } cases[] = {{" \ta b\t ", "a b\t ", " \ta b"}, {" \t ", "", ""}, {"", "", ""}};
  for (const auto& c : cases) {
    std::string leading = c.text;
    std::string trailing = c.text;
    EXPECT_EQ(uString::StripLeading(leading, " \t"), c.leading);
    EXPECT_EQ(uString::StripTrailing(trailing, " \t"), c.trailing);
  }
}

TEST(UString, Bool) {
  for (const char* text : {"true", "TRUE", "True"}) {
    EXPECT_TRUE(uString::ToBool(text)) << text;
  }
  for (const char* text : {"false", "FALSE", "False"}) {
    EXPECT_FALSE(uString::ToBool(text)) << text;
  }
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
  std::vector<std::string> list;
  const char* null = nullptr;
  EXPECT_EQ(ErrorOf([&] { uString::Replace(s, null, "x"); }),
            "unable to perform string replacement from null original text");
  EXPECT_EQ(ErrorOf([&] { uString::Replace(s, "x", null); }),
            "unable to perform string replacement with null replacement text");
  EXPECT_EQ(ErrorOf([&] { uString::Split(null, s, s, ","); }), "unable to split null string");
  EXPECT_EQ(ErrorOf([&] { uString::Split(list, "a", null); }),
            "unable to split with null delimeter");
  EXPECT_EQ(ErrorOf([&] { uString::ToBool(null); }), "unable to convert null string to boolean");
  EXPECT_EQ(ErrorOf([&] { uString::ToBool(""); }), "unable to convert empty string to boolean");
  EXPECT_EQ(ErrorOf([&] { uString::ToLong(null); }), "unable to convert null string to numeric");
  EXPECT_EQ(ErrorOf([&] { uString::ToDouble(""); }), "unable to convert empty string to numeric");
}

TEST(UString, FromLong) {
  const struct {
    long value;
    const char* format;
    const char* text;
  } cases[] = {{-42, nullptr, "-42"},
               {5'000'000'000, nullptr, "5000000000"},
               {5'000'000'000, "%d", "5000000000"},
               {-1, "%x", "ffffffff"},
               {-1, "%lx", "ffffffffffffffff"},
               {255, "<%08llX>", "<000000FF>"},
               {7, "100%% %+3d%%", "100%  +7%"},
               {7, "none", "none"}};
  for (const auto& c : cases) {
    std::string out = "old";
    EXPECT_EQ(uString::FromLong(c.value, out, false, c.format), c.text);
    EXPECT_EQ(uString::FromLong(out, c.value, c.format), std::string(c.text) + c.text);
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
  const struct {
    double value;
    bool abbreviate;
    const char* text;
  } cases[] = {
      {1500, true, "1.500000k"},   {999.999, true, "999.999000"},  {0.0015, true, "1.500000m"},
      {1.0, false, "1.000000"},    {1000, false, "1.000000kilo"},  {2.5e9, true, "2.500000G"},
      {3e-6, true, "3.000000u"},   {4e24, false, "4.000000yotta"}, {5e27, true, "5000.000000Y"},
      {0, false, "0.000000yocto"}, {-1e-24, true, "-1.000000y"},   {2e-24, false, "2.000000yocto"},
  };
  for (const auto& c : cases) {
    std::string out = "old";
    EXPECT_EQ(uString::FromDoubleInEngrUnits(c.value, out, false, nullptr, c.abbreviate), c.text);
  }
  std::string out = "f=";
  EXPECT_EQ(uString::FromDoubleInEngrUnits(out, 48e6, "%.0f ", true), "f=48 M");
}

TEST(UString, ToNumeric) {
  const struct {
    const char* text;
    std::int64_t value;
  } cases[] = {{"0", 0},  {"010", 8},    {"0x1F", 31}, {"0Xff", 255},   {"42", 42}, {"-7", -7},
               {"+7", 7}, {"-010", -10}, {" 12", 12},  {"12 \t\n", 12}, {"00", 0},  {"0 ", 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(uString::ToInt64(c.text), c.value) << c.text;
  }
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
