#include "host/coresight/frame_detection.h"

#include <algorithm>

#include "host/coresight/frame_demultiplexer.h"
#include "host/stp/stp_async.h"

namespace qbt2 {

bool looks_like_frames(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kHeadBytes = std::size_t{256} << 10;
  // Stale frames at a capture's end may name any ID, so a few reserved ones prove nothing.
  constexpr std::uint64_t kFewReserved = 4;
  bytes = bytes.first(std::min(bytes.size(), kHeadBytes));
  FrameDemultiplexer all;
  all.push(bytes);
  if (all.reserved_id_changes() * kFewReserved > all.id_changes()) return false;
  for (const SourceBytes& source : all.sources()) {
    FrameDemultiplexer frames(source.id);
    std::uint64_t f_run = 0;
    bool has_async = false;
    frames.push(bytes, [&](std::span<const std::uint8_t> block, std::uint64_t) {
      has_async = has_async || detail::find_async_end(block, 0, f_run) != detail::kNotFound;
    });
    if (has_async) return true;
  }
  return false;
}

}  // namespace qbt2
