#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "host/stp/stp_opcodes.h"
#include "host/stp/stp_packet.h"

/// Reads a STP version 2 stream: bytes in, packets out, in chunks of any size, with constant memory
/// and no allocation. What the reader knows of the protocol, how it finds back into a damaged
/// stream and what it counts is told in docs/formats/stp.md.
///
/// A reader belongs to one stream and is used by one thread at a time.
///
/// The sink is any class with these members; they are called in stream order:
///
///   void on_packet(const StpPacket& packet);
///       each trusted packet, ASYNC and NULL included
///   void on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason);
///       damage: the packet that begins in this byte of the STP stream cannot be read; nothing up
///       to the next ASYNC is trusted. Messages under way are incomplete.
///   void on_skipped(const StpSkippedRange& range);
///       what was not trusted, told once its end is known: before the ASYNC that ends it, or by
///       finish(). Also for what is no damage (see docs/formats/stp.md).
///
/// `push` is a template over the sink so that on_packet is inlined into the loop over the packets.
namespace qbt2 {

template <typename Sink>
concept StpSink = requires(Sink& sink, const StpPacket& packet, const StpSkippedRange& range) {
  sink.on_packet(packet);
  sink.on_sync_lost(std::uint64_t{}, StpSyncLoss{});
  sink.on_skipped(range);
};

/// How time stamps are sent, as the newest VERSION packet declares; natural before the first one.
enum class StpTimestampCoding : std::uint8_t { kNatural, kGray, kDelta };

struct StpCounters {
  std::uint64_t packets = 0;          ///< every trusted packet, ASYNC and NULL included
  std::uint64_t sync_losses = 0;      ///< calls of on_sync_lost
  std::uint64_t nibbles_skipped = 0;  ///< sum over on_skipped
  std::uint64_t merr_packets = 0;
  std::uint64_t gerr_packets = 0;
  std::uint64_t freq_packets = 0;  ///< FREQ and FREQ_40

  /// Half a byte counts as a whole one, once for the whole stream.
  constexpr std::uint64_t bytes_skipped() const { return (nibbles_skipped + 1) / 2; }
};

namespace detail {

/// What the packets of a stream carry over from one to the next.
struct StpContext {
  std::uint64_t timestamp = 0;
  std::uint64_t raw_timestamp = 0;  ///< as sent: Gray coded under VERSION 4
  std::uint16_t master = 0;
  std::uint16_t channel = 0;
  StpTimestampCoding coding = StpTimestampCoding::kNatural;
};

/// One packet taken apart, without its effect.
struct StpParse {
  enum Outcome : std::uint8_t {
    kPacket,
    kOpen,      ///< the bytes end before the packet is complete and safe from an ASYNC
    kAsyncRun,  ///< F F: no packet, perhaps the start of an ASYNC
    kBad,       ///< see `reason`
  };

