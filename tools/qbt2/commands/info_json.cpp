#include "tools/qbt2/commands/info_json.h"

#include <string>
#include <variant>

namespace qbt2::tool {
namespace {

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

Json masters_json(const StpInfo& info, const MasterNames& names) {
  Json masters = Json::array();
  for (const StpMaster& one : info.masters()) {
    if (one.channels.empty()) continue;  // in data_packets_of_further_sources
    Json master = {{"master", one.id}};
    const std::string_view name = names.of_master(one.id);
    if (!name.empty()) master["name"] = name;
    master["data_packets"] = one.data_packets;
    master["channels"] = one.channels;
    masters.push_back(std::move(master));
  }
  return masters;
}

/// In stream order: when the counter restarts the last timestamp may be the smaller one.
Json timestamps_json(const StpInfo& info) {
  Json times = {{"count", info.timestamps}, {"coding", coding_name(info.coding)}};
  if (info.timestamps == 0) return times;
  times["first"] = info.first_timestamp;
  times["last"] = info.last_timestamp;
  if (const auto span = info.span_ns()) times["span_ns"] = *span;
  return times;
}

Json stp_json(const StpInfo& info, const MasterNames& names) {
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
  stp["masters"] = masters_json(info, names);
  if (info.unlisted_data_packets != 0) {
    stp["data_packets_of_further_sources"] = info.unlisted_data_packets;
  }
  return stp;
}

Json frames_json(const FramesInfo& info, const MasterNames& names) {
  Json sources = Json::array();
  Json small = Json::array();
  std::uint64_t small_bytes = 0;
  for (const FramesInfo::Source& source : info.sources) {
    if (info.is_stray(source)) {
      small.push_back(source.id);
      small_bytes += source.bytes;
      continue;
    }
    sources.push_back({{"source", source.id},
                       {"bytes", source.bytes},
                       {"stp", source.is_stp() ? stp_json(source.stp, names) : Json()}});
  }
  Json frames = {
      {"bytes_framing", info.bytes_framing}, {"frames_cut", info.frames_cut}, {"sources", sources}};
  if (small.empty()) return frames;
  frames["small_sources"] = small;
  frames["bytes_of_small_sources"] = small_bytes;
  return frames;
}

Json samples_json(const SamplesInfo& info, const MasterNames& names) {
  Json words = Json::object();
  for (const auto& [count, samples] : info.samples_of_words) {
    words[std::to_string(count)] = samples;
  }
  Json samples = {{"samples", info.samples},
                  {"samples_of_words", words},
                  {"probes", info.probes},
                  {"bytes_skipped", info.bytes_skipped}};
  if (!names.has_settings()) return samples;
  Json& of_probe = samples["probe_names"] = Json::object();
  for (const std::uint16_t probe : info.probes) {
    const std::string_view name = names.of_probe(probe);
    if (!name.empty()) of_probe[std::to_string(probe)] = name;
  }
  return samples;
}

Json sections_json(const TraceFileContents& contents) {
  Json sections = Json::array();
  for (const TraceSection& section : contents.sections) {
    sections.push_back({{"name", section.name},
                        {"version", section.version},
                        {"payload_length", section.payloadLength}});
  }
  return {{"sections_in_all", contents.sections_in_all}, {"sections", sections}};
}

Json settings_json(const SettingsContents& contents) {
  Json use_cases = Json::array();
  for (const SettingsContents::UseCase& one : contents.use_cases) {
    use_cases.push_back({{"setting", one.setting}, {"name", one.name}});
  }
  return {{"settings", contents.settings}, {"usecases", use_cases}};
}

/// The members of each kind, after file, kind and bytes.
class Members {
 public:
  explicit Members(const MasterNames& names) : names_(names) {}

  Json operator()(const std::monostate& /*unknown*/) const { return Json::object(); }
  Json operator()(const StpInfo& info) const { return stp_json(info, names_); }
  Json operator()(const FramesInfo& info) const { return frames_json(info, names_); }
  Json operator()(const SamplesInfo& info) const { return samples_json(info, names_); }
  Json operator()(const TraceFileContents& contents) const { return sections_json(contents); }
  Json operator()(const DeviceContents& contents) const {
    return {{"device", contents.device},
            {"components", contents.components},
            {"settings", contents.settings},
            {"masters", contents.masters}};
  }
  Json operator()(const SettingsContents& contents) const { return settings_json(contents); }

 private:
  const MasterNames& names_;
};

}  // namespace

Json info_json(std::string_view file, const FileInfo& info, const MasterNames& names) {
  Json document = {{"file", file}, {"kind", info.kind}};
  if (info.bytes && info.is_known()) {
    document["bytes"] = *info.bytes;
  }
  document.update(std::visit(Members(names), info.contents));
  return document;
}

}  // namespace qbt2::tool
