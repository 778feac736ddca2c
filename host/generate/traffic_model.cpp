#include "host/generate/traffic_model.h"

#include <algorithm>
#include <functional>
#include <set>

#include "host/base/error.h"

namespace qbt2 {
namespace {

/// Least number of bursts in an average window, so that its statistics mean something.
constexpr std::uint64_t kBurstsPerWindow = 8;
/// The bus load is counted over intervals of this many ticks ...
constexpr std::uint64_t kSlotTicks = 1024;
/// ... in each of which the bus can move this many bytes.
constexpr std::uint64_t kSlotCapacity = kSlotTicks * 16;
constexpr std::uint32_t kIdleWait = 12;  // cycles
/// Past this many masters the trial run gets no longer: their average is known well enough.
constexpr std::uint64_t kMostTrialMasters = 256;

void check(const TrafficOptions& options) {
  const TrafficMix& mix = options.mix;
  const std::uint32_t widest = std::max({mix.throughput, mix.latency, mix.transaction});
  if (widest == 0) {
    throw Error(ErrorCode::kUsage, "the mix has only zeros: give at least one kind a weight");
  }
  if (widest > kMostMixWeight) {
    throw Error(ErrorCode::kUsage,
                "a weight of the mix is greater than " + std::to_string(kMostMixWeight));
  }
  if (options.clock_hz < kSlowestTrafficClock || options.clock_hz > kFastestTrafficClock) {
    throw Error(ErrorCode::kUsage, "the clock must be from " +
                                       std::to_string(kSlowestTrafficClock) + " to " +
                                       std::to_string(kFastestTrafficClock) + " Hz");
  }
  std::set<std::uint16_t> seen;
  for (const std::uint16_t id : options.masters) {
    if (!seen.insert(id).second) {
      throw Error(ErrorCode::kUsage, "master " + std::to_string(id) + " is given twice");
    }
  }
}

std::uint32_t cut(std::uint64_t value, unsigned bits) {
  return static_cast<std::uint32_t>(std::min(value, (std::uint64_t{1} << bits) - 1));
}

}  // namespace

TrafficModel::TrafficModel(const TrafficOptions& options) : mix_(options.mix) {
  check(options);
  std::vector<std::uint16_t> ids = options.masters;
  if (ids.empty()) {
    for (const MasterProfile& profile : master_profiles()) ids.push_back(profile.id);
  }
  const std::size_t kinds = master_profiles().size();
  SeededRandom seeds(options.seed);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const auto copy = static_cast<std::uint32_t>(i / kinds);
    MasterBehaviour behaviour(master_profiles()[i % kinds], copy, options.clock_hz, seeds.next());
    const BusBurst first = behaviour.next();
    tracers_.push_back(
        {ids[i], copy, behaviour, SeededRandom(seeds.next()), first, UINT64_MAX, 0, 0, {}});
  }
  choose_period();
  start_windows();
}

/// Runs the masters for a while to learn how busy they are, then sets the window's length so that
/// the messages come in the requested shares.
void TrafficModel::choose_period() {
  const std::uint64_t masters = tracers_.size();
  std::vector<MasterBehaviour> trial;
  std::vector<Turn> turns;
  for (std::uint32_t i = 0; i < masters; ++i) {
    trial.push_back(tracers_[i].behaviour);
    turns.push_back({trial[i].next().ticks, i});
  }
  std::make_heap(turns.begin(), turns.end(), std::greater<>());
  const std::uint64_t bursts = 100'000 + 2'000 * std::min(masters, kMostTrialMasters);
  std::uint64_t ticks = 1;
  for (std::uint64_t n = 0; n < bursts; ++n) {
    std::pop_heap(turns.begin(), turns.end(), std::greater<>());
    ticks = turns.back().ticks;
    turns.back().ticks = trial[turns.back().index].next().ticks;
    std::push_heap(turns.begin(), turns.end(), std::greater<>());
  }

  const std::uint64_t statistics = std::max(mix_.throughput, mix_.latency);
  std::uint64_t window_bursts = kBurstsPerWindow;  // of one master, on average
  std::uint64_t divisor = 1;
  if (statistics != 0 && mix_.transaction != 0) {
    const std::uint64_t wanted = kBurstsPerWindow * statistics;
    log_every_ = static_cast<std::uint32_t>((wanted + mix_.transaction - 1) / mix_.transaction);
    window_bursts = std::uint64_t{log_every_} * mix_.transaction;
    divisor = statistics;
  }
  // In two steps, since the product of all might overflow.
  const std::uint64_t ticks_per_1024_bursts = ticks * 1024 / bursts;
  std::uint64_t period = window_bursts * masters * ticks_per_1024_bursts / divisor / 1024;
  if (period >= 0x1000) period &= ~std::uint64_t{0x3F};  // a round number, as a user would set it
  period_ = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(period, 1, UINT32_MAX));
}

void TrafficModel::start_windows() {
  const std::uint64_t masters = tracers_.size();
  for (std::uint32_t i = 0; i < masters; ++i) {
    // The tracers were switched on one after another, not all in one cycle.
    if (reports_windows()) tracers_[i].window_end = period_ + std::uint64_t{period_} * i / masters;
    turns_.push_back(turn_of(i));
  }
  std::make_heap(turns_.begin(), turns_.end(), std::greater<>());
}

