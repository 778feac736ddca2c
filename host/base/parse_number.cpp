#include "host/base/parse_number.h"

#include <cerrno>
#include <cstdlib>

namespace qbt2 {

ParsedNumber<unsigned long> parse_c_number(const std::string& text, unsigned long limit) {
  char* end = nullptr;
  errno = 0;
  const unsigned long number = std::strtoul(text.c_str(), &end, 0);
  if (end == text.c_str()) return {0, NumberFault::kNotANumber};
  if (errno == ERANGE || number > limit) return {0, NumberFault::kTooLarge};
  return {number, NumberFault::kNone};
}

std::size_t c_number_end(const std::string& text) {
  char* end = nullptr;
  (void)std::strtoul(text.c_str(), &end, 0);
  return static_cast<std::size_t>(end - text.c_str());
}

}  // namespace qbt2
