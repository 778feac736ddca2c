#pragma once

#include <cstdint>
#include <span>

#include "host/base/seeded_random.h"
#include "host/generate/bus_message.h"

/// How the bus masters of a small system-on-chip use the bus: a table of profiles, and a behaviour
/// that turns a profile into an endless series of bursts. Integers only, so a seed gives the same
/// bursts on every machine. One thread per behaviour.
namespace qbt2 {

enum class AccessPattern : std::uint8_t {
  kCopyJobs,     ///< reads a block and writes it elsewhere, then idles: a DMA channel
  kFrames,       ///< scans a picture buffer at a fixed rate: display, camera
  kCacheMisses,  ///< mostly hot pages, in busy and quiet phases: a processor cluster
  kTiles,        ///< random reads and sequential writes, a varying share of each frame: a GPU
  kPackets,      ///< trains of packets through a ring of buffers: a network interface
};

struct MasterProfile {
  const char* name;
  std::uint16_t id;  ///< STP master id, unless the user gives one
  AccessPattern pattern;
  bool writes;  ///< kFrames: writes its pictures
  std::uint64_t base;
  std::uint32_t region_bytes;
  std::uint16_t access_bytes;    ///< per access; at most 1023, the field has 10 bits
  std::uint16_t burst_accesses;  ///< largest number in a burst
  std::uint32_t gap_ns;          ///< from burst to burst while busy
  std::uint32_t period_ns;       ///< from frame to frame, or a typical pause
  BusTransaction qualifiers;     ///< the fields that all its transactions share
};

/// Realistic profiles: no two are alike, and their addresses do not overlap.
std::span<const MasterProfile> master_profiles();

/// Consecutive accesses.
struct BusBurst {
  std::uint64_t ticks = 0;  ///< start
  std::uint64_t address = 0;
  std::uint32_t accesses = 0;  ///< at least 1
  std::uint32_t access_bytes = 0;
  bool write = false;
};

class MasterBehaviour {
 public:
  /// The profile must outlive the behaviour. `copy` shifts the addresses, so that two masters of
  /// one profile do not share them.
  MasterBehaviour(const MasterProfile& profile, std::uint32_t copy, std::uint64_t clock_hz,
                  std::uint64_t seed);

  const MasterProfile& profile() const { return *profile_; }
  /// The next burst; later than the one before.
  BusBurst next();

 private:
  void copy_jobs(BusBurst& burst);
  void frames(BusBurst& burst);
  void cache_misses(BusBurst& burst);
  void tiles(BusBurst& burst);
  void packets(BusBurst& burst);

  std::uint64_t second_region() const;
  std::uint64_t random_place(std::uint32_t alignment);
  void wait(std::uint64_t ticks) { now_ += ticks + 1; }
  /// Uniform, from half the profile's gap to one and a half of it.
  void wait_gap() { wait(gap_ / 2 + random_.below(gap_)); }
  void start_next_frame();

  const MasterProfile* profile_;
  SeededRandom random_;
  std::uint64_t base_;
  std::uint32_t gap_;     ///< ticks
  std::uint32_t period_;  ///< ticks
  std::uint64_t now_ = 0;
  std::uint64_t frame_begin_ = 0;
  std::uint64_t place_ = 0;   ///< next byte of the job, frame or packet, within the region
  std::uint64_t source_ = 0;  ///< kCopyJobs: next byte to read
  std::uint32_t left_ = 0;    ///< bursts left in the job, frame, phase or train
  bool toggle_ = false;       ///< second picture buffer, writing half of a copy, quiet phase
};

}  // namespace qbt2
