#pragma once

/// Shared by the property nodes' sources; no public header.
namespace TargetOperations {

/// Hosts may pass null for a text.
inline const char* TextOrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace TargetOperations
