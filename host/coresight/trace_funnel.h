#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/base/seeded_random.h"
#include "host/coresight/frame_writer.h"

/// Wraps a trace stream into formatter frames, together with made-up streams of other sources, as a
/// trace funnel mixes them. For synthetic captures. One thread.
namespace qbt2 {

inline constexpr std::uint32_t kMostOtherSources = 8;

class TraceFunnel {
 public:
  TraceFunnel(std::uint8_t own_id, std::uint32_t other_sources, std::uint64_t seed);

  /// The frames that `stream`, the next piece of our own, completes.
  std::vector<std::uint8_t> mix(std::span<const std::uint8_t> stream);
  /// The frame that was not full yet, if any, padded.
  std::vector<std::uint8_t> finish();

 private:
  void append_other();

  FrameWriter writer_;
  std::uint8_t own_id_;
  std::vector<std::uint8_t> other_ids_;
  SeededRandom random_;
  std::uint32_t left_in_run_ = 0;  ///< bytes of ours until another source has its turn
};

}  // namespace qbt2
