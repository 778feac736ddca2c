#pragma once

#include <cstdint>
#include <ostream>
#include <span>
#include <vector>

#include "host/stp/stp_reader.h"

/// What a reader told its sink, in order, so that two readings of a stream can be compared.
namespace qbt2::test {

struct StpEvent {
  enum Type : std::uint8_t { kPacket, kSyncLost, kSkipped };
  Type type = kPacket;
  std::uint64_t offset = 0;   // packet and skipped: nibble; sync lost: byte
  std::uint64_t nibbles = 0;  // skipped
  StpSyncLoss reason = StpSyncLoss::kReservedOpcode;
  StpPacket packet;

  friend bool operator==(const StpEvent& a, const StpEvent& b) {
    const StpPacket& p = a.packet;
    const StpPacket& q = b.packet;
    return a.type == b.type && a.offset == b.offset && a.nibbles == b.nibbles &&
           a.reason == b.reason && p.value == q.value && p.timestamp == q.timestamp &&
           p.master == q.master && p.channel == q.channel && p.kind == q.kind &&
           p.value_nibbles == q.value_nibbles && p.marked == q.marked &&
           p.has_timestamp == q.has_timestamp;
  }

  friend std::ostream& operator<<(std::ostream& out, const StpEvent& event) {
    if (event.type == kSyncLost) {
      return out << "lost at byte " << event.offset << ": " << to_string(event.reason);
    }
    if (event.type == kSkipped) {
      return out << "skipped " << event.nibbles << " nibbles at nibble " << event.offset;
    }
    const StpPacket& packet = event.packet;
    return out << to_string(packet.kind) << (packet.marked ? "M" : "")
               << (packet.has_timestamp ? "TS" : "") << " at nibble " << event.offset << " value 0x"
               << std::hex << packet.value << std::dec << " (" << int{packet.value_nibbles}
               << ") time " << packet.timestamp << " source " << packet.master << '/'
               << packet.channel;
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
