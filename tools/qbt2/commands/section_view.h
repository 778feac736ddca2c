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

/// The longest text that is taken apart; nothing that a system writes is near it.
inline constexpr std::uint64_t kMostTextBytes = std::uint64_t{16} << 20;

/// The content of a section; empty for a section of an unknown kind or with a text of more than
/// kMostTextBytes, and with `fault` set for a trace header that cannot be read.
std::optional<SectionData> read_section(const TraceFile& file, const TraceSection& section,
                                        std::optional<TraceHeaderFault>& fault);

/// Lines for people, NAME=VALUE where a plain file of the section has such lines.
void print_section(const SectionData& data, Printer& printer);
/// The members of a JSON object that describe the content, without its braces. They are written one
/// by one: a section may have hundreds of thousands of settings.
void print_section_json(const SectionData& data, Printer& printer);

}  // namespace qbt2::tool
