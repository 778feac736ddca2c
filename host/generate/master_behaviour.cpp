#include "host/generate/master_behaviour.h"

#include <algorithm>
#include <array>

namespace qbt2 {
namespace {

constexpr std::uint32_t kPage = 4096;
constexpr std::uint32_t kHotPages = 16;
constexpr std::uint32_t kPacketSlot = 2048;
constexpr std::uint64_t kCopyStride = 0x1'0000'0000;
constexpr std::uint32_t kMiB = 1U << 20;

/// The shared fields: who the master is, how urgent, how cached, how privileged.
constexpr BusTransaction qualifiers(std::uint32_t route_id, std::uint32_t qos,
                                    std::uint32_t priority, std::uint32_t cached,
                                    std::uint32_t privilege, std::uint32_t virtual_id) {
  BusTransaction q;
  q.route_id = route_id;
  q.qos = qos;
  q.priority = priority;
  q.extended_priority = priority;
  q.inner_domain = cached;
  q.outer_domain = cached;
  q.share_domain = cached;
  q.memory_type = cached == 0 ? 1 : 3;  // device or streaming memory; cacheable memory
  q.privilege = privilege;
  q.privilege_id = route_id >> 4 & 0xFF;
  q.firewall_pass = 1;
  q.virtual_id = virtual_id;
  return q;
}

// Rates: about a million bursts and 1.5 GB a second for all seven together.
constexpr std::array<MasterProfile, 7> kProfiles = {{
    {"DMA1", 5, AccessPattern::kCopyJobs, false, 0x8'8000'0000, 8 * kMiB, 256, 16, 1'500, 3'000'000,
     qualifiers(0x0A0, 2, 3, 0, 1, 0x05)},
    {"DISP", 6, AccessPattern::kFrames, false, 0x8'9000'0000, 3'686'400, 64, 20, 4'000, 16'666'667,
     qualifiers(0x1C1, 7, 6, 0, 0, 0x20)},
    {"CPU_CLUSTER0", 32, AccessPattern::kCacheMisses, false, 0x8'0000'0000, 96 * kMiB, 64, 4, 3'000,
     1'200'000, qualifiers(0x010, 4, 4, 2, 1, 0x01)},
    {"CPU_CLUSTER1", 33, AccessPattern::kCacheMisses, false, 0x8'1000'0000, 32 * kMiB, 64, 2, 8'000,
     4'000'000, qualifiers(0x018, 4, 4, 2, 1, 0x02)},
    {"GPU", 48, AccessPattern::kTiles, false, 0x8'A000'0000, 64 * kMiB, 128, 8, 2'500, 16'666'667,
     qualifiers(0x240, 3, 2, 1, 0, 0x30)},
    {"ETH", 65, AccessPattern::kPackets, false, 0x8'C000'0000, 512 * 1024, 64, 24, 6'000, 400'000,
     qualifiers(0x300, 5, 5, 0, 0, 0x41)},
    {"ISP", 66, AccessPattern::kFrames, true, 0x8'D000'0000, 4'147'200, 128, 15, 10'000, 33'333'333,
     qualifiers(0x1D0, 6, 6, 0, 0, 0x22)},
}};

constexpr bool fits_byte_count(const MasterProfile& profile) {
  return profile.access_bytes <= 1023 && profile.burst_accesses > 0;
}
static_assert(std::all_of(kProfiles.begin(), kProfiles.end(), fits_byte_count));

/// At least 1; the longest time in the table fits at the fastest clock too.
std::uint32_t to_ticks(std::uint32_t nanoseconds, std::uint64_t clock_hz) {
  const std::uint64_t ticks = nanoseconds * (clock_hz / 1'000'000) / 1'000;
  return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(ticks, 1, UINT32_MAX));
}

}  // namespace

std::span<const MasterProfile> master_profiles() {
  return kProfiles;
}

MasterBehaviour::MasterBehaviour(const MasterProfile& profile, std::uint32_t copy,
                                 std::uint64_t clock_hz, std::uint64_t seed)
    : profile_(&profile),
      random_(seed),
      base_(profile.base + copy * kCopyStride),
      gap_(to_ticks(profile.gap_ns, clock_hz)),
      period_(to_ticks(profile.period_ns, clock_hz)) {
  // Masters do not start in lockstep, but all soon, so that a short capture has each of them.
  now_ = random_.below(gap_ * 8);
  frame_begin_ = now_;
  if (profile.pattern == AccessPattern::kTiles) frame_begin_ -= period_;  // first frame at once
}

