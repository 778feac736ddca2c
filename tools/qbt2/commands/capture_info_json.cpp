#include "tools/qbt2/commands/capture_info_json.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace qbt2::tool {
namespace {

constexpr std::uint64_t kNegligibleShare = 100;
constexpr std::uint64_t kNanoseconds = 1'000'000'000;

std::string_view coding_name(StpTimestampCoding coding) {
  switch (coding) {
    case StpTimestampCoding::kNatural:
      return "natural";
    case StpTimestampCoding::kGray:
      return "gray";
    case StpTimestampCoding::kDelta:
      return "delta";
  }
  return "";
}

/// The number of packets by kind, kinds without packets left out.
Json packets_json(const StpInfo& info) {
  Json packets = {{"all", info.packets_in_all()}};
  for (int kind = 0; kind < kStpKindCount; ++kind) {
    const std::uint64_t count = info.packets[static_cast<std::size_t>(kind)];
    if (count != 0) packets[std::string(to_string(static_cast<StpKind>(kind)))] = count;
  }
  return packets;
}

Json masters_json(const StpInfo& info) {
  Json masters = Json::array();
  for (const StpSource& source : info.sources) {
    if (masters.empty() || masters.back()["master"] != source.master) {
      masters.push_back(
          {{"master", source.master}, {"data_packets", 0}, {"channels", Json::array()}});
    }
    Json& master = masters.back();
    master["data_packets"] = master["data_packets"].get<std::uint64_t>() + source.data_packets;
    master["channels"].push_back(source.channel);
  }
  return masters;
}

/// In stream order: when the counter restarts the last timestamp may be the smaller one, and then
/// there is no span.
Json timestamps_json(const StpInfo& info) {
  Json times = {{"count", info.timestamps}, {"coding", coding_name(info.coding)}};
  if (info.timestamps == 0) return times;
  times["first"] = info.first_timestamp;
  times["last"] = info.last_timestamp;
  if (info.frequency_hz == 0 || info.last_timestamp < info.first_timestamp) return times;
  const auto ticks = static_cast<unsigned __int128>(info.last_timestamp - info.first_timestamp);
  const auto span_ns = ticks * kNanoseconds / info.frequency_hz;
  if (span_ns <= UINT64_MAX) times["span_ns"] = static_cast<std::uint64_t>(span_ns);
  return times;
}

/// Whether a source is likely no more than a flipped bit in an ID change: it has next to no data
/// and no ASYNC packet.
bool is_negligible(const FramesInfo::Source& source, std::uint64_t largest_bytes) {
  return source.bytes < largest_bytes / kNegligibleShare &&
         source.stp.of_kind(StpKind::kAsync) == 0;
}

}  // namespace

Json stp_json(const StpInfo& info) {
  Json versions = Json::array();
  for (unsigned i = 0; i < info.versions.size(); ++i) {
    if (info.versions.test(i)) versions.push_back(i);
  }
  Json stp = {{"stp_version", 2},
              {"version_packets", versions},
              {"packets", packets_json(info)},
              {"sync_losses", info.sync_losses},
              {"bytes_skipped", info.bytes_skipped},
              {"timestamps", timestamps_json(info)}};
  if (info.frequency_hz != 0) stp["frequency_hz"] = info.frequency_hz;
  stp["masters"] = masters_json(info);
  if (info.unlisted_data_packets != 0) {
    stp["data_packets_of_further_sources"] = info.unlisted_data_packets;
  }
  return stp;
}

Json frames_json(const FramesInfo& info) {
  std::uint64_t largest = 0;
  for (const FramesInfo::Source& source : info.sources) largest = std::max(largest, source.bytes);
  Json sources = Json::array();
  Json small = Json::array();
  std::uint64_t small_bytes = 0;
  for (const FramesInfo::Source& source : info.sources) {
    if (is_negligible(source, largest)) {
      small.push_back(source.id);
      small_bytes += source.bytes;
      continue;
    }
    const bool is_stp = source.stp.of_kind(StpKind::kAsync) != 0;
    sources.push_back({{"source", source.id},
                       {"bytes", source.bytes},
                       {"stp", is_stp ? stp_json(source.stp) : Json()}});
  }
  Json frames = {{"bytes", info.bytes},
                 {"bytes_framing", info.bytes_framing},
                 {"frames_cut", info.frames_cut},
                 {"sources", sources}};
  if (small.empty()) return frames;
  frames["small_sources"] = small;
  frames["bytes_of_small_sources"] = small_bytes;
  return frames;
}

Json samples_json(const SamplesInfo& info) {
  Json words = Json::object();
  for (const auto& [count, samples] : info.samples_of_words) {
    words[std::to_string(count)] = samples;
  }
  return {{"bytes", info.bytes},
          {"samples", info.samples},
          {"samples_of_words", words},
          {"probes", info.probes},
          {"bytes_skipped", info.bytes_skipped}};
}

}  // namespace qbt2::tool
