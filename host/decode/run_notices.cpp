#include "host/decode/run_notices.h"

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <map>

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

std::string master(std::uint32_t id) {
  return "master " + std::to_string(id);
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
  }
  if (counts.assembly.source_errors != 0) {
    notices.push_back("the source lost trace (MERR and GERR packets: " +
                      std::to_string(counts.assembly.source_errors) + ")");
  }
  return notices;
}

std::vector<std::string> settings_notices(const DecoderSetup& setup, const RunReport& report) {
  if (!setup.has_settings()) return {};
  std::vector<std::string> notices = setup.warnings();
  // Of a capture without a message nothing can be said about its masters.
  const bool is_incomplete =
      std::any_of(report.captures.begin(), report.captures.end(),
                  [](const CaptureReport& one) { return one.nothing_to_decode; });
  if (is_incomplete) return notices;
  // Samples carry only the low 8 bits of a master's id, and the decoder compares no more of any.
  const bool has_samples =
      std::any_of(report.captures.begin(), report.captures.end(),
                  [](const CaptureReport& one) { return one.format == CaptureFormat::kSamples; });
  const auto id_in_capture = [has_samples](std::uint32_t id) {
    return has_samples ? ProbeOfMaster(id) : id;
  };
  const std::bitset<65536> seen = report.capture_totals().assembly.masters;
  std::map<std::uint32_t, std::uint32_t> configured;
  std::map<std::uint8_t, std::uint32_t> by_probe;
  for (const std::uint32_t id : setup.master_ids()) {
    configured.emplace(id_in_capture(id), id);
    by_probe.emplace(ProbeOfMaster(id), id);
    if (id_in_capture(id) >= seen.size() || !seen.test(id_in_capture(id))) {
      notices.push_back(master(id) + " has settings but no traffic");
    }
  }
  for (std::uint32_t id = 0; id < seen.size(); ++id) {
    if (!seen.test(id) || configured.contains(id)) continue;
    std::string text = master(id) + " has traffic but no settings";
    if (const auto same = by_probe.find(ProbeOfMaster(id)); same != by_probe.end()) {
      text +=
          "; its rows are named after " + master(same->second) + ", which has the same low 8 bits";
    }
    notices.push_back(text);
  }
  return notices;
}

}  // namespace qbt2
