#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "host/base/text_buffer.h"
#include "host/rows/named_master.h"
#include "host/rows/row_batch.h"
#include "host/rows/row_fields.h"

/// Turns row batches into text; formatter_factory.h makes the formatters. A formatter caches texts
/// as its format writes them and belongs to one thread. All formatters made from equal options
/// write equal bytes for equal rows, however the rows are split into batches: the output of several
/// threads can be joined in order.
namespace qbt2 {

struct FormatOptions {
  std::vector<FieldIndex> fields;    ///< in output order; empty: the format's own choice
  std::size_t terminal_columns = 0;  ///< table: width to fit into, 0 for no limit
  bool several_captures = false;     ///< rows say which capture they come from
  bool has_timestamps = true;        ///< false: no row will have a time
  /// Table: the masters that the settings name; outlive the formatter.
  std::span<const NamedMaster> masters = {};
  /// CSV, JSON lines: addresses as texts with 0x, as the table has them.
  bool hex_addresses = false;
  /// CSV: texts that a spreadsheet would run as a formula are made plain.
  bool csv_safe = false;
};

inline constexpr std::size_t kAddressDigits = 12;  ///< hexadecimal, of a 48-bit address

class RowFormatter {
 public:
  virtual ~RowFormatter() = default;
  /// Appends what comes before the first row. Call it once an output.
  virtual void header(TextBuffer& out) = 0;
  /// Appends all rows of a batch, which was made for the formatter's catalogue and holds rows of
  /// capture `capture` (counted from 0) only.
  virtual void append(const RowBatch& rows, std::size_t capture, TextBuffer& out) = 0;
  /// Appends what comes after the last row. Call it once an output.
  virtual void footer(TextBuffer& out) = 0;
};

}  // namespace qbt2
