#include "host/format/table_formatter.h"

#include <algorithm>
#include <array>

#include "host/base/number_text.h"
#include "host/base/terminal_text.h"
#include "host/base/utf8.h"
#include "host/format/window_line.h"
#include "interfaces/record_format.h"

namespace qbt2 {
namespace {

constexpr std::string_view kEllipsis = "\xE2\x80\xA6";
constexpr std::size_t kMarkWidth = 2;  // a blank and the ellipsis

constexpr std::uint16_t kLargestProbe = 0xFF;

constexpr std::uint64_t kNsPerUs = 1000;

// The most useful columns of each kind of row; the others follow in catalogue order.
constexpr std::array<std::string_view, 16> kFirstKeys{
    "Bytes",      "Matched_",  "AvgLength", "MaxWait", "TotalWait", "Tracked",
    "CreditWait", "Matched",   "ByteCount", "DIR_",    "OPCODE_",   "RouteID",
    "CHANNELID",  "Priority_", "QOS_",      "SECURE_",
};

constexpr FieldIndex index_of(BuiltinField field) {
  return static_cast<FieldIndex>(field);
}

void append_run(char c, std::size_t count, TextBuffer& out) {
  char* const at = out.reserve(count);
  out.commit(std::fill_n(at, count, c));
}

void append_number(std::uint64_t value, TextBuffer& out) {
  out.commit(write_decimal(out.reserve(kMaxNumberChars), value));
}

/// Where the last `count` characters of well-formed UTF-8 begin.
std::size_t begin_of_last(std::string_view text, std::size_t count) {
  std::size_t at = text.size();
  while (count != 0 && at != 0) {
    --at;
    const bool begins = (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80;
    count -= static_cast<std::size_t>(begins);
  }
  return at;
}

}  // namespace

TableFormatter::TableFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options)
    : catalogue_(&catalogue),
      terminal_columns_(options.terminal_columns),
      layout_(catalogue, options),
      texts_(append_terminal_text) {
  if (options.fields.empty()) masters_ = options.masters;
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
  if (const std::string windows = window_line(masters_); !windows.empty()) {
    out.append(text_cell(windows, terminal_columns_, Cut::kEnd).text);
    out.append("\n");
  }
  Line line{&out};
  for (const TableColumn& column : columns()) {
    append_cell(column, {column.title, table_width(column.title)}, line);
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
    Line line{&out};
    for (const TableColumn& column : columns()) {
      const Cell cell = column.field == kValuesField ? values_cell(rows, row, room(line))
                                                     : make_cell(column, rows, row);
      append_cell(column, cell, line);
    }
    out.append("\n");
  }
}

/// What is left of the line: less than the last column's width where a number before it was wider
/// than its own.
std::size_t TableFormatter::room(const Line& line) const {
  if (terminal_columns_ == 0) return kUnlimitedWidth;
  return terminal_columns_ - std::min(terminal_columns_, line.width + line.blanks);
}

/// A cell wider than its column pushes the rest to the right.
void TableFormatter::append_cell(const TableColumn& column, const Cell& cell, Line& line) {
  const std::size_t padding =
      column.width == kUnlimitedWidth || cell.width > column.width ? 0 : column.width - cell.width;
  if (cell.width == 0) {
    line.blanks += padding + kTableGap;
    return;
  }
  const bool right = column.align == TableAlign::kRight;
  const std::size_t before = line.blanks + (right ? padding : 0);
  append_run(' ', before, *line.out);
  line.out->append(cell.text);
  line.width += before + cell.width;
  line.blanks = kTableGap + (right ? 0 : padding);
}

TableFormatter::Cell TableFormatter::make_cell(const TableColumn& column, const RowBatch& rows,
                                               std::size_t row) {
  const RowHead& head = rows.head(row);
  if (column.field == kTimeField) return time_cell(head);
  if (column.field == kSourceField) return source_cell(head, column.width, rows.texts());
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
      return head.has_master ? text_cell(texts_.get(head.master_text), column.width, Cut::kMiddle)
                             : Cell{};
    case BuiltinField::kType:
      return head.has_type ? text_cell(texts_.get(head.type_text), column.width, Cut::kEnd)
                           : Cell{};
    case BuiltinField::kKind:
      return text_cell(kind_name(head.kind), column.width, Cut::kEnd);
    case BuiltinField::kDescription:
      return head.has_description
                 ? text_cell(texts_.get(head.description_text), column.width, Cut::kEnd)
                 : Cell{};
    case BuiltinField::kAddress:
      return head.has_address ? address_cell(head.address) : Cell{};
  }
  return {};
}

