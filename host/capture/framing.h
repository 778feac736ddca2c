#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>

/// How a source ends its messages. Sources differ: software often sends a FLAG behind each message,
/// hardware marks or time-stamps the last word, or marks the first.
namespace qbt2 {

/// In the order in which equally good guesses are preferred.
enum class Framing : std::uint8_t {
  kFlag,           ///< the words up to a FLAG or FLAG_TS packet
  kMarkerLast,     ///< the words up to and including a marked data packet
  kTimestampLast,  ///< the words up to and including a time-stamped data packet
  kMarkerFirst,    ///< a marked data packet and the words up to the next marked one or a FLAG
};
inline constexpr int kFramingCount = 4;

/// Words that a message may have; a longer one is counted by its length and dropped.
inline constexpr std::size_t kLongestMessageWords = 64;

/// "flag", "marker-last", "timestamp-last", "marker-first".
std::string_view framing_name(Framing framing);

/// What became of the words of a capture.
struct AssemblyCounts {
  std::uint64_t words = 0;
  std::uint64_t messages = 0;             ///< complete ones, of whatever length
  std::uint64_t messages_incomplete = 0;  ///< cut by damage, MERR, GERR or the end
  std::uint64_t ignored_packets = 0;      ///< D4, D8 and D16
  std::uint64_t source_errors = 0;        ///< MERR and GERR packets
  std::map<std::uint64_t, std::uint64_t> messages_of_words;  ///< complete messages by length

  std::bitset<65536> masters;  ///< those with a complete message

  /// Messages of a length that the decoder knows: 2, 4 or 6 words.
  std::uint64_t messages_of_known_length() const;
  AssemblyCounts& operator+=(const AssemblyCounts& other);
};

}  // namespace qbt2
