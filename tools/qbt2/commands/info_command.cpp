#include "tools/qbt2/commands/info_command.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/error.h"
#include "host/base/input_file.h"
#include "host/base/text_parts.h"
#include "host/base/use_case_setting.h"
#include "host/capture/capture_format.h"
#include "host/capture/capture_info.h"
#include "host/device/device_description.h"
#include "host/device/device_session.h"
#include "host/tdf/section_text_check.h"
#include "host/tdf/trace_file.h"
#include "host/tdf/usecase_check.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/cli/terminal.h"
#include "tools/qbt2/commands/json_outline.h"

namespace qbt2::tool {
namespace {

constexpr std::size_t kMostTextBytes = std::size_t{16} << 20;
constexpr std::size_t kMostListedSections = 1000;
constexpr std::uint64_t kNegligibleShare = 100;
constexpr std::uint64_t kNanoseconds = 1'000'000'000;

struct InfoArguments {
  std::string file;
  std::string format = "text";
};

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

/// The packets by name, those that are there.
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

/// In stream order: a counter that starts anew makes the last one the smaller one, and then there
/// is no span to tell.
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

/// Whether a source is likely no more than a flipped bit in an announced id: it has next to no
/// data, and no STP in it.
bool is_negligible(const FramesInfo::Source& source, std::uint64_t largest_bytes) {
  return source.bytes < largest_bytes / kNegligibleShare &&
         source.stp.of_kind(StpKind::kAsync) == 0;
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

/// Text, as far as one can tell: no control characters but those that lay out lines.
bool is_text(std::string_view bytes) {
  return std::none_of(bytes.begin(), bytes.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t' && c != '\n' && c != '\r') || byte == 0x7F;
  });
}

/// Lines of NAME=VALUE, comments and use-case blocks, and nothing else.
bool is_settings(std::string_view text) {
  bool has_setting = false;
  bool has_other = false;
  for_each_line(text, [&](const TextLine& line) {
    if (line.text.empty() || line.text.front() == '#' || line.text.front() == '{') return;
    (line.has_equals() ? has_setting : has_other) = true;
  });
  return has_setting && !has_other;
}

/// Finds out and prints what one input is.
class InfoRun {
 public:
  explicit InfoRun(const InfoArguments& arguments)
      : arguments_(arguments),
        input_(arguments.file),
        progress_(wants_progress(), input_.size_bytes()),
        reporter_(progress_) {
    events_.on_damage = [this](std::uint64_t offset, std::string_view reason) {
      damaged_ = true;
      reporter_.trouble("damage", shown(input_.name()), offset, shown(reason));
    };
    events_.on_notice = [this](std::string_view text) {
      reporter_.notice(shown(input_.name()), shown(text));
    };
    events_.on_progress = [this](std::uint64_t bytes) { progress_.update(bytes); };
  }

  int run() {
    Json members = look();
    reporter_.summarise();
    Json document = {{"file", input_.name()}, {"kind", kind_}};
    document.update(members);
    Printer printer("-");
    printer.print(arguments_.format == "json" ? json_text(document, 2) + "\n" : outline(document));
    printer.finish();
    return damaged_ ? kExitDamaged : kExitOk;
  }

 private:
  /// A bar that redraws itself is not plain output.
  static bool wants_progress() {
    const char* const plain = std::getenv("NO_COLOR");
    return standard_error_is_terminal() && (plain == nullptr || *plain == '\0');
  }

  Json look() {
    const auto head = input_.peek(kDetectionBytes);
    const std::string_view start(reinterpret_cast<const char*>(head.data()), head.size());
    if (start.empty()) return unknown("is empty");
    if (is_trace_data(head)) return trace_file();
    if (const auto format = detect_capture_format(head)) return capture(*format);
    if (is_text(start)) return text();
    return unknown("is nothing that is known here");
  }

  Json unknown(const std::string& reason) {
    kind_ = "unknown";
    damaged_ = true;
    events_.on_notice(reason);
    return Json::object();
  }

  Json capture(CaptureFormat format) {
    kind_ = capture_format_name(format);
    switch (format) {
      case CaptureFormat::kSamples:
        return samples_json(read_samples_info(input_, events_));
      case CaptureFormat::kFrames:
        return frames();
      case CaptureFormat::kStp:
        break;
    }
    const StpInfo info = read_stp_info(input_, events_);
    Json members = {{"bytes", info.bytes}};
    members.update(stp_json(info));
    return members;
  }

