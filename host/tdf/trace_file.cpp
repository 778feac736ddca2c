#include "host/tdf/trace_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <numeric>
#include <set>
#include <system_error>
#include <utility>

#include "host/base/error.h"
#include "host/base/number_text.h"
#include "host/base/text_parts.h"
#include "host/tdf/trace_header.h"

namespace qbt2 {
namespace {

using Kz::Dvt::Trace::eTdfFault;
namespace format = Kz::Dvt::Trace::TdfFormat;

constexpr std::size_t kPieceBytes = std::size_t{64} << 10;
constexpr std::size_t kListedInMessage = 20;

struct KnownSection {
  format::SectionKind kind;
  SectionContent content;
};
constexpr std::array<KnownSection, 6> kKnownSections = {{
    {format::kTraceHeader, SectionContent::kTraceHeader},
    {format::kDecoderInfo, SectionContent::kDecoder},
    {format::kDeviceIdentifier, SectionContent::kDevice},
    {format::kDspConfig, SectionContent::kSettings},
    {format::kStmConfig, SectionContent::kSettings},
    {format::kArmConfig, SectionContent::kSettings},
}};

const KnownSection* known_by_name(std::string_view name) {
  const auto* const found =
      std::find_if(kKnownSections.begin(), kKnownSections.end(),
                   [&](const KnownSection& known) { return known.kind.name == name; });
  return found == kKnownSections.end() ? nullptr : found;
}

/// The known name that this one differs from in one byte: likely the same one, damaged.
const KnownSection* known_by_damaged_name(std::string_view name) {
  const auto differing_bytes = [name](std::string_view known) {
    return std::inner_product(name.begin(), name.end(), known.begin(), 0, std::plus<>(),
                              std::not_equal_to<>());
  };
  const auto* const found =
      std::find_if(kKnownSections.begin(), kKnownSections.end(), [&](const KnownSection& known) {
        const std::string_view other = known.kind.name;
        return other.size() == name.size() && differing_bytes(other) == 1;
      });
  return found == kKnownSections.end() ? nullptr : found;
}

[[noreturn]] void cannot_read(const std::string& file, int code) {
  throw Error(ErrorCode::kInput, file, "cannot read: " + std::generic_category().message(code));
}

void require_regular_file(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    throw Error(ErrorCode::kInput, path, "cannot open: " + std::generic_category().message(errno));
  }
  if (!S_ISREG(status.st_mode)) {
    throw Error(ErrorCode::kInput, path,
                S_ISDIR(status.st_mode) ? "is a directory, not a trace data file"
                                        : "is not a regular file; sections are found by seeking");
  }
}

std::string list_of(const std::vector<TraceSection>& sections) {
  std::string text;
  for (std::size_t i = 0; i < std::min(sections.size(), kListedInMessage); ++i) {
    text.append(i == 0 ? "" : ", ").append(excerpt(sections[i].name));
    text.append(" ").append(std::to_string(sections[i].version));
  }
  if (sections.size() > kListedInMessage) {
    text.append(" and ").append(std::to_string(sections.size() - kListedInMessage)).append(" more");
  }
  return text.empty() ? "no sections" : text;
}

}  // namespace

bool is_trace_data(std::span<const std::uint8_t> start) {
  const auto& identifier = Kz::Dvt::Trace::TdfFormat::kIdentifier;
  return start.size() >= identifier.size() &&
         std::equal(identifier.begin(), identifier.end(), start.begin());
}

SectionContent section_content(const TraceSection& section) {
  const KnownSection* const known = known_by_name(section.name);
  const bool fits = known != nullptr && known->kind.version == section.version;
  return fits ? known->content : SectionContent::kUnknown;
}

std::string section_label(const TraceSection& section) {
  return section.name + " " + std::to_string(section.version);
}

std::string_view text_of_payload(std::string_view payload) {
  return payload.substr(0, payload.find('\0'));
}

TraceFile::TraceFile(const std::string& path) : name_(path) {
  require_regular_file(path);
  stream_.reset(std::fopen(path.c_str(), "rbe"));
  if (!stream_) {
    throw Error(ErrorCode::kInput, path, "cannot open: " + std::generic_category().message(errno));
  }
  sections_ = Kz::Dvt::Trace::ListSections(stream_.get(), fault_);
  if (fault_.kind == eTdfFault::ReadError) {
    throw Error(ErrorCode::kInput, path, fault_.offset, fault_.reason);
  }
}

bool TraceFile::is_cut(const TraceSection& section) const {
  return fault_.kind == eTdfFault::PayloadCut && fault_.offset == section.offset;
}

void TraceFile::read(const TraceSection& section,
                     const std::function<void(std::span<const std::uint8_t>)>& take) const {
  std::vector<std::uint8_t> piece(std::min<std::uint64_t>(kPieceBytes, section.payloadLength));
  if (::fseeko(stream_.get(), static_cast<off_t>(section.payloadOffset), SEEK_SET) != 0) {
    cannot_read(name_, errno);
  }
  for (std::uint64_t left = section.payloadLength; left != 0;) {
    const std::size_t wanted = std::min<std::uint64_t>(piece.size(), left);
    const std::size_t got = std::fread(piece.data(), 1, wanted, stream_.get());
    if (got == 0) {
      if (std::ferror(stream_.get()) != 0) cannot_read(name_, errno);
      throw Error(ErrorCode::kInput, name_, "was truncated while it was read");
    }
    take(std::span(piece).first(got));
    left -= got;
  }
}

