#include "host/capture/framing.h"

#include <array>

namespace qbt2 {

std::string_view framing_name(Framing framing) {
  static constexpr std::array<std::string_view, kFramingCount> kNames = {
      "flag", "marker-last", "timestamp-last", "marker-first"};
  return kNames[static_cast<std::size_t>(framing)];
}

std::uint64_t AssemblyCounts::messages_of_known_length() const {
  std::uint64_t sum = 0;
  for (const std::uint64_t words : {2U, 4U, 6U}) {
    const auto found = messages_of_words.find(words);
    if (found != messages_of_words.end()) sum += found->second;
  }
  return sum;
}

AssemblyCounts& AssemblyCounts::operator+=(const AssemblyCounts& other) {
  words += other.words;
  messages += other.messages;
  messages_incomplete += other.messages_incomplete;
  ignored_packets += other.ignored_packets;
  source_errors += other.source_errors;
  masters |= other.masters;
  for (const auto& [length, count] : other.messages_of_words) messages_of_words[length] += count;
  return *this;
}

}  // namespace qbt2
