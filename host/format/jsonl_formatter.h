#pragma once

#include "host/format/fragment_formatter.h"

/// Rows as JSON lines: one object a row, fields in their fixed order (or the user's), those that a
/// row does not have left out, numbers as numbers in all their digits. One thread.
namespace qbt2 {

class JsonlFormatter final : public FragmentFormatter {
 public:
  JsonlFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options);
};

/// Appends a JSON string with its quotes (RFC 8259): quote, backslash and control characters are
/// escaped, broken UTF-8 becomes U+FFFD, all else stands as it is.
void append_json_text(std::string_view text, TextBuffer& out);

}  // namespace qbt2
