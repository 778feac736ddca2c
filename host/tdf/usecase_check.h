#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Checks the use-case settings before the decoder reads them: a master whose line the decoder
/// cannot read silently stays unknown, so the host reports which one and why. Pure functions.
namespace qbt2 {

/// Why the decoder cannot read this line; empty when it can. Fields are counted from 0.
std::string usecase_line_fault(std::string_view line);

/// What a line says of its master, as the decoder reads it.
struct UsecaseLine {
  std::string name;                   ///< or kMasterNamePlaceholder
  std::uint32_t sampling_period = 0;  ///< clock cycles
};
/// Empty for a line that the decoder cannot read.
std::optional<UsecaseLine> read_usecase_line(std::string_view line);

/// A number of a readable line that ends before its text does, as `2d00` is read as 2; empty where
/// there is none. Blanks at the end of a field are no remark.
std::string usecase_line_remark(std::string_view line);

/// What the decoder makes of QBT2_ settings other than they say, one text a kind, which names the
/// masters: settings that it cannot read, numbers that it reads in part, and settings that it never
/// reads (it builds the name from the id in plain decimal).
std::vector<std::string> check_usecase_settings(const std::map<std::string, std::string>& settings);

}  // namespace qbt2
