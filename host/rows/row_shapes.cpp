#include "host/rows/row_shapes.h"

#include <algorithm>

namespace qbt2 {
namespace {

namespace format = Kz::Dvt::Trace::RecordFormat;

constexpr std::size_t kShapeSlots = 256;
// Shorter streams hold no row worth remembering; longer ones have texts longer than any probe's
// name. The 16-bit offsets and the comparison word by word rely on these bounds.
constexpr std::size_t kMinShapeBytes = 16;
constexpr std::size_t kMaxShapeBytes = 4096;

std::uint64_t load_word(const std::uint8_t* at) {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

std::size_t size_index(std::size_t size_bytes) {
  return size_bytes == 1 ? 0 : size_bytes == 2 ? 1 : size_bytes == 4 ? 2 : 3;
}

}  // namespace

RowShapes::RowShapes() : shapes_(kShapeSlots) {}

bool RowShapes::read(std::span<const std::uint8_t> stream, RowBatch& rows) {
  Shape* const shape = matching_shape(stream);
  if (shape == nullptr) return false;
  if (shape->text_generation != rows.texts().generation()) intern_texts(*shape, rows.texts());
  read_values(*shape, stream, rows);
  return true;
}

std::optional<RowKind> RowShapes::recognise(std::span<const std::uint8_t> stream) const {
  const Shape* const shape = matching_shape(stream);
  if (shape == nullptr) return std::nullopt;
  return shape->head.kind;
}

/// Probe and length pick the slot: the rows of one probe differ in length by their kind only. A row
/// begins with the probe id.
std::optional<std::size_t> RowShapes::slot_for(std::span<const std::uint8_t> stream) {
  if (stream.size() < kMinShapeBytes || stream.size() > kMaxShapeBytes) return std::nullopt;
  return (stream[format::kPositionBytes] + stream.size()) % kShapeSlots;
}

/// The shape that the stream has, or null.
RowShapes::Shape* RowShapes::matching_shape(std::span<const std::uint8_t> stream) const {
  const auto slot = slot_for(stream);
  if (!slot) return nullptr;
  Shape* const shape = shapes_[*slot].get();
  return shape != nullptr && matches(*shape, stream) ? shape : nullptr;
}

bool RowShapes::matches(const Shape& shape, std::span<const std::uint8_t> stream) {
  const std::size_t size = stream.size();
  if (shape.bytes.size() != size) return false;
  const std::uint8_t* const bytes = shape.bytes.data();
  const std::uint8_t* const fixed = shape.fixed.data();
  const auto differs = [&](std::size_t at) {
    return (load_word(stream.data() + at) ^ load_word(bytes + at)) & load_word(fixed + at);
  };
  // The last word first; it may overlap the one before.
  std::uint64_t difference = differs(size - sizeof(std::uint64_t));
  for (std::size_t at = 0; at + sizeof(std::uint64_t) <= size; at += sizeof(std::uint64_t)) {
    difference |= differs(at);
  }
  return difference == 0;
}

template <std::size_t kSize>
void RowShapes::copy_values(const Shape& shape, const std::uint8_t* stream, RowBatch& rows) {
  const std::size_t row = rows.size();
  for (const ValuePlace& place : shape.values[size_index(kSize)]) {
    std::memcpy(rows.cell(place.column, row), stream + place.offset, kSize);
  }
}

void RowShapes::read_values(const Shape& shape, std::span<const std::uint8_t> stream,
                            RowBatch& rows) {
  RowHead& row = rows.head(rows.size());
  row = shape.head;
  if (row.has_address) {
    row.address = load_record_number(stream.data() + shape.address_offset, format::kAddressBytes);
  }
  copy_values<1>(shape, stream.data(), rows);
  copy_values<2>(shape, stream.data(), rows);
  copy_values<4>(shape, stream.data(), rows);
  copy_values<8>(shape, stream.data(), rows);
}

void RowShapes::intern_texts(Shape& shape, TextPool& texts) {
  const std::span<const std::uint8_t> bytes(shape.bytes);
  for (const TextPlace& place : shape.texts) {
    const auto text = kept_text(bytes.subspan(place.offset, place.size));
    set_row_text(shape.head, place.field, texts.intern(text));
  }
  shape.text_generation = texts.generation();
}

void RowShapes::remember(const RecordLayout& layout, const ColumnMask& wanted,
                         std::span<const std::uint8_t> stream, const RowHead& row,
                         const TextPool& texts) {
  const auto slot = slot_for(stream);
  if (!slot) return;
  if (shapes_[*slot] == nullptr) shapes_[*slot] = std::make_unique<Shape>();
  Shape& shape = *shapes_[*slot];
  shape.bytes.assign(stream.begin(), stream.end());
  shape.fixed.assign(stream.size(), 0xFF);
  for (auto& values : shape.values) values.clear();
  shape.texts.clear();
  shape.head = row;
  shape.text_generation = texts.generation();
  layout.visit_fields(stream, [&](const RecordPosition& position, std::size_t begin,
                                  std::size_t size) {
    const auto offset = static_cast<std::uint16_t>(begin);
    if (position.is_text()) {
      shape.texts.push_back({position.field, offset, static_cast<std::uint16_t>(size)});
      return;
    }
    // The probe id stays fixed: it picked the slot, and the texts depend on it.
    if (position.field == RecordField::kProbe) return;
    std::fill_n(shape.fixed.begin() + static_cast<std::ptrdiff_t>(begin), size, std::uint8_t{0});
    if (position.field == RecordField::kAddress) {
      shape.address_offset = begin;
    } else if (wanted.test(position.column)) {
      shape.values[size_index(size)].push_back({offset, position.column});
    }
  });
}

}  // namespace qbt2
