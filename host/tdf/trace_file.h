#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/tdf/section_text_check.h"
#include "platforms/source/trace/tdf_format.h"
#include "platforms/source/trace/tdf_walker.h"

/// A trace data file opened for reading: its sections, their payloads, and what is wrong with them.
/// One thread.
namespace qbt2 {

using TraceSection = Kz::Dvt::Trace::TdfSectionInfo;

/// What the payload of a section is. A known name with another version is unknown: readers look for
/// both.
enum class SectionContent : std::uint8_t { kUnknown, kTraceHeader, kDecoder, kDevice, kSettings };
SectionContent section_content(const TraceSection& section);

/// Whether a file that starts with these bytes (four are enough) is a trace data file.
bool is_trace_data(std::span<const std::uint8_t> start);

class TraceFile {
 public:
  /// Finds the sections. Throws Error(kInput) when the file cannot be opened or read or is not a
  /// regular file (sections are found by seeking); damage is not an error, see fault().
  explicit TraceFile(const std::string& path);

  const std::string& name() const { return name_; }
  /// In file order, up to the end of the file or the first fault.
  const std::vector<TraceSection>& sections() const { return sections_; }
  /// Where and why the search ended before the end of the file; false when it did not.
  const Kz::Dvt::Trace::TdfFault& fault() const { return fault_; }
  /// Whether the end of the file truncates this section's payload.
  bool is_cut(const TraceSection& section) const;

  /// Reads the payload in pieces. Throws Error(kInput) when reading fails.
  void read(const TraceSection& section,
            const std::function<void(std::span<const std::uint8_t>)>& take) const;
  /// The whole payload: 128 MiB at most, and never more than the file holds.
  std::string payload(const TraceSection& section) const;

  /// The first section of this name and, if given, this version. Throws Error(kUsage) when there is
  /// none, or when the name alone fits several versions; the message lists the first 20 sections.
  const TraceSection& find(const std::string& section_name,
                           std::optional<std::uint32_t> version) const;

 private:
  struct Close {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };

  std::string name_;
  std::unique_ptr<std::FILE, Close> stream_;
  std::vector<TraceSection> sections_;
  Kz::Dvt::Trace::TdfFault fault_;
};

/// "KZDecode 1": a section's name and version for messages.
std::string section_label(const TraceSection& section);

/// The text of a payload as its readers see it: up to its first zero byte.
std::string_view text_of_payload(std::string_view payload);

/// Reports everything that is wrong with the file, in file order; offsets are the file's. Beyond
/// damage of the container: malformed payloads of known sections, sections that readers never find
/// (an earlier one has their name and version, the version or one byte of the name is wrong, they
/// lie past 4 GiB), and, as notes, unknown sections.
void check_trace_file(const TraceFile& file, const FindingSink& sink);

}  // namespace qbt2