  Outcome outcome = kOpen;
  StpSyncLoss reason = StpSyncLoss::kReservedOpcode;
  StpOpcode opcode;
  std::uint8_t value_nibbles = 0;
  std::uint8_t timestamp_nibbles = 0;
  std::uint64_t value = 0;
  std::uint64_t timestamp = 0;  ///< the nibbles sent
  std::size_t end = 0;          ///< the first nibble behind the packet
};

inline constexpr std::size_t kNotFound = ~std::size_t{0};

constexpr std::uint8_t nibble_at(std::span<const std::uint8_t> data, std::size_t at) {
  return static_cast<std::uint8_t>((data[at / 2] >> (at % 2 * 4)) & 0xF);
}

/// The packet that begins at nibble `at`. `is_end`: no bytes follow `data`.
StpParse parse_packet(std::span<const std::uint8_t> data, std::size_t at, bool is_end);

/// The nibble behind the first ASYNC that ends in data[at...], else kNotFound. `f_run` counts the F
/// nibbles before `at` and is carried on.
std::size_t find_async_end(std::span<const std::uint8_t> data, std::size_t at,
                           std::uint64_t& f_run);

/// The first nibble from `at` on that is not F, or the end; adds the F nibbles to `f_run`.
std::size_t skip_f_run(std::span<const std::uint8_t> data, std::size_t at, std::uint64_t& f_run);

/// 15 nibbles from `at` on (16 at the start of a byte), the first one lowest. Reads 8 bytes.
inline std::uint64_t nibbles_from(const std::uint8_t* data, std::size_t at) {
  std::uint64_t word = 0;
  std::memcpy(&word, data + at / 2, sizeof word);
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
  return word >> (at % 2 * 4);
}

/// Turns the order of all 16 nibbles round, so that the first one becomes the most significant.
constexpr std::uint64_t reverse_nibbles(std::uint64_t word) {
  constexpr std::uint64_t kLowNibbles = 0x0F0F0F0F0F0F0F0F;
  word = __builtin_bswap64(word);
  return (word & kLowNibbles) << 4 | (word >> 4 & kLowNibbles);
}

constexpr std::uint32_t reverse_nibbles_32(std::uint32_t word) {
  constexpr std::uint32_t kLowNibbles = 0x0F0F0F0F;
  word = __builtin_bswap32(word);
  return (word & kLowNibbles) << 4 | (word >> 4 & kLowNibbles);
}

/// The packets that make up the bulk of a stream each have a piece of code of their own in the fast
/// loop. Named by opcode: level (1: behind an F) and nibble.
enum class FastPath : std::uint8_t {
  kNone,   // the careful way
  kSmall,  // by the table: up to 4 payload nibbles
  kNull,
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
    case StpKind::kD4:
    case StpKind::kD8:
    case StpKind::kD16:
      return kSmall;
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

constexpr std::uint64_t from_gray(std::uint64_t gray) {
  for (unsigned shift = 1; shift < 64; shift *= 2) gray ^= gray >> shift;
  return gray;
}
constexpr std::uint64_t to_gray(std::uint64_t value) {
  return value ^ (value >> 1);
}

/// Takes in a time stamp of which the low `nibbles` nibbles were sent.
constexpr void advance_timestamp(StpContext& context, std::uint64_t sent, unsigned nibbles) {
  if (context.coding == StpTimestampCoding::kDelta) {
    context.timestamp += sent;
    return;
  }
  const std::uint64_t kept = nibbles < 16 ? ~std::uint64_t{0} << (4 * nibbles) : 0;
  context.raw_timestamp = (context.raw_timestamp & kept) | sent;
  context.timestamp = context.coding == StpTimestampCoding::kGray ? from_gray(context.raw_timestamp)
                                                                  : context.raw_timestamp;
}

}  // namespace detail

class StpReader {
 public:
  /// Reads the next bytes of the stream. Calls the sink for every packet that is certain by now; a
  /// packet that the bytes leave open (cut, or perhaps to be cut by an ASYNC) waits for the next
  /// call. The bytes are not needed after the call.
  template <StpSink Sink>
  void push(std::span<const std::uint8_t> bytes, Sink& sink);
  template <StpSink Sink>
  void push(std::span<const std::byte> bytes, Sink& sink) {
    push(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), sink);
  }

  /// The stream has ended: delivers what waited and reports a cut packet as skipped. True when the
  /// stream ended in sync and on a packet boundary. Afterwards only the accessors and reset() may
  /// be called.
  template <StpSink Sink>
  [[nodiscard]] bool finish(Sink& sink);

  /// As newly made.
  void reset() { *this = StpReader(); }

  const StpCounters& counters() const { return counters_; }
  std::uint64_t newest_timestamp() const { return context_.timestamp; }
  /// Of the newest FREQ packet; 0 before any.
  std::uint64_t frequency_hz() const { return frequency_hz_; }
  StpTimestampCoding timestamp_coding() const { return context_.coding; }
  /// Bytes pushed so far.
  std::uint64_t stream_bytes() const { return stream_bytes_; }

 private:
  enum class Phase : std::uint8_t {
    kSearching,  // nothing is trusted up to the next ASYNC
    kAsyncRun,   // in sync, within a run of F that began where a packet should
    kInSync,
  };

  // The bytes of a packet that the last push left open. The longest packet, USER_TS, has 37 nibbles
  // and needs the 21 behind it to be safe from an ASYNC, which makes 30 bytes; behind them stands
  // the head of the next push.
  static constexpr std::size_t kMostOpenBytes = 30;
  static constexpr std::size_t kJoinBytes = 2 * kMostOpenBytes + 4;

