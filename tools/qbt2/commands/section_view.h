#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "host/tdf/trace_file.h"
#include "host/tdf/trace_header.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/commands/json_list.h"

/// The sections of known kinds, read by the system's own readers, as text and as JSON. Pure
/// functions but for reading and printing.
namespace qbt2::tool {

using SectionData =
    std::variant<TraceHeader, EktTrace::ConfigFile::TraceDecode_t::TraceDecodeData_t,
                 EktTrace::ConfigFile::DeviceIdentifier_t::DevIdData_t,
                 EktTrace::ConfigFile::DeviceConfig_t::DeviceConfigData_t>;

/// The content of a section; empty for a section of an unknown kind, and with `fault` set for a
/// trace header that cannot be read.
std::optional<SectionData> read_section(const TraceFile& file, const TraceSection& section,
                                        std::optional<TraceHeaderFault>& fault);

/// Lines for people, NAME=VALUE where a plain file of the section has such lines.
void print_section(const SectionData& data, Printer& printer);
/// An object with the members that describe the content.
Json section_content_json(const SectionData& data);

}  // namespace qbt2::tool
