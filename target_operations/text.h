#pragma once

/// Internal to the property nodes.
namespace TargetOperations {

/// Hosts may pass null for a text.
inline const char* TextOrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace TargetOperations
