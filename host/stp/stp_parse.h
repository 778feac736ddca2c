#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "host/stp/stp_opcodes.h"
#include "host/stp/stp_packet.h"

/// One packet of any kind, nibble by nibble: the complete and careful way to read one. The reader's
/// fast path (stp_fast_path.h) covers the common ones. Pure functions; any thread.
namespace qbt2::detail {

/// One packet taken apart, without its effect.
struct StpParse {
  enum Outcome : std::uint8_t {
    kPacket,
    kOpen,      ///< the bytes end before the packet is complete and safe from an ASYNC
    kAsyncRun,  ///< F F: not a packet, perhaps the start of an ASYNC
    kBad,       ///< see `reason`
  };

  Outcome outcome = kOpen;
  StpSyncLoss reason = StpSyncLoss::kReservedOpcode;
  StpOpcode opcode;
  std::uint8_t value_nibbles = 0;
  std::uint8_t timestamp_nibbles = 0;
  std::uint64_t value = 0;
  std::uint64_t timestamp = 0;  ///< the nibbles sent
  std::size_t end = 0;          ///< the first nibble after the packet
};

/// The packet that begins at nibble `at`. `is_end`: no bytes follow `data`.
StpParse parse_packet(std::span<const std::uint8_t> data, std::size_t at, bool is_end);

}  // namespace qbt2::detail