TableFormatter::Cell TableFormatter::number_cell(std::uint64_t value) {
  scratch_.clear();
  append_number(value, scratch_);
  return {scratch_.view(), scratch_.size()};
}

TableFormatter::Cell TableFormatter::address_cell(std::uint64_t address) {
  scratch_.clear();
  scratch_.append("0x");
  scratch_.commit(write_hex(scratch_.reserve(kMaxNumberChars), address, kAddressDigits));
  return {scratch_.view(), scratch_.size()};
}

/// Cut to the column on a terminal. `text` must not be in scratch_.
TableFormatter::Cell TableFormatter::text_cell(std::string_view text, std::size_t width, Cut cut) {
  if (terminal_columns_ == 0) return {text, table_width(text)};
  const TextExtent fitting = measure_text(text, width);
  if (fitting.bytes == text.size()) return {text, fitting.characters};
  const std::size_t kept = width - 1;
  const std::size_t kept_at_end = cut == Cut::kMiddle ? kept / 2 : 0;
  scratch_.clear();
  scratch_.append(text.substr(0, measure_text(text, kept - kept_at_end).bytes));
  scratch_.append(kEllipsis);
  scratch_.append(text.substr(begin_of_last(text, kept_at_end)));
  return {scratch_.view(), width};
}

/// In microseconds, or in ticks where their rate is not known.
TableFormatter::Cell TableFormatter::time_cell(const RowHead& head) {
  if (!head.has_timestamp) return {};
  scratch_.clear();
  if (head.has_time_ns) {
    append_number(head.time_ns / kNsPerUs, scratch_);
    // 1000 + n has n's three digits after its first.
    std::array<char, kMaxNumberChars> digits;
    write_decimal(digits.data(), kNsPerUs + head.time_ns % kNsPerUs);
    scratch_.append(".");
    scratch_.append({digits.data() + 1, 3});
    scratch_.append(" us");
  } else {
    append_number(head.timestamp, scratch_);
    scratch_.append(" ticks");
  }
  return {scratch_.view(), scratch_.size()};
}

/// The master's name, or by which id its rows can be told apart.
TableFormatter::Cell TableFormatter::source_cell(const RowHead& head, std::size_t width,
                                                 const TextPool& texts) {
  if (head.has_master &&
      texts.text(head.master_text) != Kz::Dvt::Trace::RecordFormat::kUnknownMaster) {
    return text_cell(texts_.get(head.master_text), width, Cut::kMiddle);
  }
  scratch_.clear();
  scratch_.append(head.stp_master <= kLargestProbe ? "probe " : "master ");
  append_number(head.stp_master, scratch_);
  return {scratch_.view(), scratch_.size()};
}

/// The address (if it has no column of its own) and the row's columns as key=value, as many as fit
/// completely into `width`.
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
    // Two characters stay free for the mark that more follows; the first value does without it.
    const std::size_t reserved = used == 0 ? 0 : kMarkWidth;
    cut = width != kUnlimitedWidth && used + gap + label_width + digit_count + reserved > width;
    if (cut) return;
    if (gap != 0) scratch_.append(" ");
    scratch_.append(label);
    scratch_.append({digits.data(), digit_count});
    used += gap + label_width + digit_count;
  };
  if (head.has_address && !layout_.shows(index_of(BuiltinField::kAddress))) {
    add("0x", 2, write_hex(digits.data(), head.address));
  }
  for (const Pair& pair : pairs_) {
    if (cut) break;
    if (head.columns.test(pair.column)) {
      add(pair.label, pair.label_width, write_decimal(digits.data(), rows.value(pair.column, row)));
    }
  }
  if (cut && used + kMarkWidth <= width) {
    scratch_.append(used == 0 ? "" : " ");
    scratch_.append(kEllipsis);
    used += used == 0 ? 1 : kMarkWidth;
  }
  return {scratch_.view(), used};
}

}  // namespace qbt2
