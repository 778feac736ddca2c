#include "common/source/source_utilities/uString.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

namespace KZ_DVT {
namespace {

constexpr std::size_t kPrintCapacityBytes = 1024;

/// A checked printf format: its text without the length modifier, that modifier, and where it goes.
struct NumberFormat {
  std::string text;
  std::string_view modifier;                          // part of the format that was checked
  std::size_t modifier_position = std::string::npos;  // npos: no conversion in it
};

/// Formats come from callers at run time, so the compiler cannot check them: a "%s" or "%n" must
/// not reach printf.
NumberFormat CheckFormat(const char* format, const char* conversions) {
  NumberFormat checked;
  for (const char* at = format; *at != '\0'; ++at) {
    checked.text += *at;
    if (*at != '%') continue;
    ++at;
    const std::size_t flags_length = std::strspn(at, "-+ #0123456789.");
    checked.text.append(at, flags_length);
    at += flags_length;
    if (*at == '%') {
      checked.text += '%';
      continue;
    }
    const std::size_t modifier_length = std::strspn(at, "hlLqjzt");
    const std::string_view modifier(at, modifier_length);
    at += modifier_length;
    if (*at == '\0' || std::strchr(conversions, *at) == nullptr ||
        checked.modifier_position != std::string::npos) {
      throw uString::error(std::string("unable to print a number with the format \"") + format +
                           "\"");
    }
    checked.modifier_position = checked.text.size();
    checked.modifier = modifier;
    checked.text += *at;
  }
  return checked;
}

template <typename T>
void Print(const std::string& format, T value, std::string& out, bool append) {
  std::array<char, kPrintCapacityBytes> buffer = {};
  if (std::snprintf(buffer.data(), buffer.size(), format.c_str(), value) < 0) {
    throw uString::error("unable to print a number with the format \"" + format + "\"");
  }
  if (!append) out.clear();
  out += buffer.data();
}

struct EngineeringPrefix {
  double scale;
  const char* word;
  const char* letter;
};

/// Tried from the top. Deliberate: the value is compared, not its magnitude, so zero and all
/// negative numbers fall through to the last row; readers of these texts expect that.
constexpr std::array<EngineeringPrefix, 17> kEngineeringPrefixes = {{
    {uEngineeringUnits::yotta, "yotta", "Y"},
    {uEngineeringUnits::zetta, "zetta", "Z"},
    {uEngineeringUnits::exa, "exa", "E"},
    {uEngineeringUnits::peta, "peta", "P"},
    {uEngineeringUnits::tera, "tera", "T"},
    {uEngineeringUnits::giga, "giga", "G"},
    {uEngineeringUnits::mega, "mega", "M"},
    {uEngineeringUnits::kilo, "kilo", "k"},
    {1.0, "", ""},
    {uEngineeringUnits::milli, "milli", "m"},
    {uEngineeringUnits::micro, "micro", "u"},
    {uEngineeringUnits::nano, "nano", "n"},
    {uEngineeringUnits::pico, "pico", "p"},
    {uEngineeringUnits::femto, "femto", "f"},
    {uEngineeringUnits::atto, "atto", "a"},
    {uEngineeringUnits::zepto, "zepto", "z"},
    {uEngineeringUnits::yocto, "yocto", "y"},
}};

constexpr bool ScalesDescend() {
  for (std::size_t i = 1; i < kEngineeringPrefixes.size(); ++i) {
    if (kEngineeringPrefixes[i].scale >= kEngineeringPrefixes[i - 1].scale) return false;
  }
  return true;
}
static_assert(ScalesDescend());

const EngineeringPrefix& PrefixOf(double value) {
  for (const EngineeringPrefix& prefix : kEngineeringPrefixes) {
    if (value >= prefix.scale) return prefix;
  }
  return kEngineeringPrefixes.back();
}

}  // namespace

std::string& uString::Replace(std::string& text, const char* from, const char* to) {
  if (from == nullptr) throw error("unable to perform string replacement from null original text");
  if (to == nullptr) throw error("unable to perform string replacement with null replacement text");
  const std::string_view original = from;
  const std::string_view replacement = to;
  std::size_t found = original.empty() ? std::string::npos : text.find(original);
  // Each replacement would insert, ahead of the search, the next text to replace.
  if (found != std::string::npos &&
      replacement.find(original, original.size()) != std::string_view::npos) {
    throw error("unable to perform string replacement with text that contains the original text");
  }
  while (found != std::string::npos) {
    text.replace(found, original.size(), replacement);
    // Deliberate: the length of the original, not of the replacement. Callers repeat if needed.
    found = text.find(original, found + original.size());
  }
  return text;
}

std::uint32_t uString::Split(const char* source, std::string& first, std::string& rest,
                             const char* delimiter) {
  if (source == nullptr) throw error("unable to split null string");
  if (delimiter == nullptr) throw error("unable to split with null delimeter");
  std::string before = source;
  std::string after;
  const std::size_t delimiter_length = std::strlen(delimiter);
  const std::size_t found = delimiter_length == 0 ? std::string::npos : before.find(delimiter);
  if (found != std::string::npos) {
    after = before.substr(found + delimiter_length);
    before.resize(found);
  }
  first.swap(before);
  rest.swap(after);
  if (found != std::string::npos) return 2;
  return first.empty() ? 0 : 1;
}

void uString::Split(std::vector<std::string>& list, const char* source, const char* delimiter) {
  std::string first;
  std::string rest;
  for (std::uint32_t parts = Split(source, first, rest, delimiter); parts != 0;
       parts = Split(rest.c_str(), first, rest, delimiter)) {
    list.push_back(first);
  }
}

std::string& uString::StripLeading(std::string& text, const char* set) {
  if (set != nullptr) text.erase(0, text.find_first_not_of(set));
  return text;
}

std::string& uString::StripTrailing(std::string& text, const char* set) {
  if (set != nullptr) {
    text.erase(text.find_last_not_of(set) + 1);  // npos + 1 is 0: nothing is kept
  }
  return text;
}

bool uString::ToBool(const char* text) {
  if (text == nullptr) throw error("unable to convert null string to boolean");
  const std::string_view view = text;
  if (view.empty()) throw error("unable to convert empty string to boolean");
  if (view == "true" || view == "TRUE" || view == "True") return true;
  if (view == "false" || view == "FALSE" || view == "False") return false;
  throw error("unable to convert \"" + std::string(view) + "\" to boolean");
}

std::string& uString::FromBool(bool value, std::string& out, bool append) {
  if (!append) out.clear();
  return out += value ? "true" : "false";
}

std::string& uString::FromBool(std::string& out, bool value) {
  return FromBool(value, out, true);
}

std::string& uString::FromLong(long value, std::string& out, bool append, const char* format) {
  NumberFormat checked = CheckFormat(format != nullptr ? format : "%d", "diouxX");
  const bool cuts = checked.modifier == "h" || checked.modifier == "hh";
  const bool fits_int =
      value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
  if (cuts || (fits_int && checked.modifier.empty())) {
    if (cuts) checked.text.insert(checked.modifier_position, checked.modifier.size(), 'h');
    Print(checked.text, static_cast<int>(value), out, append);
    return out;
  }
  if (checked.modifier_position != std::string::npos) {
    checked.text.insert(checked.modifier_position, 1, 'l');
  }
  Print(checked.text, value, out, append);
  return out;
}

std::string& uString::FromLong(std::string& out, long value, const char* format) {
  return FromLong(value, out, true, format);
}

std::string& uString::FromDouble(double value, std::string& out, bool append, const char* format) {
  Print(CheckFormat(format != nullptr ? format : "%f", "aAeEfFgG").text, value, out, append);
  return out;
}

std::string& uString::FromDouble(std::string& out, double value, const char* format) {
  return FromDouble(value, out, true, format);
}

std::string& uString::FromDoubleInEngrUnits(double value, std::string& out, bool append,
                                            const char* format, bool abbreviate) {
  const EngineeringPrefix& prefix = PrefixOf(value);
  FromDouble(value / prefix.scale, out, append, format);
  return out += abbreviate ? prefix.letter : prefix.word;
}

std::string& uString::FromDoubleInEngrUnits(std::string& out, double value, const char* format,
                                            bool abbreviate) {
  return FromDoubleInEngrUnits(value, out, true, format, abbreviate);
}

std::int64_t uString::ToLong(const char* text) {
  return ToNumeric<std::int64_t>(text);
}

std::int64_t uString::ToInt64(const char* text) {
  return ToNumeric<std::int64_t>(text);
}

double uString::ToDouble(const char* text) {
  return ToNumeric<double>(text);
}

NumberBase uString::BaseOf(const char* text) {
  if (text == nullptr) throw error("unable to convert null string to numeric");
  if (*text == '\0') throw error("unable to convert empty string to numeric");
  if (text[0] != '0' || text[1] == '\0') return NumberBase::kDecimal;
  return text[1] == 'x' || text[1] == 'X' ? NumberBase::kHexadecimal : NumberBase::kOctal;
}

void uString::ThrowNotNumeric(const char* text) {
  throw error(std::string("unable to convert \"") + text + "\" to numeric");
}

}  // namespace KZ_DVT
