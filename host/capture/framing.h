#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// How a source ends its messages. Sources differ: software often sends a FLAG after each message;
/// hardware marks or timestamps the last word, or marks the first.
namespace qbt2 {

/// In the order in which equally good guesses are preferred.
enum class Framing : std::uint8_t {
  kFlag,           ///< the words up to a FLAG or FLAG_TS packet
  kMarkerLast,     ///< the words up to and including a marked data packet
  kTimestampLast,  ///< the words up to and including a timestamped data packet
  kMarkerFirst,    ///< a marked data packet and the words up to the next marked one or a FLAG
};
inline constexpr int kFramingCount = 4;

/// Words that a message may have; a longer one is counted by its length and dropped.
inline constexpr std::size_t kLongestMessageWords = 64;

/// "flag", "marker-last", "timestamp-last", "marker-first".
std::string_view framing_name(Framing framing);

}  // namespace qbt2