TrafficModel::Turn TrafficModel::turn_of(std::uint32_t index) const {
  const Tracer& tracer = tracers_[index];
  return {std::min(tracer.window_end, tracer.burst.ticks), index};
}

std::vector<TrafficModel::Master> TrafficModel::masters() const {
  std::vector<Master> list;
  for (const Tracer& tracer : tracers_) {
    std::string name = tracer.behaviour.profile().name;
    if (tracer.copy != 0) name.append("_").append(std::to_string(tracer.copy + 1));
    list.push_back({tracer.id, std::move(name)});
  }
  return list;
}

TrafficMessage TrafficModel::next() {
  while (pending_.empty()) {
    std::pop_heap(turns_.begin(), turns_.end(), std::greater<>());
    const std::uint32_t index = turns_.back().index;
    act(index);
    turns_.back() = turn_of(index);
    std::push_heap(turns_.begin(), turns_.end(), std::greater<>());
  }
  const TrafficMessage message = pending_.back();
  pending_.pop_back();
  return message;
}

void TrafficModel::act(std::uint32_t index) {
  Tracer& tracer = tracers_[index];
  if (tracer.window_end <= tracer.burst.ticks) {
    close_window(tracer);
    return;
  }
  count_burst(tracer);
  if (mix_.transaction != 0 && ++tracer.bursts >= log_every_) {
    tracer.bursts = 0;
    log_burst(tracer);
  }
  tracer.burst = tracer.behaviour.next();
}

void TrafficModel::close_window(Tracer& tracer) {
  const Window& window = tracer.window;
  const std::uint32_t every = std::max(mix_.throughput, mix_.latency);
  const std::uint64_t now = tracer.window_end;
  throughput_due_ += mix_.throughput;
  latency_due_ += mix_.latency;
  if (latency_due_ >= every) {
    latency_due_ -= every;
    LatencyWindow report;
    report.tracked = cut(window.accesses, 24);
    report.matched = cut(window.reads, 24);
    report.max_wait = cut(window.max_wait, 16);
    report.total_wait = cut(window.total_wait, 32);
    report.credit_wait = cut(window.credit_wait, 24);
    pending_.push_back({now, tracer.id, TrafficKind::kLatency, pack(report)});
  }
  if (throughput_due_ >= every) {
    throughput_due_ -= every;
    const ThroughputWindow report{cut(window.bytes, 32), cut(window.accesses, 24)};
    pending_.push_back({now, tracer.id, TrafficKind::kThroughput, pack(report)});
  }
  tracer.window = {};
  tracer.window_end += period_;
}

/// Additional cycles that each access of a burst waits because the bus was busy just before.
std::uint32_t TrafficModel::congestion(const BusBurst& burst) {
  const std::uint64_t slot = burst.ticks / kSlotTicks;
  if (slot != slot_) {
    last_slot_bytes_ = slot == slot_ + 1 ? slot_bytes_ : 0;
    slot_bytes_ = 0;
    slot_ = slot;
  }
  slot_bytes_ += std::uint64_t{burst.accesses} * burst.access_bytes;
  return cut(last_slot_bytes_ * 64 / kSlotCapacity, 10);
}

void TrafficModel::count_burst(Tracer& tracer) {
  const BusBurst& burst = tracer.burst;
  Window& window = tracer.window;
  const std::uint32_t busy = congestion(burst);
  const std::uint32_t typical = kIdleWait + busy + tracer.random.below(8);
  std::uint64_t longest = typical + tracer.random.below(32);
  if (tracer.random.one_in(512)) longest += 300 + tracer.random.below(1200);  // memory refresh
  const std::uint64_t total = std::uint64_t{typical} * (burst.accesses - 1) + longest;
  window.bytes += std::uint64_t{burst.accesses} * burst.access_bytes;
  window.accesses += burst.accesses;
  if (!burst.write) window.reads += burst.accesses;
  window.total_wait += total;
  window.credit_wait += busy > kIdleWait ? total / 4 : total / 32;
  window.max_wait = std::max(window.max_wait, longest);
}

/// The tracer logs the first access of a burst.
void TrafficModel::log_burst(Tracer& tracer) {
  const BusBurst& burst = tracer.burst;
  BusTransaction t = tracer.behaviour.profile().qualifiers;
  const bool processor = tracer.behaviour.profile().pattern == AccessPattern::kCacheMisses;
  t.address = burst.address;
  t.byte_count = burst.access_bytes;
  t.direction = burst.write ? 1 : 0;
  t.opcode = burst.write ? 1 : 4;
  t.line_size = burst.accesses > 1 ? 1 : 0;
  t.interest = burst.write ? 0 : 1;  // what the second filter selects
  t.region = static_cast<std::uint32_t>(burst.address >> 28 & 0xF);
  t.address_select = tracer.copy;
  t.order_id = tracer.orders++;
  t.prefetchable = burst.accesses > 4 ? 1 : 0;
  t.mirrored_sideband = t.virtual_id;
  t.sideband = tracer.id;
  t.channel_id = t.route_id + (tracer.orders >> 6 & 3);
  if (processor) {
    t.exclusive = tracer.random.one_in(64) ? 1 : 0;
    t.secure = tracer.random.one_in(32) ? 1 : 0;
    t.data_type = !burst.write && tracer.random.one_in(4) ? 1 : 0;  // an instruction fetch
  }
  pending_.push_back({burst.ticks, tracer.id, TrafficKind::kTransaction, pack(t)});
}

}  // namespace qbt2
