#include "host/base/number_ranges.h"

namespace qbt2 {

std::string ranges_text(const std::vector<std::uint32_t>& numbers) {
  constexpr std::size_t kMostRanges = 20;
  std::string text;
  std::size_t ranges = 0;
  for (std::size_t at = 0; at < numbers.size();) {
    if (ranges++ == kMostRanges) {
      return text.append(" and ").append(std::to_string(numbers.size() - at)).append(" more");
    }
    std::size_t last = at;
    while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) ++last;
    if (!text.empty()) text += ", ";
    text += std::to_string(numbers[at]);
    if (last != at) text.append("-").append(std::to_string(numbers[last]));
    at = last + 1;
  }
  return text;
}

std::string masters_text(const std::vector<std::uint32_t>& masters) {
  return (masters.size() == 1 ? "master " : "masters ") + ranges_text(masters);
}

}  // namespace qbt2
