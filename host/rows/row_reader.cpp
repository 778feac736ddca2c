#include "host/rows/row_reader.h"

#include <algorithm>

#include "host/base/error.h"

namespace qbt2 {
namespace {

constexpr std::size_t kTextLengthBytes = 4;
constexpr std::size_t kShapeSlots = 256;
// Shorter streams hold no row worth remembering; longer ones have texts of a size that no probe
// name has. ValuePlace::offset and the word-wise comparison rely on these bounds.
constexpr std::size_t kMinShapeBytes = 16;
constexpr std::size_t kMaxShapeBytes = 4096;

std::uint64_t load_little_endian(const std::uint8_t* at, std::size_t size) {
  std::uint64_t value = 0;
  std::memcpy(&value, at, size);
  return value;
}

std::uint64_t load_word(const std::uint8_t* at) {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

/// The decoder copies a text only up to its first zero character, but counts all of it in the
/// length: what lies behind the zero is left over from an earlier row.
std::string_view kept_text(std::span<const std::uint8_t> field) {
  const std::string_view text(reinterpret_cast<const char*>(field.data()), field.size());
  return text.substr(0, text.find('\0'));
}

void take_from_host(RowHead& row, const RowHead& given) {
  row.offset = given.offset;
  row.timestamp = given.timestamp;
  row.time_ns = given.time_ns;
  row.stp_master = given.stp_master;
  row.has_timestamp = given.has_timestamp;
  row.has_time_ns = given.has_time_ns;
}

std::size_t size_index(std::size_t size_bytes) {
  return size_bytes == 1 ? 0 : size_bytes == 2 ? 1 : size_bytes == 4 ? 2 : 3;
}

}  // namespace

// The positions that every decoder of the host shares, as far as this one writes them; and the two
// markers, which are no fields but occupy a position byte.
constexpr std::array<RowReader::SharedPosition, 7> RowReader::kSharedPositions{{
    {0, Field::kProbe, 1},
    {1, Field::kMaster, 0},
    {4, Field::kDescription, 0},
    {9, Field::kType, 0},
    {11, Field::kAddress, 8},
    {0xFD, Field::kNoData, 0},
    {0xFE, Field::kRowEnd, 0},
}};

RowReader::RowReader(const ColumnCatalogue& catalogue, const ColumnMask& wanted)
    : catalogue_(&catalogue), wanted_(wanted), shapes_(kShapeSlots) {
  check_catalogue(catalogue);
  for (const SharedPosition& shared : kSharedPositions) {
    claim(shared.position, {shared.field, shared.size_bytes, 0}, "shared");
  }
  for (std::size_t k = 0; k < catalogue.columns.size(); ++k) {
    const ColumnDescription& column = catalogue.columns[k];
    claim(static_cast<std::uint8_t>(catalogue.first_id + k),
          {Field::kColumn, column.size_bytes, static_cast<std::uint8_t>(k)}, column.key);
  }
  find_kind_columns();
}

void RowReader::claim(std::uint8_t position, const Position& what, std::string_view name) {
  if (positions_[position].field != Field::kUnknown) {
    throw Error(ErrorCode::kPlugin, "column " + std::string(name) + " of the decoder has the " +
                                        "position byte " + std::to_string(position) +
                                        ", which is taken");
  }
  positions_[position] = what;
}

void RowReader::find_kind_columns() {
  // One column that each kind of row has and no other kind.
  struct {
    RowKind kind;
    std::string_view key;
  } constexpr kTelling[] = {{RowKind::kTransaction, "RouteID"},
                            {RowKind::kLatency, "Tracked"},
                            {RowKind::kThroughput, "Bytes"}};
  const auto& columns = catalogue_->columns;
  for (const auto& telling : kTelling) {
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [&](const auto& column) { return column.key == telling.key; });
    kind_columns_[static_cast<std::size_t>(telling.kind)] =
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
                            RowBatch& rows, RecordFault& fault) {
  fault = {};
  if (rows.full()) rows.grow();
  if (Shape* const shape = matching_shape(stream)) {
    if (shape->text_generation != rows.texts().generation()) read_texts_again(*shape, rows.texts());
    read_values(*shape, stream, rows);
    take_from_host(rows.head(rows.size()), head);
    rows.commit_row();
    return 1;
  }
  return read_rows(stream, head, rows, fault);
}

std::optional<RowKind> RowReader::recognise(std::span<const std::uint8_t> stream) const {
  const Shape* const shape = matching_shape(stream);
  if (shape == nullptr) return std::nullopt;
  return shape->head.kind;
}

std::size_t RowReader::read_rows(std::span<const std::uint8_t> stream, const RowHead& head,
                                 RowBatch& rows, RecordFault& fault) {
  if (stream.size() == 1 && positions_[stream[0]].field == Field::kNoData) return 0;
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
  if (added == 1) remember(stream, rows);
  return added;
}

/// Reads fields into row rows.size() up to and including the end marker. Null when that went well;
/// else the reason, and `offset` is where the field at fault begins.
const char* RowReader::read_row(std::span<const std::uint8_t> stream, std::size_t& offset,
                                RowBatch& rows) {
  for (const std::size_t begin = offset; offset < stream.size();) {
    const Position& position = positions_[stream[offset]];
    if (position.field == Field::kRowEnd) {
      if (offset == begin) return "row without fields";
      ++offset;
      return nullptr;
    }
    if (position.field == Field::kUnknown) return "unknown column position";
    if (position.field == Field::kNoData) return "no-data marker among rows";
    const auto rest = stream.subspan(offset + 1);
    const bool is_text = position.size_bytes == 0;
    const std::size_t head_bytes = is_text ? kTextLengthBytes : position.size_bytes;
    if (rest.size() < head_bytes) return is_text ? "text length cut short" : "value cut short";
    const std::size_t text_bytes = is_text ? load_little_endian(rest.data(), head_bytes) : 0;
    if (rest.size() - head_bytes < text_bytes) return "text longer than the record stream";
    const char* reason = is_text ? take_text(rest.subspan(head_bytes, text_bytes), position, rows)
                                 : take_number(rest.first(head_bytes), position, rows);
    if (reason != nullptr) return reason;
    offset += 1 + head_bytes + text_bytes;
  }
  return "row without an end marker";
}

const char* RowReader::take_number(std::span<const std::uint8_t> value, const Position& position,
                                   RowBatch& rows) {
  RowHead& row = rows.head(rows.size());
  const bool again = position.field == Field::kProbe     ? row.has_probe
                     : position.field == Field::kAddress ? row.has_address
                                                         : row.columns.test(position.column);
  if (again) return "field given twice";
  switch (position.field) {
    case Field::kProbe:
      row.probe = value[0];
      row.has_probe = true;
      break;
    case Field::kAddress:
      row.address = load_little_endian(value.data(), value.size());
      row.has_address = true;
      break;
    default:
      std::memcpy(rows.cell(position.column, rows.size()), value.data(), value.size());
      row.columns.set(position.column);
  }
  return nullptr;
}

const char* RowReader::take_text(std::span<const std::uint8_t> text, const Position& position,
                                 RowBatch& rows) {
  RowHead& row = rows.head(rows.size());
  const bool again = position.field == Field::kMaster ? row.has_master
                     : position.field == Field::kType ? row.has_type
                                                      : row.has_description;
  if (again) return "field given twice";
  set_text(row, position.field, rows.texts().intern(kept_text(text)));
  return nullptr;
}

void RowReader::set_text(RowHead& row, Field field, std::uint32_t text) {
  switch (field) {
    case Field::kMaster:
      row.master_text = text;
      row.has_master = true;
      break;
    case Field::kType:
      row.type_text = text;
      row.has_type = true;
      break;
    default:
      row.description_text = text;
      row.has_description = true;
  }
}

/// Probe and length pick the slot: the rows of one probe differ in length by their kind only.
std::optional<std::size_t> RowReader::slot_for(std::span<const std::uint8_t> stream) {
  if (stream.size() < kMinShapeBytes || stream.size() > kMaxShapeBytes) return std::nullopt;
  return (stream[1] + stream.size()) % kShapeSlots;
}

/// The shape that the stream has, or null.
RowReader::Shape* RowReader::matching_shape(std::span<const std::uint8_t> stream) const {
  const auto slot = slot_for(stream);
  if (!slot) return nullptr;
  Shape* const shape = shapes_[*slot].get();
  return shape != nullptr && matches(*shape, stream) ? shape : nullptr;
}

bool RowReader::matches(const Shape& shape, std::span<const std::uint8_t> stream) {
  const std::size_t size = stream.size();
  if (shape.bytes.size() != size) return false;
  const std::uint8_t* const bytes = shape.bytes.data();
  const std::uint8_t* const fixed = shape.fixed.data();
  const auto differs = [&](std::size_t at) {
    return (load_word(stream.data() + at) ^ load_word(bytes + at)) & load_word(fixed + at);
  };
  std::uint64_t difference = differs(size - sizeof(std::uint64_t));  // the last, partly once more
  for (std::size_t at = 0; at + sizeof(std::uint64_t) <= size; at += sizeof(std::uint64_t)) {
    difference |= differs(at);
  }
  return difference == 0;
}

template <std::size_t kSize>
void RowReader::copy_values(const Shape& shape, const std::uint8_t* stream, RowBatch& rows) {
  const std::size_t row = rows.size();
  for (const ValuePlace& place : shape.places[size_index(kSize)]) {
    std::memcpy(rows.cell(place.column, row), stream + place.offset, kSize);
  }
}

void RowReader::read_values(const Shape& shape, std::span<const std::uint8_t> stream,
                            RowBatch& rows) {
  RowHead& row = rows.head(rows.size());
  row = shape.head;
  if (row.has_address) {
    row.address = load_little_endian(stream.data() + shape.address_offset, sizeof row.address);
  }
  copy_values<1>(shape, stream.data(), rows);
  copy_values<2>(shape, stream.data(), rows);
  copy_values<4>(shape, stream.data(), rows);
  copy_values<8>(shape, stream.data(), rows);
}

/// Calls visit(position, offset of the value or text, its size) for each field of a row that has
/// been read without a fault.
template <typename Visit>
void RowReader::visit_fields(std::span<const std::uint8_t> row, const Visit& visit) const {
  for (std::size_t offset = 0; positions_[row[offset]].field != Field::kRowEnd;) {
    const Position& position = positions_[row[offset]];
    std::size_t begin = offset + 1;
    std::size_t size = position.size_bytes;
    if (size == 0) {
      size = load_little_endian(row.data() + begin, kTextLengthBytes);
      begin += kTextLengthBytes;
    }
    visit(position, begin, size);
    offset = begin + size;
  }
}

void RowReader::remember(std::span<const std::uint8_t> stream, const RowBatch& rows) {
  const auto slot = slot_for(stream);
  if (!slot) return;
  if (shapes_[*slot] == nullptr) shapes_[*slot] = std::make_unique<Shape>();
  Shape& shape = *shapes_[*slot];
  shape.bytes.assign(stream.begin(), stream.end());
  shape.fixed.assign(stream.size(), 0xFF);
  for (auto& places : shape.places) places.clear();
  shape.head = rows.head(rows.size() - 1);
  shape.text_generation = rows.texts().generation();
  visit_fields(stream, [&](const Position& position, std::size_t begin, std::size_t size) {
    // The probe id stays fixed: it picked the slot, and the texts go with it.
    if (position.size_bytes == 0 || position.field == Field::kProbe) return;
    std::fill_n(shape.fixed.begin() + static_cast<std::ptrdiff_t>(begin), size, std::uint8_t{0});
    if (position.field == Field::kAddress) {
      shape.address_offset = begin;
    } else if (wanted_.test(position.column)) {
      shape.places[size_index(size)].push_back(
          {static_cast<std::uint16_t>(begin), position.column});
    }
  });
}

void RowReader::read_texts_again(Shape& shape, TextPool& texts) const {
  const std::span<const std::uint8_t> row(shape.bytes);
  visit_fields(row, [&](const Position& position, std::size_t begin, std::size_t size) {
    if (position.size_bytes == 0) {
      set_text(shape.head, position.field, texts.intern(kept_text(row.subspan(begin, size))));
    }
  });
  shape.text_generation = texts.generation();
}

}  // namespace qbt2
