#pragma once

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "host/stp/stp_reader.h"
#include "host/stp/stp_writer.h"

/// The calls of a sink, in order, so that two readings of a stream can be compared.
namespace qbt2::test {

/// A stream from hexadecimal nibbles in the order sent; blanks are ignored.
inline std::vector<std::uint8_t> stream(std::initializer_list<std::string_view> parts) {
  StpWriter writer;
  for (const std::string_view part : parts) {
    for (const char c : part) {
      if (c == ' ') continue;
      writer.nibbles(static_cast<std::uint64_t>(c <= '9' ? c - '0' : c - 'A' + 10), 1);
    }
  }
  return writer.bytes();
}

inline const std::string kAsync = "FFFFFFFFFFFFFFFFFFFFF0";

/// The packet's name with its endings: "D32MTS".
inline std::string name(const StpPacket& packet) {
  return std::string(to_string(packet.kind)) + (packet.marked ? "M" : "") +
         (packet.has_timestamp ? "TS" : "");
}

struct StpEvent {
  enum Type : std::uint8_t { kPacket, kSyncLost, kSkipped };
  Type type = kPacket;
  std::uint64_t offset = 0;   ///< packet and skipped: nibble; sync lost: byte
  std::uint64_t nibbles = 0;  ///< skipped
  StpSyncLoss reason = StpSyncLoss::kReservedOpcode;
  StpPacket packet;

  friend bool operator==(const StpEvent&, const StpEvent&) = default;

  friend std::ostream& operator<<(std::ostream& out, const StpEvent& event) {
    if (event.type == kSyncLost) {
      return out << "lost at byte " << event.offset << ": " << to_string(event.reason);
    }
    if (event.type == kSkipped) {
      return out << "skipped " << event.nibbles << " nibbles at nibble " << event.offset;
    }
    const StpPacket& packet = event.packet;
    return out << name(packet) << " at nibble " << event.offset << " value 0x" << std::hex
               << packet.value << std::dec << " (" << int{packet.value_nibbles} << ") time "
               << packet.timestamp << " source " << packet.master << '/' << packet.channel;
  }
};

/// Sink that keeps every event.
struct StpRecorder {
  std::vector<StpEvent> events;

  void on_packet(const StpPacket& packet) {
    events.push_back({StpEvent::kPacket, packet.nibble_offset, 0, {}, packet});
  }
  void on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason) {
    events.push_back({StpEvent::kSyncLost, byte_offset, 0, reason, {}});
  }
  void on_skipped(const StpSkippedRange& range) {
    events.push_back({StpEvent::kSkipped, range.first_nibble, range.nibbles, {}, {}});
  }
};

}  // namespace qbt2::test
