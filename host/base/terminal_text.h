#pragma once

#include <string_view>

#include "host/base/text_buffer.h"

/// Text of the input, made safe for a terminal. Any thread.
namespace qbt2 {

/// Appends `text` with U+FFFD for what is not UTF-8 and for what a terminal would act on: control
/// characters, and those that break lines or change the direction of writing.
void append_terminal_text(std::string_view text, TextBuffer& out);

}  // namespace qbt2
