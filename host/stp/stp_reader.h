#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

#include "host/stp/stp_async.h"
#include "host/stp/stp_cursor.h"
#include "host/stp/stp_fast_path.h"
#include "host/stp/stp_nibbles.h"
#include "host/stp/stp_packet.h"
#include "host/stp/stp_parse.h"
#include "host/stp/stp_timestamp.h"

/// Reads an STP version 2 stream: bytes in, packets out, in chunks of any size, with constant
/// memory and no allocation. docs/formats/stp.md describes the packets, how the reader
/// resynchronizes in a damaged stream, and what it counts.
///
/// A reader belongs to one stream and is used by one thread at a time. Bad input never throws; it
/// is reported to the sink.
///
/// The sink is any class with these members. They are called in stream order, inside push() and
/// finish(), and may throw only if the reader is not used afterwards:
///
///   void on_packet(const StpPacket& packet);
///       each trusted packet, ASYNC and NULL included
///   void on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason);
///       damage: the packet that begins in this byte of the STP stream cannot be read; nothing up
///       to the next ASYNC is trusted. Open messages are incomplete.
///   void on_skipped(const StpSkippedRange& range);
///       a range that was not trusted, once its end is known: before the ASYNC that ends it, or by
///       finish(). Not always damage: see the bytes before the first ASYNC.
///
/// A sink may also take several packets at once (StpMessageSink), as long as the result is what
/// on_packet would have made of each:
///
///   bool may_begin_message(const StpCursor& cursor) const;
///       whether to call take_messages at this packet; a cheap guess
///   StpCursor take_messages(StpCursor cursor);
///       reads any number of packets from the cursor on and returns it after them, with their
///       effect on context and packets; never before F F (StpCursor::advance)
///
/// push() is a template over the sink so that on_packet is inlined into the loop over the packets.
namespace qbt2 {

template <typename Sink>
concept StpSink = requires(Sink& sink, const StpPacket& packet, const StpSkippedRange& range) {
  sink.on_packet(packet);
  sink.on_sync_lost(std::uint64_t{}, StpSyncLoss{});
  sink.on_skipped(range);
};

template <typename Sink>
concept StpMessageSink = StpSink<Sink> && requires(Sink& sink, const StpCursor& cursor) {
  { sink.may_begin_message(cursor) } -> std::same_as<bool>;
  { sink.take_messages(cursor) } -> std::same_as<StpCursor>;
};

struct StpCounters {
  std::uint64_t packets = 0;          ///< every trusted packet, ASYNC and NULL included
  std::uint64_t sync_losses = 0;      ///< calls of on_sync_lost
  std::uint64_t nibbles_skipped = 0;  ///< sum over on_skipped

  /// Half a byte counts as a whole one, once for the whole stream.
  constexpr std::uint64_t bytes_skipped() const { return (nibbles_skipped + 1) / 2; }

  StpCounters& operator+=(const StpCounters& other);
  StpCounters& operator-=(const StpCounters& other);
  friend bool operator==(const StpCounters&, const StpCounters&) = default;
};

class StpReader {
 public:
  StpReader() = default;
  /// A reader of the same stream that begins after an ASYNC: whatever a reader has read before, an
  /// ASYNC puts it in sync, so this one gives the same packets from there on if a VERSION follows,
  /// which sets master, channel and coding. `nibble` of the stream is the first one after the
  /// ASYNC and `timestamp` the newest one before it. The next bytes to push are those after byte
  /// (nibble - 1) / 2, which is `shared`: it may hold the first nibble too.
  static StpReader after_async(std::uint64_t nibble, std::uint8_t shared, std::uint64_t timestamp);

  /// Reads the next bytes of the stream and calls the sink for every packet that they settle. A
  /// packet that is still open (cut, or perhaps about to be cut by an ASYNC) waits for the next
  /// call. The bytes are not needed after the call.
  template <StpSink Sink>
  void push(std::span<const std::uint8_t> bytes, Sink& sink);

  /// The stream has ended: delivers the waiting packet or, if it is cut, reports it as skipped.
  /// True when the stream ended in sync and on a packet boundary. Only the accessors may be called
  /// afterwards.
  template <StpSink Sink>
  [[nodiscard]] bool finish(Sink& sink);

  const StpCounters& counters() const { return counters_; }
  /// Rate of the timestamps, as the newest FREQ packet says; 0 before any.
  std::uint64_t frequency_hz() const { return frequency_hz_; }
  StpTimestampCoding timestamp_coding() const { return context_.coding; }
  /// The newest one.
  std::uint64_t timestamp() const { return context_.timestamp; }
  /// counters(), which count from 0 afterwards.
  StpCounters take_counters();
  /// Whether both give the same packets for the same bytes from here on. Their counters and
  /// frequency_hz() may differ.
  bool continues_like(const StpReader& other) const;

