#include "host/format/table_formatter.h"

#include <algorithm>
#include <array>

#include "host/base/number_text.h"
#include "host/base/terminal_text.h"
#include "host/base/utf8.h"

namespace qbt2 {
namespace {

constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

// The most useful columns of each kind of row; the others follow in catalogue order.
constexpr std::array<std::string_view, 16> kFirstKeys{
    "Bytes",     "Matched_",   "AvgLength", "Tracked", "Matched", "MaxWait",
    "TotalWait", "CreditWait", "RouteID",   "DIR_",    "OPCODE_", "ByteCount",
    "CHANNELID", "Priority_",  "QOS_",      "SECURE_",
};

constexpr FieldIndex index_of(BuiltinField field) {
  return static_cast<FieldIndex>(field);
}

void append_run(char c, std::size_t count, TextBuffer& out) {
  char* const at = out.reserve(count);
  out.commit(std::fill_n(at, count, c));
}

}  // namespace

TableFormatter::TableFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options)
    : catalogue_(&catalogue),
      limited_(options.terminal_columns != 0),
      layout_(catalogue, options),
      texts_(append_terminal_text) {
  make_pairs();
}

void TableFormatter::make_pairs() {
  const auto& described = catalogue_->columns;
  const auto rank = [&](std::size_t k) {
    return std::find(kFirstKeys.begin(), kFirstKeys.end(), described[k].key) - kFirstKeys.begin();
  };
  std::vector<std::size_t> order(described.size());
  for (std::size_t k = 0; k < order.size(); ++k) order[k] = k;
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return rank(a) < rank(b); });
  for (const std::size_t k : order) {
    const std::string label = table_label(described[k].key) + "=";
    pairs_.push_back({label, table_width(label), k});
  }
}

void TableFormatter::header(TextBuffer& out) {
  std::size_t blanks = 0;
  for (const TableColumn& column : columns()) {
    append_cell(column, {column.title, table_width(column.title)}, blanks, out);
  }
  out.append("\n");
  for (std::size_t n = 0; n < columns().size(); ++n) {
    if (n != 0) append_run(' ', kTableGap, out);
    const std::size_t width = columns()[n].width;
    append_run('-', width == kUnlimitedWidth ? columns()[n].title.size() : width, out);
  }
  out.append("\n");
}

void TableFormatter::append(const RowBatch& rows, std::size_t capture, TextBuffer& out) {
  capture_ = capture;
  texts_.use(rows.texts());
  for (std::size_t row = 0; row < rows.size(); ++row) {
    std::size_t blanks = 0;
    for (const TableColumn& column : columns()) {
      append_cell(column, make_cell(column, rows, row), blanks, out);
    }
    out.append("\n");
  }
}

/// `blanks` are pending from the cells before; they are written only before more content, so lines
/// have no trailing blanks. A cell wider than its column pushes the rest to the right.
void TableFormatter::append_cell(const TableColumn& column, const Cell& cell, std::size_t& blanks,
                                 TextBuffer& out) {
  const std::size_t padding =
      column.width == kUnlimitedWidth || cell.width > column.width ? 0 : column.width - cell.width;
  if (cell.width == 0) {
    blanks += padding + kTableGap;
    return;
  }
  append_run(' ', blanks + (column.align == TableAlign::kRight ? padding : 0), out);
  out.append(cell.text);
  blanks = kTableGap + (column.align == TableAlign::kRight ? 0 : padding);
}

TableFormatter::Cell TableFormatter::make_cell(const TableColumn& column, const RowBatch& rows,
                                               std::size_t row) {
  const RowHead& head = rows.head(row);
  if (column.field == kValuesField) return values_cell(rows, row, column.width);
  if (column.field >= kBuiltinFieldCount) {
    const std::size_t k = column.field - kBuiltinFieldCount;
    return head.columns.test(k) ? number_cell(rows.value(k, row)) : Cell{};
  }
  switch (static_cast<BuiltinField>(column.field)) {
    case BuiltinField::kCapture:
      return number_cell(capture_ + 1);
    case BuiltinField::kOffset:
      return number_cell(head.offset);
    case BuiltinField::kTimestamp:
      return head.has_timestamp ? number_cell(head.timestamp) : Cell{};
    case BuiltinField::kTimeNs:
      return head.has_time_ns ? number_cell(head.time_ns) : Cell{};
    case BuiltinField::kProbe:
      return head.has_probe ? number_cell(head.probe) : Cell{};
    case BuiltinField::kStpMaster:
      return number_cell(head.stp_master);
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
  if (!limited_) return {text, table_width(text)};
  const TextExtent fitting = measure_text(text, width);
  if (fitting.bytes == text.size()) return {text, fitting.characters};
  scratch_.clear();
  scratch_.append(text.substr(0, measure_text(text, width - 1).bytes));
  scratch_.append(kEllipsis);
  return {scratch_.view(), width};
}

/// The address (if it has no column of its own) and the row's columns as key=value, as many as fit
/// completely.
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
    cut = width != kUnlimitedWidth && used + gap + label_width + digit_count + 2 > width;
    if (cut) return;
    if (gap != 0) scratch_.append(" ");
    scratch_.append(label);
    scratch_.append({digits.data(), digit_count});
    used += gap + label_width + digit_count;
  };
  if (head.has_address && !layout_.shows(index_of(BuiltinField::kAddress))) {
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

}  // namespace qbt2
