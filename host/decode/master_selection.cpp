#include "host/decode/master_selection.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>

#include "host/base/error.h"
#include "host/base/near_name.h"
#include "host/base/parse_number.h"
#include "host/base/text_parts.h"

namespace qbt2 {
namespace {

constexpr std::uint16_t kLargestMaster = 0xFFFF;
using IdsOfName = std::map<std::string_view, std::vector<std::uint16_t>>;

[[noreturn]] void refuse(const std::string& reason) {
  throw Error(ErrorCode::kUsage, "--master", reason);
}

IdsOfName ids_by_name(const std::vector<NamedMaster>& named) {
  IdsOfName ids;
  for (const NamedMaster& master : named) {
    if (master.id > kLargestMaster || master.name.empty()) continue;
    ids[master.name].push_back(static_cast<std::uint16_t>(master.id));
  }
  return ids;
}

/// Empty for a text that is not a number.
std::optional<std::uint16_t> parse_id(std::string_view text) {
  const auto id = parse_decimal_or_hex(text, kLargestMaster);
  if (id.fault == NumberFault::kTooLarge) {
    refuse(std::string(text) + " is too large (at most " + std::to_string(kLargestMaster) + ")");
  }
  if (!id) return std::nullopt;
  return static_cast<std::uint16_t>(*id);
}

bool add_name(std::string_view name, const IdsOfName& names, MasterChoice& choice) {
  const auto found = names.find(name);
  if (found == names.end()) return false;
  for (const std::uint16_t id : found->second) choice.ranges.emplace_back(id, id);
  return true;
}

bool add_ids(std::string_view text, MasterChoice& choice) {
  const std::size_t dash = text.find('-');
  const auto first = parse_id(text.substr(0, dash));
  const auto last = dash == std::string_view::npos ? first : parse_id(text.substr(dash + 1));
  if (!first || !last) return false;
  if (*first > *last) refuse("the range " + std::string(text) + " ends before it begins");
  choice.ranges.emplace_back(*first, *last);
  return true;
}

[[noreturn]] void refuse_unknown(std::string_view text, const IdsOfName& names) {
  const std::string shown = "'" + excerpt(text) + "'";
  if (names.empty()) refuse(shown + " is not an id or a range of ids; names need --config");
  std::vector<std::string_view> known;
  for (const auto& [name, ids] : names) known.push_back(name);
  refuse("no master of the settings is named " + shown + nearest_hint(text, known));
}

}  // namespace

bool MasterChoice::is_in(const std::bitset<65536>& masters) const {
  return std::any_of(ranges.begin(), ranges.end(), [&](const auto& range) {
    for (std::uint32_t id = range.first; id <= range.second; ++id) {
      if (masters.test(id)) return true;
    }
    return false;
  });
}

std::vector<MasterChoice> select_masters(const std::vector<std::string>& texts,
                                         const std::vector<NamedMaster>& named) {
  const IdsOfName names = ids_by_name(named);
  std::vector<MasterChoice> choices;
  for (const std::string& text : texts) {
    MasterChoice& choice = choices.emplace_back(MasterChoice{text, {}});
    if (add_name(text, names, choice)) continue;
    for_each_part(text, ',', [&](std::string_view part) {
      part = trimmed(part);
      if (part.empty()) refuse("empty part in the list '" + excerpt(text) + "'");
      if (!add_name(part, names, choice) && !add_ids(part, choice)) refuse_unknown(part, names);
    });
  }
  return choices;
}

std::vector<std::uint16_t> ids_of(const std::vector<MasterChoice>& choices) {
  std::bitset<65536> chosen;
  for (const MasterChoice& choice : choices) {
    for (const auto& [first, last] : choice.ranges) {
      for (std::uint32_t id = first; id <= last; ++id) chosen.set(id);
    }
  }
  std::vector<std::uint16_t> ids;
  for (std::uint32_t id = 0; id < chosen.size(); ++id) {
    if (chosen[id]) ids.push_back(static_cast<std::uint16_t>(id));
  }
  return ids;
}

}  // namespace qbt2