  /// Bytes pushed so far.
  std::uint64_t stream_bytes() const { return stream_bytes_; }

 private:
  enum class Phase : std::uint8_t {
    kSearching,  ///< nothing is trusted up to the next ASYNC
    kAsyncRun,   ///< in sync, within a run of F that began where a packet should
    kInSync,
  };

  /// Bytes of an open packet. The longest packet, USER_TS, has 37 nibbles and needs the 21 after it
  /// to be safe from an ASYNC, which makes 30 bytes; the head of the next push follows them.
  static constexpr std::size_t kMostOpenBytes = 30;
  static constexpr std::size_t kJoinBytes = 2 * kMostOpenBytes + 4;

  /// Reads from nibble `at` of `data`, whose first nibble is number origin_ of the stream, until a
  /// packet ends at or after nibble `stop` or stays open. Returns the position reached.
  template <StpSink Sink>
  std::size_t consume(std::span<const std::uint8_t> data, std::size_t at, std::size_t stop,
                      bool is_end, Sink& sink);
  /// The same by the fast path alone; stops before the first packet that it does not read.
  template <StpSink Sink>
  std::size_t consume_fast(std::span<const std::uint8_t> data, std::size_t at, std::size_t stop,
                           Sink& sink);
  template <StpSink Sink>
  static void offer_messages(StpCursor& cursor, Sink& sink);
  template <StpSink Sink>
  std::size_t search(std::span<const std::uint8_t> data, std::size_t at, Sink& sink);
  template <StpSink Sink>
  void accept_async(std::uint64_t first_nibble, Sink& sink);
  template <StpSink Sink>
  void lose_sync(std::uint64_t nibble, StpSyncLoss reason, Sink& sink);
  template <StpSink Sink>
  void skip(std::uint64_t first_nibble, std::uint64_t end_nibble, Sink& sink);

  /// Applies the effect of a packet other than ASYNC to the context; returns it for the sink.
  StpPacket settle(const detail::StpParse& parse, std::uint64_t nibble_offset);
  void apply_effect(const StpOpcode& opcode, std::uint64_t value, std::uint64_t nibble_offset);
  void apply_version(std::uint64_t version, std::uint64_t nibble_offset);
  void keep_open(std::span<const std::uint8_t> data, std::size_t at);

  detail::StpContext context_;
  StpCounters counters_;
  std::uint64_t frequency_hz_ = 0;
  std::uint64_t stream_bytes_ = 0;
  std::uint64_t origin_ = 0;
  std::uint64_t gap_begin_ = 0;  ///< not kInSync: the first nibble that belongs to no packet
  std::uint64_t f_run_ = 0;      ///< not kInSync: F nibbles just before the next one
  /// The nibble after the last ASYNC and its NULLs: a VERSION here resets master and channel.
  std::uint64_t after_async_ = ~std::uint64_t{0};
  Phase phase_ = Phase::kSearching;
  std::uint8_t open_size_ = 0;
  std::uint8_t open_at_ = 0;  ///< the open packet begins at this nibble of the first byte
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

template <StpSink Sink>
std::size_t StpReader::consume_fast(std::span<const std::uint8_t> data, std::size_t at,
                                    std::size_t stop, Sink& sink) {
  // The longest packet read here has 31 nibbles, and 8 bytes are read from its end on.
  constexpr std::size_t kReach = 24;
  if (data.size() < kReach + 1) return at;
  const std::size_t limit = std::min(stop, (data.size() - kReach) * 2);
  if (at >= limit) return at;
  StpCursor cursor{.data = data.data(),
                   .at = at,
                   .data_end = data.size() * 2,
                   .window = detail::nibbles_from(data.data(), at),
                   .context = context_,
                   .origin = origin_,
                   .packets = counters_.packets,
                   .after_async = after_async_};
  do {
    offer_messages(cursor, sink);
  } while (cursor.at < limit && detail::read_fast(cursor, sink) && cursor.at < limit);
  context_ = cursor.context;
  counters_.packets = cursor.packets;
  after_async_ = cursor.after_async;
  return cursor.at;
}

template <StpSink Sink>
void StpReader::offer_messages(StpCursor& cursor, Sink& sink) {
  if constexpr (StpMessageSink<Sink>) {
    // A copy goes there and back: the cursor itself stays in registers.
    if (sink.may_begin_message(cursor)) cursor = sink.take_messages(cursor);
  }
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
  const bool is_async = f_run_ >= kAsyncRun && detail::nibble_at(data, at) == 0;
  if (f_run_ > kLongestAsyncRun) {
    lose_sync(gap_begin_, StpSyncLoss::kRunOfOnes, sink);
  } else if (!is_async) {
    lose_sync(gap_begin_, StpSyncLoss::kReservedOpcode, sink);
  }
  if (!is_async) return at;
  accept_async(origin_ + at - kAsyncRun, sink);
  return at + 1;
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
