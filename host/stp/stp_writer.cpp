#include "host/stp/stp_writer.h"

#include <array>
#include <bit>
#include <cstddef>

#include "host/stp/stp_nibbles.h"
#include "host/stp/stp_opcodes.h"

namespace qbt2 {
namespace {

/// How a packet begins: the nibbles of its opcode, and those of its payload.
struct Encoding {
  std::uint16_t opcode = 0;
  std::uint8_t opcode_nibbles = 0;
  std::uint8_t payload_nibbles = 0;
};

constexpr std::size_t variant(bool marked, bool timestamped) {
  return 2 * static_cast<std::size_t>(marked) + static_cast<std::size_t>(timestamped);
}

/// kEncodings[kind][variant]: the inverse of kStpOpcodes.
constexpr auto kEncodings = [] {
  std::array<std::array<Encoding, 4>, kStpKindCount> encodings{};
  constexpr std::array<unsigned, kStpOpcodeLevels> kPrefixes = {0, 0xF, 0xF0, 0xF0F};
  for (std::size_t level = 0; level < kStpOpcodes.size(); ++level) {
    for (std::size_t nibble = 0; nibble < kStpOpcodes[level].size(); ++nibble) {
      const StpOpcode& opcode = kStpOpcodes[level][nibble];
      if (opcode.form == StpForm::kPrefix || opcode.form == StpForm::kReserved ||
          opcode.form == StpForm::kUnsettled) {
        continue;
      }
      encodings[static_cast<std::size_t>(opcode.kind)][variant(opcode.marked, opcode.timestamped)] =
          {static_cast<std::uint16_t>(kPrefixes[level] << 4 | nibble),
           static_cast<std::uint8_t>(level + 1), opcode.payload_nibbles};
    }
  }
  return encodings;
}();

const Encoding& encoding_of(StpKind kind, bool marked, bool timestamped) {
  return kEncodings[static_cast<std::size_t>(kind)][variant(marked, timestamped)];
}

constexpr std::uint64_t version_of(StpTimestampCoding coding) {
  switch (coding) {
    case StpTimestampCoding::kGray:
      return kVersionGray;
    case StpTimestampCoding::kDelta:
      return kVersionDelta;
    case StpTimestampCoding::kNatural:
      break;
  }
  return kVersionNatural;
}

constexpr unsigned kMostTimestampNibbles = 16;

/// The low `count` (1 to 16) nibbles of `value`, the one to send first lowest.
std::uint64_t in_sending_order(std::uint64_t value, unsigned count) {
  return detail::reverse_nibbles(value) >> (64 - 4 * count);
}

void store_le64(std::uint64_t value, std::uint8_t* out) {
  for (unsigned i = 0; i < 8; ++i) out[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

unsigned significant_nibbles(std::uint64_t value) {
  return (static_cast<unsigned>(std::bit_width(value)) + 3) / 4;
}

}  // namespace

void StpWriter::nibbles(std::uint64_t value, unsigned count) {
  if (count == 0) return;
  std::uint64_t waiting = in_sending_order(value, count);
  if (position_ % 2 != 0) {
    bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | (waiting & 0xF) << 4);
    waiting >>= 4;
    ++position_;
    --count;
  }
  position_ += count;
  // Eight bytes at once, then cut to the wanted ones: much cheaper than one by one.
  const std::size_t kept = bytes_.size() + (count + 1) / 2;
  bytes_.resize(bytes_.size() + sizeof waiting);
  store_le64(waiting, bytes_.data() + bytes_.size() - sizeof waiting);
  bytes_.resize(kept);
}

void StpWriter::pad_to_byte() {
  if (position_ % 2 != 0) null();
}

std::vector<std::uint8_t> StpWriter::take() {
  std::vector<std::uint8_t> taken = std::exchange(bytes_, {});
  if (position_ % 2 != 0) {
    bytes_.push_back(taken.back());
    taken.pop_back();
  }
  return taken;
}

void StpWriter::timestamp(std::uint64_t ticks) {
  std::uint64_t sent = ticks;
  std::uint64_t changed = ticks ^ last_timestamp_;
  if (coding_ == StpTimestampCoding::kDelta) {
    sent = ticks - last_timestamp_;
    changed = sent;
  } else if (coding_ == StpTimestampCoding::kGray) {
    sent = detail::to_gray(ticks);
    changed = sent ^ detail::to_gray(last_timestamp_);
  }
  last_timestamp_ = ticks;
  // Sizes 13 and 14 mean 14 and 16 nibbles; 13 and 15 nibbles cannot be sent.
  unsigned count = significant_nibbles(changed);
  if (count > 12) count = count > 14 ? kMostTimestampNibbles : 14;
  nibbles(count <= 12 ? count : count == 14 ? 13 : 14, 1);
  nibbles(sent, count);
}

void StpWriter::with_timestamp(unsigned opcode, unsigned opcode_nibbles, std::uint64_t value,
                               unsigned value_nibbles, Timestamp ticks) {
  if (opcode_nibbles + value_nibbles <= 16) {  // in one go
    const std::uint64_t mask = (std::uint64_t{1} << (4 * value_nibbles)) - 1;
    nibbles(std::uint64_t{opcode} << (4 * value_nibbles) | (value & mask),
            opcode_nibbles + value_nibbles);
  } else {
    nibbles(opcode, opcode_nibbles);
    nibbles(value, value_nibbles);
  }
  if (ticks) timestamp(*ticks);
}

void StpWriter::packet(StpKind kind, std::uint64_t value, Timestamp ticks) {
  const Encoding& encoding = encoding_of(kind, false, ticks.has_value());
  with_timestamp(encoding.opcode, encoding.opcode_nibbles, value, encoding.payload_nibbles, ticks);
}

void StpWriter::data(StpKind kind, std::uint64_t value, const StpDataOptions& options) {
  const Encoding& encoding = encoding_of(kind, options.marked, options.timestamp.has_value());
  with_timestamp(encoding.opcode, encoding.opcode_nibbles, value, encoding.payload_nibbles,
                 options.timestamp);
}

void StpWriter::async() {
  constexpr unsigned kFirst = 16;  // as many nibbles as one call writes
  nibbles(~std::uint64_t{0}, kFirst);
  nibbles(~std::uint64_t{0} << 4, kAsyncNibbles - kFirst);
}

void StpWriter::version(StpTimestampCoding coding) {
  coding_ = coding;
  packet(StpKind::kVersion, version_of(coding), {});
}

void StpWriter::master(std::uint16_t master) {
  if (master <= 0xFF) return m8(static_cast<std::uint8_t>(master));
  m16(master);
}

void StpWriter::user(std::uint64_t value, unsigned nibbles, Timestamp timestamp) {
  const Encoding& encoding = encoding_of(StpKind::kUser, false, timestamp.has_value());
  const unsigned head = static_cast<unsigned>(encoding.opcode) << 4 | (nibbles - 1);
  with_timestamp(head, encoding.opcode_nibbles + 1U, value, nibbles, timestamp);
}

}  // namespace qbt2
