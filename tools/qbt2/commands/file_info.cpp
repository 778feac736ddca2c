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

namespace qbt2::tool {
namespace {

constexpr std::size_t kMostTextBytes = std::size_t{16} << 20;

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
  FileInfoReader(InputFile& input, const InfoEvents& events) : input_(input), events_(events) {
    events_.on_damage = [this, &events](std::uint64_t offset, std::string_view reason) {
      ++info_.faults;
      events.on_damage(offset, reason);
    };
  }
  FileInfoReader(const FileInfoReader&) = delete;
  FileInfoReader& operator=(const FileInfoReader&) = delete;

  FileInfo read() {
    if (input_.is_regular()) info_.bytes = input_.size_bytes();
    read_contents();
    return std::move(info_);
  }

 private:
  void read_contents() {
    const auto head = input_.peek(kDetectionBytes);
    const std::string_view start(reinterpret_cast<const char*>(head.data()), head.size());
    if (start.empty()) return events_.on_notice("is empty");
    if (is_trace_data(head)) return trace_file();
    if (const auto format = detect_capture_format(head)) return capture(*format);
    const std::string hint = wrong_file_hint(head, FileUse::kAny);
    if (!hint.empty()) return events_.on_notice(hint);
    if (is_text(start)) return text();
    events_.on_notice("is not a capture, a trace data file or a text");
  }

  template <typename Contents>
  void is(std::string_view kind, Contents contents) {
    info_.kind = kind;
    info_.contents = std::move(contents);
  }

  template <typename Contents>
  void is_capture(CaptureFormat format, Contents contents) {
    info_.bytes = contents.bytes;
    is(capture_format_name(format), std::move(contents));
  }

  void capture(CaptureFormat format) {
    switch (format) {
      case CaptureFormat::kSamples:
        return is_capture(format, read_samples_info(input_, events_));
      case CaptureFormat::kStp:
        return is_capture(format, read_stp_info(input_, events_));
      case CaptureFormat::kFrames:
        break;
    }
    FramesInfo frames = read_frames_info(input_, events_);
    info_.faults += frames.frames_cut;
    is_capture(format, std::move(frames));
  }

  void trace_file() {
    if (!input_.is_regular()) {
      throw Error(ErrorCode::kInput, input_.name(),
                  "is a trace data file, whose sections are found by seeking: give the name of a "
                  "regular file");
    }
    const TraceFile file(input_.name());
    TraceFileContents contents;
    contents.sections_in_all = file.sections().size();
    for (const TraceSection& section : file.sections()) {
      if (contents.sections.size() == TraceFileContents::kMostListedSections) break;
      contents.sections.push_back(section);
    }
    if (file.fault()) events_.on_damage(file.fault().offset, file.fault().reason);
    is("trace data file", std::move(contents));
  }

  void text() {
    const std::optional<std::string> whole = read_up_to(input_, kMostTextBytes);
    if (!whole) {
      return events_.on_notice(
          "is larger than 16 MiB, too large for settings or a device description");
    }
    const std::string& bytes = *whole;
    info_.bytes = bytes.size();
    const std::size_t first = bytes.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && bytes[first] == '{' && device(bytes)) return;
    if (is_text(bytes) && is_settings(bytes)) return settings(bytes);
    events_.on_notice("is a text, but neither settings nor a device description");
  }

  /// False, after a notice, where the text is not a description. A use-case block of settings may
  /// begin with a brace as well.
  bool device(const std::string& bytes) {
    try {
      DeviceDescription description =
          parse_device_description(bytes, "is not a device description");
      DeviceContents contents;
      for (const auto* component : description.device->GetComponents()) {
        contents.components.push_back(component->GetName());
      }
      contents.settings = description.settings.size();
      const DeviceSession session(std::move(description));
      contents.device = session.device_name();
      contents.masters = session.master_ids();
      is("device description", std::move(contents));
      return true;
    } catch (const Error& error) {
      if (!is_settings(bytes)) events_.on_notice(error.what());
      return false;
    }
  }

  void settings(const std::string& text) {
    SettingsContents contents;
    for_each_line(text, [&](const TextLine& line) {
      if (!has_setting(line)) return;
      ++contents.settings;
      if (!has_use_case_prefix(line.key())) return;
      contents.use_cases.push_back(
          {std::string(line.key()), std::string(line.value().substr(0, line.value().find(';')))});
    });
    check_settings_text(text, [this](const Finding& finding) {
      if (finding.severity == FindingSeverity::kFault) {
        events_.on_damage(finding.offset, finding.text);
      } else {
        events_.on_notice(finding.text);
      }
    });
    is("settings", std::move(contents));
  }

  InputFile& input_;
  InfoEvents events_;  ///< the caller's, and faults counted
  FileInfo info_;
};

}  // namespace

FileInfo read_file_info(InputFile& input, const InfoEvents& events) {
  return FileInfoReader(input, events).read();
}

}  // namespace qbt2::tool
