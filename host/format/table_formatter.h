#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/format/row_formatter.h"
#include "host/format/table_layout.h"
#include "host/rows/rendered_texts.h"

/// Rows as lines for a person: a header line, a rule, one line a row. One thread.
///
/// Rows of all kinds share the table. If the user names no columns, the last one, `values`, lists a
/// row's own columns as key=value, the most useful ones of its kind first.
namespace qbt2 {

class TableFormatter final : public RowFormatter {
 public:
  /// The catalogue must outlive the formatter.
  TableFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options);

  void header(TextBuffer& out) override;
  void append(const RowBatch& rows, std::size_t capture, TextBuffer& out) override;
  void footer(TextBuffer& /*out*/) override {}

 private:
  /// A catalogue column as the values column shows it.
  struct Pair {
    std::string label;  ///< "RouteID="
    std::size_t label_width = 0;
    std::size_t column = 0;
  };
  struct Cell {
    std::string_view text;
    std::size_t width = 0;
  };

  const std::vector<TableColumn>& columns() const { return layout_.columns(); }
  void make_pairs();

  void append_cell(const TableColumn& column, const Cell& cell, std::size_t& blanks,
                   TextBuffer& out);
  Cell make_cell(const TableColumn& column, const RowBatch& rows, std::size_t row);
  Cell number_cell(std::uint64_t value);
  Cell hex_cell(std::uint64_t value);
  Cell text_cell(std::string_view text, std::size_t width);
  Cell values_cell(const RowBatch& rows, std::size_t row, std::size_t width);

  const ColumnCatalogue* catalogue_;
  bool limited_;  ///< whether texts are cut to their column
  TableLayout layout_;
  std::vector<Pair> pairs_;
  RenderedTexts texts_;
  std::size_t capture_ = 0;  ///< of the current batch
  TextBuffer scratch_;       ///< the cell being written
};

}  // namespace qbt2