  // Reads on from nibble `at` of `data`, whose first nibble is number origin_ of the stream, until
  // a packet ends at or behind nibble `stop` or stays open. Returns where it came to.
  template <StpSink Sink>
  std::size_t consume(std::span<const std::uint8_t> data, std::size_t at, std::size_t stop,
                      bool is_end, Sink& sink);
  // The same for the bulk of the packets; stops in front of the first one that needs a closer look.
  template <StpSink Sink>
  std::size_t consume_fast(std::span<const std::uint8_t> data, std::size_t at, std::size_t stop,
                           Sink& sink);
  template <StpSink Sink>
  std::size_t search(std::span<const std::uint8_t> data, std::size_t at, Sink& sink);
  template <StpSink Sink>
  void accept_async(std::uint64_t first_nibble, Sink& sink);
  template <StpSink Sink>
  void lose_sync(std::uint64_t nibble, StpSyncLoss reason, Sink& sink);
  template <StpSink Sink>
  void skip(std::uint64_t first_nibble, std::uint64_t end_nibble, Sink& sink);

  // The effect of a packet that is not ASYNC on what the reader keeps, and the packet for the sink.
  StpPacket settle(const detail::StpParse& parse, std::uint64_t nibble_offset);
  void apply_effect(const StpOpcode& opcode, std::uint64_t value, std::uint64_t nibble_offset);
  void apply_version(std::uint64_t version, std::uint64_t nibble_offset);
  void keep_open(std::span<const std::uint8_t> data, std::size_t at);

