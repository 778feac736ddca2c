#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/format/row_formatter.h"

/// Which columns a table has and how wide they are. Rows are streamed, so the widths come from what
/// a field can hold and from the settings, not from the rows. All widths are in characters. Does
/// not change once made.
namespace qbt2 {

inline constexpr std::size_t kUnlimitedWidth = std::numeric_limits<std::size_t>::max();
inline constexpr std::size_t kTableGap = 2;  ///< blanks between columns

/// Columns of a default table that are more than one field of a row.
inline constexpr FieldIndex kValuesField = std::numeric_limits<FieldIndex>::max();
inline constexpr FieldIndex kTimeField = kValuesField - 1;    ///< time_ns, else timestamp
inline constexpr FieldIndex kSourceField = kValuesField - 2;  ///< master, else the id

enum class TableAlign : std::uint8_t { kLeft, kRight };

struct TableColumn {
  FieldIndex field = 0;
  std::string title;
  std::size_t width = 0;      ///< or kUnlimitedWidth: the rest of the line
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
  TableColumn make_composed_column(FieldIndex field) const;
  std::size_t master_width() const;
  void choose_columns(const FormatOptions& options);
  void drop_columns();
  void narrow_texts();
  std::size_t total_width(std::size_t TableColumn::*width) const;

  const ColumnCatalogue* catalogue_;
  std::span<const NamedMaster> masters_;
  std::size_t terminal_columns_;  ///< 0: no terminal to fit into
  std::vector<TableColumn> columns_;
};

/// A text of the input as a table shows it.
std::string table_label(std::string_view name);

/// How many characters of a terminal the text takes.
std::size_t table_width(std::string_view text);

}  // namespace qbt2
