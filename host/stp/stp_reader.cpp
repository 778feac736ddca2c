#include "host/stp/stp_reader.h"

#include <cassert>
#include <cstring>

namespace qbt2 {

std::string_view to_string(StpKind kind) {
  static constexpr std::array<std::string_view, kStpKindCount> kNames = {
      "NULL", "M8",  "M16",  "MERR", "GERR", "C8",    "C16",  "CERR",    "D4",      "D8",   "D16",
      "D32",  "D64", "FLAG", "USER", "TRIG", "XSYNC", "FREQ", "FREQ_40", "VERSION", "ASYNC"};
  return kNames[static_cast<std::size_t>(kind)];
}

std::string_view to_string(StpSyncLoss reason) {
  switch (reason) {
    case StpSyncLoss::kReservedOpcode:
      return "reserved opcode";
    case StpSyncLoss::kUnsettledPacket:
      return "packet of unsettled length";
    case StpSyncLoss::kReservedTimestampSize:
      return "reserved time stamp size";
    case StpSyncLoss::kReservedVersion:
      return "reserved VERSION";
    case StpSyncLoss::kStpVersion1:
      return "STP version 1 is not supported";
    case StpSyncLoss::kCutByAsync:
      return "packet cut short by an ASYNC";
  }
  return "unknown";
}

namespace detail {
namespace {

constexpr std::uint8_t kF = 0xF;

class NibbleCursor {
 public:
  NibbleCursor(std::span<const std::uint8_t> data, std::size_t at) : data_(data), at_(at) {}

  std::size_t at() const { return at_; }
  /// The next `count` (up to 16) nibbles, most significant first; false where the data ends.
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

/// Whether an ASYNC begins at or before the F nibble `at` of a packet and ends behind it.
enum class Overlap : std::uint8_t { kNone, kAsync, kUnknown };

/// A legal sequence of packets has at most 18 F in a row (16 or 17 of a payload and the F that
/// begins the next opcode), so 21 and a 0 are an ASYNC wherever they stand. What begins with F F is
/// not asked about, so the run begins within the packet.
Overlap find_overlap(std::span<const std::uint8_t> data, std::size_t packet, std::size_t at) {
  const std::size_t end = data.size() * 2;
  std::size_t run_begin = at;
  while (run_begin > packet && nibble_at(data, run_begin - 1) == kF) --run_begin;
  std::size_t run_end = at + 1;
  while (run_end < end && run_end <= at + kAsyncRun && nibble_at(data, run_end) == kF) ++run_end;
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

/// The packet by its nibbles alone, as if no ASYNC could cut it.
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

bool all_ones(const std::uint8_t* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word == ~std::uint64_t{0};
}

}  // namespace

StpParse parse_packet(std::span<const std::uint8_t> data, std::size_t at, bool is_end) {
  StpParse parse = parse_nibbles(data, at);
  if (parse.outcome == StpParse::kOpen || nibble_at(data, parse.end - 1) != kF) return parse;
  if (nibble_at(data, at) == kF && parse.end == at + 2) {
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

std::size_t skip_f_run(std::span<const std::uint8_t> data, std::size_t at, std::uint64_t& f_run) {
  const std::size_t end = data.size() * 2;
  const std::size_t begin = at;
  while (at < end && nibble_at(data, at) == kF) {
    ++at;
    while (at % 2 == 0 && end - at >= 16 && all_ones(data.data() + at / 2)) at += 16;
  }
  f_run += at - begin;
  return at;
}

std::size_t find_async_end(std::span<const std::uint8_t> data, std::size_t at,
                           std::uint64_t& f_run) {
  // 21 F nibbles cover 10 whole bytes. A run that begins in byte b or the 8 behind it covers byte
  // b + 9 as a whole, so that one look rules out nine bytes.
  constexpr std::size_t kStride = 9;
  const std::size_t end = data.size() * 2;
  while (at < end) {
    if (f_run == 0 && at % 2 == 0) {
      std::size_t byte = at / 2;
      while (data.size() - byte > kStride && data[byte + kStride] != 0xFF) byte += kStride;
      at = byte * 2;
    }
    const std::size_t run_end = skip_f_run(data, at, f_run);
    if (run_end == end) return kNotFound;
    at = run_end + 1;
    if (f_run >= kAsyncRun && nibble_at(data, run_end) == 0) return at;
    f_run = 0;
  }
  return kNotFound;
}

}  // namespace detail

void StpReader::keep_open(std::span<const std::uint8_t> data, std::size_t at) {
  const std::size_t first = at / 2;
  const std::size_t size = data.size() - first;
  assert(size <= kMostOpenBytes);
  if (size > 0) std::memmove(open_.data(), data.data() + first, size);
  open_size_ = static_cast<std::uint8_t>(size);
  open_at_ = static_cast<std::uint8_t>(at % 2);
}

StpPacket StpReader::settle(const detail::StpParse& parse, std::uint64_t nibble_offset) {
  if (parse.opcode.timestamped) {
    detail::advance_timestamp(context_, parse.timestamp, parse.timestamp_nibbles);
  }
  apply_effect(parse.opcode, parse.value, nibble_offset);
  ++counters_.packets;
  StpPacket packet;
  packet.nibble_offset = nibble_offset;
  packet.value = parse.value;
  packet.timestamp = context_.timestamp;
  packet.master = context_.master;
  packet.channel = context_.channel;
  packet.kind = parse.opcode.kind;
  packet.value_nibbles = parse.value_nibbles;
  packet.marked = parse.opcode.marked;
  packet.has_timestamp = parse.opcode.timestamped;
  return packet;
}

void StpReader::apply_effect(const StpOpcode& opcode, std::uint64_t value,
                             std::uint64_t nibble_offset) {
  const auto low_16 = static_cast<std::uint16_t>(value);
  switch (opcode.kind) {
    case StpKind::kNull:
      if (nibble_offset == after_async_ && !opcode.timestamped) ++after_async_;
      break;
    case StpKind::kM8:
    case StpKind::kM16:
      context_.master = low_16;
      context_.channel = 0;
      break;
    case StpKind::kMerr:
      context_.channel = 0;
      ++counters_.merr_packets;
      break;
    case StpKind::kGerr:
      context_.master = 0;
      context_.channel = 0;
      ++counters_.gerr_packets;
      break;
    case StpKind::kC8:
      context_.channel = static_cast<std::uint16_t>((context_.channel & 0xFF00) | low_16);
      break;
    case StpKind::kC16:
      context_.channel = low_16;
      break;
    case StpKind::kFreq:
    case StpKind::kFreq40:
      frequency_hz_ = value;
      ++counters_.freq_packets;
      break;
    case StpKind::kVersion:
      apply_version(value, nibble_offset);
      break;
    default:
      break;
  }
}

void StpReader::apply_version(std::uint64_t version, std::uint64_t nibble_offset) {
  if (nibble_offset == after_async_) {
    context_.master = 0;
    context_.channel = 0;
  }
  // The coding stands in the first nibble sent, also where two more follow.
  const std::uint64_t first = version > 0xF ? version >> 8 : version;
  const std::uint64_t coding = first & kVersionCodingMask;
  context_.coding = coding == kVersionGray    ? StpTimestampCoding::kGray
                    : coding == kVersionDelta ? StpTimestampCoding::kDelta
                                              : StpTimestampCoding::kNatural;
  // The nibbles that the next time stamp leaves out are those of the newest one, in its new coding.
  context_.raw_timestamp = context_.coding == StpTimestampCoding::kGray
                               ? detail::to_gray(context_.timestamp)
                               : context_.timestamp;
}

}  // namespace qbt2
