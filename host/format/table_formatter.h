#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/format/row_formatter.h"
#include "host/rows/rendered_texts.h"

/// Rows as lines for a person: a header line, a rule, one line a row. Rows are streamed, so the
/// widths come from what a field can hold, not from what the rows do hold. One thread.
///
/// Rows of all kinds share the table. Where the user names no columns, the last one, `values`,
/// lists a row's own columns as key=value, the telling ones of its kind first.
namespace qbt2 {

class TableFormatter final : public RowFormatter {
 public:
  /// The catalogue must outlive the formatter.
  TableFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options);

  void header(TextBuffer& out) override;
  void append(const RowBatch& rows, TextBuffer& out) override;
  void footer(TextBuffer& /*out*/) override {}

 private:
  enum class Align { kLeft, kRight };
  struct Column {
    FieldIndex field = 0;
    std::string title;
    std::size_t width = 0;      ///< characters; the largest size_t: as wide as its content
    std::size_t min_width = 0;  ///< how far a text may be narrowed to fit the terminal
    Align align = Align::kLeft;
  };
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

  Column make_column(FieldIndex field) const;
  void choose_columns(std::size_t terminal_columns);
  void drop_columns(std::size_t terminal_columns);
  void narrow_texts(std::size_t terminal_columns);
  void make_pairs();
  std::size_t total_width(std::size_t Column::*width) const;
  bool shows(FieldIndex field) const;

  void append_cell(const Column& column, const Cell& cell, std::size_t& blanks, TextBuffer& out);
  Cell make_cell(const Column& column, const RowBatch& rows, std::size_t row);
  Cell number_cell(std::uint64_t value);
  Cell hex_cell(std::uint64_t value);
  Cell text_cell(std::string_view text, std::size_t width);
  Cell values_cell(const RowBatch& rows, std::size_t row, std::size_t width);

  const ColumnCatalogue* catalogue_;
  bool limited_;  ///< whether texts are cut to their column
  std::vector<Column> columns_;
  std::vector<Pair> pairs_;
  RenderedTexts texts_;
  TextBuffer scratch_;  ///< the cell being written
};

/// Appends the text with U+FFFD for what is broken and for what a terminal would act upon: control
/// characters, and those that change the direction of writing.
void append_table_text(std::string_view text, TextBuffer& out);

}  // namespace qbt2
