#pragma once

#include <cstdint>
#include <span>

namespace qbt2 {

/// Whether `bytes`, the head of an input, read as formatter frames name plausible trace sources, at
/// least one of which carries an ASYNC packet. Reads the first 256 KiB at most. Any thread.
bool looks_like_frames(std::span<const std::uint8_t> bytes);

}  // namespace qbt2
