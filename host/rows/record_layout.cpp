#include "host/rows/record_layout.h"

#include <string>

#include "host/base/error.h"

namespace qbt2 {
namespace {

namespace format = Kz::Dvt::Trace::RecordFormat;

struct SharedPosition {
  std::uint8_t position;
  RecordField field;
  std::size_t size_bytes;
};
// The positions that every decoder of the host shares, as far as this one writes them; and the two
// markers, which are not fields but occupy a position byte.
constexpr std::array<SharedPosition, 7> kSharedPositions{{
    {format::kProbePosition, RecordField::kProbe, format::kProbeBytes},
    {format::kMasterPosition, RecordField::kMaster, 0},
    {format::kDescriptionPosition, RecordField::kDescription, 0},
    {format::kTypePosition, RecordField::kType, 0},
    {format::kAddressPosition, RecordField::kAddress, format::kAddressBytes},
    {format::kNoData, RecordField::kNoData, 0},
    {format::kRowEnd, RecordField::kRowEnd, 0},
}};

}  // namespace

RecordLayout::RecordLayout(const ColumnCatalogue& catalogue) {
  check_catalogue(catalogue);
  for (const SharedPosition& shared : kSharedPositions) {
    claim(shared.position, {shared.field, static_cast<std::uint8_t>(shared.size_bytes), 0},
          "shared");
  }
  for (std::size_t k = 0; k < catalogue.columns.size(); ++k) {
    const ColumnDescription& column = catalogue.columns[k];
    claim(static_cast<std::uint8_t>(catalogue.first_id + k),
          {RecordField::kColumn, column.size_bytes, static_cast<std::uint8_t>(k)}, column.key);
  }
}

void RecordLayout::claim(std::uint8_t position, const RecordPosition& what, std::string_view name) {
  if (positions_[position].field != RecordField::kUnknown) {
    throw Error(ErrorCode::kPlugin, "column " + std::string(name) + " of the decoder has the " +
                                        "position byte " + std::to_string(position) +
                                        ", which is already in use");
  }
  positions_[position] = what;
}

void set_row_text(RowHead& row, RecordField field, std::uint32_t text) {
  switch (field) {
    case RecordField::kMaster:
      row.master_text = text;
      row.has_master = true;
      break;
    case RecordField::kType:
      row.type_text = text;
      row.has_type = true;
      break;
    default:
      row.description_text = text;
      row.has_description = true;
  }
}

}  // namespace qbt2
