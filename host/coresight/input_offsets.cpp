#include "host/coresight/input_offsets.h"

#include <algorithm>
#include <cstddef>

namespace qbt2 {
namespace {

constexpr std::uint64_t kHistoryBytes = std::uint64_t{64} << 10;

}  // namespace

std::uint64_t InputOffsets::input_offset(std::uint64_t stream_offset) const {
  const auto after = std::upper_bound(
      marks_.begin(), marks_.end(), stream_offset,
      [](std::uint64_t offset, const Mark& mark) { return offset < mark.stream_offset; });
  if (marks_.empty()) return stream_offset;
  if (after == marks_.begin()) return marks_.front().input_offset;
  return std::prev(after)->at(stream_offset);
}

void InputOffsets::add(std::uint64_t stream_offset, std::uint64_t input_offset, bool whole_frames) {
  // Dropped half at a time, so that dropping costs little.
  constexpr std::size_t kFewMarks = 1024;
  if (marks_.size() == marks_.capacity() && marks_.size() >= kFewMarks) {
    const auto old = std::partition_point(marks_.begin(), marks_.end(), [&](const Mark& mark) {
      return mark.stream_offset + kHistoryBytes < stream_offset;
    });
    // The last of the old ones may still apply to newer bytes.
    if (old - marks_.begin() > static_cast<std::ptrdiff_t>(marks_.size() / 2)) {
      marks_.erase(marks_.begin(), std::prev(old));
    }
  }
  marks_.push_back({stream_offset, input_offset, whole_frames});
}

}  // namespace qbt2
