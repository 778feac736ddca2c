#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "host/row_batch.h"

/// Reads the decoder's record stream back into rows, from nothing but the column sizes that
/// GetColumnInfo told and the stream's own rules: a position byte and a little-endian value, a
/// position byte, a 32-bit length and text, 0xFE at the end of a row, 0xFD for "no row". One
/// thread; holds no row between calls.
namespace qbt2 {

/// Why a record stream could not be read.
struct RecordFault {
  std::size_t offset = 0;        ///< byte of the record stream
  const char* reason = nullptr;  ///< null: no fault
};

class RowReader {
 public:
  /// The catalogue must outlive the reader. Throws Error(kPlugin) when a column's position byte
  /// collides with a shared position, a marker or another column.
  explicit RowReader(const ColumnCatalogue& catalogue);

  /// Appends the row of one sample's output to `rows` (which must not be full). `head` gives the
  /// fields that the stream does not hold (offset, times, STP master). Returns the number of rows
  /// added (0 for the no-data byte); on a fault nothing is added and `fault` tells why.
  std::size_t read(std::span<const std::uint8_t> stream, const RowHead& head, RowBatch& rows,
                   RecordFault& fault) const;

 private:
  enum class Encoding : std::uint8_t { kUnknown, kShared, kColumn };
  struct Position {
    Encoding encoding = Encoding::kUnknown;
    std::uint8_t size_bytes = 0;
    std::uint16_t column = 0;
  };
  std::array<Position, 256> positions_{};
  const ColumnCatalogue* catalogue_;
};

}  // namespace qbt2
