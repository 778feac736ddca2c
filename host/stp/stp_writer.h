#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "host/stp/stp_packet.h"
#include "host/stp/stp_reader.h"

/// Writes a STP version 2 stream, packet by packet: the inverse of StpReader, for synthetic
/// captures and for tests. It writes what it is told to, legal or not. One thread.
namespace qbt2 {

/// What a data packet can carry besides its value.
struct StpDataOptions {
  bool marked = false;
  std::optional<std::uint64_t> timestamp = std::nullopt;
};

class StpWriter {
 public:
  using Timestamp = std::optional<std::uint64_t>;

  void async();
  /// Time stamps are coded so from now on. The declaration alone: a stream begins with async().
  void version(StpTimestampCoding coding);
  void null(Timestamp timestamp = std::nullopt);

  void m8(std::uint8_t master);
  void m16(std::uint16_t master);
  void c8(std::uint8_t channel);
  void c16(std::uint16_t channel);
  /// The shortest packet that reaches it: M8 where the id fits, else M16.
  void master(std::uint16_t master);

  /// `kind` is one of kD4 to kD64; the value's low bits are sent.
  void data(StpKind kind, std::uint64_t value, const StpDataOptions& options = {});
  void flag(Timestamp timestamp = std::nullopt);

  void merr(std::uint8_t code);
  void gerr(std::uint8_t code);
  void cerr(std::uint8_t code);
  void trig(std::uint8_t value, Timestamp timestamp = std::nullopt);
  void xsync(std::uint8_t value, Timestamp timestamp = std::nullopt);
  void freq(std::uint32_t hz, Timestamp timestamp = std::nullopt);
  void freq_40(std::uint64_t hz, Timestamp timestamp = std::nullopt);
  /// `nibbles`: 1 to 16.
  void user(std::uint64_t value, unsigned nibbles, Timestamp timestamp = std::nullopt);

  /// The low `count` (up to 16) nibbles of `value`, most significant first.
  void nibbles(std::uint64_t value, unsigned count);
  /// A NULL packet where the stream ends in half a byte.
  void pad_to_byte();

  /// Nibbles written since the writer was made.
  std::uint64_t position() const { return position_; }
  /// The bytes not yet taken; an odd last nibble stands in a byte whose upper half is 0.
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }
  /// Hands over all whole bytes and keeps a half one.
  std::vector<std::uint8_t> take();

 private:
  /// The size nibble and the low nibbles that differ from the last time stamp.
  void timestamp(std::uint64_t ticks);
  void with_timestamp(unsigned opcode, unsigned opcode_nibbles, std::uint64_t value,
                      unsigned value_nibbles, Timestamp ticks);

  std::vector<std::uint8_t> bytes_;
  std::uint64_t position_ = 0;
  std::uint64_t last_timestamp_ = 0;
  StpTimestampCoding coding_ = StpTimestampCoding::kNatural;
};

}  // namespace qbt2
