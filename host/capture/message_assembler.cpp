#include "host/capture/message_assembler.h"

#include <algorithm>
#include <cstring>

namespace qbt2 {

namespace SampleFormat = Kz::Dvt::Trace::SampleFormat;

namespace {

constexpr std::uint64_t kNsPerSecond = 1'000'000'000;

/// False when the time does not fit 64 bits of nanoseconds (584 years).
bool ticks_to_ns(std::uint64_t ticks, std::uint64_t clock_hz, std::uint64_t& ns) {
  const std::uint64_t seconds = ticks / clock_hz;
  if (seconds >= UINT64_MAX / kNsPerSecond) return false;
  const std::uint64_t rest = ticks % clock_hz;
  // Up to 2^34 Hz the product fits 64 bits; FREQ_40 allows 2^40.
  const std::uint64_t rest_ns =
      clock_hz <= (std::uint64_t{1} << 34)
          ? rest * kNsPerSecond / clock_hz
          : static_cast<std::uint64_t>(static_cast<unsigned __int128>(rest) * kNsPerSecond /
                                       clock_hz);
  ns = seconds * kNsPerSecond + rest_ns;
  return true;
}

void store_le32(std::uint8_t* at, std::uint32_t value) {
  std::memcpy(at, &value, sizeof value);
}

}  // namespace

MessageAssembler::MessageAssembler(const AssemblerOptions& options)
    : options_(options),
      clock_hz_(options.clock_hz),
      mark_delimits_(options.framing == Framing::kMarkerLast ||
                     options.framing == Framing::kMarkerFirst),
      timestamp_delimits_(options.framing == Framing::kTimestampLast),
      masters_(65536) {
  if (options.masters.empty()) wanted_masters_.set();
  for (const std::uint16_t master : options.masters) wanted_masters_.set(master);
  recent_.fill(kNone);
}

MessageAssembler::Master& MessageAssembler::master_at(std::uint16_t id) {
  Master& master = masters_[id];
  if (master.all_epoch != all_epoch_) {
    master.all_epoch = all_epoch_;
    master.open = 0;
    ++master.epoch;
  }
  return master;
}

bool MessageAssembler::is_open(const Source& source) {
  return source.words != 0 && source.epoch == master_at(master_of(source.key)).epoch;
}

/// The source of this key, or null.
MessageAssembler::Source* MessageAssembler::find_source(std::uint32_t key) {
  std::uint32_t& recent = recent_[(key ^ key >> 16) & 0xFF];
  if (recent != kNone && sources_[recent].key == key) return &sources_[recent];
  const auto found = source_of_key_.find(key);
  if (found == source_of_key_.end()) return nullptr;
  recent = found->second;
  return &sources_[recent];
}

MessageAssembler::Source& MessageAssembler::make_source(std::uint32_t key) {
  std::uint32_t index = 0;
  current_ = nullptr;  // the sources may move, and one may be replaced
  if (sources_.size() < kMostSources) {
    index = static_cast<std::uint32_t>(sources_.size());
    sources_.emplace_back();
  } else {
    index = static_cast<std::uint32_t>(next_victim_);
    next_victim_ = (next_victim_ + 1) % kMostSources;
    Source& victim = sources_[index];
    if (is_open(victim)) {
      close(victim);
      ++counts_.messages_incomplete;
    }
    source_of_key_.erase(victim.key);
  }
  Source& source = sources_[index];
  source.key = key;
  source.words = 0;
  source_of_key_.emplace(key, index);
  return source;
}

void MessageAssembler::on_words(const StpPacket& packet) {
  const std::uint32_t key = key_of(packet);
  Source* const known = find_source(key);
  Source& source = known != nullptr ? *known : make_source(key);
  // The time of the packet that begins a message does not count for the message before it.
  if (options_.framing == Framing::kMarkerFirst && packet.marked && is_open(source)) {
    end(source, newest_);
  }
  take_time(packet);
  switch (options_.framing) {
    case Framing::kFlag:
    case Framing::kMarkerFirst:
      append_packet(source, packet);
      break;
    case Framing::kMarkerLast:
      append_packet(source, packet);
      if (packet.marked) end(source, newest_);
      break;
    case Framing::kTimestampLast:
      append_packet(source, packet);
      if (packet.has_timestamp) end(source, newest_);
      break;
  }
}

void MessageAssembler::on_flag(const StpPacket& packet) {
  if (options_.framing != Framing::kFlag && options_.framing != Framing::kMarkerFirst) return;
  Source* const source = find_source(key_of(packet));
  if (source != nullptr && is_open(*source)) end(*source, newest_);
}

void MessageAssembler::append_packet(Source& source, const StpPacket& packet) {
  if (!is_open(source)) begin(source, packet);
  current_ = &source;
  append_word(source, static_cast<std::uint32_t>(packet.value));
  ++counts_.words;
  if (packet.kind != StpKind::kD64) return;
  append_word(source, static_cast<std::uint32_t>(packet.value >> 32));
  ++counts_.words;
}

void MessageAssembler::begin(Source& source, const StpPacket& packet) {
  Master& master = master_at(packet.master);
  ++master.open;
  ++open_messages_;
  source.epoch = master.epoch;
  source.words = 0;
  source.stray = options_.framing == Framing::kMarkerFirst && !packet.marked;
  const std::uint64_t offset = packet.byte_offset();
  source.offset = options_.offsets != nullptr ? options_.offsets->input_offset(offset) : offset;
}

void MessageAssembler::close(Source& source) {
  --master_at(master_of(source.key)).open;
  --open_messages_;
  source.words = 0;
  current_ = nullptr;
}

void MessageAssembler::end(Source& source, const Time& time) {
  if (source.stray) {
    ++stray_messages_;
    ++counts_.messages_incomplete;
  } else if (source.words > kLongestMessageWords) {
    ++counts_.messages;
    ++counts_.messages_of_words[source.words];
  } else {
    ++counts_.messages;
    ++messages_of_words_[source.words];
    if (wanted_masters_.test(master_of(source.key))) emit(source, time);
  }
  if (!source.stray) counts_.masters.set(master_of(source.key));
  close(source);
}

void MessageAssembler::emit(Source& source, const Time& time) {
  const auto payload = static_cast<std::uint32_t>(SampleFormat::kPairBytes * source.words);
  // Filled in place: a copy of fields just written would wait for their stores.
  SampleHead& head = batch_->heads.emplace_back();
  head.master = master_of(source.key);
  head.offset = source.offset;
  head.begin = static_cast<std::uint32_t>(batch_->bytes.size());
  head.size = static_cast<std::uint32_t>(SampleFormat::kHeaderBytes) + payload;
  head.timestamp = time.ticks;
  head.has_timestamp = time.known;
  head.has_time_ns =
      time.known && clock_hz_ != 0 && ticks_to_ns(time.ticks, clock_hz_, head.time_ns);
  source.sample[SampleFormat::kProbeIdOffset] = SampleFormat::ProbeOfMaster(head.master);
  store_le32(source.sample.data() + SampleFormat::kPayloadBytesOffset, payload);
  batch_->bytes.insert(batch_->bytes.end(), source.sample.data(), source.sample.data() + head.size);
}

void MessageAssembler::on_source_error(const StpPacket& packet) {
  ++counts_.source_errors;
  if (packet.kind == StpKind::kGerr) {
    drop_all();
    return;
  }
  current_ = nullptr;
  Master& master = master_at(packet.master);
  counts_.messages_incomplete += master.open;
  open_messages_ -= master.open;
  master.open = 0;
  ++master.epoch;
}

void MessageAssembler::drop_all() {
  counts_.messages_incomplete += open_messages_;
  open_messages_ = 0;
  current_ = nullptr;
  ++all_epoch_;
}

void MessageAssembler::finish(bool on_packet_boundary) {
  if (options_.framing == Framing::kMarkerFirst && on_packet_boundary) end_open_messages();
  drop_all();
}

bool MessageAssembler::has_short_open_message() {
  return std::any_of(sources_.begin(), sources_.end(), [this](const Source& source) {
    return is_open(source) && !source.stray && source.words <= SampleFormat::kMostWords;
  });
}

/// In the order in which the messages began.
void MessageAssembler::end_open_messages() {
  std::vector<Source*> open;
  for (Source& source : sources_) {
    if (is_open(source)) open.push_back(&source);
  }
  std::sort(open.begin(), open.end(),
            [](const Source* a, const Source* b) { return a->offset < b->offset; });
  for (Source* source : open) end(*source, newest_);
}

AssemblyCounts MessageAssembler::counts() const {
  AssemblyCounts counts = counts_;
  counts.has_timestamps = newest_.known;
  counts.has_clock = clock_hz_ != 0;
  for (std::size_t words = 1; words < messages_of_words_.size(); ++words) {
    if (messages_of_words_[words] != 0) counts.messages_of_words[words] = messages_of_words_[words];
  }
  return counts;
}

}  // namespace qbt2
