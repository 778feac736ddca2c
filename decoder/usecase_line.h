#pragma once

#include <string>
#include <vector>

#include "decoder/probe_data.h"

/// Reading a use-case line: the text in which a configuration manager keeps how one bus tracer was
/// programmed. The decoder's own part, which asks for the lines, is
/// StpQBTracer2Decoder::LoadUsecase.

/// The tokens between the ";" of a line, empty ones included.
std::vector<std::string> SplitUsecaseLine(const std::string& line);

/// A number as std::stoul reads it with automatic base: decimal, 0x hexadecimal, leading-0 octal;
/// stops at the first character that does not belong. Throws std::invalid_argument without digits,
/// std::out_of_range when it is too large.
unsigned long ParseUsecaseNumber(const std::string& token);

/// Fills all of `record` that tokens 1 to 14 tell, each as soon as it is converted: a token that
/// throws (see ParseUsecaseNumber) leaves those before it stored. `tokens` holds kUseCaseFields.
void ParseUsecaseNumbers(const std::vector<std::string>& tokens, Qbt2ProbeData_t& record);
