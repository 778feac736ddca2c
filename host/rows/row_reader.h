#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "host/rows/record_layout.h"
#include "host/rows/row_batch.h"
#include "host/rows/row_shapes.h"

/// Reads the decoder's record stream (interfaces/record_format.h) back into rows. It needs nothing
/// but the column sizes that GetColumnInfo returns. Keeps no row between calls, only their shapes.
/// One thread.
namespace qbt2 {

/// Why a record stream could not be read.
struct RecordFault {
  std::size_t offset = 0;        ///< byte of the record stream at which the bad field begins
  const char* reason = nullptr;  ///< a constant text; null: no fault
};

class RowReader {
 public:
  /// Only columns of `wanted` are read; rows have no others. The catalogue must outlive the reader.
  /// Throws what RecordLayout throws.
  explicit RowReader(const ColumnCatalogue& catalogue,
                     const ColumnMask& wanted = ColumnMask::all());

  /// Appends the rows of one sample's output to `rows`, which was made for the same catalogue; it
  /// should not be full, as the batch grows where the rows do not fit. `head` gives the fields that
  /// the stream does not hold (offset, times, STP master), `row_class` the class of the sample; any
  /// will do, at the price of speed. Returns the number of rows added: 0 for the no-data byte, and
  /// for a fault, which `fault` describes; nothing is added then.
  std::size_t read(std::span<const std::uint8_t> stream, const RowHead& head, RowBatch& rows,
                   RecordFault& fault, RowClass row_class = {});

  /// For callers that only count rows: the kind of the one row that read() would add, if the stream
  /// has the shape of a row read before. Empty otherwise; then read() is needed.
  std::optional<RowKind> recognise(RowClass row_class, std::span<const std::uint8_t> stream) const {
    return shapes_.recognise(row_class, stream);
  }

 private:
  void find_kind_columns();
  RowKind kind_of(const ColumnMask& columns) const;
  std::size_t read_rows(std::span<const std::uint8_t> stream, const RowHead& head, RowBatch& rows,
                        RecordFault& fault, RowClass row_class);
  const char* read_row(std::span<const std::uint8_t> stream, std::size_t& offset,
                       RowBatch& rows) const;

  const ColumnCatalogue* catalogue_;
  RecordLayout layout_;
  ColumnMask wanted_;
  std::array<std::size_t, 4> kind_columns_{};  ///< by RowKind: the column that identifies it
  RowShapes shapes_;
};

}  // namespace qbt2
