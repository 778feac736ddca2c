#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/tdf/trace_header.h"
#include "platforms/source/trace/tdf_helper.h"

/// What is written to a trace data file, and whether it fits. Plain data.
namespace qbt2 {

/// A section with the content of a file as its payload.
struct SectionFile {
  std::string name;
  std::uint32_t version = 0;
  std::string path;
};

/// The sections, in the order in which they are written.
struct TraceFileContents {
  using Config = EktTrace::ConfigFile::DeviceConfig_t;

  TraceHeaderRecord header;  ///< for new files only
  std::optional<EktTrace::ConfigFile::TraceDecode_t::TraceDecodeData_t> decoder;
  std::optional<EktTrace::ConfigFile::DeviceIdentifier_t::DevIdData_t> device;
  std::optional<Config::DeviceConfigData_t> settings;
  Config::eConfigType config_type = Config::eStmConfig;
  std::vector<SectionFile> others;
};

/// The sections of a file by name and version: what readers find them by.
using SectionKeys = std::set<std::pair<std::string, std::uint32_t>>;

/// Refuses contents that would not fit or not be found after `present`, the sections that take the
/// first `bytes` of the file already. Throws Error, naming `path`: kUsage for a name that readers
/// do not take and for two sections of one name and version, kInput for a section above 128 MiB or
/// a file of 4 GiB and more. Of sections from streams the size is not known here.
void check_contents(const std::string& path, const TraceFileContents& contents, SectionKeys present,
                    std::uint64_t bytes);

/// The first section of a new file takes this much, the identifier before it included.
std::uint64_t new_file_bytes();
/// Most payload bytes of a section of this name.
std::uint64_t section_capacity(const std::string& name);

inline constexpr std::uint64_t kMostTraceFileBytes = UINT32_MAX;  ///< offsets have 32 bits

}  // namespace qbt2
