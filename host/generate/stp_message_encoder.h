#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/capture/framing.h"
#include "host/generate/traffic_model.h"
#include "host/stp/stp_writer.h"

/// Writes tracer messages as STP packets, as a trace source does: selects the master, ends each
/// message as the framing says, and repeats ASYNC, VERSION, FREQ and a full timestamp at the
/// configured interval, inside a message too when they are due there. One thread.
namespace qbt2 {

enum class TimestampUse : std::uint8_t {
  kEvery,  ///< each message carries its time
  kSome,   ///< one message in kMessagesPerTimestamp
  kNone,
};
inline constexpr std::uint64_t kMessagesPerTimestamp = 8;

struct StpEncoding {
  Framing framing = Framing::kFlag;
  TimestampUse timestamps = TimestampUse::kEvery;
  StpTimestampCoding coding = StpTimestampCoding::kNatural;
  std::uint64_t frequency_hz = 0;     ///< sent in FREQ packets; 0: none
  std::uint64_t async_every = 4'096;  ///< STP bytes; 0: at the beginning only
};

class StpMessageEncoder {
 public:
  /// Throws Error(kUsage) for the framing timestamp-last without a timestamp in every message.
  explicit StpMessageEncoder(const StpEncoding& encoding);

  struct Place {
    std::uint64_t offset = 0;                ///< STP byte of the first data packet
    std::optional<std::uint64_t> timestamp;  ///< newest in the stream when the message ended
  };
  Place append(const TrafficMessage& message);
  /// Ends the stream on a byte boundary.
  void finish() { writer_.pad_to_byte(); }

  /// STP bytes written so far, rounded up.
  std::uint64_t bytes() const { return (writer_.position() + 1) / 2; }
  std::uint64_t bytes_waiting() const { return writer_.bytes().size(); }
  /// The complete bytes written since the last call.
  std::vector<std::uint8_t> take() { return writer_.take(); }

 private:
  using Timestamp = StpWriter::Timestamp;

  void synchronise(std::uint64_t now);
  void write_full_timestamp(std::uint64_t now);
  void write_word(const TrafficMessage& message, std::size_t index, Timestamp timestamp);
  Timestamp timestamp_of(const TrafficMessage& message);

  StpEncoding encoding_;
  StpWriter writer_;
  std::uint64_t next_async_ = 0;  ///< STP byte
  std::uint64_t messages_ = 0;
  std::optional<std::uint16_t> master_;  ///< the stream's current one
  Timestamp newest_;
};

}  // namespace qbt2
