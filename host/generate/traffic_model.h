#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/base/seeded_random.h"
#include "host/generate/bus_message.h"
#include "host/generate/master_behaviour.h"

/// The traffic of a small system-on-chip, as its bus tracers report it: statistics per sampling
/// window and logged transactions of each master, all from one simulation, so that the numbers
/// agree. Endless; memory grows with the number of masters only. Integers only, so a seed gives the
/// same traffic on every machine. One thread.
namespace qbt2 {

/// Shares of the three kinds of message, kept within a few percent: they determine the length of a
/// sampling window and which bursts are logged.
struct TrafficMix {
  std::uint32_t throughput = 1;
  std::uint32_t latency = 1;
  std::uint32_t transaction = 8;
};
inline constexpr std::uint32_t kMostMixWeight = 1000;

inline constexpr std::uint64_t kSlowestTrafficClock = 1'000'000;
inline constexpr std::uint64_t kFastestTrafficClock = 10'000'000'000;

struct TrafficOptions {
  std::uint64_t seed = 1;
  std::uint64_t clock_hz = 200'000'000;  ///< rate of the ticks
  std::vector<std::uint16_t> masters;    ///< STP master ids; empty: one per profile
  TrafficMix mix;
};

enum class TrafficKind : std::uint8_t { kThroughput, kLatency, kTransaction };

/// One message of one tracer.
struct TrafficMessage {
  std::uint64_t ticks = 0;  ///< when the tracer sent it; never decreases
  std::uint16_t master = 0;
  TrafficKind kind = TrafficKind::kTransaction;
  MessageWords words;
};

class TrafficModel {
 public:
  /// Throws Error(kUsage) for a mix of zeros, a weight or clock out of range, or a master named
  /// twice.
  explicit TrafficModel(const TrafficOptions& options);

  TrafficMessage next();

  struct Master {
    std::uint16_t id;
    std::string name;
  };
  /// In the order of the options.
  std::vector<Master> masters() const;
  /// Length of a sampling window, in ticks.
  std::uint32_t sampling_period() const { return period_; }

 private:
  /// A tracer's counts in the current window.
  struct Window {
    std::uint64_t bytes = 0;
    std::uint64_t accesses = 0;
    std::uint64_t reads = 0;
    std::uint64_t total_wait = 0;
    std::uint64_t credit_wait = 0;
    std::uint64_t max_wait = 0;
  };
  struct Tracer {
    std::uint16_t id;
    std::uint32_t copy;  ///< number of earlier masters with this profile
    MasterBehaviour behaviour;
    SeededRandom random;
    BusBurst burst;            ///< the next one
    std::uint64_t window_end;  ///< tick
    std::uint32_t bursts = 0;  ///< since the last logged one
    std::uint32_t orders = 0;  ///< transactions logged
    Window window;
  };
  /// Which tracer acts next. Ties go to the lower index, so that the order is the same everywhere.
  struct Turn {
    std::uint64_t ticks;
    std::uint32_t index;
    bool operator>(const Turn& other) const {
      return ticks != other.ticks ? ticks > other.ticks : index > other.index;
    }
  };

  void choose_period();
  void start_windows();
  bool reports_windows() const { return mix_.throughput + mix_.latency != 0; }
  Turn turn_of(std::uint32_t index) const;
  void act(std::uint32_t index);
  void close_window(Tracer& tracer);
  void count_burst(Tracer& tracer);
  std::uint32_t congestion(const BusBurst& burst);
  void log_burst(Tracer& tracer);

  TrafficMix mix_;
  std::uint32_t period_ = 0;
  std::uint32_t log_every_ = 1;  ///< one burst in this many is logged
  std::vector<Tracer> tracers_;
  std::vector<Turn> turns_;  ///< heap, earliest first
  /// Not every window reports both kinds; these count up to the next report of each.
  std::uint32_t throughput_due_ = 0;
  std::uint32_t latency_due_ = 0;
  std::vector<TrafficMessage> pending_;  ///< messages of the last act(), newest first
  std::uint64_t slot_ = 0;               ///< number of the current kSlotTicks interval
  std::uint64_t slot_bytes_ = 0;
  std::uint64_t last_slot_bytes_ = 0;
};

}  // namespace qbt2
