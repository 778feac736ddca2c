#include "host/format/table_layout.h"

#include <algorithm>
#include <array>

#include "host/base/number_text.h"
#include "host/base/terminal_text.h"
#include "host/base/utf8.h"

namespace qbt2 {
namespace {

constexpr std::size_t kMinValuesWidth = 20;  // narrower, the values column is of no use

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
    {24, 12, true},   // master
    {5, 5, true},     // type: "Value"
    {11, 11, true},   // kind: "transaction"
    {49, 16, true},   // description
    {14, 14, false},  // address: 0x and 12 digits
}};

// Left to right.
constexpr std::array kDefaultFields{
    BuiltinField::kCapture, BuiltinField::kOffset, BuiltinField::kTimestamp, BuiltinField::kTimeNs,
    BuiltinField::kMaster,  BuiltinField::kKind,   BuiltinField::kAddress};

/// Which of them are dropped, in this order, while the values column would be narrower than this.
struct Droppable {
  BuiltinField field;
  std::size_t values_width;
};
constexpr std::array<Droppable, 4> kFirstToDrop{{
    {BuiltinField::kTimeNs, 48},
    {BuiltinField::kOffset, 40},
    {BuiltinField::kAddress, kMinValuesWidth},
    {BuiltinField::kTimestamp, kMinValuesWidth},
}};

constexpr FieldIndex index_of(BuiltinField field) {
  return static_cast<FieldIndex>(field);
}

std::size_t widest_number(std::size_t size_bytes) {
  return decimal_length(~std::uint64_t{0} >> (64 - 8 * size_bytes));
}

}  // namespace

TableLayout::TableLayout(const ColumnCatalogue& catalogue, const FormatOptions& options)
    : catalogue_(&catalogue), limited_(options.terminal_columns != 0) {
  if (options.fields.empty()) {
    choose_columns(options);
  } else {
    for (const FieldIndex field : options.fields) columns_.push_back(make_column(field));
    if (limited_) narrow_texts(options.terminal_columns);
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
  } else {
    const ColumnDescription& described = catalogue_->columns.at(field - kBuiltinFieldCount);
    column.width = std::max(widest_number(described.size_bytes), title_width);
    column.min_width = column.width;
    column.align = TableAlign::kRight;
  }
  return column;
}

/// The default table: as many of the fields as leave room for the values column, then that.
void TableLayout::choose_columns(const FormatOptions& options) {
  const std::size_t terminal_columns = options.terminal_columns;
  for (const BuiltinField field : kDefaultFields) {
    if (field == BuiltinField::kCapture && !options.several_captures) continue;
    columns_.push_back(make_column(index_of(field)));
  }
  if (limited_) drop_columns(terminal_columns);
  TableColumn values;
  values.field = kValuesField;
  values.title = "values";
  values.width = kUnlimitedWidth;
  if (limited_) {
    narrow_texts(terminal_columns - std::min(terminal_columns, kMinValuesWidth + kTableGap));
    const std::size_t used = total_width(&TableColumn::width) + kTableGap;
    values.width = std::max(kMinValuesWidth, terminal_columns - std::min(used, terminal_columns));
  }
  columns_.push_back(values);
}

void TableLayout::drop_columns(std::size_t terminal_columns) {
  for (const Droppable& droppable : kFirstToDrop) {
    const std::size_t needed =
        total_width(&TableColumn::min_width) + kTableGap + droppable.values_width;
    if (needed <= terminal_columns) return;
    std::erase_if(columns_, [&](const TableColumn& column) {
      return column.field == index_of(droppable.field);
    });
  }
}

/// Narrows the texts, the widest first. If the table still does not fit, the terminal wraps it: the
/// user chose these columns, and numbers are never cut.
void TableLayout::narrow_texts(std::size_t terminal_columns) {
  while (total_width(&TableColumn::width) > terminal_columns) {
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
