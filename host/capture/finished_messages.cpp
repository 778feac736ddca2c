#include "host/capture/finished_messages.h"

namespace qbt2 {

FinishedMessages::FinishedMessages(const std::vector<std::uint16_t>& masters,
                                   std::uint64_t clock_hz)
    : clock_(clock_hz) {
  if (masters.empty()) wanted_masters_.set();
  for (const std::uint16_t master : masters) wanted_masters_.set(master);
}

void FinishedMessages::count_long(std::uint16_t master, std::uint64_t words) {
  ++long_messages_of_words_[words];
  masters_.set(master);
}

void FinishedMessages::add_to(AssemblyCounts& counts) const {
  counts.masters |= masters_;
  for (std::size_t words = 1; words < messages_of_words_.size(); ++words) {
    if (messages_of_words_[words] == 0) continue;
    counts.messages += messages_of_words_[words];
    counts.messages_of_words[words] += messages_of_words_[words];
  }
  for (const auto& [words, messages] : long_messages_of_words_) {
    counts.messages += messages;
    counts.messages_of_words[words] += messages;
  }
}

}  // namespace qbt2
