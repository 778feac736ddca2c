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
  std::string name;
  std::string version;  ///< empty: the only one of that name

  /// Adds --section-version; SECTION itself is each sub-command's own.
  void add_version_option(CLI::App& app);
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
