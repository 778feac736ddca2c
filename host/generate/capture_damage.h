#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/base/seeded_random.h"

/// Damages a capture on its way out, as transport and storage do: flipped bits, lost bytes, foreign
/// bytes, missing stretches. The number of places is exact, their spread follows the capture's
/// progress, and the seed settles all of them. One thread.
namespace qbt2 {

/// The first bytes stay whole: damage there would only look like a capture that begins later.
inline constexpr std::size_t kUndamagedBytes = 64;

/// More places than this are not made; the product with any capture's size fits 64 bits.
inline constexpr std::uint32_t kMostDamagedPlaces = 1'000'000;

class CaptureDamage {
 public:
  CaptureDamage(std::uint32_t places, std::uint64_t seed);

  /// Damages the piece `bytes`, which begins at byte `begin` of the capture and after which `done`
  /// of `total` (of whatever unit) is complete.
  void apply(std::vector<std::uint8_t>& bytes, std::uint64_t begin, std::uint64_t done,
             std::uint64_t total);
  /// Places damaged so far. Below the wish only where a capture was too short to be damaged.
  std::uint32_t places_done() const { return places_done_; }

 private:
  void damage_one(std::vector<std::uint8_t>& bytes, std::size_t first);

  std::uint32_t places_;
  std::uint32_t places_done_ = 0;
  SeededRandom random_;
};

}  // namespace qbt2
