#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "host/stp/stp_packet.h"

/// The opcodes of STP version 2 as tables: the first nibble and, after the prefixes F, F0 and F0F,
/// the second, third and fourth (docs/formats/stp.md). Constants only.
namespace qbt2 {

/// What follows an opcode nibble.
enum class StpForm : std::uint8_t {
  kPacket,      ///< the payload
  kPrefix,      ///< one more opcode nibble, looked up in the next table
  kUserLength,  ///< a length nibble n, then n + 1 payload nibbles
  kVersion,     ///< one payload nibble; its highest bit says that two more follow
  kUnsettled,   ///< TIME, DIP: no settled length
  kReserved,
};

struct StpOpcode {
  StpKind kind = StpKind::kNull;
  StpForm form = StpForm::kReserved;
  std::uint8_t payload_nibbles = 0;
  bool marked = false;
  bool timestamped = false;  ///< a timestamp follows the payload
};

namespace detail {

constexpr StpOpcode packet(StpKind kind, std::uint8_t payload_nibbles) {
  return {kind, StpForm::kPacket, payload_nibbles};
}
constexpr StpOpcode packet_ts(StpKind kind, std::uint8_t payload_nibbles) {
  return {kind, StpForm::kPacket, payload_nibbles, false, true};
}
constexpr StpOpcode packet_m(StpKind kind, std::uint8_t payload_nibbles) {
  return {kind, StpForm::kPacket, payload_nibbles, true};
}
constexpr StpOpcode packet_mts(StpKind kind, std::uint8_t payload_nibbles) {
  return {kind, StpForm::kPacket, payload_nibbles, true, true};
}

inline constexpr StpOpcode kPrefix{StpKind::kNull, StpForm::kPrefix};
inline constexpr StpOpcode kUnsettled{StpKind::kNull, StpForm::kUnsettled};
inline constexpr StpOpcode kReserved{};

}  // namespace detail

inline constexpr std::size_t kStpOpcodeLevels = 4;

/// kStpOpcodes[level][nibble]; level 0 is the first nibble, 1 to 3 follow F, F0 and F0F.
/// F F is reserved here: that it may begin an ASYNC is the reader's concern.
inline constexpr std::array<std::array<StpOpcode, 16>, kStpOpcodeLevels> kStpOpcodes = [] {
  using namespace detail;
  using enum StpKind;
  using Level = std::array<StpOpcode, 16>;
  return std::array<Level, kStpOpcodeLevels>{
      Level{packet(kNull, 0), packet(kM8, 2), packet(kMerr, 2), packet(kC8, 2),  // 0 to 3
            packet(kD8, 2), packet(kD16, 4), packet(kD32, 8), packet(kD64, 16),  // 4 to 7
            packet_mts(kD8, 2), packet_mts(kD16, 4), packet_mts(kD32, 8),        // 8 to A
            packet_mts(kD64, 16), packet(kD4, 1), packet_mts(kD4, 1),            // B to D
            packet_ts(kFlag, 0), kPrefix},                                       // E, F
      Level{kPrefix, packet(kM16, 4), packet(kGerr, 2), packet(kC16, 4),         // F 0 to F 3
            packet_ts(kD8, 2), packet_ts(kD16, 4), packet_ts(kD32, 8),           // F 4 to F 6
            packet_ts(kD64, 16), packet_m(kD8, 2), packet_m(kD16, 4),            // F 7 to F 9
            packet_m(kD32, 8), packet_m(kD64, 16), packet_ts(kD4, 1),            // F A to F C
            packet_m(kD4, 1), packet(kFlag, 0), kReserved},                      // F D to F F
      Level{StpOpcode{kVersion, StpForm::kVersion, 1}, packet_ts(kNull, 0),      // F 0 0, F 0 1
            StpOpcode{kUser, StpForm::kUserLength},                              // F 0 2
            StpOpcode{kUser, StpForm::kUserLength, 0, false, true},              // F 0 3
            kUnsettled, kUnsettled,                                              // TIME, TIME_TS
            packet(kTrig, 2), packet_ts(kTrig, 2), packet(kFreq, 8),             // F 0 6 to 8
            packet_ts(kFreq, 8), packet(kXsync, 2), packet_ts(kXsync, 2),        // F 0 9 to B
            kReserved, kReserved, kReserved, kPrefix},                           // F 0 C to F
      Level{packet(kFreq40, 10), packet_ts(kFreq40, 10), kUnsettled /* DIP */,   // F 0 F 0 to 2
            packet(kCerr, 2), kReserved, kReserved, kReserved, kReserved, kReserved,  //
            kReserved, kReserved, kReserved, kReserved, kReserved, kReserved, kReserved}};
}();

/// A payload fits 64 bits, and only data packets are marked.
static_assert([] {
  for (const auto& level : kStpOpcodes) {
    for (const StpOpcode& opcode : level) {
      if (opcode.payload_nibbles > 16) return false;
      if (opcode.marked && (opcode.kind < StpKind::kD4 || opcode.kind > StpKind::kD64)) {
        return false;
      }
    }
  }
  return true;
}());

/// An opcode of one or two nibbles as it lies in the stream: the first nibble lowest.
struct StpOpcodeBits {
  std::uint64_t bits = 0;
  std::uint64_t mask = 0;
  std::size_t nibbles = 0;

  /// Whether the packet that begins with these nibbles has this opcode.
  constexpr bool begins(std::uint64_t window) const { return (window & mask) == bits; }
};

/// The opcode of a kind that has one of one or two nibbles.
constexpr StpOpcodeBits opcode_bits(StpKind kind, bool marked = false, bool timestamped = false) {
  for (std::size_t level = 0; level < 2; ++level) {
    for (std::size_t nibble = 0; nibble < 16; ++nibble) {
      const StpOpcode& opcode = kStpOpcodes[level][nibble];
      if (opcode.form != StpForm::kPacket || opcode.kind != kind || opcode.marked != marked ||
          opcode.timestamped != timestamped) {
        continue;
      }
      if (level == 0) return {nibble, 0xF, 1};
      return {0xF | nibble << 4, 0xFF, 2};
    }
  }
  throw "no such opcode";
}

/// The nibble that begins each longer opcode and fills an ASYNC.
inline constexpr std::uint8_t kNibbleF = 0xF;
/// F nibbles of an ASYNC; a 0 follows them.
inline constexpr std::uint64_t kAsyncRun = 21;
inline constexpr std::uint64_t kAsyncNibbles = kAsyncRun + 1;
/// F nibbles before a 0 that still count as one ASYNC and surplus F. More are no trace: the ASYNC
/// synchronizes, but what the memory held before it is lost.
inline constexpr std::uint64_t kLongestAsyncRun = 64;

/// Nibbles of a timestamp by its size nibble; 15 is reserved.
inline constexpr std::uint8_t kReservedTimestampSize = 15;
inline constexpr std::array<std::uint8_t, 15> kTimestampNibbles = {0, 1, 2,  3,  4,  5,  6, 7,
                                                                   8, 9, 10, 11, 12, 14, 16};

/// VERSION: the timestamp coding in the low three bits; the highest says that two nibbles follow.
inline constexpr std::uint64_t kVersionCodingMask = 7;
inline constexpr std::uint64_t kVersionContinues = 8;
inline constexpr std::uint64_t kVersionDelta = 2;
inline constexpr std::uint64_t kVersionNatural = 3;
inline constexpr std::uint64_t kVersionGray = 4;

}  // namespace qbt2
