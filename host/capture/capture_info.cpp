#include "host/capture/capture_info.h"

#include <algorithm>
#include <map>
#include <memory>
#include <numeric>

#include "host/capture/frames_capture.h"
#include "host/capture/sample_file.h"
#include "host/coresight/trace_sources.h"
#include "host/stp/stp_opcodes.h"

namespace qbt2 {
namespace {

constexpr std::size_t kStpMasters = std::size_t{1} << 16;

/// Sink of the STP reader that only counts.
class StpCounting {
 public:
  using OnDamage = std::function<void(std::uint64_t byte_offset, StpSyncLoss reason)>;
  explicit StpCounting(OnDamage on_damage) : on_damage_(std::move(on_damage)) {}

  void push(std::span<const std::uint8_t> bytes) { reader_.push(bytes, *this); }

  StpInfo finish() {
    (void)reader_.finish(*this);  // a cut last packet counts as skipped and is not damage
    info_.bytes = reader_.stream_bytes();
    info_.sync_losses = reader_.counters().sync_losses;
    info_.bytes_skipped = reader_.counters().bytes_skipped();
    info_.coding = reader_.timestamp_coding();
    info_.frequency_hz = reader_.frequency_hz();
    for (const auto& [source, data_packets] : data_packets_) {
      info_.sources.push_back({static_cast<std::uint16_t>(source >> 16),
                               static_cast<std::uint16_t>(source & 0xFFFF), data_packets});
    }
    std::sort(info_.sources.begin(), info_.sources.end(), [](const auto& a, const auto& b) {
      return std::pair(a.master, a.channel) < std::pair(b.master, b.channel);
    });
    const auto& unlisted = info_.unlisted_of_master;
    info_.unlisted_data_packets =
        std::accumulate(unlisted.begin(), unlisted.end(), std::uint64_t{0});
    return std::move(info_);
  }

  void on_packet(const StpPacket& packet) {
    ++info_.packets[static_cast<std::size_t>(packet.kind)];
    if (packet.has_timestamp) {
      if (info_.timestamps++ == 0) info_.first_timestamp = packet.timestamp;
      info_.last_timestamp = packet.timestamp;
    }
    if (packet.is_data()) count_data(packet);
    if (packet.kind == StpKind::kVersion) info_.versions.set(packet.value & kVersionCodingMask);
  }
  void on_sync_lost(std::uint64_t byte_offset, StpSyncLoss reason) {
    if (on_damage_) on_damage_(byte_offset, reason);
  }
  void on_skipped(const StpSkippedRange& /*range*/) {}

 private:
  void count_data(const StpPacket& packet) {
    const std::uint32_t source = std::uint32_t{packet.master} << 16 | packet.channel;
    if (source != current_source_ || current_ == nullptr) {
      current_source_ = source;
      current_ = counter_of(source);
    }
    ++*current_;
  }
  std::uint64_t* counter_of(std::uint32_t source) {
    const auto found = data_packets_.find(source);
    if (found != data_packets_.end()) return &found->second;
    if (data_packets_.size() == StpInfo::kMostSources) {
      info_.unlisted_of_master.resize(kStpMasters);
      return &info_.unlisted_of_master[source >> 16];
    }
    return &data_packets_[source];  // stays where it is when the map grows
  }

  OnDamage on_damage_;
  StpReader reader_;
  StpInfo info_;
  std::unordered_map<std::uint32_t, std::uint64_t> data_packets_;
  std::uint32_t current_source_ = 0;
  std::uint64_t* current_ = nullptr;
};

/// One of several passes over an input.
struct Pass {
  std::uint64_t done_bytes = 0;  ///< in the passes before
  unsigned passes = 1;
};

/// Calls take(bytes) for each piece, to the end of the input.
template <typename Take>
void for_each_piece(InputFile& input, const InfoEvents& events, Pass pass, Take&& take) {
  std::vector<std::uint8_t> piece(kCapturePieceBytes);
  std::uint64_t bytes = 0;
  while (const std::size_t got = input.read(piece)) {
    take(std::span<const std::uint8_t>(piece).first(got));
    bytes += got;
    if (events.on_progress) events.on_progress((pass.done_bytes + bytes) / pass.passes);
  }
  report_if_cut(input, events.on_damage);
}

/// Extracts one source from the frames and counts its packets.
struct SourceCounting {
  SourceCounting(std::uint8_t source, const InfoEvents& events)
      : id(source), frames(source), stp([this, &events](std::uint64_t offset, StpSyncLoss reason) {
          if (events.on_damage) events.on_damage(frames.input_offset(offset), to_string(reason));
        }) {}
  SourceCounting(const SourceCounting&) = delete;
  SourceCounting& operator=(const SourceCounting&) = delete;

