#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/tdf/trace_header.h"
#include "platforms/source/trace/tdf_helper.h"

/// Makes trace data files, and adds to them, through the section classes' own writers. The file
/// that takes the name is whole: it is built under another one beside it, and on any failure what
/// was there before stays as it was. One thread; two writers of one file are not guarded against.
namespace qbt2 {

/// A section whose payload is a file's content.
struct SectionFile {
  std::string name;
  std::uint32_t version = 0;
  std::string path;
};

/// What is to be written, in the order of the members.
struct TraceFileContents {
  using Config = EktTrace::ConfigFile::DeviceConfig_t;

  TraceHeaderRecord header;  ///< of new files only
  std::optional<EktTrace::ConfigFile::TraceDecode_t::TraceDecodeData_t> decoder;
  std::optional<EktTrace::ConfigFile::DeviceIdentifier_t::DevIdData_t> device;
  std::optional<Config::DeviceConfigData_t> settings;
  Config::eConfigType config_type = Config::eStmConfig;
  std::vector<SectionFile> others;
};

/// Creates `path`. Throws Error: kUsage when the name does not end in ".tdf", when the file is
/// there and `replace` is not set, or when two sections have one name and version; kInput when a
/// section's file cannot be read or is too large (a section holds 128 MiB, a file 4 GiB); kOutput
/// when writing fails.
void create_trace_file(const std::string& path, const TraceFileContents& contents, bool replace);

/// Adds sections to `path`. Throws as above, and kInput when the file is damaged, since what stands
/// behind the damage would never be found.
void add_to_trace_file(const std::string& path, const TraceFileContents& contents);

/// Readers for the plain files that sections are made from. They throw Error(kInput) naming file
/// and line for whatever the section's readers would drop or understand otherwise; of what is only
/// worth knowing they tell `on_note`.
using TextNote = std::function<void(const std::string& file, const std::string& text)>;
TraceHeaderRecord load_header_file(const std::string& path);
EktTrace::ConfigFile::TraceDecode_t::TraceDecodeData_t load_decoder_file(const std::string& path,
                                                                         const TextNote& on_note);
EktTrace::ConfigFile::DeviceIdentifier_t::DevIdData_t load_device_file(const std::string& path,
                                                                       const TextNote& on_note);
EktTrace::ConfigFile::DeviceConfig_t::DeviceConfigData_t load_settings_file(
    const std::string& path, const TextNote& on_note);

}  // namespace qbt2
