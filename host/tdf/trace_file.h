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

/// A trace data file opened for looking at: its sections, their payloads, and what is wrong with
/// either. Reads only. One thread.
namespace qbt2 {

using TraceSection = Kz::Dvt::Trace::TdfSectionInfo;

/// What the payload of a section is. A known name with another version is none of these: readers
/// ask for both.
enum class SectionContent : std::uint8_t { kUnknown, kTraceHeader, kDecoder, kDevice, kSettings };
SectionContent section_content(const TraceSection& section);

/// Whether a file that starts with these bytes (four are enough) is a trace data file.
bool is_trace_data(std::span<const std::uint8_t> start);

class TraceFile {
 public:
  /// Walks over the file. Throws Error(kInput) when it cannot be opened or read or is no regular
  /// file (sections are found by seeking); damage is no error, see fault().
  explicit TraceFile(const std::string& path);

  const std::string& name() const { return name_; }
  /// In file order, up to the end of the file or the first fault.
  const std::vector<TraceSection>& sections() const { return sections_; }
  /// Where and why the walk ended early; false when it did not.
  const Kz::Dvt::Trace::TdfFault& fault() const { return fault_; }
  /// Whether the end of the file cuts this section's payload.
  bool is_cut(const TraceSection& section) const;

  /// Hands out the payload in pieces. Throws Error(kInput) when reading fails.
  void read(const TraceSection& section,
            const std::function<void(std::span<const std::uint8_t>)>& take) const;
  /// The whole payload: 128 MiB at most, and never more than the file holds.
  std::string payload(const TraceSection& section) const;

  /// The first section of this name, of this version if one is given. Throws Error(kUsage) when
  /// there is none, or when the name alone fits several; the line lists what is there.
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

/// What readers take for the text of a payload: up to its first zero byte.
std::string_view text_of_payload(std::string_view payload);

/// Tells all that is wrong with the file, in the order of the file; offsets are the file's. Beyond
/// damage of the container: payloads of known sections that do not fit their form, a section that
/// hides behind an earlier one of its name and version, and, as notes, what is not known.
void check_trace_file(const TraceFile& file, const FindingSink& sink);

}  // namespace qbt2