std::string TraceFile::payload(const TraceSection& section) const {
  std::string bytes;
  bytes.reserve(section.payloadLength);
  read(section, [&](std::span<const std::uint8_t> piece) {
    bytes.append(reinterpret_cast<const char*>(piece.data()), piece.size());
  });
  return bytes;
}

const TraceSection& TraceFile::find(const std::string& section_name,
                                    std::optional<std::uint32_t> version) const {
  const TraceSection* found = nullptr;
  for (const TraceSection& section : sections_) {
    if (section.name != section_name || (version && *version != section.version)) continue;
    if (found == nullptr) {
      found = &section;
    } else if (found->version != section.version) {
      throw Error(ErrorCode::kUsage, name_,
                  "has several versions of " + section_name + ": choose one (it has " +
                      list_of(sections_) + ")");
    }
  }
  if (found != nullptr) return *found;
  const std::string wanted = version ? section_name + " " + std::to_string(*version) : section_name;
  std::string reason = "has no section " + wanted + ": it has " + list_of(sections_);
  if (fault_) {
    reason.append(" up to a fault at byte ")
        .append(std::to_string(fault_.offset))
        .append(" (")
        .append(fault_.reason)
        .append(")");
  }
  throw Error(ErrorCode::kUsage, name_, reason);
}

namespace {

/// Checks one file, section by section.
class TraceFileCheck {
 public:
  TraceFileCheck(const TraceFile& file, const FindingSink& sink) : file_(file), sink_(sink) {}

  void run() {
    const bool has_header_first =
        !file_.sections().empty() &&
        section_content(file_.sections().front()) == SectionContent::kTraceHeader;
    if (!has_header_first && file_.fault().kind != eTdfFault::NoIdentifier) {
      report(FindingSeverity::kNote, format::kFirstSectionOffset,
             "the file does not begin with a trace header, as complete trace data files do");
    }
    for (const TraceSection& section : file_.sections()) check_section(section);
    if (file_.fault()) report(FindingSeverity::kFault, file_.fault().offset, file_.fault().reason);
  }

 private:
  void report(FindingSeverity severity, std::uint64_t offset, const std::string& text) {
    sink_({severity, offset, text});
  }
  void report(FindingSeverity severity, const TraceSection& section, const std::string& text) {
    report(severity, section.offset, section_label(section) + ": " + text);
  }

  void check_section(const TraceSection& section) {
    check_name(section);
    if (section.payloadOffset > UINT32_MAX &&
        section_content(section) != SectionContent::kUnknown) {
      report(FindingSeverity::kFault, section,
             "its data begin past 4 GiB, where readers never find them");
    }
    // A truncated payload is reported once, as the fault of the file.
    if (file_.is_cut(section)) return;
    switch (section_content(section)) {
      case SectionContent::kTraceHeader:
        return check_header(section);
      case SectionContent::kDecoder:
        return check_text(section, check_decoder_text);
      case SectionContent::kDevice:
        return check_text(section, check_device_text);
      case SectionContent::kSettings:
        return check_text(section, check_settings_text);
      case SectionContent::kUnknown:
        return report_unknown(section);
    }
  }

  void check_name(const TraceSection& section) {
    if (section.name.find('\0') != std::string::npos) {
      report(FindingSeverity::kFault, section,
             "the name has a zero byte, at which readers stop comparing");
    }
    if (!seen_.emplace(section.name, section.version).second) {
      report(FindingSeverity::kFault, section,
             "an earlier section has this name and version, so readers never find this one");
    }
  }

  /// The container has no checksum: of a known section whose name or version was damaged this is
  /// all that shows.
  void report_unknown(const TraceSection& section) {
    if (const KnownSection* const known = known_by_name(section.name)) {
      report(FindingSeverity::kFault, section,
             "readers look for version " + std::to_string(known->kind.version) +
                 " of this section and never find this one");
    } else if (const KnownSection* const meant = known_by_damaged_name(section.name)) {
      report(FindingSeverity::kFault, section,
             std::string("the name differs from ").append(meant->kind.name) +
                 " in one byte, so readers of that section never find it");
    } else {
      report(FindingSeverity::kNote, section, "this section is not known");
    }
  }

  void check_header(const TraceSection& section) {
    const std::string payload = file_.payload(section);
    TraceHeader header;
    const auto fault = read_trace_header(
        {reinterpret_cast<const std::uint8_t*>(payload.data()), payload.size()}, header);
    if (!fault) return;
    report(FindingSeverity::kFault, section.payloadOffset + fault->offset,
           section_label(section) + ": " + fault->reason);
  }

  void check_text(const TraceSection& section,
                  void (*check)(std::string_view, const FindingSink&)) {
    const std::string payload = file_.payload(section);
    const std::string_view text = text_of_payload(payload);
    check(text, [&](const Finding& finding) {
      report(finding.severity, section.payloadOffset + finding.offset,
             section_label(section) + ": " + finding.text);
    });
    const std::size_t rest = payload.find_first_not_of('\0', text.size());
    if (rest == std::string::npos) return;
    report(FindingSeverity::kFault, section.payloadOffset + text.size(),
           section_label(section) + ": a zero byte ends the text; " +
               counted(payload.size() - rest, "byte") + " after it will never be read");
  }

  const TraceFile& file_;
  const FindingSink& sink_;
  std::set<std::pair<std::string_view, std::uint32_t>> seen_;
};

}  // namespace

void check_trace_file(const TraceFile& file, const FindingSink& sink) {
  TraceFileCheck(file, sink).run();
}

}  // namespace qbt2