  void push(std::span<const std::uint8_t> bytes) {
    frames.push(bytes, [this](std::span<const std::uint8_t> stream, std::uint64_t /*offset*/) {
      stp.push(stream);
    });
  }

  std::uint8_t id;
  FrameDemultiplexer frames;
  StpCounting stp;
};

}  // namespace

std::uint64_t StpInfo::packets_in_all() const {
  return std::accumulate(packets.begin(), packets.end(), std::uint64_t{0});
}

std::optional<std::uint64_t> StpInfo::span_ns() const {
  constexpr std::uint64_t kNanoseconds = 1'000'000'000;
  if (timestamps == 0 || frequency_hz == 0 || last_timestamp < first_timestamp) return std::nullopt;
  const auto ticks = static_cast<unsigned __int128>(last_timestamp - first_timestamp);
  const auto span = ticks * kNanoseconds / frequency_hz;
  if (span > UINT64_MAX) return std::nullopt;
  return static_cast<std::uint64_t>(span);
}

std::vector<StpMaster> StpInfo::masters() const {
  std::map<std::uint16_t, StpMaster> by_id;
  for (const StpSource& source : sources) {
    StpMaster& master = by_id[source.master];
    master.data_packets += source.data_packets;
    master.channels.push_back(source.channel);
  }
  for (std::size_t id = 0; id < unlisted_of_master.size(); ++id) {
    if (unlisted_of_master[id] == 0) continue;
    by_id[static_cast<std::uint16_t>(id)].unlisted_data_packets = unlisted_of_master[id];
  }
  std::vector<StpMaster> masters;
  masters.reserve(by_id.size());
  for (auto& [id, master] : by_id) {
    master.id = id;
    masters.push_back(std::move(master));
  }
  return masters;
}

bool FramesInfo::is_stray(const Source& source) const {
  constexpr std::uint64_t kNegligibleShare = 100;
  if (source.is_stp()) return false;
  return std::any_of(sources.begin(), sources.end(), [&source](const Source& other) {
    return source.bytes < other.bytes / kNegligibleShare;
  });
}

StpInfo read_stp_info(InputFile& input, const InfoEvents& events) {
  StpCounting stp([&](std::uint64_t offset, StpSyncLoss reason) {
    if (events.on_damage) events.on_damage(offset, to_string(reason));
  });
  for_each_piece(input, events, {}, [&](std::span<const std::uint8_t> bytes) { stp.push(bytes); });
  return stp.finish();
}

SamplesInfo read_samples_info(InputFile& input, const InfoEvents& events) {
  CaptureOptions options;
  options.on_damage = events.on_damage;
  SampleFileReader reader(input, options);
  for (SampleBatch batch; reader.next(batch); batch.clear()) {
    if (events.on_progress) events.on_progress(reader.position());
  }
  const CaptureCounts counts = reader.counts();
  SamplesInfo info;
  info.bytes = counts.bytes;
  info.bytes_skipped = counts.bytes_skipped;
  info.samples = counts.assembly.messages;
  for (const auto& [words, samples] : counts.assembly.messages_of_words) {
    info.samples_of_words.emplace_back(words, samples);
  }
  std::sort(info.samples_of_words.begin(), info.samples_of_words.end());
  for (std::size_t id = 0; id < counts.assembly.masters.size(); ++id) {
    if (counts.assembly.masters.test(id)) info.probes.push_back(static_cast<std::uint16_t>(id));
  }
  return info;
}

FramesInfo read_frames_info(InputFile& input, const InfoEvents& events) {
  const Pass pass = input.is_regular() ? Pass{input.size_bytes(), 2} : Pass{};
  std::vector<std::unique_ptr<SourceCounting>> sources;
  const auto on_progress = [&events](std::uint64_t bytes) {
    if (events.on_progress) events.on_progress(bytes / 2);
  };
  for (const SourceBytes& source : find_sources(input, on_progress)) {
    sources.push_back(std::make_unique<SourceCounting>(source.id, events));
  }
  FrameDemultiplexer all;
  for_each_piece(input, events, pass, [&](std::span<const std::uint8_t> bytes) {
    all.push(bytes);
    for (const auto& source : sources) source->push(bytes);
  });
  FramesInfo info;
  info.bytes = all.input_bytes();
  info.bytes_framing = all.bytes_framing();
  info.frames_cut = all.frames_cut();
  report_cut_frames(all, events.on_notice);
  for (const SourceBytes& found : all.sources()) {
    const auto source = std::find_if(sources.begin(), sources.end(),
                                     [&](const auto& one) { return one->id == found.id; });
    info.sources.push_back(
        {found.id, found.bytes, source == sources.end() ? StpInfo() : (*source)->stp.finish()});
  }
  if (info.sources.size() > sources.size() && events.on_notice) {
    events.on_notice(
        "sources that appear after the first megabyte of a pipe are counted, but not examined");
  }
  return info;
}

}  // namespace qbt2
