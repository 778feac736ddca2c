#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "platforms/source/trace/tdf_helper.h"

/// The trace header, the packed record of a "KZTrace" section, read from memory and from a plain
/// file of KEY=VALUE lines. KzTrace_t::Load reads the files of older systems only and refuses what
/// KzTrace_t::Save writes, so headers written by this system need this reader.
/// docs/formats/tdf.md has the layout. Pure functions; any thread.
namespace qbt2 {

using TraceHeaderRecord = EktTrace::ConfigFile::KzTrace_t::KzTraceData_t;

struct TraceHeader {
  TraceHeaderRecord record;
  std::uint32_t timestamp = 0;  ///< seconds since 1970: when the file was created
  /// Number of items in the lists A to D, which are skipped; 0 in files that this system writes.
  std::array<std::uint32_t, 4> list_items{};
};

/// Why a payload cannot be read, and the byte of the payload at which the faulty part begins.
struct TraceHeaderFault {
  std::uint64_t offset = 0;
  std::string reason;
};

/// Reads a payload of format version 20. Lengths and counts are checked against the bytes left;
/// bytes after the record are a fault. With a fault `header` has the fields before it.
std::optional<TraceHeaderFault> read_trace_header(std::span<const std::uint8_t> payload,
                                                  TraceHeader& header);

/// The record's fields with their names in plain files and outputs, in declared order.
struct TraceHeaderField {
  using Member = std::variant<std::string TraceHeaderRecord::*, std::uint32_t TraceHeaderRecord::*,
                              std::uint64_t TraceHeaderRecord::*>;
  std::string_view name;
  Member member;
};
inline constexpr std::array<TraceHeaderField, 12> kTraceHeaderFields = {{
    {"deviceText", &TraceHeaderRecord::deviceText},
    {"connectionName", &TraceHeaderRecord::connectionName},
    {"headerValue1", &TraceHeaderRecord::headerValue1},
    {"headerValue2", &TraceHeaderRecord::headerValue2},
    {"headerValue3", &TraceHeaderRecord::headerValue3},
    {"headerValue4", &TraceHeaderRecord::headerValue4},
    {"headerValue5", &TraceHeaderRecord::headerValue5},
    {"headerValue6", &TraceHeaderRecord::headerValue6},
    {"headerValue7", &TraceHeaderRecord::headerValue7},
    {"headerText3", &TraceHeaderRecord::headerText3},
    {"headerText4", &TraceHeaderRecord::headerText4},
    {"headerValue8", &TraceHeaderRecord::headerValue8},
}};

/// A plain header file: KEY=VALUE lines, empty lines and lines that start with '#' ignored; a field
/// without a line is empty or 0. A text is everything after the '='; blanks and tabs around keys
/// and numbers are trimmed. Numbers are decimal or 0x hexadecimal. Throws Error(kInput) naming
/// `file` and the line for anything else.
TraceHeaderRecord parse_trace_header_text(std::string_view text, const std::string& file);

}  // namespace qbt2
