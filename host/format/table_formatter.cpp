#include "host/format/table_formatter.h"

#include <algorithm>
#include <array>
#include <limits>

#include "host/base/number_text.h"
#include "host/base/utf8.h"

namespace qbt2 {
namespace {

constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kGap = 2;              // blanks between columns
constexpr std::size_t kMinValuesWidth = 20;  // below, the values column is of no use
constexpr std::size_t kAddressDigits = 12;   // of a 48-bit address
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

/// The values column stands behind all fields.
constexpr FieldIndex kValuesField = kUnlimited;

struct BuiltinLayout {
  std::size_t width;
  std::size_t min_width;  ///< less than width: a text that may be cut to fit the terminal
  bool is_text;
};
// In the order of BuiltinField. Offsets and ticks of a long capture fit; larger ones are still
// written whole. The longest description is that of a throughput row with a period of 8 digits.
constexpr std::array<BuiltinLayout, kBuiltinFieldCount> kBuiltinLayouts{{
    {12, 12, false},  // offset
    {14, 14, false},  // timestamp
    {20, 20, false},  // time_ns
    {5, 5, false},    // probe
    {24, 12, true},   // master
    {5, 5, true},     // type: "Value"
    {11, 11, true},   // kind: "transaction"
    {49, 16, true},   // description
    {14, 14, false},  // address: 0x and 12 digits
}};

// Left to right.
constexpr std::array kDefaultFields{BuiltinField::kOffset, BuiltinField::kTimestamp,
                                    BuiltinField::kTimeNs, BuiltinField::kMaster,
                                    BuiltinField::kKind,   BuiltinField::kAddress};

/// Which of them give way, in this order, where the values column would be narrower than this.
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

// What tells most of a row of each kind; the other columns follow in catalogue order.
constexpr std::array<std::string_view, 16> kTellingKeys{
    "Bytes",     "Matched_",   "AvgLength", "Tracked", "Matched", "MaxWait",
    "TotalWait", "CreditWait", "RouteID",   "DIR_",    "OPCODE_", "ByteCount",
    "CHANNELID", "Priority_",  "QOS_",      "SECURE_",
};

constexpr FieldIndex index_of(BuiltinField field) {
  return static_cast<FieldIndex>(field);
}

std::size_t widest_number(std::size_t size_bytes) {
  return decimal_length(~std::uint64_t{0} >> (64 - 8 * size_bytes));
}

bool is_safe_to_show(char32_t c) {
  const bool control = c < 0x20 || (c >= 0x7F && c <= 0x9F);
  const bool line_break = c == 0x2028 || c == 0x2029;
  const bool direction = c == 0x061C || c == 0x200E || c == 0x200F ||
                         (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
  return !control && !line_break && !direction;
}

std::string shown(std::string_view text) {
  TextBuffer out;
  append_table_text(text, out);
  return std::string(out.view());
}

std::size_t width_of(std::string_view text) {
  return measure_text(text, kUnlimited).characters;
}

void append_run(char c, std::size_t count, TextBuffer& out) {
  char* const at = out.reserve(count);
  out.commit(std::fill_n(at, count, c));
}

}  // namespace

TableFormatter::TableFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options)
    : catalogue_(&catalogue), limited_(options.terminal_columns != 0), texts_(append_table_text) {
  if (options.fields.empty()) {
    choose_columns(options.terminal_columns);
  } else {
    for (const FieldIndex field : options.fields) columns_.push_back(make_column(field));
    if (limited_) narrow_texts(options.terminal_columns);
  }
  make_pairs();
}

TableFormatter::Column TableFormatter::make_column(FieldIndex field) const {
  Column column;
  column.field = field;
  column.title = shown(field_name(*catalogue_, field));
  const std::size_t title_width = width_of(column.title);
  if (field < kBuiltinFieldCount) {
    const BuiltinLayout& layout = kBuiltinLayouts[field];
    column.width = std::max(layout.width, title_width);
    column.min_width = std::max(layout.min_width, title_width);
    column.align = layout.is_text ? Align::kLeft : Align::kRight;
  } else {
    const ColumnDescription& described = catalogue_->columns.at(field - kBuiltinFieldCount);
    column.width = std::max(widest_number(described.size_bytes), title_width);
    column.min_width = column.width;
    column.align = Align::kRight;
  }
  return column;
}

/// The default table: as many of the fields as leave the values column room, then the values.
void TableFormatter::choose_columns(std::size_t terminal_columns) {
  for (const BuiltinField field : kDefaultFields) columns_.push_back(make_column(index_of(field)));
  if (limited_) drop_columns(terminal_columns);
  Column values;
  values.field = kValuesField;
  values.title = "values";
  values.width = kUnlimited;
  if (limited_) {
    narrow_texts(terminal_columns - std::min(terminal_columns, kMinValuesWidth + kGap));
    const std::size_t used = total_width(&Column::width) + kGap;
    values.width = std::max(kMinValuesWidth, terminal_columns - std::min(used, terminal_columns));
  }
  columns_.push_back(values);
}

void TableFormatter::drop_columns(std::size_t terminal_columns) {
  for (const Droppable& droppable : kFirstToDrop) {
    const std::size_t needed = total_width(&Column::min_width) + kGap + droppable.values_width;
    if (needed <= terminal_columns) return;
    std::erase_if(columns_,
                  [&](const Column& column) { return column.field == index_of(droppable.field); });
  }
}

/// Takes what is too much from the texts, the widest first. What then still does not fit is left
/// to the terminal to wrap: the user chose these columns, and numbers are never cut.
void TableFormatter::narrow_texts(std::size_t terminal_columns) {
  while (total_width(&Column::width) > terminal_columns) {
    const auto spare = [](const Column& column) {
      return column.width > column.min_width ? column.width : 0;
    };
    const auto widest =
        std::max_element(columns_.begin(), columns_.end(),
                         [&](const Column& a, const Column& b) { return spare(a) < spare(b); });
    if (widest == columns_.end() || spare(*widest) == 0) return;
    --widest->width;
  }
}

void TableFormatter::make_pairs() {
  const auto& described = catalogue_->columns;
  const auto rank = [&](std::size_t k) {
    return std::find(kTellingKeys.begin(), kTellingKeys.end(), described[k].key) -
           kTellingKeys.begin();
  };
  std::vector<std::size_t> order(described.size());
  for (std::size_t k = 0; k < order.size(); ++k) order[k] = k;
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return rank(a) < rank(b); });
  for (const std::size_t k : order) {
    const std::string label = shown(described[k].key) + "=";
    pairs_.push_back({label, width_of(label), k});
  }
}

