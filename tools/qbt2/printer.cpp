#include "tools/qbt2/printer.h"

#include "host/table_formatter.h"
#include "host/text_buffer.h"

namespace qbt2::tool {

std::string shown(std::string_view text) {
  TextBuffer buffer;
  append_table_text(text, buffer);
  return std::string(buffer.view());
}

}  // namespace qbt2::tool
