#include "host/capture/whole_messages.h"

#include "host/stp/stp_fast_path.h"
#include "host/stp/stp_opcodes.h"
#include "host/stp/stp_words.h"

namespace qbt2 {
namespace {

using namespace detail;
using Kz::Dvt::Trace::SampleFormat::kPairBytes;

/// Words of a message taken whole; longer ones are not the tracer's. An even number.
constexpr std::size_t kMostWords = 16;
/// Nibbles of the packets that select the source (M16 and C16 at most) and of the last packet.
constexpr std::size_t kMostSourceNibbles = 12;
constexpr std::size_t kMostLastNibbles = 2 + kWordNibbles + 1 + kLargestFastTimestamp;
/// What is read from the beginning of a message on, at most; windows reach further than packets.
constexpr std::size_t kReach =
    2 * kMostSourceNibbles + kMostWords * kD32Nibbles + kMostLastNibbles + 16;

/// A message as far as it is read; nothing is changed before it is complete.
struct Reading {
  std::size_t at;
  std::uint64_t window;
  std::uint64_t packets;
  std::uint16_t master;
  std::uint16_t channel;
  std::uint64_t words = 0;
  std::uint64_t sent = 0;  ///< nibbles of the timestamp
  unsigned timestamp_nibbles = 0;
  bool timed = false;
};

/// A packet other than M8 that selects the source.
bool read_source_packet(Reading& reading, const std::uint8_t* data) {
  constexpr StpOpcodeBits kM16 = opcode_bits(StpKind::kM16);
  constexpr StpOpcodeBits kC8 = opcode_bits(StpKind::kC8);
  constexpr StpOpcodeBits kC16 = opcode_bits(StpKind::kC16);
  const std::uint64_t window = reading.window;
  if (kC8.begins(window)) {
    const auto low = static_cast<std::uint16_t>(reverse_nibbles(window >> 4) >> 56);
    reading.channel = static_cast<std::uint16_t>((reading.channel & 0xFF00) | low);
    reading.at += 3;
  } else if (kC16.begins(window) || kM16.begins(window)) {
    const auto id = static_cast<std::uint16_t>(reverse_nibbles(window >> 8) >> 48);
    if (kM16.begins(window)) reading.master = id;
    reading.channel = kM16.begins(window) ? std::uint16_t{0} : id;
    reading.at += 6;
  } else {
    return false;
  }
  reading.window = nibbles_from(data, reading.at);
  ++reading.packets;
  return true;
}

/// The packets that select the source, if there are any.
[[gnu::always_inline]] inline bool read_source(Reading& reading, const StpCursor& cursor) {
  constexpr StpOpcodeBits kM8 = opcode_bits(StpKind::kM8);
  const bool has_m8 = kM8.begins(cursor.window);
  const std::uint64_t id = (cursor.window & 0xF0) | (cursor.window >> 8 & 0xF);
  // Without a branch: which messages need no M8 cannot be foreseen.
  const std::uint64_t m8 = has_m8 ? ~std::uint64_t{0} : 0;
  reading.master = static_cast<std::uint16_t>((id & m8) | (cursor.context.master & ~m8));
  reading.channel = static_cast<std::uint16_t>(cursor.context.channel & ~m8);
  reading.packets = m8 & 1;
  reading.at = cursor.at + (m8 & 3);
  reading.window = nibbles_from(cursor.data, reading.at);
  while (!kD32Bits.begins(reading.window)) {
    if (reading.at - cursor.at >= kMostSourceNibbles) return false;
    if (!read_source_packet(reading, cursor.data)) return false;
  }
  return true;
}

/// A D32 after an even number of them.
[[gnu::always_inline]] inline bool read_word(Reading& reading, const std::uint8_t* data,
                                             std::uint8_t* pairs) {
  if (!kD32Bits.begins(reading.window)) return false;
  const auto sent = static_cast<std::uint32_t>(reading.window >> (4 * kD32Bits.nibbles));
  store_pair(pairs + kPairBytes * reading.words, reverse_nibbles_32(sent));
  reading.at += kD32Nibbles;
  reading.window = nibbles_from(data, reading.at);
  ++reading.words;
  ++reading.packets;
  return true;
}

/// The packet that ends a message, if it is of this kind. A D32 adds its word.
template <StpKind kKind, bool kMarked, bool kTimed>
[[gnu::always_inline]] inline bool read_last(Reading& reading, const std::uint8_t* data,
                                             std::uint8_t* pairs) {
  constexpr StpOpcodeBits kOpcode = opcode_bits(kKind, kMarked, kTimed);
  if (!kOpcode.begins(reading.window)) return false;
  std::size_t end = reading.at + kOpcode.nibbles;
  if constexpr (kKind == StpKind::kD32) {
    const auto sent = static_cast<std::uint32_t>(reading.window >> (4 * kOpcode.nibbles));
    store_pair(pairs + kPairBytes * reading.words, reverse_nibbles_32(sent));
    ++reading.words;
    end += kWordNibbles;
  }
  if constexpr (kTimed) {
    const std::uint64_t window =
        kKind == StpKind::kD32 ? nibbles_from(data, end) : reading.window >> (4 * kOpcode.nibbles);
    if (!take_timestamp(window, reading.sent, reading.timestamp_nibbles)) return false;
    end += 1 + reading.timestamp_nibbles;
  }
  reading.timed = kTimed;
  reading.at = end;
  ++reading.packets;
  return true;
}

template <Framing kFraming>
[[gnu::always_inline]] inline bool read_last(Reading& reading, const std::uint8_t* data,
                                             std::uint8_t* pairs) {
  using enum StpKind;
  if constexpr (kFraming == Framing::kFlag) {
    return read_last<kFlag, false, true>(reading, data, pairs) ||
           read_last<kFlag, false, false>(reading, data, pairs);
  } else if constexpr (kFraming == Framing::kMarkerLast) {
    return read_last<kD32, true, true>(reading, data, pairs) ||
           read_last<kD32, true, false>(reading, data, pairs);
  } else {
    return read_last<kD32, false, true>(reading, data, pairs) ||
           read_last<kD32, true, true>(reading, data, pairs);
  }
}

/// False, with nothing changed, when no whole message begins at the cursor.
template <Framing kFraming>
[[gnu::always_inline]] inline bool take_one(StpCursor& cursor, WholeMessages::Assembly& assembly) {
  Reading reading;
  if (!read_source(reading, cursor)) return false;
  if (!assembly.sources.is_idle(source_key(reading.master, reading.channel))) return false;
  const std::size_t first = reading.at;
  std::uint8_t* const pairs = assembly.finished.room();
  const WordRun run = take_word_pairs(cursor.data, first, kMostWords,
                                      [pairs](std::size_t index, std::uint64_t words) {
                                        store_two(pairs + kPairBytes * index, words);
                                      });
  reading.at += run.words * kD32Nibbles;
  reading.window = run.window;
  reading.words = run.words;
  reading.packets += run.words;
  if (!read_last<kFraming>(reading, cursor.data, pairs)) {
    if (!read_word(reading, cursor.data, pairs)) return false;
    if (!read_last<kFraming>(reading, cursor.data, pairs)) return false;
  }
  if (!cursor.advance(reading.at, reading.packets)) return false;

  StpContext& context = cursor.context;
  context.master = reading.master;
  context.channel = reading.channel;
  if (reading.timed) {
    advance_natural(context, reading.sent, reading.timestamp_nibbles);
    assembly.time_known = true;
  }
  assembly.words += reading.words;
  const std::uint64_t offset = (cursor.origin + first) / 2;
  StreamOffsets* const offsets = assembly.offsets;
  assembly.finished.add({.master = reading.master,
                         .has_timestamp = assembly.time_known,
                         .words = reading.words,
                         .offset = offsets != nullptr ? offsets->input_offset(offset) : offset,
                         .timestamp = context.timestamp});
  return true;
}

template <Framing kFraming>
StpCursor take_all(StpCursor cursor, WholeMessages::Assembly& assembly) {
  WholeMessages::Assembly local = assembly;
  while (cursor.at + kReach <= cursor.data_end && take_one<kFraming>(cursor, local)) {
  }
  assembly.time_known = local.time_known;
  assembly.words = local.words;
  return cursor;
}

}  // namespace

StpCursor WholeMessages::take(Framing framing, StpCursor cursor, Assembly& assembly) {
  switch (framing) {
    case Framing::kFlag:
      return take_all<Framing::kFlag>(cursor, assembly);
    case Framing::kMarkerLast:
      return take_all<Framing::kMarkerLast>(cursor, assembly);
    case Framing::kTimestampLast:
      return take_all<Framing::kTimestampLast>(cursor, assembly);
    case Framing::kMarkerFirst:
      break;
  }
  return cursor;
}

}  // namespace qbt2
