#include "host/coresight/trace_funnel.h"

#include <algorithm>

namespace qbt2 {

namespace {

/// Often enough for a reader to resynchronize soon after damaged frames.
constexpr FrameWriter::Options kFrameOptions = {
    .frame_sync_every = 64, .halfword_sync_every = 0, .repeat_id_every = 16};
constexpr std::uint32_t kShortestRun = 16;
constexpr std::uint32_t kLongestRun = 400;
constexpr std::uint32_t kLongestOtherRun = 120;

}  // namespace

TraceFunnel::TraceFunnel(std::uint8_t own_id, std::uint32_t other_sources, std::uint64_t seed)
    : writer_(kFrameOptions), own_id_(own_id), random_(seed) {
  for (std::uint8_t id = 1; other_ids_.size() < other_sources; ++id) {
    if (id != own_id) other_ids_.push_back(id);
  }
}

std::vector<std::uint8_t> TraceFunnel::merge(std::span<const std::uint8_t> stream) {
  if (other_ids_.empty()) {
    writer_.write(own_id_, stream);
    return writer_.take();
  }
  while (!stream.empty()) {
    if (left_in_run_ == 0) {
      append_other();
      left_in_run_ = kShortestRun + random_.below(kLongestRun - kShortestRun);
    }
    const std::size_t count = std::min<std::size_t>(left_in_run_, stream.size());
    writer_.write(own_id_, stream.first(count));
    left_in_run_ -= static_cast<std::uint32_t>(count);
    stream = stream.subspan(count);
  }
  return writer_.take();
}

void TraceFunnel::append_other() {
  const std::size_t whose = random_.below(static_cast<std::uint32_t>(other_ids_.size()));
  std::vector<std::uint8_t> bytes(1 + random_.below(kLongestOtherRun));
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_.below(256));
  writer_.write(other_ids_[whose], bytes);
}

std::vector<std::uint8_t> TraceFunnel::finish() {
  writer_.finish();
  return writer_.take();
}

}  // namespace qbt2
