#include "host/stp/stp_reader.h"

#include <cassert>
#include <cstring>
#include <utility>

namespace qbt2 {

StpCounters& StpCounters::operator+=(const StpCounters& other) {
  packets += other.packets;
  sync_losses += other.sync_losses;
  nibbles_skipped += other.nibbles_skipped;
  return *this;
}

StpCounters& StpCounters::operator-=(const StpCounters& other) {
  packets -= other.packets;
  sync_losses -= other.sync_losses;
  nibbles_skipped -= other.nibbles_skipped;
  return *this;
}

StpReader StpReader::after_async(std::uint64_t nibble, std::uint8_t shared,
                                 std::uint64_t timestamp) {
  StpReader reader;
  reader.context_.timestamp = timestamp;
  reader.context_.raw_timestamp = timestamp;
  reader.phase_ = Phase::kInSync;
  reader.after_async_ = nibble;
  reader.stream_bytes_ = (nibble + 1) / 2;
  if (nibble % 2 != 0) {
    reader.open_[0] = shared;
    reader.open_size_ = 1;
    reader.open_at_ = 1;
  }
  return reader;
}

StpCounters StpReader::take_counters() {
  return std::exchange(counters_, {});
}

bool StpReader::continues_like(const StpReader& other) const {
  if (phase_ != other.phase_ || stream_bytes_ != other.stream_bytes_) return false;
  const bool same_gap = gap_begin_ == other.gap_begin_ && f_run_ == other.f_run_;
  if (phase_ != Phase::kInSync && !same_gap) return false;
  // The same stream, so the bytes of an open packet are the same too.
  return context_ == other.context_ && after_async_ == other.after_async_ &&
         open_size_ == other.open_size_ && open_at_ == other.open_at_;
}

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
      break;
    case StpKind::kGerr:
      context_.master = 0;
      context_.channel = 0;
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
  // The coding is in the first nibble sent, also when two more follow.
  const std::uint64_t first = version > 0xF ? version >> 8 : version;
  const std::uint64_t coding = first & kVersionCodingMask;
  context_.coding = coding == kVersionGray    ? StpTimestampCoding::kGray
                    : coding == kVersionDelta ? StpTimestampCoding::kDelta
                                              : StpTimestampCoding::kNatural;
  // The nibbles that the next timestamp leaves out are those of the newest one, in the new coding.
  context_.raw_timestamp = context_.coding == StpTimestampCoding::kGray
                               ? detail::to_gray(context_.timestamp)
                               : context_.timestamp;
}

}  // namespace qbt2
