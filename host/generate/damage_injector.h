#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/base/seeded_random.h"

/// Damages a capture while it is written, as transport and storage do: flipped bits, lost bytes,
/// foreign bytes, missing stretches. The number of places is exact, they are spread over the whole
/// capture, and the seed determines all of them. One thread.
namespace qbt2 {

/// The first bytes stay intact: damage there would only look like a capture that begins later.
inline constexpr std::size_t kUndamagedBytes = 64;

/// The limit of places; its product with any capture's size fits 64 bits.
inline constexpr std::uint32_t kMostDamagedPlaces = 1'000'000;

class DamageInjector {
 public:
  DamageInjector(std::uint32_t places, std::uint64_t seed);

  /// Damages the piece `bytes`, which begins at byte `begin` of the capture and after which `done`
  /// of `total` (of whatever unit) is complete.
  void apply(std::vector<std::uint8_t>& bytes, std::uint64_t begin, std::uint64_t done,
             std::uint64_t total);
  /// Places damaged so far. Fewer than requested only where the capture was too short.
  std::uint32_t places_done() const { return places_done_; }

 private:
  void damage_one(std::vector<std::uint8_t>& bytes, std::size_t first);

  std::uint32_t places_;
  std::uint32_t places_done_ = 0;
  SeededRandom random_;
};

}  // namespace qbt2
