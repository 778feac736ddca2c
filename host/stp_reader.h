#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

#include "host/stp_packet.h"

/// Reads a STP version 2 stream: bytes in, packets out, in chunks of any size, with constant memory
/// and no allocation. What the reader knows of the protocol, how it finds back into a damaged
/// stream and what it counts is told in docs/stp.md.
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
///       finish(). Also for what is no damage (see docs/stp.md).
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
  StpTimestampCoding timestamp_coding() const { return coding_; }
  /// Bytes pushed so far.
  std::uint64_t stream_bytes() const { return stream_bytes_; }

 private:
  /// What the packets of a stream carry over from one to the next.
  struct Context {
    std::uint64_t timestamp = 0;
    std::uint64_t raw_timestamp = 0;  ///< as sent: Gray coded under VERSION 4
    /// The nibble after the last ASYNC and the NULLs that follow it: a VERSION here resets the
    /// source.
    std::uint64_t after_async = ~std::uint64_t{0};
    std::uint16_t master = 0;
    std::uint16_t channel = 0;
  };

  Context context_;
  StpTimestampCoding coding_ = StpTimestampCoding::kNatural;
  StpCounters counters_;
  std::uint64_t frequency_hz_ = 0;
  std::uint64_t stream_bytes_ = 0;
};

}  // namespace qbt2
