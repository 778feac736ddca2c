#pragma once

#include <functional>
#include <string>

#include "host/tdf/trace_header.h"
#include "platforms/source/trace/tdf_helper.h"

/// Reads the plain files that sections are made from. Every reader throws Error(kInput) naming file
/// and line for what the section's readers would ignore or misunderstand, and passes what is only
/// worth knowing to `on_note`. Any thread.
namespace qbt2 {

using TextNote = std::function<void(const std::string& file, const std::string& text)>;
TraceHeaderRecord load_header_file(const std::string& path);
EktTrace::ConfigFile::TraceDecode_t::TraceDecodeData_t load_decoder_file(const std::string& path,
                                                                         const TextNote& on_note);
EktTrace::ConfigFile::DeviceIdentifier_t::DevIdData_t load_device_file(const std::string& path,
                                                                       const TextNote& on_note);
EktTrace::ConfigFile::DeviceConfig_t::DeviceConfigData_t load_settings_file(
    const std::string& path, const TextNote& on_note);

/// The content of any file or stream. Throws Error(kInput) with the reason `too_large` when it has
/// more than `most_bytes`.
std::string load_section_payload(const std::string& path, std::size_t most_bytes,
                                 const std::string& too_large);

}  // namespace qbt2
