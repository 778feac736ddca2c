#include "host/decode/run_notices.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "host/base/number_ranges.h"
#include "host/base/number_text.h"
#include "host/base/text_parts.h"
#include "interfaces/sample_format.h"

namespace qbt2 {
namespace {

using Kz::Dvt::Trace::SampleFormat::ProbeOfMaster;

bool has_no_async(const CaptureCounts& counts) {
  return counts.stp_bytes != 0 && counts.stp_async_packets == 0;
}

/// Frames without the source, which their reader has reported.
bool has_no_stp(const CaptureCounts& counts) {
  return counts.stp_bytes == 0 && counts.assembly.messages == 0;
}

/// Masters with a message, by full id. Of samples only the low 8 bits are known.
using MasterSet = std::bitset<65536>;

MasterSet masters_of(const RunReport& report, bool of_samples) {
  MasterSet seen;
  for (const CaptureReport& one : report.captures) {
    if ((one.format == CaptureFormat::kSamples) == of_samples) seen |= one.capture.assembly.masters;
  }
  return seen;
}

void add_master_line(std::vector<std::string>& notices, const std::vector<std::uint32_t>& masters,
                     const char* one, const char* many) {
  if (masters.empty()) return;
  notices.push_back(masters_text(masters) + (masters.size() == 1 ? one : many));
}

}  // namespace

bool held_nothing(const CaptureCounts& counts) {
  const bool has_no_row = counts.stp_bytes != 0 && counts.assembly.has_words_only();
  return counts.bytes == 0 || has_no_stp(counts) || has_no_async(counts) || has_no_row;
}

std::vector<std::string> capture_notices(const CaptureCounts& counts) {
  std::vector<std::string> notices;
  if (counts.bytes == 0) {
    notices.emplace_back("is empty");
  } else if (has_no_async(counts)) {
    notices.emplace_back("contains no ASYNC packet, so nothing in it can be decoded");
  } else if (counts.stp_async_packets != 0 && counts.assembly.words == 0) {
    std::string text = "contains no D32 or D64 packet, so there are no rows";
    if (counts.assembly.ignored_packets != 0) {
      text += " (D4, D8 and D16 packets, which are ignored: " +
              std::to_string(counts.assembly.ignored_packets) + ")";
    }
    notices.push_back(text);
  }
  if (counts.assembly.source_errors != 0) {
    notices.push_back("the source lost trace (MERR and GERR packets: " +
                      std::to_string(counts.assembly.source_errors) + ")");
  }
  return notices;
}

std::string no_settings_notice(const std::string& capture_path) {
  const std::string text =
      "no settings, so every row says Unknown; name the masters with --config ";
  const std::filesystem::path path(capture_path);
  for (const std::filesystem::path& beside :
       {std::filesystem::path(capture_path + ".cfg"),
        std::filesystem::path(path).replace_extension(".cfg")}) {
    std::error_code error;
    if (beside != path && std::filesystem::is_regular_file(beside, error)) {
      return text + beside.string() + ", which lies beside it";
    }
  }
  return text + "FILE";
}

std::vector<std::string> traffic_notices(const std::vector<std::uint32_t>& configured,
                                         const RunReport& report) {
  const MasterSet seen = masters_of(report, false);
  const MasterSet seen_probes = masters_of(report, true);
  std::bitset<256> named_probes;
  std::vector<std::uint32_t> silent;
  for (const std::uint32_t id : configured) {
    named_probes.set(ProbeOfMaster(id));
    const bool has_traffic = (id < seen.size() && seen.test(id)) || seen_probes[ProbeOfMaster(id)];
    if (!has_traffic) silent.push_back(id);
  }
  std::vector<std::uint32_t> nameless;
  for (std::uint32_t id = 0; id < seen.size(); ++id) {
    // Others carry the name of another master: shared_probe_notices().
    if ((seen[id] || seen_probes[id]) && !named_probes[ProbeOfMaster(id)]) nameless.push_back(id);
  }
  std::vector<std::string> notices;
  add_master_line(notices, silent, " has settings but no traffic", " have settings but no traffic");
  add_master_line(notices, nameless, " has traffic but no settings; its rows say Unknown",
                  " have traffic but no settings; their rows say Unknown");
  return notices;
}

std::vector<std::string> shared_probe_notices(const std::vector<NamedMaster>& masters,
                                              const std::vector<std::uint16_t>& wanted,
                                              const RunReport& report) {
  constexpr std::size_t kMostLines = 20;
  MasterSet with_rows = masters_of(report, false);
  if (!wanted.empty()) {
    MasterSet chosen;
    for (const std::uint16_t id : wanted) chosen.set(id);
    with_rows &= chosen;
  }
  std::array<std::vector<std::uint32_t>, 256> of_probe;
  for (std::uint32_t id = 0; id < with_rows.size(); ++id) {
    if (with_rows[id]) of_probe[ProbeOfMaster(id)].push_back(id);
  }
  std::vector<std::string> notices;
  std::size_t more = 0;
  std::bitset<256> is_named;
  for (const NamedMaster& owner : masters) {  // the first of a probe names it
    const std::uint8_t probe = ProbeOfMaster(owner.id);
    const std::vector<std::uint32_t>& sharing = of_probe[probe];
    const bool is_only_own = sharing.size() == 1 && sharing.front() == owner.id;
    if (is_named[probe] || sharing.empty() || is_only_own) continue;
    is_named.set(probe);
    if (notices.size() == kMostLines) {
      ++more;
      continue;
    }
    notices.push_back("the rows of " + masters_text(sharing) + " carry the name of master " +
                      std::to_string(owner.id) + " (" + excerpt(owner.name) +
                      "): the low 8 bits of their ids are the same; the field stp_master tells " +
                      "them apart");
  }
  if (more != 0) {
    notices.push_back("the masters of " + counted(more, "more probe id") +
                      " carry the name of another one");
  }
  return notices;
}

std::string missing_masters_notice(const std::vector<MasterChoice>& choices,
                                   const RunReport& report) {
  constexpr std::size_t kMostShown = 20;
  const MasterSet seen = masters_of(report, false) | masters_of(report, true);
  std::string missing;
  std::size_t count = 0;
  for (const MasterChoice& choice : choices) {
    if (choice.is_in(seen) || count++ >= kMostShown) continue;
    missing += (missing.empty() ? "" : ", ") + excerpt(choice.text);
  }
  if (count == 0) return {};
  if (count > kMostShown) missing += " and " + std::to_string(count - kMostShown) + " more";
  std::vector<std::uint32_t> present;
  for (std::uint32_t id = 0; id < seen.size(); ++id) {
    if (seen[id]) present.push_back(id);
  }
  return missing + ": no traffic in any capture; " +
         (present.empty() ? "no master has any" : "there is traffic of " + masters_text(present));
}

std::optional<ClockNotice> clock_notice(const std::optional<std::string>& clock_setting,
                                        const RunReport& report) {
  for (const CaptureReport& one : report.captures) {
    const AssemblyCounts& assembly = one.capture.assembly;
    const bool has_messages = one.decode.rows() + one.messages_outside != 0;
    if (!has_messages || !assembly.has_timestamps || assembly.has_clock) continue;
    std::string text =
        "no FREQ packet gives the rate of the timestamps, so rows have no time_ns; give it with "
        "--clock-hz HZ";
    if (clock_setting) {
      text += " (the settings have " + std::string(kClockSetting) + "=" + excerpt(*clock_setting) +
              ", perhaps of another clock)";
    }
    return ClockNotice{one.file, text};
  }
  return std::nullopt;
}

}  // namespace qbt2
