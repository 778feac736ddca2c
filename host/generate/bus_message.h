#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "interfaces/sample_format.h"

/// The messages of a bus tracer, packed as the tracer packs them. The decoder has its own
/// description of the fields; the two are separate on purpose, so that a round trip proves
/// something. Plain values; any thread.
namespace qbt2 {

/// The 32-bit words of one message; how many they are is its kind.
struct MessageWords {
  std::array<std::uint32_t, Kz::Dvt::Trace::SampleFormat::kMostWords> words{};
  std::uint8_t count = 0;

  std::span<const std::uint32_t> view() const { return {words.data(), count}; }
};

/// What one sampling window moved.
struct ThroughputWindow {
  std::uint32_t bytes = 0;
  std::uint32_t matched = 0;  ///< 24 bits
};

/// How long the transactions of one sampling window waited, in clock cycles.
struct LatencyWindow {
  std::uint32_t tracked = 0;      ///< 24 bits
  std::uint32_t matched = 0;      ///< 24 bits
  std::uint32_t max_wait = 0;     ///< 16 bits
  std::uint32_t total_wait = 0;   ///< 32 bits
  std::uint32_t credit_wait = 0;  ///< 24 bits
};

/// One logged transaction; each field's comment is its width in bits.
struct BusTransaction {
  std::uint64_t address = 0;            ///< 48
  std::uint32_t address_mode = 0;       ///< 2
  std::uint32_t route_id = 0;           ///< 12
  std::uint32_t direction = 0;          ///< 1
  std::uint32_t exclusive = 0;          ///< 1
  std::uint32_t byte_count = 0;         ///< 10
  std::uint32_t priority = 0;           ///< 3
  std::uint32_t line_size = 0;          ///< 3
  std::uint32_t privilege = 0;          ///< 2
  std::uint32_t privilege_id = 0;       ///< 8
  std::uint32_t data_type = 0;          ///< 2
  std::uint32_t region = 0;             ///< 4
  std::uint32_t interest = 0;           ///< 1
  std::uint32_t debug = 0;              ///< 1
  std::uint32_t inner_domain = 0;       ///< 2
  std::uint32_t outer_domain = 0;       ///< 2
  std::uint32_t share_domain = 0;       ///< 2
  std::uint32_t qos = 0;                ///< 3
  std::uint32_t secure = 0;             ///< 1
  std::uint32_t memory_type = 0;        ///< 2
  std::uint32_t opcode = 0;             ///< 5
  std::uint32_t sideband = 0;           ///< 8
  std::uint32_t extended_priority = 0;  ///< 3
  std::uint32_t order_id = 0;           ///< 4
  std::uint32_t mirrored_sideband = 0;  ///< 7
  std::uint32_t firewall_pass = 0;      ///< 2
  std::uint32_t prefetchable = 0;       ///< 1
  std::uint32_t virtual_id = 0;         ///< 12
  std::uint32_t address_select = 0;     ///< 4
  std::uint32_t address_type = 0;       ///< 2
  std::uint32_t channel_id = 0;         ///< 12
};

/// A value wider than its field keeps its low bits and never touches a neighbour.
MessageWords pack(const ThroughputWindow& window);
MessageWords pack(const LatencyWindow& window);
MessageWords pack(const BusTransaction& transaction);

}  // namespace qbt2
