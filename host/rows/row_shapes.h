#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "host/rows/record_layout.h"
#include "host/rows/row_batch.h"

/// Rows read before, remembered so that the next one like it needs no parsing.
///
/// A probe writes the rows of one kind with the same fields in the same order and the same texts,
/// row after row. The shape of such a row says which bytes were position bytes, lengths and texts,
/// and where the values were. A stream that equals the shape in all bytes but the values is read by
/// copying the values.
///
/// A shape has two parts. The lead, up to the first column, holds the probe and its texts; the tail
/// holds the columns, and probes whose rows have the same columns share it, so that the shapes of
/// many probes fit a core's cache. One thread; memory is bounded whatever the streams hold.
namespace qbt2 {

/// What a sample tells about its row before it is decoded: rows of one class nearly always have one
/// shape. Only where shapes are looked for depends on it, never what is read.
struct RowClass {
  std::uint8_t probe = 0;
  std::size_t words = 0;  ///< of the message
};

class RowShapes {
 public:
  RowShapes();

  /// Fills the fields that the stream holds into row rows.size(), without committing it, where the
  /// stream has a remembered shape; false where it has none.
  bool read(RowClass row_class, std::span<const std::uint8_t> stream, RowBatch& rows);

  /// The kind of the row that read() would fill in; empty where it would return false.
  std::optional<RowKind> recognise(RowClass row_class, std::span<const std::uint8_t> stream) const;

  /// Remembers the one row of `stream`, which was read as `row` with texts of `texts`. Of the
  /// columns only the wanted ones are read from later streams.
  void remember(RowClass row_class, const RecordLayout& layout, const ColumnMask& wanted,
                std::span<const std::uint8_t> stream, const RowHead& row, const TextPool& texts);

 private:
  /// Shapes that one class keeps at a time: texts may differ by what a sample holds.
  static constexpr std::size_t kWays = 4;
  static constexpr std::uint16_t kNoShape = 0;    ///< a shape that no stream has
  using Ways = std::array<std::uint16_t, kWays>;  ///< numbers of shapes, those in use first

  /// Bytes of a tail that are compared together.
  using Vector [[gnu::vector_size(16)]] = std::uint64_t;
  struct Block {
    Vector fixed{};  ///< 0xFF for a byte that must be the same, 0 for a value's
    Vector bytes{};  ///< 0 where a value is
  };
  /// Offsets count from the tail's first byte.
  struct ValuePlace {
    std::uint16_t offset;
    std::uint8_t column;
  };
  struct Tail {
    /// An even number; they end with the row. The first ones may begin in the lead, of whose bytes
    /// they compare none.
    std::vector<Block> blocks;
    std::size_t padded_size = 0;  ///< bytes of all blocks
    RowKind kind = RowKind::kUnknown;
    std::size_t address_offset = 0;                 ///< valid where the row has an address
    std::array<std::vector<ValuePlace>, 4> values;  ///< of 1, 2, 4 and 8 bytes
  };
  struct TextPlace {
    RecordField field = RecordField::kUnknown;
    std::uint16_t offset = 0;  ///< of the characters in the stream
    std::uint16_t size = 0;
  };
  struct Shape {
    std::size_t stream_size = SIZE_MAX;  ///< as it is, no stream is so long
    std::uint32_t lead_begin = 0;        ///< in leads_
    std::uint16_t lead_size = 0;
    std::uint16_t tail = 0;  ///< in tails_
    std::uint8_t text_count = 0;
    std::array<TextPlace, 3> texts;     ///< a row has each text once
    std::uint64_t text_generation = 0;  ///< of the pool that the numbers in `head` belong to
    RowHead head;                       ///< flags, columns, kind and text numbers
  };

  static Vector load_vector(const std::uint8_t* at);
  static std::size_t class_index(RowClass row_class);
  const Shape* matching_shape(RowClass row_class, std::span<const std::uint8_t> stream) const;
  const Shape* other_matching_shape(const Ways& ways, std::span<const std::uint8_t> stream) const;
  bool matches(const Shape& shape, std::span<const std::uint8_t> stream) const;
  static bool matches(const Tail& tail, const std::uint8_t* stream_end);
  template <std::size_t kSize>
  static void copy_values(const Tail& tail, const std::uint8_t* bytes, RowBatch& rows);
  void read_values(const Shape& shape, std::span<const std::uint8_t> stream, RowBatch& rows) const;
  static void intern_texts(Shape& shape, std::span<const std::uint8_t> stream, TextPool& texts);
  static std::size_t lead_bytes(const RecordLayout& layout, std::span<const std::uint8_t> stream);
  static Tail make_tail(const RecordLayout& layout, const ColumnMask& wanted,
                        std::span<const std::uint8_t> stream, std::size_t begin, RowKind kind);
  std::uint16_t number_of(Tail&& tail);
  Shape& new_shape(RowClass row_class);
  void forget_all();

  std::vector<Ways> ways_;  ///< by class
  std::vector<Shape> shapes_;
  std::vector<Tail> tails_;
  std::vector<std::uint8_t> leads_;
  std::size_t next_victim_ = 0;  ///< the way that is replaced next where a class has no free one
};

}  // namespace qbt2
