#include "host/capture/message_assembler.h"

#include <algorithm>
#include <cstring>

#include "host/capture/whole_messages.h"

namespace qbt2 {

MessageAssembler::MessageAssembler(const AssemblerOptions& options)
    : framing_(options.framing),
      takes_whole_(options.framing != Framing::kMarkerFirst),
      mark_delimits_(options.framing == Framing::kMarkerLast ||
                     options.framing == Framing::kMarkerFirst),
      timestamp_delimits_(options.framing == Framing::kTimestampLast),
      offsets_(options.offsets),
      finished_(options.masters, options.clock_hz) {}

StpCursor MessageAssembler::take_messages(StpCursor cursor) {
  WholeMessages::Assembly assembly{.sources = sources_,
                                   .finished = finished_,
                                   .offsets = offsets_,
                                   .time_known = newest_.known,
                                   .words = 0};
  cursor = WholeMessages::take(framing_, cursor, assembly);
  words_ += assembly.words;
  newest_ = {cursor.context.timestamp, assembly.time_known};
  return cursor;
}

MessageSource& MessageAssembler::source_of(const StpPacket& packet) {
  const std::uint32_t key = key_of(packet);
  MessageSource* const known = sources_.find(key);
  if (known != nullptr) return *known;
  current_ = nullptr;  // it may be replaced
  return sources_.make(key);
}

void MessageAssembler::on_words(const StpPacket& packet) {
  MessageSource& source = source_of(packet);
  // The time of the packet that begins a message does not count for the message before it.
  if (framing_ == Framing::kMarkerFirst && packet.marked && sources_.is_open(source)) end(source);
  take_time(packet);
  append_packet(source, packet);
  const bool is_last = (framing_ == Framing::kMarkerLast && packet.marked) ||
                       (framing_ == Framing::kTimestampLast && packet.has_timestamp);
  if (is_last) end(source);
}

void MessageAssembler::on_flag(const StpPacket& packet) {
  if (framing_ != Framing::kFlag && framing_ != Framing::kMarkerFirst) return;
  MessageSource* const source = sources_.find(key_of(packet));
  if (source != nullptr && sources_.is_open(*source)) end(*source);
}

void MessageAssembler::append_packet(MessageSource& source, const StpPacket& packet) {
  if (!sources_.is_open(source)) begin(source, packet);
  current_ = &source;
  source.append(static_cast<std::uint32_t>(packet.value));
  ++words_;
  if (packet.kind != StpKind::kD64) return;
  source.append(static_cast<std::uint32_t>(packet.value >> 32));
  ++words_;
}

void MessageAssembler::begin(MessageSource& source, const StpPacket& packet) {
  const std::uint64_t offset = packet.byte_offset();
  sources_.begin(source, offsets_ != nullptr ? offsets_->input_offset(offset) : offset);
  source.stray = framing_ == Framing::kMarkerFirst && !packet.marked;
}

void MessageAssembler::end(MessageSource& source) {
  if (source.stray) {
    ++stray_messages_;
  } else if (source.words > kLongestMessageWords) {
    finished_.count_long(master_of(source.key), source.words);
  } else {
    finish_message(source);
  }
  sources_.close(source);
  current_ = nullptr;
}

void MessageAssembler::finish_message(const MessageSource& source) {
  using namespace Kz::Dvt::Trace;
  std::memcpy(finished_.room(), source.pairs.data(), SampleFormat::kPairBytes * source.words);
  finished_.add({.master = master_of(source.key),
                 .has_timestamp = newest_.known,
                 .words = source.words,
                 .offset = source.offset,
                 .timestamp = newest_.ticks});
}

void MessageAssembler::on_source_error(const StpPacket& packet) {
  ++source_errors_;
  if (packet.kind == StpKind::kGerr) {
    drop_all();
    return;
  }
  current_ = nullptr;
  sources_.drop_master(packet.master);
}

void MessageAssembler::drop_all() {
  current_ = nullptr;
  sources_.drop_all();
}

void MessageAssembler::finish(bool on_packet_boundary) {
  if (framing_ == Framing::kMarkerFirst && on_packet_boundary) {
    for (MessageSource* const source : sources_.open_sources()) end(*source);
  }
  drop_all();
}

bool MessageAssembler::has_short_open_message() {
  const std::vector<MessageSource*> open = sources_.open_sources();
  return std::any_of(open.begin(), open.end(), [](const MessageSource* source) {
    return !source->stray && source->words <= Kz::Dvt::Trace::SampleFormat::kMostWords;
  });
}

bool MessageAssembler::has_message_before(std::uint32_t key, std::uint64_t offset) {
  const MessageSource* const source = sources_.find(key);
  return source != nullptr && sources_.is_open(*source) && source->offset < offset;
}

void MessageAssembler::save(AssemblyState& state) {
  state.time = time();
  state.sources.clear();
  for (const MessageSource& source : sources_.all()) state.sources.push_back(source.key);
  state.open.clear();
  if (open_messages() == 0) return;
  for (const MessageSource* const source : sources_.open_sources()) state.open.push_back(*source);
}

void MessageAssembler::restore(const AssemblyState& state) {
  current_ = nullptr;
  sources_.forget_messages();
  newest_ = {state.time.ticks, state.time.known};
  finished_.set_clock(state.time.clock_hz);
  for (const std::uint32_t key : state.sources) {
    if (sources_.find(key) == nullptr) sources_.make(key);
  }
  for (const MessageSource& open : state.open) sources_.reopen(open);
}

void MessageAssembler::forget_sources() {
  current_ = nullptr;
  for (const MessageSource& source : sources_.all()) {
    finished_.forget_messages_of(master_of(source.key));
  }
  sources_.forget_sources();
}

void MessageAssembler::add_masters_to(AssemblyCounts& counts) const {
  for (const MessageSource& source : sources_.all()) {
    const std::uint16_t master = master_of(source.key);
    if (finished_.has_messages(master)) counts.masters.set(master);
  }
}

AssemblyCounts MessageAssembler::take_counts() {
  AssemblyCounts counts;
  add_own_to(counts);
  finished_.move_messages_to(counts);
  sources_.reset_counts();
  words_ = 0;
  ignored_packets_ = 0;
  source_errors_ = 0;
  stray_messages_ = 0;
  return counts;
}

AssemblyCounts MessageAssembler::counts() const {
  AssemblyCounts counts;
  add_own_to(counts);
  finished_.add_to(counts);
  return counts;
}

void MessageAssembler::add_own_to(AssemblyCounts& counts) const {
  counts.has_timestamps |= newest_.known;
  counts.has_clock |= finished_.has_clock();
  counts.words += words_;
  counts.messages_incomplete += sources_.dropped_messages() + stray_messages_;
  counts.ignored_packets += ignored_packets_;
  counts.source_errors += source_errors_;
}

}  // namespace qbt2
