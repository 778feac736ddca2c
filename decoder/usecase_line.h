#pragma once

#include <string>
#include <vector>

#include "decoder/probe_data.h"

/// Reads a use-case line: the text of a configuration setting that says how one bus tracer was
/// programmed. StpQBTracer2Decoder::LoadUsecase gets the lines and uses this. Pure functions.

/// The tokens between the ";" of a line, empty ones included.
std::vector<std::string> SplitUsecaseLine(const std::string& line);

/// A number as std::stoul reads it with automatic base: decimal, 0x hexadecimal or leading-0 octal,
/// up to the first character that does not belong to it. Throws std::invalid_argument for a token
/// without digits and std::out_of_range for a number that is too large.
unsigned long ParseUsecaseNumber(const std::string& token);

/// Fills the fields of `record` that come from tokens 1 to 14, each as soon as it is converted:
/// when a token throws (see ParseUsecaseNumber), the ones before it are stored. `tokens` has
/// kUseCaseFields entries.
void ParseUsecaseNumbers(const std::vector<std::string>& tokens, Qbt2ProbeData_t& record);
