#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "host/stp/stp_packet.h"
#include "host/stp/stp_timestamp.h"

/// Writes an STP version 2 stream, packet by packet: the inverse of StpReader, for synthetic
/// captures and for tests. It checks nothing: an illegal stream can be written on purpose. One
/// thread. A timestamp is in ticks; without one the packet carries none.
namespace qbt2 {

/// What a data packet carries besides its value.
struct StpDataOptions {
  bool marked = false;
  std::optional<std::uint64_t> timestamp = std::nullopt;
};

class StpWriter {
 public:
  using Timestamp = std::optional<std::uint64_t>;

  void async();
  /// Sets the coding of the timestamps that follow. VERSION alone: a stream begins with async().
  void version(StpTimestampCoding coding);
  void null(Timestamp timestamp = std::nullopt) { packet(StpKind::kNull, 0, timestamp); }

  void m8(std::uint8_t master) { packet(StpKind::kM8, master, {}); }
  void m16(std::uint16_t master) { packet(StpKind::kM16, master, {}); }
  void c8(std::uint8_t channel) { packet(StpKind::kC8, channel, {}); }
  void c16(std::uint16_t channel) { packet(StpKind::kC16, channel, {}); }
  /// The shortest packet that selects it: M8 if the id fits, else M16.
  void master(std::uint16_t master);

  /// `kind` is one of kD4 to kD64; the value's low bits are sent.
  void data(StpKind kind, std::uint64_t value, const StpDataOptions& options = {});
  void flag(Timestamp timestamp = std::nullopt) { packet(StpKind::kFlag, 0, timestamp); }

  void merr(std::uint8_t code) { packet(StpKind::kMerr, code, {}); }
  void gerr(std::uint8_t code) { packet(StpKind::kGerr, code, {}); }
  void cerr(std::uint8_t code) { packet(StpKind::kCerr, code, {}); }
  void trig(std::uint8_t value, Timestamp timestamp = std::nullopt) {
    packet(StpKind::kTrig, value, timestamp);
  }
  void xsync(std::uint8_t value, Timestamp timestamp = std::nullopt) {
    packet(StpKind::kXsync, value, timestamp);
  }
  void freq(std::uint32_t hz, Timestamp timestamp = std::nullopt) {
    packet(StpKind::kFreq, hz, timestamp);
  }
  void freq_40(std::uint64_t hz, Timestamp timestamp = std::nullopt) {
    packet(StpKind::kFreq40, hz, timestamp);
  }
  /// `nibbles`: 1 to 16.
  void user(std::uint64_t value, unsigned nibbles, Timestamp timestamp = std::nullopt);

  /// The low `count` (up to 16) nibbles of `value`, most significant first.
  void nibbles(std::uint64_t value, unsigned count);
  /// Writes a NULL packet if the stream ends in half a byte.
  void pad_to_byte();

  /// Nibbles written so far, those taken included.
  std::uint64_t position() const { return position_; }
  /// The bytes not yet taken; an odd last nibble is in a byte whose upper half is 0.
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }
  /// Moves out all whole bytes; half a byte stays.
  std::vector<std::uint8_t> take();

 private:
  /// A packet that is not marked, with as many nibbles of `value` as its kind has.
  void packet(StpKind kind, std::uint64_t value, Timestamp ticks);
  /// The size nibble and the low nibbles that differ from the last timestamp.
  void timestamp(std::uint64_t ticks);
  void with_timestamp(unsigned opcode, unsigned opcode_nibbles, std::uint64_t value,
                      unsigned value_nibbles, Timestamp ticks);

  std::vector<std::uint8_t> bytes_;
  std::uint64_t position_ = 0;
  std::uint64_t last_timestamp_ = 0;
  StpTimestampCoding coding_ = StpTimestampCoding::kNatural;
};

}  // namespace qbt2