BusBurst MasterBehaviour::next() {
  BusBurst burst;
  burst.access_bytes = profile_->access_bytes;
  switch (profile_->pattern) {
    case AccessPattern::kCopyJobs:
      copy_jobs(burst);
      break;
    case AccessPattern::kFrames:
      frames(burst);
      break;
    case AccessPattern::kCacheMisses:
      cache_misses(burst);
      break;
    case AccessPattern::kTiles:
      tiles(burst);
      break;
    case AccessPattern::kPackets:
      packets(burst);
      break;
  }
  return burst;
}

/// After the first, with a gap, so that running from one into the other is visible.
std::uint64_t MasterBehaviour::second_region() const {
  return (profile_->region_bytes / kMiB + std::uint64_t{1}) * kMiB;
}

std::uint64_t MasterBehaviour::random_place(std::uint32_t alignment) {
  return std::uint64_t{random_.below(profile_->region_bytes / alignment)} * alignment;
}

void MasterBehaviour::start_next_frame() {
  frame_begin_ += period_;
  now_ = std::max(now_ + 1, frame_begin_);
  toggle_ = !toggle_;
}

void MasterBehaviour::copy_jobs(BusBurst& burst) {
  if (left_ == 0) {
    wait(random_.below(2 * std::min<std::uint32_t>(period_, UINT32_MAX / 2)));
    source_ = random_place(kPage);
    place_ = random_place(kPage);
    left_ = 2 * (32 + random_.below(480));  // 128 kB to 2 MB, read and written
    toggle_ = false;
  } else {
    wait_gap();
  }
  burst.ticks = now_;
  burst.accesses = profile_->burst_accesses;
  burst.write = toggle_;
  std::uint64_t& cursor = toggle_ ? place_ : source_;
  burst.address = base_ + (toggle_ ? second_region() : 0U) + cursor;
  cursor = (cursor + std::uint64_t{burst.accesses} * burst.access_bytes) % profile_->region_bytes;
  toggle_ = !toggle_;
  --left_;
}

void MasterBehaviour::frames(BusBurst& burst) {
  if (place_ >= profile_->region_bytes) {
    place_ = 0;
    start_next_frame();
  } else {
    wait_gap();
  }
  burst.ticks = now_;
  burst.accesses = profile_->burst_accesses;
  burst.write = profile_->writes;
  burst.address = base_ + (toggle_ ? second_region() : 0U) + place_;
  place_ += std::uint64_t{burst.accesses} * burst.access_bytes;
}

void MasterBehaviour::cache_misses(BusBurst& burst) {
  if (left_ == 0) {
    toggle_ = random_.one_in(3);
    const std::uint32_t typical = period_ / gap_ + 1;
    left_ = toggle_ ? 1 + typical / 16 : 1 + typical / 2 + random_.below(typical);
    source_ = random_place(kPage);  // the working set moves with the phase
  }
  wait_gap();
  if (toggle_) wait(std::uint64_t{gap_} * 8);
  burst.ticks = now_;
  burst.accesses = 1 + random_.below(profile_->burst_accesses);
  burst.write = random_.one_in(4);
  if (random_.one_in(8)) {
    burst.address = random_place(profile_->access_bytes);
  } else {
    const std::uint32_t line = random_.below(kHotPages * kPage / profile_->access_bytes);
    burst.address =
        (source_ + std::uint64_t{line} * profile_->access_bytes) % profile_->region_bytes;
  }
  burst.address += base_;
  --left_;
}

void MasterBehaviour::tiles(BusBurst& burst) {
  if (left_ == 0) {
    start_next_frame();
    const std::uint32_t most = period_ / gap_ + 1;  // bursts that fit a frame
    left_ = 1 + most / 4 + random_.below(most / 2 + 1);
    place_ = 0;
  } else {
    wait_gap();
  }
  burst.ticks = now_;
  burst.accesses = profile_->burst_accesses;
  burst.write = left_ % 4 == 0;
  if (burst.write) {  // the finished tile, into the picture after the textures
    burst.address = base_ + second_region() + place_;
    place_ += std::uint64_t{burst.accesses} * burst.access_bytes;
  } else {
    burst.address = base_ + random_place(profile_->access_bytes * profile_->burst_accesses);
  }
  --left_;
}

void MasterBehaviour::packets(BusBurst& burst) {
  if (left_ == 0) {
    wait(random_.below(2 * std::min<std::uint32_t>(period_, UINT32_MAX / 2)));
    left_ = 1 + random_.below(32);
    toggle_ = random_.one_in(3);  // reads a train to send, else writes a received one
  } else {
    wait_gap();
  }
  burst.ticks = now_;
  burst.accesses = random_.one_in(3) ? 1 : 1 + random_.below(profile_->burst_accesses);
  burst.write = !toggle_;
  burst.address = base_ + (toggle_ ? second_region() : 0U) + place_;
  place_ = (place_ + kPacketSlot) % profile_->region_bytes;
  --left_;
}

}  // namespace qbt2
