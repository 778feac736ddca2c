#pragma once

#include <cstdint>
#include <string>

#include "tests/support/sample_bytes.h"

/// Parts of trace data files, put together by hand.
namespace qbt2::test {

/// A text after its byte count.
inline std::string counted(const std::string& text) {
  return le32(static_cast<std::uint32_t>(text.size())) + text;
}

inline std::string section(const std::string& name, std::uint32_t version,
                           const std::string& payload) {
  return le32(static_cast<std::uint32_t>(12 + name.size() + payload.size())) + le32(version) +
         counted(name) + payload;
}

}  // namespace qbt2::test
