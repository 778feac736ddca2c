#include "host/capture/assembly_counts.h"

#include "interfaces/sample_format.h"

namespace qbt2 {

std::uint64_t AssemblyCounts::messages_of_known_length() const {
  std::uint64_t sum = 0;
  for (const auto& [words, count] : messages_of_words) {
    if (Kz::Dvt::Trace::SampleFormat::IsMessageLength(words)) sum += count;
  }
  return sum;
}

AssemblyCounts& AssemblyCounts::operator+=(const AssemblyCounts& other) {
  words += other.words;
  messages += other.messages;
  messages_incomplete += other.messages_incomplete;
  ignored_packets += other.ignored_packets;
  source_errors += other.source_errors;
  has_timestamps |= other.has_timestamps;
  has_clock |= other.has_clock;
  masters |= other.masters;
  for (const auto& [length, count] : other.messages_of_words) messages_of_words[length] += count;
  return *this;
}

AssemblyCounts& AssemblyCounts::operator-=(const AssemblyCounts& other) {
  words -= other.words;
  messages -= other.messages;
  messages_incomplete -= other.messages_incomplete;
  ignored_packets -= other.ignored_packets;
  source_errors -= other.source_errors;
  for (const auto& [length, count] : other.messages_of_words) {
    const auto entry = messages_of_words.find(length);
    entry->second -= count;
    if (entry->second == 0) messages_of_words.erase(entry);
  }
  return *this;
}

}  // namespace qbt2
