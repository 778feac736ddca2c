#include "host/stp/stp_writer.h"

#include <array>
#include <bit>
#include <cstddef>

namespace qbt2 {
namespace {

/// Opcodes of the data packets, narrowest first; those of two nibbles begin with F.
struct DataOpcodes {
  std::uint8_t plain;
  std::uint8_t marked;
  std::uint8_t timestamped;
  std::uint8_t marked_timestamped;
  std::uint8_t value_nibbles;
};
constexpr std::array<DataOpcodes, 5> kDataOpcodes = {{
    {0xC, 0xFD, 0xFC, 0xD, 1},   // D4
    {0x4, 0xF8, 0xF4, 0x8, 2},   // D8
    {0x5, 0xF9, 0xF5, 0x9, 4},   // D16
    {0x6, 0xFA, 0xF6, 0xA, 8},   // D32
    {0x7, 0xFB, 0xF7, 0xB, 16},  // D64
}};

constexpr unsigned kMostTimestampNibbles = 16;

/// The low `count` (1 to 16) nibbles of `value`, the one to send first lowest.
std::uint64_t in_sending_order(std::uint64_t value, unsigned count) {
  constexpr std::uint64_t kLowHalves = 0x0F0F0F0F0F0F0F0F;
  const std::uint64_t bytes_turned = __builtin_bswap64(value);
  const std::uint64_t turned = (bytes_turned & kLowHalves) << 4 | (bytes_turned >> 4 & kLowHalves);
  return turned >> (64 - 4 * count);
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
  // Eight bytes at once, then cut to those that count: much cheaper than one after the other.
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
  // Sizes 13 and 14 stand for 14 and 16 nibbles; there is none for 13 and 15.
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

void StpWriter::async() {
  nibbles(~std::uint64_t{0}, 16);
  nibbles(0xFFFFF0, 6);
}

void StpWriter::version(StpTimestampCoding coding) {
  coding_ = coding;
  nibbles(0xF00, 3);
  nibbles(coding == StpTimestampCoding::kNatural ? 3
          : coding == StpTimestampCoding::kGray  ? 4
                                                 : 2,
          1);
}

void StpWriter::null(Timestamp timestamp) {
  with_timestamp(timestamp ? 0xF01 : 0, timestamp ? 3 : 1, 0, 0, timestamp);
}

void StpWriter::m8(std::uint8_t master) {
  with_timestamp(0x1, 1, master, 2, {});
}
void StpWriter::m16(std::uint16_t master) {
  with_timestamp(0xF1, 2, master, 4, {});
}
void StpWriter::c8(std::uint8_t channel) {
  with_timestamp(0x3, 1, channel, 2, {});
}
void StpWriter::c16(std::uint16_t channel) {
  with_timestamp(0xF3, 2, channel, 4, {});
}

void StpWriter::master(std::uint16_t master) {
  if (master <= 0xFF) return m8(static_cast<std::uint8_t>(master));
  m16(master);
}

void StpWriter::data(StpKind kind, std::uint64_t value, const StpDataOptions& options) {
  const auto width = static_cast<std::size_t>(kind) - static_cast<std::size_t>(StpKind::kD4);
  const DataOpcodes& opcodes = kDataOpcodes.at(width);
  const bool timed = options.timestamp.has_value();
  const std::uint8_t opcode = options.marked ? timed ? opcodes.marked_timestamped : opcodes.marked
                              : timed        ? opcodes.timestamped
                                             : opcodes.plain;
  with_timestamp(opcode, opcode > 0xF ? 2 : 1, value, opcodes.value_nibbles, options.timestamp);
}

void StpWriter::flag(Timestamp timestamp) {
  with_timestamp(timestamp ? 0xE : 0xFE, timestamp ? 1 : 2, 0, 0, timestamp);
}

void StpWriter::merr(std::uint8_t code) {
  with_timestamp(0x2, 1, code, 2, {});
}
void StpWriter::gerr(std::uint8_t code) {
  with_timestamp(0xF2, 2, code, 2, {});
}
void StpWriter::cerr(std::uint8_t code) {
  with_timestamp(0xF0F3, 4, code, 2, {});
}

void StpWriter::trig(std::uint8_t value, Timestamp timestamp) {
  with_timestamp(timestamp ? 0xF07 : 0xF06, 3, value, 2, timestamp);
}

void StpWriter::xsync(std::uint8_t value, Timestamp timestamp) {
  with_timestamp(timestamp ? 0xF0B : 0xF0A, 3, value, 2, timestamp);
}

void StpWriter::freq(std::uint32_t hz, Timestamp timestamp) {
  with_timestamp(timestamp ? 0xF09 : 0xF08, 3, hz, 8, timestamp);
}

void StpWriter::freq_40(std::uint64_t hz, Timestamp timestamp) {
  with_timestamp(timestamp ? 0xF0F1 : 0xF0F0, 4, hz, 10, timestamp);
}

void StpWriter::user(std::uint64_t value, unsigned nibbles, Timestamp timestamp) {
  const unsigned opcode = timestamp ? 0xF03 : 0xF02;
  with_timestamp(opcode << 4 | (nibbles - 1), 4, value, nibbles, timestamp);
}

}  // namespace qbt2
