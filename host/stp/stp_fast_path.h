#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "host/stp/stp_cursor.h"
#include "host/stp/stp_nibbles.h"
#include "host/stp/stp_opcodes.h"
#include "host/stp/stp_packet.h"
#include "host/stp/stp_timestamp.h"

/// The reader's inner loop, for the packets that make up the bulk of a stream. Whatever is rare,
/// long or may be cut by an ASYNC is left to parse_packet(). Headers only, so that the sink's
/// on_packet is inlined into the loop.
namespace qbt2::detail {

/// Which code of the inner loop reads a packet.
enum class FastPath : std::uint8_t {
  kNone,    ///< left to parse_packet()
  kSource,  ///< by the table: master and channel
  kNull,
  kD4,
  kD4Ts,
  kD4M,
  kD4Mts,
  kD8,
  kD8Ts,
  kD8M,
  kD8Mts,
  kD16,
  kD16Ts,
  kD16M,
  kD16Mts,
  kD32,
  kD32Ts,
  kD32M,
  kD32Mts,
  kD64,
  kD64Ts,
  kD64M,
  kD64Mts,
  kFlag,
  kFlagTs,
};

constexpr FastPath fast_path(const StpOpcode& opcode) {
  using enum FastPath;
  if (opcode.form != StpForm::kPacket) return kNone;
  const bool marked = opcode.marked;
  const bool timed = opcode.timestamped;
  switch (opcode.kind) {
    case StpKind::kD4:
      return marked ? timed ? kD4Mts : kD4M : timed ? kD4Ts : kD4;
    case StpKind::kD8:
      return marked ? timed ? kD8Mts : kD8M : timed ? kD8Ts : kD8;
    case StpKind::kD16:
      return marked ? timed ? kD16Mts : kD16M : timed ? kD16Ts : kD16;
    case StpKind::kD32:
      return marked ? timed ? kD32Mts : kD32M : timed ? kD32Ts : kD32;
    case StpKind::kD64:
      return marked ? timed ? kD64Mts : kD64M : timed ? kD64Ts : kD64;
    case StpKind::kFlag:
      return timed ? kFlagTs : kFlag;
    case StpKind::kM8:
    case StpKind::kM16:
    case StpKind::kC8:
    case StpKind::kC16:
      return kSource;
    case StpKind::kNull:
      return timed ? kNone : kNull;
    default:
      return kNone;
  }
}

/// By a byte that holds an opcode's first nibble below its second.
inline constexpr std::array<FastPath, 256> kFastPaths = [] {
  std::array<FastPath, 256> paths{};
  for (std::size_t byte = 0; byte < paths.size(); ++byte) {
    const std::size_t first = byte % 16;
    paths[byte] = fast_path(first == 0xF ? kStpOpcodes[1][byte / 16] : kStpOpcodes[0][first]);
  }
  return paths;
}();

inline constexpr std::uint64_t kLargestFastTimestamp = 12;

/// Reads the timestamp of which `window` has the size nibble first; false when it is longer than
/// kLargestFastTimestamp.
inline bool take_timestamp(std::uint64_t window, std::uint64_t& sent, unsigned& nibbles) {
  nibbles = window & 0xF;
  if (nibbles > kLargestFastTimestamp) return false;
  sent = reverse_nibbles(window >> 4) >> 4 >> (60 - 4 * nibbles);
  return true;
}
/// The same at nibble `end`, which it moves past the timestamp.
inline bool take_timestamp(const std::uint8_t* data, std::size_t& end, std::uint64_t& sent,
                           unsigned& nibbles) {
  if (!take_timestamp(nibbles_from(data, end), sent, nibbles)) return false;
  end += 1 + nibbles;
  return true;
}

/// Reads the packet at cursor.at, whose opcode is kStpOpcodes[Level][Nibble]. False, with nothing
/// changed, when parse_packet() has to read it.
template <std::size_t Level, std::size_t Nibble, typename Sink>
[[gnu::always_inline]] inline bool read_known(StpCursor& cursor, Sink& sink) {
  constexpr const StpOpcode& kOpcode = kStpOpcodes[Level][Nibble];
  constexpr std::size_t kOpcodeNibbles = Level + 1;
  constexpr std::size_t kHead = kOpcodeNibbles + kOpcode.payload_nibbles;
  const std::size_t at = cursor.at;
  const std::uint64_t window = cursor.window;
  std::size_t end = at + kHead;
  std::uint64_t sent = 0;
  unsigned timestamp_nibbles = 0;
  if constexpr (kOpcode.timestamped) {
    if (!take_timestamp(cursor.data, end, sent, timestamp_nibbles)) return false;
  }
  if (!cursor.advance(end)) return false;
  StpPacket packet;
  if constexpr (kOpcode.timestamped) advance_timestamp(cursor.context, sent, timestamp_nibbles);
  if constexpr (kOpcode.payload_nibbles <= 4) {
    const std::uint64_t payload = reverse_nibbles(window >> (4 * kOpcodeNibbles));
    if constexpr (kOpcode.payload_nibbles != 0) {
      packet.value = payload >> (64 - 4 * kOpcode.payload_nibbles);
    }
  } else if constexpr (kOpcode.payload_nibbles == 8) {
    packet.value = reverse_nibbles_32(static_cast<std::uint32_t>(window >> (4 * kOpcodeNibbles)));
  } else if constexpr (kOpcode.payload_nibbles == 16) {
    const std::uint64_t first = nibbles_from(cursor.data, at + kOpcodeNibbles) & 0xFFFFFFFF;
    const std::uint64_t second = nibbles_from(cursor.data, at + kOpcodeNibbles + 8);
    packet.value = reverse_nibbles(first | second << 32);
  }
  packet.nibble_offset = cursor.origin + at;
  packet.timestamp = cursor.context.timestamp;
  packet.master = cursor.context.master;
  packet.channel = cursor.context.channel;
  packet.kind = kOpcode.kind;
  packet.value_nibbles = kOpcode.payload_nibbles;
  packet.marked = kOpcode.marked;
  packet.has_timestamp = kOpcode.timestamped;
  sink.on_packet(packet);
  return true;
}

/// A run of NULL, which fill the time when a source is idle. An ASYNC cannot begin within one.
template <typename Sink>
inline void read_nulls(StpCursor& cursor, Sink& sink) {
  constexpr unsigned kMostInWindow = 14;
  const std::uint64_t end = std::uint64_t{1} << (4 * kMostInWindow);
  const auto nulls = static_cast<std::size_t>(std::countr_zero(cursor.window | end)) / 4;
  StpPacket packet;
  packet.nibble_offset = cursor.origin + cursor.at;
  packet.timestamp = cursor.context.timestamp;
  packet.master = cursor.context.master;
  packet.channel = cursor.context.channel;
  packet.kind = StpKind::kNull;
  if (packet.nibble_offset == cursor.after_async) cursor.after_async += nulls;
  cursor.move(cursor.at + nulls, nulls);
  for (std::size_t i = 0; i < nulls; ++i, ++packet.nibble_offset) sink.on_packet(packet);
}

/// Reads a packet of FastPath::kSource; as read_known().
template <typename Sink>
inline bool read_source(StpCursor& cursor, Sink& sink) {
  const std::uint64_t first = cursor.window & 0xF;
  const bool prefixed = first == 0xF;
  const StpOpcode& opcode =
      prefixed ? kStpOpcodes[1][cursor.window >> 4 & 0xF] : kStpOpcodes[0][first];
  const std::size_t head = prefixed ? 2U : 1U;
  const unsigned payload = opcode.payload_nibbles;
  StpPacket packet;
  packet.nibble_offset = cursor.origin + cursor.at;
  packet.value = reverse_nibbles(cursor.window >> (4 * head)) >> (64 - 4 * payload);
  if (!cursor.advance(cursor.at + head + payload)) return false;
  StpContext& context = cursor.context;
  const auto value = static_cast<std::uint16_t>(packet.value);
  if (opcode.kind == StpKind::kM8 || opcode.kind == StpKind::kM16) {
    context.master = value;
    context.channel = 0;
  } else if (opcode.kind == StpKind::kC8) {
    context.channel = static_cast<std::uint16_t>((context.channel & 0xFF00) | value);
  } else if (opcode.kind == StpKind::kC16) {
    context.channel = value;
  }
  packet.timestamp = context.timestamp;
  packet.master = context.master;
  packet.channel = context.channel;
  packet.kind = opcode.kind;
  packet.value_nibbles = opcode.payload_nibbles;
  sink.on_packet(packet);
  return true;
}

template <typename Sink>
[[gnu::always_inline]] inline bool read_fast(StpCursor& cursor, Sink& sink) {
  switch (kFastPaths[cursor.window & 0xFF]) {
    case FastPath::kD4:
      return read_known<0, 0xC>(cursor, sink);
    case FastPath::kD4Ts:
      return read_known<1, 0xC>(cursor, sink);
    case FastPath::kD4M:
      return read_known<1, 0xD>(cursor, sink);
    case FastPath::kD4Mts:
      return read_known<0, 0xD>(cursor, sink);
    case FastPath::kD8:
      return read_known<0, 0x4>(cursor, sink);
    case FastPath::kD8Ts:
      return read_known<1, 0x4>(cursor, sink);
    case FastPath::kD8M:
      return read_known<1, 0x8>(cursor, sink);
    case FastPath::kD8Mts:
      return read_known<0, 0x8>(cursor, sink);
    case FastPath::kD16:
      return read_known<0, 0x5>(cursor, sink);
    case FastPath::kD16Ts:
      return read_known<1, 0x5>(cursor, sink);
    case FastPath::kD16M:
      return read_known<1, 0x9>(cursor, sink);
    case FastPath::kD16Mts:
      return read_known<0, 0x9>(cursor, sink);
    case FastPath::kD32:
      return read_known<0, 0x6>(cursor, sink);
    case FastPath::kD32Ts:
      return read_known<1, 0x6>(cursor, sink);
    case FastPath::kD32M:
      return read_known<1, 0xA>(cursor, sink);
    case FastPath::kD32Mts:
      return read_known<0, 0xA>(cursor, sink);
    case FastPath::kD64:
      return read_known<0, 0x7>(cursor, sink);
    case FastPath::kD64Ts:
      return read_known<1, 0x7>(cursor, sink);
    case FastPath::kD64M:
      return read_known<1, 0xB>(cursor, sink);
    case FastPath::kD64Mts:
      return read_known<0, 0xB>(cursor, sink);
    case FastPath::kFlag:
      return read_known<1, 0xE>(cursor, sink);
    case FastPath::kFlagTs:
      return read_known<0, 0xE>(cursor, sink);
    case FastPath::kNull:
      read_nulls(cursor, sink);
      return true;
    case FastPath::kSource:
      return read_source(cursor, sink);
    case FastPath::kNone:
      break;
  }
  return false;
}

}  // namespace qbt2::detail
