#include "host/rows/row_shapes.h"

#include <algorithm>

namespace qbt2 {
namespace {

namespace format = Kz::Dvt::Trace::RecordFormat;

constexpr std::size_t kProbes = 256;
constexpr std::size_t kWordCounts = 8;  // longer messages give no row; they share the last class

// Longer rows have texts longer than any probe's name. The 16-bit offsets rely on this bound.
constexpr std::size_t kMaxShapeBytes = 4096;
constexpr std::size_t kBlocksAtOnce = 2;
// The rows of all 256 probes stay below these two; a decoder whose rows never repeat reaches them,
// and then all shapes are forgotten.
constexpr std::size_t kMaxLeadBytes = std::size_t{1} << 20;
constexpr std::size_t kMaxTails = 32;

/// Whether a field differs from row to row. The probe id does not, as the texts depend on it.
bool is_value(const RecordPosition& position) {
  return !position.is_text() && position.field != RecordField::kProbe;
}

std::size_t size_index(std::size_t size_bytes) {
  return size_bytes == 1 ? 0 : size_bytes == 2 ? 1 : size_bytes == 4 ? 2 : 3;
}

}  // namespace

/// A vector at any address.
inline RowShapes::Vector RowShapes::load_vector(const std::uint8_t* at) {
  Vector vector;
  std::memcpy(&vector, at, sizeof vector);
  return vector;
}

RowShapes::RowShapes() {
  forget_all();
}

void RowShapes::forget_all() {
  ways_.assign(kProbes * kWordCounts, Ways{});
  shapes_.assign(1, Shape{});  // kNoShape
  tails_.clear();
  leads_.clear();
}

bool RowShapes::read(RowClass row_class, std::span<const std::uint8_t> stream, RowBatch& rows) {
  const Shape* const known = matching_shape(row_class, stream);
  if (known == nullptr) return false;
  if (known->text_generation != rows.texts().generation()) {
    intern_texts(shapes_[static_cast<std::size_t>(known - shapes_.data())], stream, rows.texts());
  }
  read_values(*known, stream, rows);
  return true;
}

std::optional<RowKind> RowShapes::recognise(RowClass row_class,
                                            std::span<const std::uint8_t> stream) const {
  const Shape* const shape = matching_shape(row_class, stream);
  if (shape == nullptr) return std::nullopt;
  return tails_[shape->tail].kind;
}

std::size_t RowShapes::class_index(RowClass row_class) {
  return row_class.probe * kWordCounts + std::min(row_class.words, kWordCounts - 1);
}

/// The shape that the stream has, or null.
inline const RowShapes::Shape* RowShapes::matching_shape(
    RowClass row_class, std::span<const std::uint8_t> stream) const {
  const Ways& ways = ways_[class_index(row_class)];
  const Shape& first = shapes_[ways[0]];
  if (matches(first, stream)) [[likely]] {
    return &first;
  }
  return other_matching_shape(ways, stream);
}

const RowShapes::Shape* RowShapes::other_matching_shape(
    const Ways& ways, std::span<const std::uint8_t> stream) const {
  for (std::size_t way = 1; way < ways.size(); ++way) {
    if (matches(shapes_[ways[way]], stream)) return &shapes_[ways[way]];
  }
  return nullptr;
}

inline bool RowShapes::matches(const Shape& shape, std::span<const std::uint8_t> stream) const {
  return stream.size() == shape.stream_size &&
         std::memcmp(stream.data(), leads_.data() + shape.lead_begin, shape.lead_size) == 0 &&
         matches(tails_[shape.tail], stream.data() + stream.size());
}

inline bool RowShapes::matches(const Tail& tail, const std::uint8_t* stream_end) {
  Vector even{};
  Vector odd{};
  const Block* block = tail.blocks.data();
  for (const std::uint8_t* at = stream_end - tail.padded_size; at != stream_end;
       at += kBlocksAtOnce * sizeof(Vector), block += kBlocksAtOnce) {
    even |= (load_vector(at) & block[0].fixed) ^ block[0].bytes;
    odd |= (load_vector(at + sizeof(Vector)) & block[1].fixed) ^ block[1].bytes;
  }
  even |= odd;
  return (even[0] | even[1]) == 0;
}

template <std::size_t kSize>
void RowShapes::copy_values(const Tail& tail, const std::uint8_t* bytes, RowBatch& rows) {
  const RowBatch::RowCells cells = rows.row_cells(rows.size());
  const std::span<const ValuePlace> places = tail.values[size_index(kSize)];
  for (const ValuePlace& place : places) {
    std::memcpy(cells.cell<kSize>(place.column), bytes + place.offset, kSize);
  }
}

void RowShapes::read_values(const Shape& shape, std::span<const std::uint8_t> stream,
                            RowBatch& rows) const {
  const Tail& tail = tails_[shape.tail];
  const std::uint8_t* const bytes = stream.data() + shape.lead_size;
  RowHead& row = rows.head(rows.size());
  row = shape.head;
  if (row.has_address) {
    row.address = load_record_number(bytes + tail.address_offset, format::kAddressBytes);
  }
  copy_values<1>(tail, bytes, rows);
  copy_values<2>(tail, bytes, rows);
  copy_values<4>(tail, bytes, rows);
  copy_values<8>(tail, bytes, rows);
}

void RowShapes::intern_texts(Shape& shape, std::span<const std::uint8_t> stream, TextPool& texts) {
  for (std::size_t n = 0; n < shape.text_count; ++n) {
    const TextPlace& place = shape.texts[n];
    const auto text = kept_text(stream.subspan(place.offset, place.size));
    set_row_text(shape.head, place.field, texts.intern(text));
  }
  shape.text_generation = texts.generation();
}

/// Bytes of the row before its first value's position byte.
std::size_t RowShapes::lead_bytes(const RecordLayout& layout,
                                  std::span<const std::uint8_t> stream) {
  std::size_t lead = stream.size() - 1;  // all but the end marker
  layout.visit_fields(stream, [&](const RecordPosition& position, std::size_t begin, std::size_t) {
    if (is_value(position)) lead = std::min(lead, begin - format::kPositionBytes);
  });
  return lead;
}

/// The part of the row that begins at byte `begin`.
RowShapes::Tail RowShapes::make_tail(const RecordLayout& layout, const ColumnMask& wanted,
                                     std::span<const std::uint8_t> stream, std::size_t begin,
                                     RowKind kind) {
  Tail tail;
  tail.kind = kind;
  const std::size_t tail_size = stream.size() - begin;
  std::vector<std::uint8_t> fixed(stream.size(), 0xFF);
  layout.visit_fields(
      stream, [&](const RecordPosition& position, std::size_t at, std::size_t size) {
        if (!is_value(position)) return;
        std::fill_n(fixed.begin() + static_cast<std::ptrdiff_t>(at), size, std::uint8_t{0});
        if (position.field == RecordField::kAddress) {
          tail.address_offset = at - begin;
        } else if (wanted.test(position.column)) {
          tail.values[size_index(size)].push_back(
              {static_cast<std::uint16_t>(at - begin), position.column});
        }
      });
  constexpr std::size_t kStep = kBlocksAtOnce * sizeof(Vector);
  tail.padded_size = (tail_size + kStep - 1) / kStep * kStep;
  const std::size_t padding = tail.padded_size - tail_size;
  std::vector<std::uint8_t> bytes(padding);
  for (std::size_t n = begin; n < stream.size(); ++n) {
    bytes.push_back(static_cast<std::uint8_t>(stream[n] & fixed[n]));
  }
  fixed.erase(fixed.begin(), fixed.begin() + static_cast<std::ptrdiff_t>(begin));
  fixed.insert(fixed.begin(), padding, 0);
  for (std::size_t at = 0; at < tail.padded_size; at += sizeof(Vector)) {
    tail.blocks.push_back({load_vector(&fixed[at]), load_vector(&bytes[at])});
  }
  return tail;
}

/// The number of this tail, new or known.
std::uint16_t RowShapes::number_of(Tail&& tail) {
  const auto known = std::find_if(tails_.begin(), tails_.end(), [&](const Tail& other) {
    return other.padded_size == tail.padded_size &&
           std::memcmp(other.blocks.data(), tail.blocks.data(),
                       tail.blocks.size() * sizeof(Block)) == 0;
  });
  const auto number = static_cast<std::uint16_t>(known - tails_.begin());
  if (known == tails_.end()) tails_.push_back(std::move(tail));
  return number;
}

/// The place of a shape that the class did not have: a free one, or an older shape's.
RowShapes::Shape& RowShapes::new_shape(RowClass row_class) {
  Ways& ways = ways_[class_index(row_class)];
  const auto free = std::find(ways.begin(), ways.end(), kNoShape);
  if (free == ways.end()) return shapes_[ways[next_victim_++ % kWays]];
  *free = static_cast<std::uint16_t>(shapes_.size());
  return shapes_.emplace_back();
}

void RowShapes::remember(RowClass row_class, const RecordLayout& layout, const ColumnMask& wanted,
                         std::span<const std::uint8_t> stream, const RowHead& row,
                         const TextPool& texts) {
  if (stream.size() > kMaxShapeBytes) return;
  const std::size_t lead_size = lead_bytes(layout, stream);
  Tail tail = make_tail(layout, wanted, stream, lead_size, row.kind);
  // The blocks may not begin before the row does.
  if (tail.padded_size > stream.size()) return;
  if (leads_.size() + lead_size > kMaxLeadBytes || tails_.size() == kMaxTails) forget_all();
  Shape& shape = new_shape(row_class);
  shape.stream_size = stream.size();
  shape.lead_begin = static_cast<std::uint32_t>(leads_.size());
  shape.lead_size = static_cast<std::uint16_t>(lead_size);
  shape.tail = number_of(std::move(tail));
  shape.head = row;
  shape.text_generation = texts.generation();
  shape.text_count = 0;
  layout.visit_fields(
      stream, [&](const RecordPosition& position, std::size_t at, std::size_t size) {
        if (!position.is_text()) return;
        shape.texts[shape.text_count++] = {position.field, static_cast<std::uint16_t>(at),
                                           static_cast<std::uint16_t>(size)};
      });
  leads_.insert(leads_.end(), stream.begin(),
                stream.begin() + static_cast<std::ptrdiff_t>(lead_size));
}

}  // namespace qbt2
