#pragma once

#include <cstdint>

namespace qbt2 {

/// STP timestamps, in ticks, as nanoseconds. A value; any thread may have its own.
class TickClock {
 public:
  /// `hz`: ticks a second; 0: not known.
  explicit TickClock(std::uint64_t hz = 0) { set_rate(hz); }
  void set_rate(std::uint64_t hz);
  bool is_known() const { return hz_ != 0; }
  std::uint64_t rate() const { return hz_; }

  /// False, with `ns` unchanged, when the rate is not known or the time does not fit 64 bits of
  /// nanoseconds (584 years). Rounded down.
  bool to_ns(std::uint64_t ticks, std::uint64_t& ns) const {
    if (ticks >= multiplied_below_) return divide(ticks, ns);
    ns = ticks * ns_per_tick_;
    return true;
  }

 private:
  bool divide(std::uint64_t ticks, std::uint64_t& ns) const;

  std::uint64_t hz_ = 0;
  std::uint64_t ns_per_tick_ = 0;
  /// Where a tick is a whole number of nanoseconds: the first time that does not fit; otherwise 0.
  std::uint64_t multiplied_below_ = 0;
};

}  // namespace qbt2
