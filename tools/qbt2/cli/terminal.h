#pragma once

#include <cstddef>
#include <string_view>

/// What the tool knows of the terminal it runs on. Any thread.
namespace qbt2::tool {

bool standard_output_is_terminal();
bool standard_error_is_terminal();
/// Columns of the terminal that standard output is, 0 where it is not one.
std::size_t terminal_columns();
/// Whether `word`, the value of --progress (auto, always or never), asks for a progress bar. auto:
/// on a terminal, unless NO_COLOR is set or rows are shown there.
bool wants_progress(std::string_view word, bool rows_on_terminal);

}  // namespace qbt2::tool
