#include "host/capture/message_sources.h"

#include <algorithm>
#include <new>

namespace qbt2 {

MessageSources::MessageSources()
    : masters_(static_cast<Master*>(std::calloc(std::size_t{65536}, sizeof(Master)))) {
  if (masters_ == nullptr) throw std::bad_alloc();
}

MessageSource* MessageSources::find_other(std::uint32_t key) {
  const auto found = source_of_key_.find(key);
  if (found == source_of_key_.end()) return nullptr;
  recent_[slot_of(key)] = found->second;
  return found->second;
}

MessageSource& MessageSources::make(std::uint32_t key) {
  MessageSource& source = sources_.size() < kMostSources ? sources_.emplace_back() : replaced();
  source.key = key;
  source.words = 0;
  source_of_key_.emplace(key, &source);
  recent_[slot_of(key)] = &source;
  return source;
}

/// A source that is forgotten for another: each in its turn.
MessageSource& MessageSources::replaced() {
  MessageSource& victim = sources_[next_victim_];
  next_victim_ = (next_victim_ + 1) % kMostSources;
  if (is_open(victim)) {
    close(victim);
    ++dropped_messages_;
  }
  source_of_key_.erase(victim.key);
  return victim;
}

void MessageSources::begin(MessageSource& source, std::uint64_t offset) {
  Master& master = current(master_of(source.key));
  ++master.open;
  ++open_messages_;
  source.epoch = master.epoch;
  source.words = 0;
  source.offset = offset;
}

void MessageSources::close(MessageSource& source) {
  --current(master_of(source.key)).open;
  --open_messages_;
  source.words = 0;
}

void MessageSources::drop_master(std::uint16_t id) {
  Master& master = current(id);
  dropped_messages_ += master.open;
  open_messages_ -= master.open;
  master.open = 0;
  ++master.epoch;
}

void MessageSources::drop_all() {
  dropped_messages_ += open_messages_;
  open_messages_ = 0;
  ++all_epoch_;
}

/// Drops the master's messages that were open when drop_all() was called last.
void MessageSources::catch_up(Master& master) const {
  master.all_epoch = all_epoch_;
  master.open = 0;
  ++master.epoch;
}

void MessageSources::reopen(const MessageSource& open) {
  MessageSource& source = *find(open.key);
  begin(source, open.offset);
  const std::uint32_t epoch = source.epoch;
  source = open;
  source.epoch = epoch;
}

void MessageSources::forget_messages() {
  open_messages_ = 0;
  ++all_epoch_;
}

void MessageSources::forget_sources() {
  forget_messages();
  recent_ = {};
  sources_.clear();
  source_of_key_.clear();
  next_victim_ = 0;
}

std::vector<MessageSource*> MessageSources::open_sources() {
  std::vector<MessageSource*> open;
  for (MessageSource& source : sources_) {
    if (is_open(source)) open.push_back(&source);
  }
  std::sort(open.begin(), open.end(),
            [](const MessageSource* a, const MessageSource* b) { return a->offset < b->offset; });
  return open;
}

}  // namespace qbt2
