#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "host/pieces/resumable_reader.h"

/// A capture of one STP stream, cut into pieces that are read in parallel:
///
///   StpPieceCapture  joins the three
///   StpPieceCutter   one thread      input -> pieces, each cut after an ASYNC, before a VERSION
///   StpPieceReader   one per thread  reads a piece from a guess of the state in which it begins
///   StpStitcher      one thread      in order: reads the beginning of each piece from the true
///                                    state and from the guess, until both states are the same
///
/// Why the result is that of one reader over the whole stream:
///
/// - 21 F nibbles and a 0 are an ASYNC wherever they are, since an ASYNC may cut any packet. It
///   puts every reader in sync. Whatever is reported of the bytes before it belongs to the piece
///   before. The VERSION sets master, channel and the coding of the timestamps. So after a cut
///   every reader finds the same packets and the same damage.
/// - What crosses a cut are the newest timestamp (of the next ones only the low nibbles may be
///   sent), the clock from a FREQ packet, and open messages. The guess is: time and clock as known
///   when the piece was cut, and no open message. A full timestamp after the VERSION and the ends
///   of the messages that were open make both states the same, mostly after a few packets, and
///   from there on samples and counts are the same. Those before are exchanged.
/// - Where the states stay different, the whole piece is read again, as one thread reads it. So is
///   a piece without a cut, or before the framing is known, or with very many sources, of which an
///   assembler forgets some.
namespace qbt2 {

/// Bytes of an STP stream and what was read from them. Reused: the memory is kept.
struct StpPiece {
  struct Damage {
    std::uint64_t offset = 0;
    std::string_view reason;  ///< of static storage
  };

  // By the cutter.
  std::vector<std::uint8_t> bytes;
  std::uint64_t begin = 0;  ///< byte of the stream
  /// Where the piece begins after an ASYNC and with a VERSION: the first nibble after the ASYNC, in
  /// the first byte of the piece or the byte before it, `shared`.
  std::optional<std::uint64_t> cut;
  std::uint8_t shared = 0;

  // By the stitcher, before the piece is read.
  bool wants_read = false;  ///< otherwise it is stitched unread
  Framing framing = Framing::kFlag;
  StpReadState guess;

  // By the piece reader.
  bool is_read = false;
  StpReadState end;
  StpReadCounts counts;
  std::vector<Damage> damages;

  // By the stitcher: these samples take the place of the first `replaced` that were read.
  SampleBatch beginning;
  std::size_t replaced = 0;

  /// Makes the exchange; any thread.
  void exchange_beginning(SampleBatch& samples);
};

}  // namespace qbt2
