#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "common/source/source_utilities/extract_number.h"
#include "common/source/source_utilities/source_utilities_error.h"
#include "interfaces/qbt2_export.h"

/// Text helpers: replacing, splitting and stripping text, and converting booleans and numbers to
/// and from text. Any thread; no state. They do not depend on the process's C++ locale, but
/// printing follows the C locale as printf does.
namespace KZ_DVT {

/// Scale constants: metric prefixes as powers of ten, binary prefixes as powers of two.
class uEngineeringUnits {
 public:
  static constexpr double yotta = 1e24;
  static constexpr double zetta = 1e21;
  static constexpr double exa = 1e18;
  static constexpr double peta = 1e15;
  static constexpr double tera = 1e12;
  static constexpr double giga = 1e9;
  static constexpr double mega = 1e6;
  static constexpr double kilo = 1e3;
  static constexpr double milli = 1e-3;
  static constexpr double micro = 1e-6;
  static constexpr double nano = 1e-9;
  static constexpr double pico = 1e-12;
  static constexpr double femto = 1e-15;
  static constexpr double atto = 1e-18;
  static constexpr double zepto = 1e-21;
  static constexpr double yocto = 1e-24;
  static constexpr double kibi = 0x1p10;
  static constexpr double mebi = 0x1p20;
  static constexpr double gibi = 0x1p30;
  static constexpr double tebi = 0x1p40;
  static constexpr double pebi = 0x1p50;
  static constexpr double exbi = 0x1p60;
  static constexpr double zebi = 0x1p70;
  static constexpr double yobi = 0x1p80;
};

/// All failures are uString::error. An operation that throws leaves its in/out text unchanged.
class QBT2_API uString {
 public:
  class QBT2_API error : public source_utilities_error {
   public:
    using source_utilities_error::source_utilities_error;
  };

  /// Replaces `from` by `to` in `text`, left to right, and returns `text`. Deliberate: after a
  /// replacement the search continues at the match position plus the length of `from`, not of `to`;
  /// so inserted text can match again, and a shorter `to` makes it skip some text. An empty `from`
  /// replaces nothing. Throws on null and if replacing would never end.
  static std::string& Replace(std::string& text, const char* from, const char* to);

  /// Splits `source` at the first `delimiter`. Found: `first` and `rest` are the texts before and
  /// after it, result 2. Not found: `first` is the whole source, `rest` is empty, result 1, or 0
  /// for an empty source. An empty delimiter is never found. `source` may point into `first` or
  /// `rest`. Throws on null.
  static std::uint32_t Split(const char* source, std::string& first, std::string& rest,
                             const char* delimiter);

  /// Appends the fields of `source` to `list`. Empty fields are kept, except one after a delimiter
  /// at the very end. Throws on null.
  static void Split(std::vector<std::string>& list, const char* source, const char* delimiter);

  /// Remove the leading or trailing characters that are in `set`; both return `text`.
  static std::string& StripLeading(std::string& text, const char* set);
  static std::string& StripTrailing(std::string& text, const char* set);

  /// "true", "TRUE", "True", "false", "FALSE" or "False"; throws on everything else.
  static bool ToBool(const char* text);

  /// The From functions replace `out`, or append to it if `append` is set, and return it. The forms
  /// that take `out` first always append.
  static std::string& FromBool(bool value, std::string& out, bool append);
  static std::string& FromBool(std::string& out, bool value);

  /// `format` is a printf format with at most one conversion, of an integer (diouxX) for FromLong
  /// and of a floating-point number (aAeEfFgG) for the others; null means "%d" and "%f". Other
  /// conversions, and "*", throw. A long that does not fit an int is printed in full even if the
  /// format has no length modifier; "h" and "hh" cut it to 16 and 8 bits. The text is cut at 1023
  /// bytes.
  static std::string& FromLong(long value, std::string& out, bool append, const char* format);
  static std::string& FromLong(std::string& out, long value, const char* format = nullptr);
  static std::string& FromDouble(double value, std::string& out, bool append, const char* format);
  static std::string& FromDouble(std::string& out, double value, const char* format = nullptr);

  /// The value scaled to its metric prefix, followed by the prefix as a word ("kilo") or, if
  /// `abbreviate`, as a letter ("k"). Deliberate: zero and negative values are printed in yocto.
  static std::string& FromDoubleInEngrUnits(double value, std::string& out, bool append,
                                            const char* format, bool abbreviate);
  static std::string& FromDoubleInEngrUnits(std::string& out, double value,
                                            const char* format = nullptr, bool abbreviate = false);

  static std::int64_t ToLong(const char* text);
  static std::int64_t ToInt64(const char* text);
  static double ToDouble(const char* text);

  /// Reads a number: "0x" or "0X" hexadecimal, a leading "0" before another character octal, else
  /// decimal. Leading white space or a sign is accepted, but hides a prefix. A one-byte T is read
  /// as an int and cut to eight bits. Throws on null, on empty text, without a number in the range
  /// of T, and if anything but white space follows the number: "12 apples" and "09" (not octal) are
  /// errors, not 12 and 0.
  template <typename T>
  static T ToNumeric(const char* text);

 private:
  /// The base by the prefix. Throws on null and on empty text.
  static NumberBase BaseOf(const char* text);
  [[noreturn]] static void ThrowNotNumeric(const char* text);
};

template <typename T>
T uString::ToNumeric(const char* text) {
  static_assert(std::is_arithmetic_v<T>);
  using Read = std::conditional_t<sizeof(T) == 1, int, T>;

  const NumberBase base = BaseOf(text);
  const auto number = ExtractNumber<Read>(text, base);
  if (!number.complete) ThrowNotNumeric(text);
  return static_cast<T>(number.value);
}

}  // namespace KZ_DVT
