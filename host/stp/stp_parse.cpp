#include "host/stp/stp_parse.h"

#include "host/stp/stp_nibbles.h"

namespace qbt2::detail {
namespace {

class NibbleCursor {
 public:
  NibbleCursor(std::span<const std::uint8_t> data, std::size_t at) : data_(data), at_(at) {}

  std::size_t at() const { return at_; }
  /// The next `count` (up to 16) nibbles, most significant first; false when the data ends before.
  bool take(std::size_t count, std::uint64_t& value) {
    if (data_.size() * 2 - at_ < count) return false;
    value = 0;
    for (; count > 0; --count) value = value << 4 | nibble_at(data_, at_++);
    return true;
  }

 private:
  std::span<const std::uint8_t> data_;
  std::size_t at_;
};

/// Whether an ASYNC begins at or before the F nibble `at` of a packet and ends after it.
enum class Overlap : std::uint8_t { kNone, kAsync, kUnknown };

/// A legal sequence of packets has at most 18 F in a row (16 or 17 of a payload and the F that
/// begins the next opcode), so 21 and a 0 are always an ASYNC. Not called for a packet that begins
/// with F F, so the run begins within the packet.
Overlap find_overlap(std::span<const std::uint8_t> data, std::size_t packet, std::size_t at) {
  const std::size_t end = data.size() * 2;
  std::size_t run_begin = at;
  while (run_begin > packet && nibble_at(data, run_begin - 1) == kNibbleF) --run_begin;
  std::size_t run_end = at + 1;
  while (run_end < end && run_end <= at + kAsyncRun && nibble_at(data, run_end) == kNibbleF) {
    ++run_end;
  }
  if (run_end > at + kAsyncRun) return Overlap::kNone;
  if (run_end == end) return Overlap::kUnknown;
  const bool is_async = run_end - run_begin >= kAsyncRun && nibble_at(data, run_end) == 0;
  return is_async ? Overlap::kAsync : Overlap::kNone;
}

StpParse bad(StpSyncLoss reason, std::size_t end) {
  StpParse parse;
  parse.outcome = StpParse::kBad;
  parse.reason = reason;
  parse.end = end;
  return parse;
}

StpSyncLoss version_fault(std::uint64_t coding) {
  return coding <= 1 ? StpSyncLoss::kStpVersion1 : StpSyncLoss::kReservedVersion;
}

bool is_known_version(std::uint64_t coding) {
  return coding == kVersionDelta || coding == kVersionNatural || coding == kVersionGray;
}

/// The packet by its own nibbles, as if no ASYNC could cut it.
StpParse parse_nibbles(std::span<const std::uint8_t> data, std::size_t at) {
  StpParse parse;
  NibbleCursor cursor(data, at);
  std::uint64_t nibble = 0;
  for (const auto& level : kStpOpcodes) {
    if (!cursor.take(1, nibble)) return parse;
    parse.opcode = level[nibble];
    if (parse.opcode.form != StpForm::kPrefix) break;
  }
  std::size_t payload = parse.opcode.payload_nibbles;
  switch (parse.opcode.form) {
    case StpForm::kPrefix:
    case StpForm::kReserved:
      return bad(StpSyncLoss::kReservedOpcode, cursor.at());
    case StpForm::kUnsettled:
      return bad(StpSyncLoss::kUnsettledPacket, cursor.at());
    case StpForm::kUserLength:
      if (!cursor.take(1, nibble)) return parse;
      payload = nibble + 1;
      break;
    case StpForm::kVersion: {
      NibbleCursor ahead = cursor;
      if (!ahead.take(1, nibble)) return parse;
      const std::uint64_t coding = nibble & kVersionCodingMask;
      if (!is_known_version(coding)) return bad(version_fault(coding), ahead.at());
      if ((nibble & kVersionContinues) != 0) payload += 2;
      break;
    }
    case StpForm::kPacket:
      break;
  }
  if (!cursor.take(payload, parse.value)) return parse;
  parse.value_nibbles = static_cast<std::uint8_t>(payload);
  if (parse.opcode.timestamped) {
    if (!cursor.take(1, nibble)) return parse;
    if (nibble == kReservedTimestampSize) {
      return bad(StpSyncLoss::kReservedTimestampSize, cursor.at());
    }
    parse.timestamp_nibbles = kTimestampNibbles[nibble];
    if (!cursor.take(parse.timestamp_nibbles, parse.timestamp)) return parse;
  }
  parse.outcome = StpParse::kPacket;
  parse.end = cursor.at();
  return parse;
}

}  // namespace

StpParse parse_packet(std::span<const std::uint8_t> data, std::size_t at, bool is_end) {
  StpParse parse = parse_nibbles(data, at);
  if (parse.outcome == StpParse::kOpen || nibble_at(data, parse.end - 1) != kNibbleF) return parse;
  if (nibble_at(data, at) == kNibbleF && parse.end == at + 2) {
    // The second nibble is F: only F F ends so early with an F.
    parse.outcome = StpParse::kAsyncRun;
    return parse;
  }
  switch (find_overlap(data, at, parse.end - 1)) {
    case Overlap::kNone:
      return parse;
    case Overlap::kAsync:
      return bad(StpSyncLoss::kCutByAsync, parse.end);
    case Overlap::kUnknown:
      if (!is_end) parse.outcome = StpParse::kOpen;
      return parse;
  }
  return parse;
}

}  // namespace qbt2::detail