  detail::StpContext context_;
  StpCounters counters_;
  std::uint64_t frequency_hz_ = 0;
  std::uint64_t stream_bytes_ = 0;
  std::uint64_t origin_ = 0;
  std::uint64_t gap_begin_ = 0;  // not kInSync: the first nibble that no packet has claimed
  std::uint64_t f_run_ = 0;      // not kInSync: F nibbles just before the next one
  // The nibble after the last ASYNC and the NULLs behind it: a VERSION here resets the source.
  std::uint64_t after_async_ = ~std::uint64_t{0};
  Phase phase_ = Phase::kSearching;
  std::uint8_t open_size_ = 0;
  std::uint8_t open_at_ = 0;  // the open packet begins in this nibble of the first byte
  std::array<std::uint8_t, kJoinBytes> open_{};
};

template <StpSink Sink>
void StpReader::push(std::span<const std::uint8_t> bytes, Sink& sink) {
  const std::uint64_t first_byte = stream_bytes_;
  stream_bytes_ += bytes.size();
  std::size_t at = 0;
  if (open_size_ > 0) {
    const std::size_t taken = std::min(open_.size() - open_size_, bytes.size());
    std::copy_n(bytes.data(), taken, open_.data() + open_size_);
    const std::span joined(open_.data(), open_size_ + taken);
    const std::size_t own_nibbles = std::size_t{open_size_} * 2;
    origin_ = (first_byte - open_size_) * 2;
    at = consume(joined, open_at_, own_nibbles, false, sink);
    if (at < own_nibbles) return keep_open(joined, at);
    at -= own_nibbles;
    open_size_ = 0;
  }
  origin_ = first_byte * 2;
  at = consume(bytes, at, bytes.size() * 2, false, sink);
  keep_open(bytes, at);
}

template <StpSink Sink>
bool StpReader::finish(Sink& sink) {
  const std::span open(open_.data(), open_size_);
  const std::uint64_t end = stream_bytes_ * 2;
  origin_ = end - open.size() * 2;
  const std::size_t at = consume(open, open_at_, open.size() * 2, true, sink);
  if (phase_ == Phase::kInSync) gap_begin_ = origin_ + at;
  const bool on_boundary = phase_ == Phase::kInSync && gap_begin_ == end;
  skip(gap_begin_, end, sink);
  return on_boundary;
}

template <StpSink Sink>
std::size_t StpReader::consume(std::span<const std::uint8_t> data, std::size_t at, std::size_t stop,
                               bool is_end, Sink& sink) {
  while (at < stop) {
    if (phase_ != Phase::kInSync) {
      at = search(data, at, sink);
      continue;
    }
    at = consume_fast(data, at, stop, sink);
    if (at >= stop) break;
    const detail::StpParse parse = detail::parse_packet(data, at, is_end);
    switch (parse.outcome) {
      case detail::StpParse::kPacket:
        sink.on_packet(settle(parse, origin_ + at));
        at = parse.end;
        break;
      case detail::StpParse::kOpen:
        return at;
      case detail::StpParse::kAsyncRun:
        phase_ = Phase::kAsyncRun;
        gap_begin_ = origin_ + at;
        f_run_ = 0;
        break;
      case detail::StpParse::kBad:
        lose_sync(origin_ + at, parse.reason, sink);
        break;
    }
  }
  return at;
}

namespace detail {

/// The fast loop's state, held in registers: what a packet changes, and where it stands.
struct FastState {
  const std::uint8_t* data;
  std::size_t at;
  std::uint64_t window;  // the nibbles from `at` on
  StpContext context;
  std::uint64_t origin;
  std::uint64_t packets;
  std::uint64_t after_async;
};

inline constexpr std::uint64_t kLargestFastTimestamp = 12;

/// Whether the packet that ends before nibble `end` needs the careful way: if F F follows, that may
/// be an ASYNC which began within the packet.
inline bool advance(FastState& state, std::size_t end) {
  const std::uint64_t next = nibbles_from(state.data, end);
  if ((next & 0xFF) == 0xFF) return false;
  state.at = end;
  state.window = next;
  ++state.packets;
  return true;
}

/// Takes the time stamp whose size nibble stands at `end`, and moves `end` behind it; false where
/// it is longer than a fast one.
inline bool take_timestamp(const FastState& state, std::size_t& end, std::uint64_t& sent,
                           unsigned& nibbles) {
  nibbles = (state.data[end / 2] >> (end % 2 * 4)) & 0xFU;
  if (nibbles > kLargestFastTimestamp) return false;
  sent = reverse_nibbles(nibbles_from(state.data, end + 1)) >> 4 >> (60 - 4 * nibbles);
  end += 1 + nibbles;
  return true;
}

/// Reads the packet at state.at, whose opcode is kStpOpcodes[Level][Nibble]; false and nothing
/// changed where it needs the careful way.
template <std::size_t Level, std::size_t Nibble, typename Sink>
[[gnu::always_inline]] inline bool read_known(FastState& state, Sink& sink) {
  constexpr const StpOpcode& kOpcode = kStpOpcodes[Level][Nibble];
  constexpr std::size_t kOpcodeNibbles = Level + 1;
  constexpr std::size_t kHead = kOpcodeNibbles + kOpcode.payload_nibbles;
  const std::size_t at = state.at;
  const std::uint64_t window = state.window;
  std::size_t end = at + kHead;
  std::uint64_t sent = 0;
  unsigned timestamp_nibbles = 0;
  if constexpr (kOpcode.timestamped) {
    if (!take_timestamp(state, end, sent, timestamp_nibbles)) return false;
  }
  if (!advance(state, end)) return false;
  StpPacket packet;
  if constexpr (kOpcode.timestamped) advance_timestamp(state.context, sent, timestamp_nibbles);
  if constexpr (kOpcode.kind == StpKind::kNull) {
    if (state.origin + at == state.after_async) ++state.after_async;
  }
  if constexpr (kOpcode.payload_nibbles == 8) {
    packet.value = reverse_nibbles_32(static_cast<std::uint32_t>(window >> (4 * kOpcodeNibbles)));
  } else if constexpr (kOpcode.payload_nibbles == 16) {
    const std::uint64_t first = nibbles_from(state.data, at + kOpcodeNibbles) & 0xFFFFFFFF;
    const std::uint64_t second = nibbles_from(state.data, at + kOpcodeNibbles + 8);
    packet.value = reverse_nibbles(first | second << 32);
  }
  packet.nibble_offset = state.origin + at;
  packet.timestamp = state.context.timestamp;
  packet.master = state.context.master;
  packet.channel = state.context.channel;
  packet.kind = kOpcode.kind;
  packet.value_nibbles = kOpcode.payload_nibbles;
  packet.marked = kOpcode.marked;
  packet.has_timestamp = kOpcode.timestamped;
  sink.on_packet(packet);
  return true;
}

/// The same for FastPath::kSmall.
template <typename Sink>
inline bool read_small(FastState& state, Sink& sink) {
  const std::uint64_t first = state.window & 0xF;
  const bool prefixed = first == 0xF;
  const StpOpcode& opcode =
      prefixed ? kStpOpcodes[1][state.window >> 4 & 0xF] : kStpOpcodes[0][first];
  const std::size_t head = prefixed ? 2U : 1U;
  const unsigned payload = opcode.payload_nibbles;
  StpPacket packet;
  packet.nibble_offset = state.origin + state.at;
  packet.value = reverse_nibbles(state.window >> (4 * head)) >> (64 - 4 * payload);
  std::size_t end = state.at + head + payload;
  std::uint64_t sent = 0;
  unsigned timestamp_nibbles = 0;
  if (opcode.timestamped && !take_timestamp(state, end, sent, timestamp_nibbles)) return false;
  if (!advance(state, end)) return false;
  StpContext& context = state.context;
  if (opcode.timestamped) advance_timestamp(context, sent, timestamp_nibbles);
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
  packet.marked = opcode.marked;
  packet.has_timestamp = opcode.timestamped;
  sink.on_packet(packet);
  return true;
}

template <typename Sink>
[[gnu::always_inline]] inline bool read_fast(FastState& state, Sink& sink) {
  switch (kFastPaths[state.window & 0xFF]) {
    case FastPath::kD32:
      return read_known<0, 0x6>(state, sink);
    case FastPath::kD32Ts:
      return read_known<1, 0x6>(state, sink);
    case FastPath::kD32M:
      return read_known<1, 0xA>(state, sink);
    case FastPath::kD32Mts:
      return read_known<0, 0xA>(state, sink);
    case FastPath::kD64:
      return read_known<0, 0x7>(state, sink);
    case FastPath::kD64Ts:
      return read_known<1, 0x7>(state, sink);
    case FastPath::kD64M:
      return read_known<1, 0xB>(state, sink);
    case FastPath::kD64Mts:
      return read_known<0, 0xB>(state, sink);
    case FastPath::kFlag:
      return read_known<1, 0xE>(state, sink);
    case FastPath::kFlagTs:
      return read_known<0, 0xE>(state, sink);
    case FastPath::kNull:
      return read_known<0, 0x0>(state, sink);
    case FastPath::kSmall:
      return read_small(state, sink);
    case FastPath::kNone:
      break;
  }
  return false;
}

}  // namespace detail

template <StpSink Sink>
std::size_t StpReader::consume_fast(std::span<const std::uint8_t> data, std::size_t at,
                                    std::size_t stop, Sink& sink) {
  // The longest packet read here has 31 nibbles, and 8 bytes are looked at from its end on.
  constexpr std::size_t kReach = 24;
  if (data.size() < kReach + 1) return at;
  const std::size_t limit = std::min(stop, (data.size() - kReach) * 2);
  if (at >= limit) return at;
  detail::FastState state{data.data(), at,      detail::nibbles_from(data.data(), at),
                          context_,    origin_, counters_.packets,
                          after_async_};
  while (state.at < limit && detail::read_fast(state, sink)) {
  }
  context_ = state.context;
  counters_.packets = state.packets;
  after_async_ = state.after_async;
  return state.at;
}

template <StpSink Sink>
std::size_t StpReader::search(std::span<const std::uint8_t> data, std::size_t at, Sink& sink) {
  const std::size_t end = data.size() * 2;
  if (phase_ == Phase::kSearching) {
    at = detail::find_async_end(data, at, f_run_);
    if (at != detail::kNotFound) accept_async(origin_ + at - kAsyncNibbles, sink);
    return at == detail::kNotFound ? end : at;
  }
  at = detail::skip_f_run(data, at, f_run_);
  if (at == end) return end;
  if (f_run_ >= kAsyncRun && detail::nibble_at(data, at) == 0) {
    accept_async(origin_ + at - kAsyncRun, sink);
    return at + 1;
  }
  lose_sync(gap_begin_, StpSyncLoss::kReservedOpcode, sink);
  return at;
}

template <StpSink Sink>
void StpReader::accept_async(std::uint64_t first_nibble, Sink& sink) {
  skip(gap_begin_, first_nibble, sink);
  phase_ = Phase::kInSync;
  after_async_ = first_nibble + kAsyncNibbles;
  ++counters_.packets;
  StpPacket packet;
  packet.nibble_offset = first_nibble;
  packet.timestamp = context_.timestamp;
  packet.master = context_.master;
  packet.channel = context_.channel;
  packet.kind = StpKind::kAsync;
  sink.on_packet(packet);
}

template <StpSink Sink>
void StpReader::lose_sync(std::uint64_t nibble, StpSyncLoss reason, Sink& sink) {
  phase_ = Phase::kSearching;
  gap_begin_ = nibble;
  f_run_ = 0;
  ++counters_.sync_losses;
  sink.on_sync_lost(nibble / 2, reason);
}

template <StpSink Sink>
void StpReader::skip(std::uint64_t first_nibble, std::uint64_t end_nibble, Sink& sink) {
  if (first_nibble == end_nibble) return;
  counters_.nibbles_skipped += end_nibble - first_nibble;
  sink.on_skipped(StpSkippedRange{first_nibble, end_nibble - first_nibble});
}

}  // namespace qbt2
