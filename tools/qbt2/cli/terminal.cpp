#include "tools/qbt2/cli/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

#include "host/base/standard_output.h"

namespace qbt2::tool {

bool standard_output_is_terminal() {
  return ::isatty(standard_output_descriptor()) != 0;
}

bool standard_error_is_terminal() {
  return ::isatty(STDERR_FILENO) != 0;
}

std::size_t terminal_columns() {
  winsize size{};
  if (!standard_output_is_terminal() ||
      ::ioctl(standard_output_descriptor(), TIOCGWINSZ, &size) != 0) {
    return 0;
  }
  return size.ws_col;
}

bool wants_progress(std::string_view word, bool rows_on_terminal) {
  if (word != "auto") return word == "always";
  // NO_COLOR (when not empty) asks for plain output, and a bar that redraws itself is not plain.
  const char* const no_color = std::getenv("NO_COLOR");
  const bool plain = no_color != nullptr && *no_color != '\0';
  return standard_error_is_terminal() && !rows_on_terminal && !plain;
}

}  // namespace qbt2::tool