std::size_t TableFormatter::total_width(std::size_t Column::*width) const {
  std::size_t total = columns_.empty() ? 0 : (columns_.size() - 1) * kGap;
  for (const Column& column : columns_) total += column.*width;
  return total;
}

bool TableFormatter::shows(FieldIndex field) const {
  return std::any_of(columns_.begin(), columns_.end(),
                     [&](const Column& column) { return column.field == field; });
}

void TableFormatter::header(TextBuffer& out) {
  std::size_t blanks = 0;
  for (const Column& column : columns_) {
    append_cell(column, {column.title, width_of(column.title)}, blanks, out);
  }
  out.append("\n");
  for (std::size_t n = 0; n < columns_.size(); ++n) {
    if (n != 0) append_run(' ', kGap, out);
    const std::size_t width = columns_[n].width;
    append_run('-', width == kUnlimited ? columns_[n].title.size() : width, out);
  }
  out.append("\n");
}

void TableFormatter::append(const RowBatch& rows, TextBuffer& out) {
  texts_.use(rows.texts());
  for (std::size_t row = 0; row < rows.size(); ++row) {
    std::size_t blanks = 0;
    for (const Column& column : columns_) {
      append_cell(column, make_cell(column, rows, row), blanks, out);
    }
    out.append("\n");
  }
}

/// `blanks` are owed from the cells before; those behind the last content are never paid, so lines
/// have no blanks at their end. A cell wider than its column pushes the rest to the right.
void TableFormatter::append_cell(const Column& column, const Cell& cell, std::size_t& blanks,
                                 TextBuffer& out) {
  const std::size_t padding =
      column.width == kUnlimited || cell.width > column.width ? 0 : column.width - cell.width;
  if (cell.width == 0) {
    blanks += padding + kGap;
    return;
  }
  append_run(' ', blanks + (column.align == Align::kRight ? padding : 0), out);
  out.append(cell.text);
  blanks = kGap + (column.align == Align::kRight ? 0 : padding);
}

