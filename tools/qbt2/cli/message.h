#pragma once

#include <string>
#include <string_view>

/// The one way of a text to standard error. One thread at a time.
namespace qbt2::tool {

/// Prints "qbt2: TEXT" and a line end. What a terminal would act upon (control characters of a file
/// name, a setting or a plug-in's text) is shown instead of sent.
void print_message(std::string_view text);
/// "qbt2: FILE: TEXT".
void print_message(std::string_view file, std::string_view text);

}  // namespace qbt2::tool
