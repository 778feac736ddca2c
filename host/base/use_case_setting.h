#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/parse_number.h"
#include "interfaces/device_config_manager_if.h"

/// The name of a master's use-case setting: "QBT2_" and the master's id in plain decimal. The
/// decoder asks for exactly this name, so "QBT2_05" and "QBT2_0x5" are never read. Pure functions,
/// any thread.
namespace qbt2 {

inline std::string use_case_setting_name(std::uint32_t master) {
  return std::string(Kz::Dvt::Trace::kUseCaseSettingPrefix) + std::to_string(master);
}

inline bool has_use_case_prefix(std::string_view name) {
  return name.starts_with(Kz::Dvt::Trace::kUseCaseSettingPrefix);
}

/// The master whose setting has this name; empty for a name that the decoder never asks for.
inline std::optional<std::uint32_t> use_case_master(std::string_view name) {
  if (!has_use_case_prefix(name)) return std::nullopt;
  name.remove_prefix(Kz::Dvt::Trace::kUseCaseSettingPrefix.size());
  const auto id = parse_decimal<std::uint32_t>(name);
  const bool leading_zero = name.size() > 1 && name.front() == '0';
  if (!id || leading_zero) return std::nullopt;
  return *id;
}

}  // namespace qbt2
