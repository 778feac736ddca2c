#pragma once

#include "host/format/fragment_formatter.h"

/// Rows as JSON lines: one object a row, fields in their fixed order (or the user's), without
/// those that a row does not have; numbers as JSON numbers with all digits. One thread.
namespace qbt2 {

class JsonlFormatter final : public FragmentFormatter {
 public:
  JsonlFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options);
};

/// Appends a JSON string with its quotes (RFC 8259): quote, backslash and control characters are
/// escaped, malformed UTF-8 becomes U+FFFD, everything else is copied.
void append_json_text(std::string_view text, TextBuffer& out);

}  // namespace qbt2
