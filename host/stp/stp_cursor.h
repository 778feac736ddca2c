#pragma once

#include <cstddef>
#include <cstdint>

#include "host/stp/stp_nibbles.h"
#include "host/stp/stp_timestamp.h"

namespace qbt2 {

/// Where StpReader's inner loop is, and what the packets before it have set. Small enough for
/// registers. Positions are nibbles of `data`, which is a part of the stream in sync.
struct StpCursor {
  const std::uint8_t* data;
  std::size_t at;        ///< where the next packet begins
  std::size_t data_end;  ///< nothing is read from here on
  std::uint64_t window;  ///< the nibbles from `at` on
  detail::StpContext context;
  std::uint64_t origin;       ///< nibble 0 of `data` in the stream
  std::uint64_t packets;      ///< read so far
  std::uint64_t after_async;  ///< see StpReader

  /// Moves to `end`, the nibble after the packet or packets just read. False, with nothing changed,
  /// when F F follows: that may be an ASYNC which began within the last one, so that parse_packet()
  /// has to read it.
  bool advance(std::size_t end, std::uint64_t packets_read = 1) {
    const std::uint64_t next = detail::nibbles_from(data, end);
    if ((next & 0xFF) == 0xFF) return false;
    at = end;
    window = next;
    packets += packets_read;
    return true;
  }
  /// The same after packets in which no ASYNC can begin.
  void move(std::size_t end, std::uint64_t packets_read) {
    at = end;
    window = detail::nibbles_from(data, end);
    packets += packets_read;
  }
};

}  // namespace qbt2
