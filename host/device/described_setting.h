#pragma once

#include <string>

#include "host/base/strict_json.h"
#include "interfaces/device_session_if.h"

/// The settings of a device description. Pure functions, any thread.
namespace qbt2 {

/// A setting's value as text, and how a configuration manager is to convert it.
struct DescribedSetting {
  std::string value;
  EktTrace::eSessionPropertyKind kind = EktTrace::eSessionText;
};

/// Reads a setting: a value, or an object of a value and its kind. Throws Error(kInput) for a name
/// that a settings file cannot hold and for a value that is not of its kind.
DescribedSetting read_described_setting(const std::string& name, const JsonNode& node);

/// A text, a whole number or a truth value (1 or 0) as the text that a settings file has for it.
std::string value_text(const JsonNode& node);

}  // namespace qbt2
