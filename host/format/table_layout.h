#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "host/format/row_formatter.h"

/// Which columns a table has and how wide they are. Rows are streamed, so the widths come from what
/// a field can hold, not from the rows. All widths are in characters. Does not change once made.
namespace qbt2 {

inline constexpr std::size_t kUnlimitedWidth = std::numeric_limits<std::size_t>::max();
inline constexpr std::size_t kTableGap = 2;  ///< blanks between columns

/// The last column of a default table, after all fields: a row's own columns as key=value.
inline constexpr FieldIndex kValuesField = std::numeric_limits<FieldIndex>::max();

enum class TableAlign : std::uint8_t { kLeft, kRight };

struct TableColumn {
  FieldIndex field = 0;
  std::string title;
  std::size_t width = 0;      ///< or kUnlimitedWidth
  std::size_t min_width = 0;  ///< how far a text may be narrowed to fit the terminal
  TableAlign align = TableAlign::kLeft;
};

class TableLayout {
 public:
  TableLayout(const ColumnCatalogue& catalogue, const FormatOptions& options);

  /// Left to right.
  const std::vector<TableColumn>& columns() const { return columns_; }
  bool shows(FieldIndex field) const;

 private:
  TableColumn make_column(FieldIndex field) const;
  void choose_columns(const FormatOptions& options);
  void drop_columns(std::size_t terminal_columns);
  void narrow_texts(std::size_t terminal_columns);
  std::size_t total_width(std::size_t TableColumn::*width) const;

  const ColumnCatalogue* catalogue_;
  bool limited_;  ///< there is a terminal to fit into
  std::vector<TableColumn> columns_;
};

/// A name of the catalogue as a table shows it.
std::string table_label(std::string_view name);

/// How many characters of a terminal the text takes.
std::size_t table_width(std::string_view text);

}  // namespace qbt2
