#include "host/generate/stp_message_encoder.h"

#include "host/base/error.h"

namespace qbt2 {

StpMessageEncoder::StpMessageEncoder(const StpEncoding& encoding) : encoding_(encoding) {
  if (encoding.framing == Framing::kTimestampLast && encoding.timestamps != TimestampUse::kEvery) {
    throw Error(ErrorCode::kUsage, "the framing timestamp-last needs a timestamp in every message");
  }
}

StpMessageEncoder::Place StpMessageEncoder::append(const TrafficMessage& message) {
  const Timestamp timestamp = timestamp_of(message);
  const std::size_t last = message.words.count - 1U;
  const std::size_t timed = encoding_.framing == Framing::kMarkerFirst ? 0 : last;
  Place place;
  for (std::size_t i = 0; i <= last; ++i) {
    if (writer_.position() / 2 >= next_async_) synchronise(message.ticks);
    if (master_ != message.master) {
      writer_.master(message.master);
      master_ = message.master;
    }
    if (i == 0) place.offset = writer_.position() / 2;
    const bool on_word = i == timed && encoding_.framing != Framing::kFlag;
    write_word(message, i, on_word ? timestamp : std::nullopt);
  }
  if (encoding_.framing == Framing::kFlag) writer_.flag(timestamp);
  if (timestamp) newest_ = timestamp;
  place.timestamp = newest_;
  return place;
}

StpMessageEncoder::Timestamp StpMessageEncoder::timestamp_of(const TrafficMessage& message) {
  const bool due = encoding_.timestamps == TimestampUse::kEvery ||
                   (encoding_.timestamps == TimestampUse::kSome &&
                    messages_ % kMessagesPerTimestamp == kMessagesPerTimestamp - 1);
  ++messages_;
  return due ? Timestamp(message.ticks) : std::nullopt;
}

void StpMessageEncoder::write_word(const TrafficMessage& message, std::size_t index,
                                   Timestamp timestamp) {
  const bool first = index == 0;
  const bool last = index + 1U == message.words.count;
  StpDataOptions options;
  options.marked = (encoding_.framing == Framing::kMarkerFirst && first) ||
                   (encoding_.framing == Framing::kMarkerLast && last);
  options.timestamp = timestamp;
  writer_.data(StpKind::kD32, message.words.words[index], options);
}

void StpMessageEncoder::synchronise(std::uint64_t now) {
  next_async_ =
      encoding_.async_every == 0 ? UINT64_MAX : writer_.position() / 2 + encoding_.async_every;
  writer_.async();
  writer_.version(encoding_.coding);  // sets master 0 in the reader
  master_.reset();
  if (encoding_.frequency_hz > UINT32_MAX) {
    writer_.freq_40(encoding_.frequency_hz);
  } else if (encoding_.frequency_hz != 0) {
    writer_.freq(static_cast<std::uint32_t>(encoding_.frequency_hz));
  }
  if (encoding_.timestamps != TimestampUse::kNone) write_full_timestamp(now);
}

/// A reader that starts here, or resynchronises here after damage, knows no earlier timestamp, so
/// all nibbles are sent. The writer's own compression is not affected: time never goes back, so the
/// nibbles unchanged since its last timestamp are unchanged since this one too.
void StpMessageEncoder::write_full_timestamp(std::uint64_t now) {
  newest_ = now;
  if (encoding_.coding == StpTimestampCoding::kDelta) {
    writer_.null(now);
    return;
  }
  const bool gray = encoding_.coding == StpTimestampCoding::kGray;
  writer_.nibbles(0xF01, 3);  // NULL_TS
  writer_.nibbles(14, 1);     // 16 nibbles
  writer_.nibbles(gray ? now ^ now >> 1 : now, 16);
}

}  // namespace qbt2
