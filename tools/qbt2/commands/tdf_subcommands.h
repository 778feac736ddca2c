#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/tdf/trace_file.h"
#include "tools/qbt2/cli/command.h"
#include "tools/qbt2/commands/json_list.h"

/// The sub-commands of qbt2 tdf and what they share.
namespace qbt2::tool {

Command add_tdf_show(CLI::App& tdf);
Command add_tdf_create(CLI::App& tdf);
Command add_tdf_add(CLI::App& tdf);

/// A section chosen on the command line, as typed.
struct SectionChoice {
  std::optional<std::string> name;  ///< may be empty: a section can go without a name
  std::string version;              ///< empty: the only one of that name

  /// Adds SECTION and --section-version to the other options, none of which may be empty.
  CLI::Option* add_to(CLI::App& app, const std::string& description);
  /// Only where there is a name.
  const TraceSection& find_in(const TraceFile& file) const;
};

/// name, version, offset, length and payload_length.
Json section_as_json(const TraceSection& section);
/// {"fault": null}, or the offset and reason of the fault.
Json fault_as_json(const TraceFile& file);

/// Reports a fault of the file on standard error and returns the exit status.
int report_fault(const TraceFile& file);
/// "qbt2: FILE: byte N: reason" on standard error.
void report(const std::string& file, std::uint64_t offset, const std::string& reason);

}  // namespace qbt2::tool
