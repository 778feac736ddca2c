#include "tools/qbt2/commands/info_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <variant>
#include <vector>

#include "host/base/number_ranges.h"
#include "host/base/number_text.h"
#include "host/base/use_case_setting.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/commands/fact_lines.h"

namespace qbt2::tool {
namespace {

using Rows = std::vector<std::vector<std::string>>;

/// Items of a list without --all.
constexpr std::size_t kMostListed = 20;

constexpr std::string_view kNoName = "-";

/// What the word of FileInfo::kind stands for; the other kinds say it themselves.
struct KindMeaning {
  std::string_view kind;
  std::string_view meaning;
};
constexpr std::array kKindMeanings{
    KindMeaning{"samples", "samples: whole messages for the decoder"},
    KindMeaning{"stp", "stp: an STP stream"},
    KindMeaning{"frames", "frames: trace sources in formatter frames"},
};

std::string_view kind_text(std::string_view kind) {
  for (const KindMeaning& one : kKindMeanings) {
    if (one.kind == kind) return one.meaning;
  }
  return kind;
}

/// " (65.5 k" and the unit; empty for numbers that are easily read.
std::string in_larger_unit(std::uint64_t value, std::string_view unit) {
  constexpr std::array<char, 4> kPrefixes = {' ', 'k', 'M', 'G'};
  constexpr double kThousand = 1000;
  constexpr std::uint64_t kEasilyRead = 10'000;
  if (value < kEasilyRead) return {};
  std::size_t prefix = 0;
  double scaled = static_cast<double>(value);
  for (; scaled >= kThousand && prefix + 1 < kPrefixes.size(); ++prefix) scaled /= kThousand;
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), " (%.1f %c", scaled, kPrefixes[prefix]);
  return std::string(text.data()).append(unit).append(")");
}

std::string bytes_text(std::uint64_t bytes) {
  return counted(bytes, "byte") + in_larger_unit(bytes, "B");
}

