#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/base/seeded_random.h"
#include "host/coresight/frame_writer.h"

/// Wraps a trace stream into formatter frames together with made-up streams of other sources, as a
/// trace funnel does. For synthetic captures. One thread; the same seed gives the same bytes.
namespace qbt2 {

inline constexpr std::uint32_t kMostOtherSources = 8;

class TraceFunnel {
 public:
  /// `own_id`: trace ID of our stream; `other_sources`: up to kMostOtherSources more.
  TraceFunnel(std::uint8_t own_id, std::uint32_t other_sources, std::uint64_t seed);

  /// Takes the next piece of our stream; returns the frames that it completes.
  std::vector<std::uint8_t> merge(std::span<const std::uint8_t> stream);
  /// The last frame, padded; empty if there is none.
  std::vector<std::uint8_t> finish();

 private:
  void append_other();

  FrameWriter writer_;
  std::uint8_t own_id_;
  std::vector<std::uint8_t> other_ids_;
  SeededRandom random_;
  std::uint32_t left_in_run_ = 0;  ///< bytes of ours until another source's turn
};

}  // namespace qbt2
