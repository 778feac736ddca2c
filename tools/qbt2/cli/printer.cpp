#include "tools/qbt2/cli/printer.h"

#include "host/base/terminal_text.h"
#include "host/base/text_buffer.h"

namespace qbt2::tool {

std::string shown(std::string_view text) {
  TextBuffer buffer;
  append_terminal_text(text, buffer);
  return std::string(buffer.view());
}

}  // namespace qbt2::tool
