#include "tools/qbt2/cli/printer.h"

#include "host/base/text_buffer.h"
#include "host/format/table_formatter.h"

namespace qbt2::tool {

std::string shown(std::string_view text) {
  TextBuffer buffer;
  append_table_text(text, buffer);
  return std::string(buffer.view());
}

}  // namespace qbt2::tool
