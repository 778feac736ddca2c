#pragma once

#include <bitset>
#include <cstdint>
#include <map>

namespace qbt2 {

/// What became of the words of a capture.
struct AssemblyCounts {
  std::uint64_t words = 0;
  std::uint64_t messages = 0;             ///< complete ones, of any length
  std::uint64_t messages_incomplete = 0;  ///< cut by damage, MERR, GERR or the end
  std::uint64_t ignored_packets = 0;      ///< D4, D8 and D16
  std::uint64_t source_errors = 0;        ///< MERR and GERR packets
  std::map<std::uint64_t, std::uint64_t> messages_of_words;  ///< complete messages by length

  bool has_timestamps = false;  ///< of a packet that could be part of a message
  bool has_clock = false;       ///< their rate is known, by a FREQ packet or an option

  std::bitset<65536> masters;  ///< those with a complete message

  /// Complete messages of a length that the decoder knows (SampleFormat::IsMessageLength).
  std::uint64_t messages_of_known_length() const;
  /// Words, and nothing in them that gives a row.
  bool has_words_only() const { return words != 0 && messages_of_known_length() == 0; }
  AssemblyCounts& operator+=(const AssemblyCounts& other);
  /// Takes back what was added before; the masters stay.
  AssemblyCounts& operator-=(const AssemblyCounts& other);
};

}  // namespace qbt2
