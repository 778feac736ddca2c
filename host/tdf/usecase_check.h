#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// Looks at the use-case settings before the decoder does: the decoder silently leaves a master
/// unknown whose line it cannot read, so the host tells the user which one and why. Pure functions.
namespace qbt2 {

/// Why the decoder cannot read this line, or an empty text. Fields count from 0.
std::string usecase_line_fault(std::string_view line);

/// One text for each QBT2_ setting that the decoder cannot read or never asks for (it asks by the
/// id in plain decimal).
std::vector<std::string> check_usecase_settings(const std::map<std::string, std::string>& settings);

}  // namespace qbt2
