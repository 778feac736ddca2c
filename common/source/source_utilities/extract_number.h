#pragma once

#include <ios>
#include <locale>
#include <sstream>
#include <string>

/// Numbers in texts as formatted stream extraction reads them, but independent of the process's
/// locale: leading white space, a sign, digits; the rest is left unread. Any thread. Throws
/// std::bad_alloc: a lack of memory is not a text without a number.
namespace KZ_DVT {

enum class NumberBase {
  kAutomatic,  ///< "0x" hexadecimal, a leading "0" octal, else decimal
  kOctal,
  kDecimal,
  kHexadecimal,
};

template <typename Number>
struct ExtractedNumber {
  Number value = {};      ///< without a valid number: 0, or the limit of the type that it exceeds
  bool valid = false;     ///< the text starts with a number that the type can hold
  bool complete = false;  ///< valid, and only white space follows
};

template <typename Number>
ExtractedNumber<Number> ExtractNumber(const std::string& text, NumberBase base) {
  std::istringstream stream(text);
  stream.exceptions(std::ios_base::badbit);
  stream.imbue(std::locale::classic());
  stream.setf(base == NumberBase::kOctal         ? std::ios_base::oct
              : base == NumberBase::kDecimal     ? std::ios_base::dec
              : base == NumberBase::kHexadecimal ? std::ios_base::hex
                                                 : std::ios_base::fmtflags(),
              std::ios_base::basefield);
  ExtractedNumber<Number> number;
  stream >> number.value;
  number.valid = !stream.fail();
  number.complete = number.valid && (stream >> std::ws).eof();
  return number;
}

}  // namespace KZ_DVT
