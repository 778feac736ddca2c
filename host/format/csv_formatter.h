#pragma once

#include "host/format/fragment_formatter.h"

/// Rows as comma-separated values by RFC 4180: one header line with the names of all fields, one
/// record a row, each ended by a line feed, an empty cell where a row has no value. One thread.
namespace qbt2 {

class CsvFormatter final : public FragmentFormatter {
 public:
  CsvFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options);
  void header(TextBuffer& out) override;
};

/// Appends one cell. Quoted where it holds a comma, a quote or a control character, and where it is
/// empty: an empty text is a value, an empty cell is not. Malformed UTF-8 becomes U+FFFD.
void append_csv_text(std::string_view text, TextBuffer& out);

}  // namespace qbt2
