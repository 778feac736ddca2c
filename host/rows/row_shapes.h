#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "host/rows/record_layout.h"
#include "host/rows/row_batch.h"

/// Rows read before, remembered so that the next one like it needs no parsing.
///
/// A probe writes the same fields in the same order with the same texts row after row. The shape of
/// its last row says which bytes were position bytes, lengths and texts, and where the values were.
/// A stream that equals the shape in all bytes but the values is read by copying the values.
/// One thread.
namespace qbt2 {

class RowShapes {
 public:
  RowShapes();

  /// Fills the fields that the stream holds into row rows.size(), without committing it, where the
  /// stream has a remembered shape; false where it has none.
  bool read(std::span<const std::uint8_t> stream, RowBatch& rows);

  /// The kind of the row that read() would fill in; empty where it would return false.
  std::optional<RowKind> recognise(std::span<const std::uint8_t> stream) const;

  /// Remembers the one row of `stream`, which was read as `row` with texts of `texts`. Of the
  /// columns only the wanted ones are read from later streams.
  void remember(const RecordLayout& layout, const ColumnMask& wanted,
                std::span<const std::uint8_t> stream, const RowHead& row, const TextPool& texts);

 private:
  struct ValuePlace {
    std::uint16_t offset;  ///< of the value in the stream
    std::uint8_t column;
  };
  struct TextPlace {
    RecordField field;
    std::uint16_t offset;  ///< of the characters in the stream
    std::uint16_t size;
  };
  struct Shape {
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint8_t> fixed;  ///< 0xFF for a byte that must be the same, 0 for a value's
    std::array<std::vector<ValuePlace>, 4> values;  ///< of 1, 2, 4 and 8 bytes
    std::vector<TextPlace> texts;
    std::size_t address_offset = 0;     ///< 0: no address
    RowHead head;                       ///< flags, columns, kind and text numbers
    std::uint64_t text_generation = 0;  ///< of the pool that the numbers belong to
  };

  static std::optional<std::size_t> slot_for(std::span<const std::uint8_t> stream);
  Shape* matching_shape(std::span<const std::uint8_t> stream) const;
  static bool matches(const Shape& shape, std::span<const std::uint8_t> stream);
  template <std::size_t kSize>
  static void copy_values(const Shape& shape, const std::uint8_t* stream, RowBatch& rows);
  static void read_values(const Shape& shape, std::span<const std::uint8_t> stream, RowBatch& rows);
  static void intern_texts(Shape& shape, TextPool& texts);

  std::vector<std::unique_ptr<Shape>> shapes_;
};

}  // namespace qbt2
