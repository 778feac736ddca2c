#include "tools/qbt2/commands/file_info.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "host/base/error.h"
#include "host/base/text_parts.h"
#include "host/base/use_case_setting.h"
#include "host/capture/capture_format.h"
#include "host/capture/file_kind.h"
#include "host/device/device_description.h"
#include "host/device/device_session.h"
#include "host/tdf/section_text_check.h"
#include "host/tdf/trace_file.h"
#include "tools/qbt2/cli/options.h"
#include "tools/qbt2/commands/capture_info_json.h"

namespace qbt2::tool {
namespace {

constexpr std::size_t kMostTextBytes = std::size_t{16} << 20;
constexpr std::size_t kMostListedSections = 1000;

/// Text, as far as one can tell: no control characters but those that lay out lines.
bool is_text(std::string_view bytes) {
  return std::none_of(bytes.begin(), bytes.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t' && c != '\n' && c != '\r') || byte == 0x7F;
  });
}

/// Neither empty nor a comment, nor the first line of a use-case block.
bool has_setting(const TextLine& line) {
  return !line.text.empty() && line.text.front() != '#' && line.text.front() != '{';
}

/// Lines of NAME=VALUE, comments and use-case blocks, and nothing else.
bool is_settings(std::string_view text) {
  std::uint64_t with_equals = 0;
  std::uint64_t others = 0;
  for_each_line(text, [&](const TextLine& line) {
    if (has_setting(line)) ++(line.has_equals() ? with_equals : others);
  });
  return with_equals != 0 && others == 0;
}

class FileInfoReader {
 public:
  FileInfoReader(InputFile& input, const InfoEvents& events) : input_(input), events_(events) {}

  FileInfo read() {
    const auto head = input_.peek(kDetectionBytes);
    const std::string_view start(reinterpret_cast<const char*>(head.data()), head.size());
    if (start.empty()) return unknown("is empty");
    if (is_trace_data(head)) return trace_file();
    if (const auto format = detect_capture_format(head)) return capture(*format);
    const std::string hint = wrong_file_hint(head, FileUse::kAny);
    if (!hint.empty()) return unknown(hint);
    if (is_text(start)) return text();
    return unknown("is not a capture, a trace data file or a text");
  }

 private:
  FileInfo unknown(const std::string& reason) {
    events_.on_notice(reason);
    FileInfo info;
    info.is_bad = true;
    return info;
  }

  FileInfo capture(CaptureFormat format) {
    const std::string kind(capture_format_name(format));
    switch (format) {
      case CaptureFormat::kSamples:
        return {kind, samples_json(read_samples_info(input_, events_))};
      case CaptureFormat::kFrames:
        return frames(kind);
      case CaptureFormat::kStp:
        break;
    }
    const StpInfo info = read_stp_info(input_, events_);
    Json members = {{"bytes", info.bytes}};
    members.update(stp_json(info));
    return {kind, members};
  }

  FileInfo frames(const std::string& kind) {
    const FramesInfo info = read_frames_info(input_, events_);
    if (info.frames_cut != 0) {
      events_.on_notice(std::to_string(info.frames_cut) +
                        " frames are cut short by a frame synchronization packet");
    }
    return {kind, frames_json(info), info.frames_cut != 0};
  }

  FileInfo trace_file() {
    if (!input_.is_regular()) {
      throw Error(ErrorCode::kInput, input_.name(),
                  "is a trace data file, whose sections are found by seeking: give the name of a "
                  "regular file");
    }
    const TraceFile file(input_.name());
    Json sections = Json::array();
    const std::size_t listed = std::min(file.sections().size(), kMostListedSections);
    for (std::size_t i = 0; i < listed; ++i) {
      const TraceSection& section = file.sections()[i];
      sections.push_back({{"name", section.name},
                          {"version", section.version},
                          {"payload_length", section.payloadLength}});
    }
    if (file.fault()) events_.on_damage(file.fault().offset, file.fault().reason);
    return {"trace data file",
            {{"bytes", input_.size_bytes()},
             {"sections_in_all", file.sections().size()},
             {"sections", sections}}};
  }

  FileInfo text() {
    const std::optional<std::string> whole = read_up_to(input_, kMostTextBytes);
    if (!whole) {
      return unknown("is larger than 16 MiB, too large for settings or a device description");
    }
    const std::string& bytes = *whole;
    const std::size_t first = bytes.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && bytes[first] == '{') {
      if (std::optional<FileInfo> info = device(bytes)) return *info;
    }
    if (is_text(bytes) && is_settings(bytes)) return settings(bytes);
    return unknown("is a text, but neither settings nor a device description");
  }

  /// Empty, after a notice, where the text is not a description. A use-case block of settings may
  /// begin with a brace as well.
  std::optional<FileInfo> device(const std::string& bytes) {
    try {
      DeviceDescription description =
          parse_device_description(bytes, "is not a device description");
      Json components = Json::array();
      for (const auto* component : description.device->GetComponents()) {
        components.push_back(component->GetName());
      }
      const std::size_t settings = description.settings.size();
      const DeviceSession session(std::move(description));
      return FileInfo{"device description",
                      {{"bytes", bytes.size()},
                       {"device", session.device_name()},
                       {"components", components},
                       {"settings", settings},
                       {"masters", session.master_ids()}}};
    } catch (const Error& error) {
      if (!is_settings(bytes)) events_.on_notice(error.what());
      return std::nullopt;
    }
  }

  FileInfo settings(const std::string& text) {
    std::uint64_t count = 0;
    Json usecases = Json::array();
    for_each_line(text, [&](const TextLine& line) {
      if (!has_setting(line)) return;
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
    return {"settings", {{"bytes", text.size()}, {"settings", count}, {"usecases", usecases}}};
  }

  InputFile& input_;
  const InfoEvents& events_;
};

}  // namespace

FileInfo read_file_info(InputFile& input, const InfoEvents& events) {
  return FileInfoReader(input, events).read();
}

}  // namespace qbt2::tool
