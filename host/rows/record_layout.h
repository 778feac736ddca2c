#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "host/rows/row_batch.h"
#include "interfaces/record_format.h"

/// What each position byte of a record stream (interfaces/record_format.h) stands for, given the
/// decoder's columns. Does not change once made; any number of threads may read it.
namespace qbt2 {

enum class RecordField : std::uint8_t {
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

struct RecordPosition {
  RecordField field = RecordField::kUnknown;
  std::uint8_t size_bytes = 0;  ///< of the value; 0: text
  std::uint8_t column = 0;      ///< of the catalogue, for kColumn

  bool is_text() const { return size_bytes == 0; }
};

class RecordLayout {
 public:
  /// Throws Error(kPlugin) when a column's position byte collides with a shared position, a marker
  /// or another column, and what check_catalogue throws.
  explicit RecordLayout(const ColumnCatalogue& catalogue);

  const RecordPosition& operator[](std::uint8_t position) const { return positions_[position]; }

  /// Calls visit(position, offset of the value or text, its size in bytes) for each field of a row
  /// that has been read without a fault.
  template <typename Visit>
  void visit_fields(std::span<const std::uint8_t> row, const Visit& visit) const;

 private:
  void claim(std::uint8_t position, const RecordPosition& what, std::string_view name);

  std::array<RecordPosition, 256> positions_{};
};

/// A little-endian number of `size` bytes, at most eight.
inline std::uint64_t load_record_number(const std::uint8_t* at, std::size_t size) {
  std::uint64_t value = 0;
  std::memcpy(&value, at, size);
  return value;
}

/// The decoder copies a text only up to its first zero character, but the length counts all of it:
/// what follows the zero is left over from an earlier row.
inline std::string_view kept_text(std::span<const std::uint8_t> field) {
  const std::string_view text(reinterpret_cast<const char*>(field.data()), field.size());
  return text.substr(0, text.find('\0'));
}

/// Gives a row the text with this TextPool number.
void set_row_text(RowHead& row, RecordField field, std::uint32_t text);

template <typename Visit>
void RecordLayout::visit_fields(std::span<const std::uint8_t> row, const Visit& visit) const {
  using namespace Kz::Dvt::Trace;
  for (std::size_t offset = 0; row[offset] != RecordFormat::kRowEnd;) {
    const RecordPosition& position = positions_[row[offset]];
    std::size_t begin = offset + RecordFormat::kPositionBytes;
    std::size_t size = position.size_bytes;
    if (position.is_text()) {
      size = load_record_number(row.data() + begin, RecordFormat::kTextLengthBytes);
      begin += RecordFormat::kTextLengthBytes;
    }
    visit(position, begin, size);
    offset = begin + size;
  }
}

}  // namespace qbt2
