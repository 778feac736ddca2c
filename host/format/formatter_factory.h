#pragma once

#include <memory>
#include <string_view>

#include "host/format/row_formatter.h"

namespace qbt2 {

/// A new formatter of its own for the caller. Format names: "table", "csv", "jsonl"; null for any
/// other. The catalogue must outlive the formatter. Any thread.
std::unique_ptr<RowFormatter> make_row_formatter(std::string_view format,
                                                 const ColumnCatalogue& catalogue,
                                                 const FormatOptions& options);

}  // namespace qbt2