  Json frames() {
    const FramesInfo info = read_frames_info(input_, events_);
    if (info.frames_cut != 0) {
      damaged_ = true;
      events_.on_notice(std::to_string(info.frames_cut) +
                        " frames are cut short by a synchronisation word");
    }
    return frames_json(info);
  }

  /// The file is opened anew: its sections are found by seeking.
  Json trace_file() {
    kind_ = "trace data file";
    if (arguments_.file == "-") {
      throw Error(ErrorCode::kInput, input_.name(),
                  "is a trace data file, whose sections are found by seeking: give its name");
    }
    const TraceFile file(arguments_.file);
    Json sections = Json::array();
    const std::size_t listed = std::min(file.sections().size(), kMostListedSections);
    for (std::size_t i = 0; i < listed; ++i) {
      const TraceSection& section = file.sections()[i];
      sections.push_back({{"name", section.name},
                          {"version", section.version},
                          {"payload_length", section.payloadLength}});
    }
    if (file.fault()) events_.on_damage(file.fault().offset, file.fault().reason);
    return {{"bytes", input_.size_bytes()},
            {"sections_in_all", file.sections().size()},
            {"sections", sections}};
  }

  Json text() {
    std::string bytes;
    std::vector<std::uint8_t> piece(std::size_t{64} << 10);
    while (const std::size_t got = input_.read(piece)) {
      bytes.append(reinterpret_cast<const char*>(piece.data()), got);
      if (bytes.size() > kMostTextBytes) return unknown("is too large for a text of any known use");
    }
    const std::size_t first = bytes.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && bytes[first] == '{') {
      if (std::optional<Json> members = device(bytes)) return *members;
    }
    if (is_text(bytes) && is_settings(bytes)) return settings(bytes);
    return unknown("is a text, but neither settings nor a device description");
  }

  /// Empty, and told why, where the text is no description. A use-case block of settings may begin
  /// with a brace as well.
  std::optional<Json> device(const std::string& bytes) {
    try {
      DeviceDescription description = parse_device_description(bytes, input_.name());
      kind_ = "device description";
      Json components = Json::array();
      for (const auto* component : description.device->GetComponents()) {
        components.push_back(component->GetName());
      }
      const std::size_t settings = description.settings.size();
      const DeviceSession session(std::move(description));
      return Json{{"bytes", bytes.size()},
                  {"device", session.device_name()},
                  {"components", components},
                  {"settings", settings},
                  {"masters", session.master_ids()}};
    } catch (const Error& error) {
      if (!is_settings(bytes)) reporter_.notice("no device description", shown(error.what()));
      return std::nullopt;
    }
  }

  Json settings(const std::string& text) {
    kind_ = "settings";
    std::uint64_t count = 0;
    Json usecases = Json::array();
    for_each_line(text, [&](const TextLine& line) {
      if (line.text.empty() || line.text.front() == '#' || line.text.front() == '{') return;
      ++count;
      if (!has_use_case_prefix(line.key())) return;
      usecases.push_back(
          {{"setting", line.key()}, {"name", line.value().substr(0, line.value().find(';'))}});
    });
    check_settings_text(text, [this](const Finding& finding) {
      if (finding.severity == FindingSeverity::kFault) {
        events_.on_damage(finding.offset, finding.text);
      } else {
        events_.on_notice(finding.text);
      }
    });
    return {{"bytes", text.size()}, {"settings", count}, {"usecases", usecases}};
  }

  const InfoArguments& arguments_;
  InputFile input_;
  ProgressBar progress_;
  Reporter reporter_;
  InfoEvents events_;
  std::string kind_;
  bool damaged_ = false;
};

int run_info(const InfoArguments& arguments) try {
  return InfoRun(arguments).run();
} catch (const ReaderGone&) {
  return kExitOk;
}

}  // namespace

Command add_info_command(CLI::App& root) {
  CLI::App* const app = root.add_subcommand("info", "Say what a file is and what it holds");
  const auto arguments = std::make_shared<InfoArguments>();
  app->add_option("FILE", arguments->file, "Any input; - is standard input")->required();
  app->add_option("--format", arguments->format, "How to print: text or json")
      ->check(CLI::IsMember({"text", "json"}))
      ->capture_default_str();
  refuse_empty_values(*app);
  return {app, [arguments] { return run_info(*arguments); }};
}

}  // namespace qbt2::tool
