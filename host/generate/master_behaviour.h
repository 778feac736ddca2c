#pragma once

#include <cstdint>
#include <span>

#include "host/base/seeded_random.h"
#include "host/generate/bus_message.h"

/// How single bus masters of a small system-on-chip use the bus: a table of profiles, and a
/// behaviour that turns one of them into an endless series of bursts. Integers only, so a seed
/// gives the same bursts on every machine. One thread for each behaviour.
namespace qbt2 {

enum class AccessPattern : std::uint8_t {
  kCopyJobs,     ///< reads a block and writes it elsewhere, then idles: a DMA channel
  kFrames,       ///< runs through a picture buffer at a fixed rate: display, camera
  kCacheMisses,  ///< mostly hot pages, in busy and quiet phases: a processor cluster
  kTiles,        ///< random reads and sequential writes, a varying share of each frame: a GPU
  kPackets,      ///< trains of packets through a ring of buffers: a network interface
};

struct MasterProfile {
  const char* name;
  std::uint16_t id;  ///< STP master, where the user names none
  AccessPattern pattern;
  bool writes;  ///< kFrames: writes its pictures
  std::uint64_t base;
  std::uint32_t region_bytes;
  std::uint16_t access_bytes;    ///< of one access; at most 1023, the width of the field
  std::uint16_t burst_accesses;  ///< accesses of a burst, at most
  std::uint32_t gap_ns;          ///< from burst to burst while busy
  std::uint32_t period_ns;       ///< from frame to frame, or typical pause
  BusTransaction qualifiers;     ///< what is the same in all its transactions
};

/// Realistic ones: no two alike, addresses that do not overlap.
std::span<const MasterProfile> master_profiles();

/// Accesses in a row, which a tracer sees as one pattern.
struct BusBurst {
  std::uint64_t ticks = 0;  ///< when it begins
  std::uint64_t address = 0;
  std::uint32_t accesses = 0;  ///< at least 1
  std::uint32_t access_bytes = 0;
  bool write = false;
};

class MasterBehaviour {
 public:
  /// The profile must outlive the behaviour. `copy` moves the addresses, so that two masters of one
  /// profile do not share them.
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
  /// Around the profile's gap, evenly from half to one and a half of it.
  void wait_gap() { wait(gap_ / 2 + random_.below(gap_)); }
  void start_next_frame();

  const MasterProfile* profile_;
  SeededRandom random_;
  std::uint64_t base_;
  std::uint32_t gap_;     ///< ticks
  std::uint32_t period_;  ///< ticks
  std::uint64_t now_ = 0;
  std::uint64_t frame_begin_ = 0;
  std::uint64_t place_ = 0;   ///< byte within the region at which the job, frame or packet stands
  std::uint64_t source_ = 0;  ///< kCopyJobs: where it reads
  std::uint32_t left_ = 0;    ///< bursts left of the job, frame, phase or train
  bool toggle_ = false;       ///< second picture buffer, writing half of a copy, quiet phase
};

}  // namespace qbt2
