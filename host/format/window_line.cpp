#include "host/format/window_line.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "host/base/number_text.h"
#include "host/base/utf8.h"
#include "host/format/table_layout.h"

namespace qbt2 {
namespace {

constexpr std::size_t kMostWindows = 8;  // more are not read by anyone
constexpr std::size_t kLongestName = 40;

/// The masters with windows of one length.
struct WindowUsers {
  std::size_t count = 0;
  std::string_view name;  ///< of the first
};

std::string users_text(const WindowUsers& users) {
  if (users.count != 1) return std::to_string(users.count) + " masters";
  const std::size_t shown = measure_text(users.name, kLongestName).bytes;
  return table_label(users.name.substr(0, shown)) + (shown < users.name.size() ? "..." : "");
}

}  // namespace

std::string window_line(std::span<const NamedMaster> masters) {
  std::map<std::uint32_t, WindowUsers> lengths;
  for (const NamedMaster& master : masters) {
    WindowUsers& users = lengths[master.sampling_window];
    if (users.count++ == 0) users.name = master.name;
  }
  if (lengths.empty()) return {};
  if (lengths.size() == 1) {
    const std::uint32_t window = lengths.begin()->first;
    return "sampling window: " + std::to_string(window) + " clock cycles (" + hex_text(window) +
           ")";
  }
  std::vector<std::pair<std::uint32_t, WindowUsers>> common(lengths.begin(), lengths.end());
  std::stable_sort(common.begin(), common.end(),
                   [](const auto& a, const auto& b) { return a.second.count > b.second.count; });
  std::string text = "sampling windows in clock cycles:";
  for (std::size_t n = 0; n < std::min(common.size(), kMostWindows); ++n) {
    const auto& [window, users] = common[n];
    text += (n == 0 ? " " : ", ") + std::to_string(window) + " (" + users_text(users) + ")";
  }
  return common.size() > kMostWindows ? text + ", ..." : text;
}

}  // namespace qbt2
