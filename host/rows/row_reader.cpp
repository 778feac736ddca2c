#include "host/rows/row_reader.h"

#include <algorithm>
#include <string_view>

namespace qbt2 {
namespace {

namespace format = Kz::Dvt::Trace::RecordFormat;

constexpr const char* kRepeatedField = "field given twice";

void take_from_host(RowHead& row, const RowHead& given) {
  row.offset = given.offset;
  row.timestamp = given.timestamp;
  row.time_ns = given.time_ns;
  row.stp_master = given.stp_master;
  row.has_timestamp = given.has_timestamp;
  row.has_time_ns = given.has_time_ns;
}

// These two put a field into row rows.size() and return null, or the reason why they cannot.

const char* take_number(std::span<const std::uint8_t> value, const RecordPosition& position,
                        RowBatch& rows) {
  RowHead& row = rows.head(rows.size());
  const bool again = position.field == RecordField::kProbe     ? row.has_probe
                     : position.field == RecordField::kAddress ? row.has_address
                                                               : row.columns.test(position.column);
  if (again) return kRepeatedField;
  switch (position.field) {
    case RecordField::kProbe:
      row.probe = value[0];
      row.has_probe = true;
      break;
    case RecordField::kAddress:
      row.address = load_record_number(value.data(), value.size());
      row.has_address = true;
      break;
    default:
      std::memcpy(rows.cell(position.column, rows.size()), value.data(), value.size());
      row.columns.set(position.column);
  }
  return nullptr;
}

const char* take_text(std::span<const std::uint8_t> text, const RecordPosition& position,
                      RowBatch& rows) {
  RowHead& row = rows.head(rows.size());
  const bool again = position.field == RecordField::kMaster ? row.has_master
                     : position.field == RecordField::kType ? row.has_type
                                                            : row.has_description;
  if (again) return kRepeatedField;
  set_row_text(row, position.field, rows.texts().intern(kept_text(text)));
  return nullptr;
}

}  // namespace

RowReader::RowReader(const ColumnCatalogue& catalogue, const ColumnMask& wanted)
    : catalogue_(&catalogue), layout_(catalogue), wanted_(wanted) {
  find_kind_columns();
}

void RowReader::find_kind_columns() {
  // One column that each kind of row has and no other kind.
  struct {
    RowKind kind;
    std::string_view key;
  } constexpr kKindKeys[] = {{RowKind::kTransaction, "RouteID"},
                             {RowKind::kLatency, "Tracked"},
                             {RowKind::kThroughput, "Bytes"}};
  const auto& columns = catalogue_->columns;
  for (const auto& row : kKindKeys) {
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const auto& column) { return column.key == row.key; });
    kind_columns_[static_cast<std::size_t>(row.kind)] =
        static_cast<std::size_t>(found - columns.begin());
  }
}

RowKind RowReader::kind_of(const ColumnMask& columns) const {
  for (const RowKind kind : {RowKind::kTransaction, RowKind::kLatency, RowKind::kThroughput}) {
    const std::size_t k = kind_columns_[static_cast<std::size_t>(kind)];
    if (k < catalogue_->columns.size() && columns.test(k)) return kind;
  }
  return RowKind::kUnknown;
}

std::size_t RowReader::read(std::span<const std::uint8_t> stream, const RowHead& head,
                            RowBatch& rows, RecordFault& fault, RowClass row_class) {
  fault = {};
  if (rows.full()) rows.grow();
  if (shapes_.read(row_class, stream, rows)) {
    take_from_host(rows.head(rows.size()), head);
    rows.commit_row();
    return 1;
  }
  return read_rows(stream, head, rows, fault, row_class);
}

std::size_t RowReader::read_rows(std::span<const std::uint8_t> stream, const RowHead& head,
                                 RowBatch& rows, RecordFault& fault, RowClass row_class) {
  if (stream.size() == 1 && stream[0] == format::kNoData) return 0;
  const std::size_t rows_before = rows.size();
  std::size_t offset = 0;
  const char* reason = stream.empty() ? "empty record stream" : nullptr;
  while (reason == nullptr && offset < stream.size()) {
    if (rows.full()) rows.grow();
    RowHead& row = rows.head(rows.size());
    row = RowHead{};
    take_from_host(row, head);
    reason = read_row(stream, offset, rows);
    row.kind = kind_of(row.columns);
    row.columns &= wanted_;
    rows.commit_row();
  }
  if (reason != nullptr) {
    fault = {offset, reason};
    rows.truncate(rows_before);
    return 0;
  }
  const std::size_t added = rows.size() - rows_before;
  if (added == 1) {
    shapes_.remember(row_class, layout_, wanted_, stream, rows.head(rows_before), rows.texts());
  }
  return added;
}

/// Reads fields into row rows.size() up to and including the end marker. Returns null, or the
/// reason why it cannot; `offset` is then where the bad field begins.
const char* RowReader::read_row(std::span<const std::uint8_t> stream, std::size_t& offset,
                                RowBatch& rows) const {
  for (const std::size_t begin = offset; offset < stream.size();) {
    const RecordPosition& position = layout_[stream[offset]];
    if (position.field == RecordField::kRowEnd) {
      if (offset == begin) return "row without fields";
      ++offset;
      return nullptr;
    }
    if (position.field == RecordField::kUnknown) return "unknown column position";
    if (position.field == RecordField::kNoData) return "no-data marker among rows";
    const auto rest = stream.subspan(offset + format::kPositionBytes);
    const bool is_text = position.is_text();
    const std::size_t head_bytes = is_text ? format::kTextLengthBytes : position.size_bytes;
    if (rest.size() < head_bytes) return is_text ? "text length cut short" : "value cut short";
    const std::size_t text_bytes = is_text ? load_record_number(rest.data(), head_bytes) : 0;
    if (rest.size() - head_bytes < text_bytes) return "text longer than the record stream";
    const char* reason = is_text ? take_text(rest.subspan(head_bytes, text_bytes), position, rows)
                                 : take_number(rest.first(head_bytes), position, rows);
    if (reason != nullptr) return reason;
    offset += format::kPositionBytes + head_bytes + text_bytes;
  }
  return "row without an end marker";
}

}  // namespace qbt2