TableFormatter::Cell TableFormatter::make_cell(const Column& column, const RowBatch& rows,
                                               std::size_t row) {
  const RowHead& head = rows.head(row);
  if (column.field == kValuesField) return values_cell(rows, row, column.width);
  if (column.field >= kBuiltinFieldCount) {
    const std::size_t k = column.field - kBuiltinFieldCount;
    return head.columns.test(k) ? number_cell(rows.value(k, row)) : Cell{};
  }
  switch (static_cast<BuiltinField>(column.field)) {
    case BuiltinField::kOffset:
      return number_cell(head.offset);
    case BuiltinField::kTimestamp:
      return head.has_timestamp ? number_cell(head.timestamp) : Cell{};
    case BuiltinField::kTimeNs:
      return head.has_time_ns ? number_cell(head.time_ns) : Cell{};
    case BuiltinField::kProbe:
      return head.has_probe ? number_cell(head.probe) : Cell{};
    case BuiltinField::kMaster:
      return head.has_master ? text_cell(texts_.get(head.master_text), column.width) : Cell{};
    case BuiltinField::kType:
      return head.has_type ? text_cell(texts_.get(head.type_text), column.width) : Cell{};
    case BuiltinField::kKind:
      return text_cell(kind_name(head.kind), column.width);
    case BuiltinField::kDescription:
      return head.has_description ? text_cell(texts_.get(head.description_text), column.width)
                                  : Cell{};
    case BuiltinField::kAddress:
      return head.has_address ? hex_cell(head.address) : Cell{};
  }
  return {};
}

TableFormatter::Cell TableFormatter::number_cell(std::uint64_t value) {
  scratch_.clear();
  scratch_.commit(write_decimal(scratch_.reserve(kMaxNumberChars), value));
  return {scratch_.view(), scratch_.size()};
}

TableFormatter::Cell TableFormatter::hex_cell(std::uint64_t value) {
  scratch_.clear();
  scratch_.append("0x");
  scratch_.commit(write_hex(scratch_.reserve(kMaxNumberChars), value, kAddressDigits));
  return {scratch_.view(), scratch_.size()};
}

TableFormatter::Cell TableFormatter::text_cell(std::string_view text, std::size_t width) {
  if (!limited_) return {text, width_of(text)};
  const TextExtent fitting = measure_text(text, width);
  if (fitting.bytes == text.size()) return {text, fitting.characters};
  scratch_.clear();
  scratch_.append(text.substr(0, measure_text(text, width - 1).bytes));
  scratch_.append(kEllipsis);
  return {scratch_.view(), width};
}

/// The address (where it has no column of its own) and the row's columns as key=value, as many as
/// fit whole.
TableFormatter::Cell TableFormatter::values_cell(const RowBatch& rows, std::size_t row,
                                                 std::size_t width) {
  const RowHead& head = rows.head(row);
  std::array<char, kMaxNumberChars> digits;
  std::size_t used = 0;
  bool cut = false;
  scratch_.clear();
  const auto add = [&](std::string_view label, std::size_t label_width, const char* digits_end) {
    const auto digit_count = static_cast<std::size_t>(digits_end - digits.data());
    const std::size_t gap = used == 0 ? 0 : 1;
    // Two characters stay free for the mark that more would follow.
    cut = width != kUnlimited && used + gap + label_width + digit_count + 2 > width;
    if (cut) return;
    if (gap != 0) scratch_.append(" ");
    scratch_.append(label);
    scratch_.append({digits.data(), digit_count});
    used += gap + label_width + digit_count;
  };
  if (head.has_address && !shows(index_of(BuiltinField::kAddress))) {
    add("address=0x", 10, write_hex(digits.data(), head.address, kAddressDigits));
  }
  for (const Pair& pair : pairs_) {
    if (cut) break;
    if (head.columns.test(pair.column)) {
      add(pair.label, pair.label_width, write_decimal(digits.data(), rows.value(pair.column, row)));
    }
  }
  if (cut) {
    scratch_.append(used == 0 ? "" : " ");
    scratch_.append(kEllipsis);
    used += used == 0 ? 1 : 2;
  }
  return {scratch_.view(), used};
}

void append_table_text(std::string_view text, TextBuffer& out) {
  char* at = out.reserve(text.size() * kReplacementCharacter.size());
  while (!text.empty()) {
    const Utf8Character character = first_character(text);
    const bool kept = character.valid && is_safe_to_show(character.code_point);
    const std::string_view written = kept ? text.substr(0, character.bytes) : kReplacementCharacter;
    at = std::copy(written.begin(), written.end(), at);
    text.remove_prefix(character.bytes);
  }
  out.commit(at);
}

}  // namespace qbt2
