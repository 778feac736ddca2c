#include "host/base/near_name.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>

namespace qbt2 {
namespace {

constexpr std::size_t kLongestName = 64;  ///< a longer one is not a typing error

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Edits that turn one name into the other, neither longer than kLongestName.
std::size_t edit_distance(std::string_view a, std::string_view b) {
  // Rows of the table of distances between the beginnings of both names: the last but one, the
  // last, the current.
  std::array<std::array<std::size_t, kLongestName + 1>, 3> rows{};
  std::iota(rows[0].begin(), rows[0].end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    const auto& above = rows[(i - 1) % 3];
    auto& row = rows[i % 3];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = lower(a[i - 1]) == lower(b[j - 1]);
      row[j] = std::min({above[j - 1] + (same ? 0 : 1), above[j] + 1, row[j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) &&
                           lower(a[i - 2]) == lower(b[j - 1]);
      if (swapped) row[j] = std::min(row[j], rows[(i - 2) % 3][j - 2] + 1);
    }
  }
  return rows[a.size() % 3][b.size()];
}

}  // namespace

std::string_view near_name(std::string_view name, const std::vector<std::string_view>& names) {
  if (name.size() > kLongestName) return {};
  std::size_t nearest = std::max<std::size_t>(name.size() / 3, 1) + 1;
  std::string_view found;
  for (const std::string_view known : names) {
    // Lengths that differ by so much need as many edits.
    const std::size_t longer = std::max(known.size(), name.size());
    const std::size_t shorter = std::min(known.size(), name.size());
    if (known.size() > kLongestName || longer - shorter >= nearest) continue;
    const std::size_t distance = edit_distance(name, known);
    if (distance >= nearest || distance >= longer) continue;
    nearest = distance;
    found = known;
  }
  return found;
}

std::string nearest_hint(std::string_view name, const std::vector<std::string_view>& names) {
  const std::string_view found = near_name(name, names);
  return found.empty() ? "" : "; the nearest is '" + std::string(found) + "'";
}

}  // namespace qbt2
