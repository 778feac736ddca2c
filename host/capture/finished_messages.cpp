#include "host/capture/finished_messages.h"

namespace qbt2 {

FinishedMessages::FinishedMessages(const std::vector<std::uint16_t>& masters,
                                   std::uint64_t clock_hz)
    : clock_(clock_hz), masters_(65536, Master{.is_wanted = masters.empty()}) {
  for (const std::uint16_t master : masters) masters_[master].is_wanted = true;
}

void FinishedMessages::count_long(std::uint16_t master, std::uint64_t words) {
  ++long_messages_of_words_[words];
  masters_[master].has_messages = true;
}

void FinishedMessages::add_to(AssemblyCounts& counts) const {
  for (std::size_t id = 0; id < masters_.size(); ++id) {
    if (masters_[id].has_messages) counts.masters.set(id);
  }
  add_messages_to(counts);
}

void FinishedMessages::add_messages_to(AssemblyCounts& counts) const {
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

void FinishedMessages::move_messages_to(AssemblyCounts& counts) {
  add_messages_to(counts);
  messages_of_words_ = {};
  long_messages_of_words_.clear();
}

}  // namespace qbt2