/// "0.156 ms": three decimals of the largest unit in which there is at least one.
std::string duration_text(std::uint64_t ns) {
  struct Unit {
    std::uint64_t ns;
    const char* name;
  };
  constexpr std::array kUnits{Unit{1'000'000'000, "s"}, Unit{1'000'000, "ms"}, Unit{1000, "us"}};
  for (const Unit& unit : kUnits) {
    if (ns < unit.ns) continue;
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%.3f %s",
                  static_cast<double>(ns) / static_cast<double>(unit.ns), unit.name);
    return text.data();
  }
  return std::to_string(ns) + " ns";
}

std::string_view coding_text(StpTimestampCoding coding) {
  switch (coding) {
    case StpTimestampCoding::kNatural:
      return "natural coding";
    case StpTimestampCoding::kGray:
      return "Gray coding";
    case StpTimestampCoding::kDelta:
      return "delta coding";
  }
  return "";
}

/// A total before what it is made of: "5: 2 D8", "3 FLAG".
std::vector<std::string> with_total(std::uint64_t total, std::vector<std::string> parts) {
  const std::string text = std::to_string(total);
  if (parts.empty()) return {text};
  parts.front().insert(0, text + ": ");
  return parts;
}

std::vector<std::string> packets_items(const StpInfo& info) {
  std::vector<std::string> items;
  for (int kind = 0; kind < kStpKindCount; ++kind) {
    const std::uint64_t count = info.packets[static_cast<std::size_t>(kind)];
    if (count == 0) continue;
    items.push_back(
        std::to_string(count).append(" ").append(to_string(static_cast<StpKind>(kind))));
  }
  return with_total(info.packets_in_all(), std::move(items));
}

std::string version_text(const StpInfo& info) {
  std::vector<std::uint32_t> versions;
  for (std::uint32_t i = 0; i < info.versions.size(); ++i) {
    if (info.versions.test(i)) versions.push_back(i);
  }
  return versions.empty() ? "STP 2 (no VERSION packet)"
                          : "STP 2 (VERSION packets: " + ranges_text(versions) + ")";
}

/// From the first to the last timestamp, or why that is not known.
std::string duration_text(const StpInfo& info) {
  if (const auto span = info.span_ns()) return duration_text(*span);
  if (info.frequency_hz != 0) return "unknown: the last timestamp is before the first";
  return info.of_kind(StpKind::kFreq) == 0 ? "unknown: no FREQ packet gives the clock"
                                           : "unknown: the FREQ packets say 0 Hz";
}

/// "0-3, 7", where that is long "312 in 0-4095"; with unlisted ones "0-3, ...".
std::string channels_text(const StpMaster& master) {
  constexpr std::size_t kMostCharacters = 18;
  const std::vector<std::uint32_t>& channels = master.channels;
  if (channels.empty()) return "not listed";
  std::string text = ranges_text(channels);
  if (text.size() > kMostCharacters) {
    text = std::to_string(channels.size()) + " in " + std::to_string(channels.front()) + "-" +
           std::to_string(channels.back());
  }
  return master.unlisted_data_packets == 0 ? text : text + ", ...";
}

std::uint64_t packets_of(const StpMaster& master) {
  return master.data_packets + master.unlisted_data_packets;
}

/// A name of the settings for a table.
std::string name_text(std::string_view name) {
  return name.empty() ? std::string(kNoName) : shown(name);
}

/// The master of a use case; the name of a setting that is no master's as it is.
std::string master_text(const std::string& setting) {
  const auto id = use_case_master(setting);
  return id ? std::to_string(*id) : shown(setting);
}

/// Writes what a kind of file contains, after the facts that files of all kinds have.
class Contents {
 public:
  Contents(FactLines& lines, const MasterNames& names, bool all)
      : lines_(lines), names_(names), all_(all) {}

  void operator()(const std::monostate& /*unknown*/) {}

  void operator()(const StpInfo& info) { stp(info, names_.has_settings()); }

  void operator()(const FramesInfo& info) {
    lines_.fact("framing", bytes_text(info.bytes_framing));
    std::vector<std::string> strays;
    std::uint64_t stray_bytes = 0;
    std::vector<const FramesInfo::Source*> sources;
    for (const FramesInfo::Source& source : info.sources) {
      if (!info.is_stray(source)) {
        sources.push_back(&source);
        continue;
      }
      stray_bytes += source.bytes;
      strays.push_back(hex_text(source.id, 2));
    }
    lines_.fact("sources", std::to_string(sources.size()));
    if (!strays.empty()) {
      lines_.wrapped("stray IDs", std::to_string(strays.size()) + " with " +
                                      counted(stray_bytes, "byte") +
                                      " in all, most likely bit errors");
      lines_.items("", first_of(std::move(strays)));
    }
    const bool is_chosen = std::any_of(sources.begin(), sources.end(), [this](const auto* source) {
      return source->id == names_.source_id();
    });
    for (const FramesInfo::Source* source : sources) {
      frame_source(*source, is_chosen && source->id == names_.source_id(), is_chosen);
    }
  }

  void operator()(const SamplesInfo& info) {
    std::vector<std::string> of_words;
    for (const auto& [words, count] : info.samples_of_words) {
      of_words.push_back(std::to_string(count) + " of " + counted(words, "word"));
    }
    lines_.items("samples", with_total(info.samples, std::move(of_words)));
    skipped(info.bytes_skipped);
    if (!names_.has_settings()) {
      const std::vector<std::uint32_t> probes(info.probes.begin(), info.probes.end());
      return lines_.wrapped("probes", probes.empty() ? "none" : ranges_text(probes));
    }
    Rows rows = {{"probe", "name"}};
    for (const std::uint16_t probe : info.probes) {
      rows.push_back({std::to_string(probe), name_text(names_.of_probe(probe))});
    }
    list("probes", info.probes.size(), "", std::move(rows));
  }

  void operator()(const TraceFileContents& contents) {
    Rows rows = {{"version", "payload bytes", "name"}};
    for (const TraceSection& section : contents.sections) {
      rows.push_back({std::to_string(section.version), std::to_string(section.payloadLength),
                      shown(section.name)});
    }
    list("sections", contents.sections_in_all, "", std::move(rows), "qbt2 tdf list");
  }

  void operator()(const DeviceContents& contents) {
    lines_.fact("device", shown(contents.device));
    std::vector<std::string> components;
    for (const std::string& name : contents.components) components.push_back(shown(name));
    const std::size_t count = components.size();
    lines_.items("components", with_total(count, first_of(std::move(components))));
    lines_.fact("settings", std::to_string(contents.settings));
    lines_.wrapped("masters", contents.masters.empty() ? "none" : ranges_text(contents.masters));
  }

  void operator()(const SettingsContents& contents) {
    lines_.fact("settings", std::to_string(contents.settings));
    Rows rows = {{"master", "name"}};
    for (const SettingsContents::UseCase& one : contents.use_cases) {
      if (!is_listed(rows)) break;
      rows.push_back({master_text(one.setting), name_text(one.name)});
    }
    list("masters", contents.use_cases.size(), "", std::move(rows));
  }

 private:
  void stp(const StpInfo& info, bool with_names) {
    lines_.fact("version", version_text(info));
    lines_.items("packets", packets_items(info));
    skipped(info.bytes_skipped);
    if (info.timestamps == 0) {
      lines_.fact("timestamps", "none");
    } else {
      lines_.wrapped("timestamps", std::to_string(info.timestamps) + ", " +
                                       std::string(coding_text(info.coding)) + ", ticks " +
                                       std::to_string(info.first_timestamp) + " to " +
                                       std::to_string(info.last_timestamp));
    }
    if (info.frequency_hz != 0) {
      lines_.fact("clock", std::to_string(info.frequency_hz) + " Hz" +
                               in_larger_unit(info.frequency_hz, "Hz"));
    }
    if (info.timestamps != 0) lines_.wrapped("duration", duration_text(info));
    stp_masters(info, with_names);
  }

  void stp_masters(const StpInfo& info, bool with_names) {
    std::vector<StpMaster> masters = info.masters();
    const std::size_t count = masters.size();
    const bool is_cut = !all_ && count > kMostListed;
    if (is_cut) {
      const auto end = masters.begin() + kMostListed;
      std::partial_sort(masters.begin(), end, masters.end(), [](const auto& a, const auto& b) {
        const std::uint64_t of_a = packets_of(a);
        const std::uint64_t of_b = packets_of(b);
        return of_a != of_b ? of_a > of_b : a.id < b.id;
      });
      masters.erase(end, masters.end());
    }
    Rows rows = {{"master", "data packets", "channels"}};
    if (with_names) rows.front().emplace_back("name");
    for (const StpMaster& master : masters) {
      rows.push_back(
          {std::to_string(master.id), std::to_string(packets_of(master)), channels_text(master)});
      if (with_names) rows.back().push_back(name_text(names_.of_master(master.id)));
    }
    list("masters", count, "with the most data packets", std::move(rows));
    if (info.unlisted_data_packets == 0) return;
    lines_.remark("Only the first " + std::to_string(StpInfo::kMostSources) +
                  " channels of all masters are listed.");
  }

  void frame_source(const FramesInfo::Source& source, bool is_chosen, bool one_is_chosen) {
    lines_.gap();
    lines_.fact("source", hex_text(source.id, 2) + (is_chosen ? ", by the settings" : ""));
    lines_.fact("size", bytes_text(source.bytes));
    if (!source.is_stp()) return lines_.fact("kind", "not STP: no ASYNC packet");
    lines_.fact("kind", kind_text("stp"));
    stp(source.stp, names_.has_settings() && (is_chosen || !one_is_chosen));
  }

  void skipped(std::uint64_t bytes) {
    if (bytes != 0) lines_.fact("skipped", bytes_text(bytes));
  }

  /// The items that are listed in one value.
  std::vector<std::string> first_of(std::vector<std::string> items) const {
    if (all_ || items.size() <= kMostListed) return items;
    const std::size_t more = items.size() - kMostListed;
    items.resize(kMostListed);
    items.push_back("and " + std::to_string(more) + " more (--all)");
    return items;
  }

  bool is_listed(const Rows& rows) const { return all_ || rows.size() <= kMostListed; }

  /// A table of `count` things or of the first of them. `rows` begin with the titles; `choice` says
  /// which ones come first, `more` which command shows those that even --all does not.
  void list(std::string_view label, std::size_t count, std::string_view choice, Rows rows,
            std::string_view more = {}) {
    if (!all_ && rows.size() > kMostListed + 1) rows.resize(kMostListed + 1);
    const std::size_t listed = rows.size() - 1;
    std::string text = std::to_string(count);
    if (listed < count) {
      text.append(", the ").append(choice.empty() ? "first " : "").append(std::to_string(listed));
      if (!choice.empty()) text.append(" ").append(choice);
      text.append(" below (all of them: ").append(more.empty() ? "--all" : more).append(")");
    }
    lines_.wrapped(label, text);
    if (listed != 0) lines_.table(rows);
  }

  FactLines& lines_;
  const MasterNames& names_;
  bool all_;
};

}  // namespace

std::string info_text(std::string_view file, const FileInfo& info, const MasterNames& names,
                      const InfoTextOptions& options) {
  FactLines lines(options.columns);
  lines.fact("file", shown(file));
  if (info.bytes) lines.fact("size", bytes_text(*info.bytes));
  lines.fact("kind", kind_text(info.kind));
  if (info.is_known()) {
    lines.fact("faults", info.faults == 0 ? "none" : std::to_string(info.faults));
  }
  std::visit(Contents(lines, names, options.all), info.contents);
  return lines.text();
}

}  // namespace qbt2::tool
