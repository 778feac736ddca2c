#include "host/format/table_layout.h"

#include <algorithm>
#include <array>

#include "host/base/number_text.h"
#include "host/base/terminal_text.h"
#include "host/base/utf8.h"

namespace qbt2 {
namespace {

struct BuiltinLayout {
  std::size_t width;
  std::size_t min_width;  ///< less than width: a text that may be cut to fit the terminal
  bool is_text;
};
// In the order of BuiltinField. Offsets and ticks of a long capture fit; larger ones are still
// written whole. The longest description is that of a throughput row with a period of 8 digits.
constexpr std::array<BuiltinLayout, kBuiltinFieldCount> kBuiltinLayouts{{
    {7, 7, false},    // capture
    {12, 12, false},  // offset
    {14, 14, false},  // timestamp
    {20, 20, false},  // time_ns
    {5, 5, false},    // probe
    {10, 10, false},  // stp_master
    {24, 12, true},   // master; see master_width
    {5, 5, true},     // type: "Value"
    {11, 11, true},   // kind: "transaction"
    {49, 16, true},   // description
    {14, 14, false},  // address: 0x and 12 digits
}};

constexpr FieldIndex index_of(BuiltinField field) {
  return static_cast<FieldIndex>(field);
}

/// Left to right; the values come after them.
constexpr std::array kDefaultFields{index_of(BuiltinField::kCapture),
                                    kTimeField,
                                    kSourceField,
                                    index_of(BuiltinField::kKind),
                                    index_of(BuiltinField::kAddress),
                                    index_of(BuiltinField::kOffset)};

/// Which of them are dropped, in this order, while the values column would be narrower than this.
/// What a row is shows in its values too, and an address that has no column comes first in them.
struct Droppable {
  FieldIndex field;
  std::size_t values_width;
};
constexpr std::array<Droppable, 4> kFirstToDrop{{
    {index_of(BuiltinField::kOffset), 72},
    {index_of(BuiltinField::kKind), 56},
    {index_of(BuiltinField::kAddress), 40},
    {kTimeField, 12},
}};

/// Times of up to 100 ms, 100 s and 10000 s, and ticks of 6, 9 and 12 digits; longer ones are
/// written whole.
std::size_t time_width(std::size_t terminal_columns) {
  if (terminal_columns == 0 || terminal_columns >= 100) return 18;
  return terminal_columns >= 72 ? 15 : 12;
}

// A long name costs every row its blanks, so it may take a fifth of a terminal, and without one as
// much as this.
constexpr std::size_t kMinMasterWidth = 9;
constexpr std::size_t kMaxMasterWidth = 40;
constexpr std::size_t kProbeWidth = 9;       // "probe 255"
constexpr std::size_t kStpMasterWidth = 12;  // "master 65535"

std::size_t widest_number(std::size_t size_bytes) {
  return decimal_length(~std::uint64_t{0} >> (64 - 8 * size_bytes));
}

}  // namespace

TableLayout::TableLayout(const ColumnCatalogue& catalogue, const FormatOptions& options)
    : catalogue_(&catalogue),
      masters_(options.masters),
      terminal_columns_(options.terminal_columns) {
  if (options.fields.empty()) {
    choose_columns(options);
  } else {
    for (const FieldIndex field : options.fields) columns_.push_back(make_column(field));
    if (terminal_columns_ != 0) narrow_texts();
  }
}

TableColumn TableLayout::make_column(FieldIndex field) const {
  TableColumn column;
  column.field = field;
  column.title = table_label(field_name(*catalogue_, field));
  const std::size_t title_width = table_width(column.title);
  if (field < kBuiltinFieldCount) {
    const BuiltinLayout& layout = kBuiltinLayouts[field];
    column.width = std::max(layout.width, title_width);
    column.min_width = std::max(layout.min_width, title_width);
    column.align = layout.is_text ? TableAlign::kLeft : TableAlign::kRight;
    if (field == index_of(BuiltinField::kMaster) && !masters_.empty()) {
      column.width = std::max(master_width(), title_width);
      column.min_width = std::min(column.width, column.min_width);
    }
  } else {
    const ColumnDescription& described = catalogue_->columns.at(field - kBuiltinFieldCount);
    column.width = std::max(widest_number(described.size_bytes), title_width);
    column.min_width = column.width;
    column.align = TableAlign::kRight;
  }
  return column;
}

TableColumn TableLayout::make_composed_column(FieldIndex field) const {
  TableColumn column;
  column.field = field;
  if (field == kTimeField) {
    column.title = "time";
    column.width = time_width(terminal_columns_);
    column.align = TableAlign::kRight;
  } else if (field == kSourceField) {
    column.title = "master";
    column.width = masters_.empty() ? kStpMasterWidth : std::max(master_width(), kProbeWidth);
    if (terminal_columns_ != 0) {
      column.width = std::min(column.width, std::max(kMinMasterWidth, terminal_columns_ / 5));
    }
  } else {
    column.title = "values";
    column.width = kUnlimitedWidth;
  }
  column.min_width = column.width;
  return column;
}

/// As the longest name needs.
std::size_t TableLayout::master_width() const {
  std::size_t longest = 0;
  for (const NamedMaster& master : masters_) {
    longest = std::max(longest, measure_text(master.name, kMaxMasterWidth).characters);
  }
  return longest;
}

/// The default table: as many of the fields as leave room for the values column, then that.
void TableLayout::choose_columns(const FormatOptions& options) {
  for (const FieldIndex field : kDefaultFields) {
    if (field == index_of(BuiltinField::kCapture) && !options.several_captures) continue;
    if (field == kTimeField && !options.has_timestamps) continue;
    columns_.push_back(field < kBuiltinFieldCount ? make_column(field)
                                                  : make_composed_column(field));
  }
  if (terminal_columns_ != 0) drop_columns();
  const std::size_t used = total_width(&TableColumn::width) + kTableGap;
  columns_.push_back(make_composed_column(kValuesField));
  if (terminal_columns_ != 0) {
    columns_.back().width = terminal_columns_ - std::min(used, terminal_columns_);
  }
}

void TableLayout::drop_columns() {
  for (const Droppable& droppable : kFirstToDrop) {
    const std::size_t needed =
        total_width(&TableColumn::width) + kTableGap + droppable.values_width;
    if (needed <= terminal_columns_) return;
    std::erase_if(columns_,
                  [&](const TableColumn& column) { return column.field == droppable.field; });
  }
}

/// Narrows the texts, the widest first. If the table still does not fit, the terminal wraps it: the
/// user chose these columns, and numbers are never cut.
void TableLayout::narrow_texts() {
  while (total_width(&TableColumn::width) > terminal_columns_) {
    const auto spare = [](const TableColumn& column) {
      return column.width > column.min_width ? column.width : 0;
    };
    const auto widest = std::max_element(
        columns_.begin(), columns_.end(),
        [&](const TableColumn& a, const TableColumn& b) { return spare(a) < spare(b); });
    if (widest == columns_.end() || spare(*widest) == 0) return;
    --widest->width;
  }
}

std::size_t TableLayout::total_width(std::size_t TableColumn::*width) const {
  std::size_t total = columns_.empty() ? 0 : (columns_.size() - 1) * kTableGap;
  for (const TableColumn& column : columns_) total += column.*width;
  return total;
}

bool TableLayout::shows(FieldIndex field) const {
  return std::any_of(columns_.begin(), columns_.end(),
                     [&](const TableColumn& column) { return column.field == field; });
}

std::string table_label(std::string_view name) {
  TextBuffer out;
  append_terminal_text(name, out);
  return std::string(out.view());
}

std::size_t table_width(std::string_view text) {
  return measure_text(text, kUnlimitedWidth).characters;
}

}  // namespace qbt2
