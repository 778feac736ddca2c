#pragma once

#include <cstdint>
#include <span>

namespace qbt2 {

/// Whether `bytes`, the head of an input, contain an ASYNC and a VERSION right after it. Any
/// thread.
bool looks_like_stp(std::span<const std::uint8_t> bytes);

}  // namespace qbt2
