#pragma once

#include <cstdint>

/// Random numbers that do not depend on the standard library: the same seed gives the same numbers
/// everywhere, which its distributions do not guarantee. One thread.
namespace qbt2 {

/// SplitMix64: a counter and a mixing function. Fast, and every seed is as good as another.
class SeededRandom {
 public:
  explicit SeededRandom(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next() {
    state_ += 0x9E3779B97F4A7C15;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
    return mixed ^ (mixed >> 31);
  }
  /// A number from 0 to limit - 1; 0 for the limit 0. Scaled instead of divided, so there is no
  /// loop.
  std::uint32_t below(std::uint32_t limit) {
    return static_cast<std::uint32_t>((next() >> 32) * limit >> 32);
  }
  /// True once in `times` on average.
  bool one_in(std::uint32_t times) { return below(times) == 0; }

 private:
  std::uint64_t state_;
};

}  // namespace qbt2
