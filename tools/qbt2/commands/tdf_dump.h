#pragma once

#include "host/tdf/trace_file.h"
#include "tools/qbt2/cli/printer.h"

/// The payload of a section as hexadecimal digits. Read and printed piece by piece, so memory does
/// not grow with the payload.
namespace qbt2::tool {

/// Lines of 16 bytes: offset in the payload, digits, characters.
void print_hex_dump(const TraceFile& file, const TraceSection& section, Printer& printer);
/// The digits only, two a byte.
void print_hex_digits(const TraceFile& file, const TraceSection& section, Printer& printer);

}  // namespace qbt2::tool
