#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/text_buffer.h"
#include "host/rows/row_batch.h"
#include "host/rows/row_fields.h"

/// Turns row batches into text. A formatter keeps caches of its own (quoted texts), so each thread
/// makes one; all formatters made from equal options give equal bytes for equal rows, whatever
/// batches the rows come in, so that the pieces of several threads can be put together in order.
namespace qbt2 {

struct FormatOptions {
  std::vector<FieldIndex> fields;    ///< in output order; empty: the format's own choice
  std::size_t terminal_columns = 0;  ///< table: width to fit into, 0 for no limit
};

class RowFormatter {
 public:
  virtual ~RowFormatter() = default;
  /// What stands before the first row, once for an output.
  virtual void header(TextBuffer& out) = 0;
  virtual void append(const RowBatch& rows, TextBuffer& out) = 0;
  /// What stands behind the last row, once for an output.
  virtual void footer(TextBuffer& out) = 0;
};

/// Format names: "table", "csv", "jsonl". Null for a name that is none of them.
std::unique_ptr<RowFormatter> make_row_formatter(std::string_view format,
                                                 const ColumnCatalogue& catalogue,
                                                 const FormatOptions& options);

}  // namespace qbt2
