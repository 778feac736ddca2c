#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "host/rows/row_batch.h"

/// Reads the decoder's record stream back into rows, from nothing but the column sizes that
/// GetColumnInfo told and the stream's own rules: a position byte and a little-endian value, a
/// position byte, a 32-bit length and text, 0xFE at the end of a row, 0xFD for "no row". One
/// thread; holds no row between calls.
///
/// A probe writes the same fields in the same order with the same texts row after row, so the
/// reader remembers a probe's last row as a shape: which bytes were position bytes, lengths and
/// texts, and where the values lay. A stream that equals the shape in all bytes but the values
/// needs no parsing, only the values fetched.
namespace qbt2 {

/// Why a record stream could not be read.
struct RecordFault {
  std::size_t offset = 0;        ///< byte of the record stream: where the field at fault begins
  const char* reason = nullptr;  ///< null: no fault
};

class RowReader {
 public:
  /// Only columns of `wanted` are read back; a row has no others. The catalogue must outlive the
  /// reader. Throws Error(kPlugin) when a column's position byte
  /// collides with a shared position, a marker or another column, and what check_catalogue throws.
  explicit RowReader(const ColumnCatalogue& catalogue,
                     const ColumnMask& wanted = ColumnMask::all());

  /// Appends the row of one sample's output to `rows` (which should not be full: the batch grows
  /// where a stream holds more rows than fit). `head` gives the fields that the stream does not
  /// hold (offset, times, STP master). Returns the number of rows added (0 for the no-data byte);
  /// on a fault nothing is added and `fault` tells why. `rows` was made for the same catalogue.
  std::size_t read(std::span<const std::uint8_t> stream, const RowHead& head, RowBatch& rows,
                   RecordFault& fault);

  /// For whoever only counts: the kind of the one row that read() would add, where the stream has
  /// the shape of a row read before. Empty otherwise: read() must be asked.
  std::optional<RowKind> recognise(std::span<const std::uint8_t> stream) const;

 private:
  enum class Field : std::uint8_t {
    kUnknown,
    kProbe,
    kMaster,
    kDescription,
    kType,
    kAddress,
    kColumn,
    kRowEnd,
    kNoData
  };
  struct Position {
    Field field = Field::kUnknown;
    std::uint8_t size_bytes = 0;  ///< 0: text
    std::uint8_t column = 0;
  };
  struct SharedPosition {
    std::uint8_t position;
    Field field;
    std::uint8_t size_bytes;
  };
  static const std::array<SharedPosition, 7> kSharedPositions;

  struct ValuePlace {
    std::uint16_t offset;  ///< of the value in the stream
    std::uint8_t column;
  };
  struct Shape {
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint8_t> fixed;  ///< 0xFF where `bytes` must recur, 0 where a value lies
    std::array<std::vector<ValuePlace>, 4> places;  ///< values of 1, 2, 4 and 8 bytes
    std::size_t address_offset = 0;                 ///< 0: none
    RowHead head;                                   ///< flags, columns, kind and text numbers
    std::uint64_t text_generation = 0;              ///< whose numbers those are
  };

  void claim(std::uint8_t position, const Position& what, std::string_view name);
  void find_kind_columns();
  RowKind kind_of(const ColumnMask& columns) const;

  std::size_t read_rows(std::span<const std::uint8_t> stream, const RowHead& head, RowBatch& rows,
                        RecordFault& fault);
  const char* read_row(std::span<const std::uint8_t> stream, std::size_t& offset, RowBatch& rows);
  static const char* take_number(std::span<const std::uint8_t> value, const Position& position,
                                 RowBatch& rows);
  static const char* take_text(std::span<const std::uint8_t> text, const Position& position,
                               RowBatch& rows);
  static void set_text(RowHead& row, Field field, std::uint32_t text);

  static std::optional<std::size_t> slot_for(std::span<const std::uint8_t> stream);
  Shape* matching_shape(std::span<const std::uint8_t> stream) const;
  void remember(std::span<const std::uint8_t> stream, const RowBatch& rows);
  static bool matches(const Shape& shape, std::span<const std::uint8_t> stream);
  template <std::size_t kSize>
  static void copy_values(const Shape& shape, const std::uint8_t* stream, RowBatch& rows);
  static void read_values(const Shape& shape, std::span<const std::uint8_t> stream, RowBatch& rows);
  void read_texts_again(Shape& shape, TextPool& texts) const;
  template <typename Visit>
  void visit_fields(std::span<const std::uint8_t> row, const Visit& visit) const;

  std::array<Position, 256> positions_{};
  const ColumnCatalogue* catalogue_;
  ColumnMask wanted_;
  std::array<std::size_t, 4> kind_columns_{};  ///< by RowKind: the column that tells it
  std::vector<std::unique_ptr<Shape>> shapes_;
};

}  // namespace qbt2
