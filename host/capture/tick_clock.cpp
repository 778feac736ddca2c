#include "host/capture/tick_clock.h"

namespace qbt2 {
namespace {

constexpr std::uint64_t kNsPerSecond = 1'000'000'000;
constexpr std::uint64_t kMostSeconds = UINT64_MAX / kNsPerSecond;

}  // namespace

void TickClock::set_rate(std::uint64_t hz) {
  hz_ = hz;
  const bool is_whole = hz != 0 && kNsPerSecond % hz == 0;
  ns_per_tick_ = is_whole ? kNsPerSecond / hz : 0;
  multiplied_below_ = is_whole ? kMostSeconds * hz : 0;
}

bool TickClock::divide(std::uint64_t ticks, std::uint64_t& ns) const {
  if (hz_ == 0) return false;
  const std::uint64_t seconds = ticks / hz_;
  if (seconds >= kMostSeconds) return false;
  const std::uint64_t rest = ticks % hz_;
  // Up to 2^34 Hz the product fits 64 bits; FREQ_40 allows 2^40.
  const std::uint64_t rest_ns =
      hz_ <= (std::uint64_t{1} << 34)
          ? rest * kNsPerSecond / hz_
          : static_cast<std::uint64_t>(static_cast<unsigned __int128>(rest) * kNsPerSecond / hz_);
  ns = seconds * kNsPerSecond + rest_ns;
  return true;
}

}  // namespace qbt2
