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
/// Rows of all kinds share the table. If the user names no columns, it shows what a person looks
/// for first: the time in microseconds, the master, the address, and in the last column, `values`,
/// a row's own columns as key=value, the most useful ones of its kind first. The sampling windows
/// of the settings come once, before the header.
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
  /// The line being written. Blanks are pending from the cells before; they are written only before
  /// more content, so that lines have no trailing blanks.
  struct Line {
    TextBuffer* out;
    std::size_t width = 0;
    std::size_t blanks = 0;
  };
  enum class Cut : std::uint8_t { kEnd, kMiddle };

  const std::vector<TableColumn>& columns() const { return layout_.columns(); }
  void make_pairs();
  std::size_t room(const Line& line) const;

  static void append_cell(const TableColumn& column, const Cell& cell, Line& line);
  Cell make_cell(const TableColumn& column, const RowBatch& rows, std::size_t row);
  Cell number_cell(std::uint64_t value);
  Cell address_cell(std::uint64_t address);
  Cell text_cell(std::string_view text, std::size_t width, Cut cut);
  Cell time_cell(const RowHead& head);
  Cell source_cell(const RowHead& head, std::size_t width, const TextPool& texts);
  Cell values_cell(const RowBatch& rows, std::size_t row, std::size_t width);

  const ColumnCatalogue* catalogue_;
  std::size_t terminal_columns_;  ///< 0: texts are not cut
  TableLayout layout_;
  std::span<const NamedMaster> masters_;  ///< whose windows come before the header
  std::vector<Pair> pairs_;
  RenderedTexts texts_;
  std::size_t capture_ = 0;  ///< of the current batch
  TextBuffer scratch_;       ///< the cell being written
};

}  // namespace qbt2
