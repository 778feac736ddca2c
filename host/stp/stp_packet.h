#pragma once

#include <cstdint>
#include <string_view>

/// One STP version 2 packet as the reader delivers it, and the reasons for a loss of
/// synchronization. Plain values without ownership: any thread may use them.
///
/// STP is a stream of nibbles (the low nibble of each byte first), so positions are counted in
/// nibbles: nibble 2n is the low, 2n + 1 the high half of byte n.
namespace qbt2 {

/// What a packet is. The marked and timestamped variants of a packet share one kind: see
/// StpPacket::marked and StpPacket::has_timestamp.
enum class StpKind : std::uint8_t {
  kNull,
  kM8,
  kM16,
  kMerr,  ///< the source dropped trace of the current master
  kGerr,  ///< the source dropped trace of any master
  kC8,
  kC16,
  kCerr,
  kD4,
  kD8,
  kD16,
  kD32,
  kD64,
  kFlag,
  kUser,
  kTrig,
  kXsync,
  kFreq,    ///< rate of the timestamps in Hz, 32 bits
  kFreq40,  ///< the same, 40 bits
  kVersion,
  kAsync,
};

inline constexpr int kStpKindCount = static_cast<int>(StpKind::kAsync) + 1;

/// Why synchronization was lost. Each is damage of the stream; bytes before the first ASYNC and a
/// packet cut by the end of the stream are not.
enum class StpSyncLoss : std::uint8_t {
  kReservedOpcode,         ///< includes a short run of F that is not an ASYNC
  kUnsettledPacket,        ///< TIME, TIME_TS, DIP: their length is not settled
  kReservedTimestampSize,  ///< size nibble 15
  kReservedVersion,        ///< VERSION with 5, 6 or 7 in its low three bits
  kStpVersion1,            ///< VERSION with 0 or 1: another protocol, not supported
  kCutByAsync,             ///< an ASYNC began before the packet was complete
  kRunOfOnes,              ///< more F in a row than kLongestAsyncRun, as erased flash has
};

/// A packet. The reader passes it by reference for one call; copy it to keep it.
struct StpPacket {
  std::uint64_t nibble_offset = 0;  ///< where in the STP stream the packet's opcode begins
  std::uint64_t value = 0;          ///< payload: data, master, channel, frequency, ...; 0: none
  std::uint64_t timestamp = 0;      ///< newest, in ticks, this packet's own included; 0 before any
  std::uint16_t master = 0;         ///< after the packet's own effect, as is the channel
  std::uint16_t channel = 0;
  StpKind kind = StpKind::kNull;
  std::uint8_t value_nibbles = 0;  ///< payload width: D4 1, D8 2, ..., D64 16
  bool marked = false;             ///< D4M ... D64MTS
  bool has_timestamp = false;      ///< the packet itself carries a timestamp

  constexpr std::uint64_t byte_offset() const { return nibble_offset / 2; }
  constexpr bool is_data() const { return kind >= StpKind::kD4 && kind <= StpKind::kD64; }

  friend bool operator==(const StpPacket&, const StpPacket&) = default;
};

/// A range of the stream that was not trusted, in nibbles.
struct StpSkippedRange {
  std::uint64_t first_nibble = 0;
  std::uint64_t nibbles = 0;

  constexpr std::uint64_t byte_offset() const { return first_nibble / 2; }
};

/// Name as the protocol writes it, without the M and TS endings: "D32", "FLAG", "ASYNC".
std::string_view to_string(StpKind kind);

/// For a message: "reserved opcode".
std::string_view to_string(StpSyncLoss reason);

}  // namespace qbt2
