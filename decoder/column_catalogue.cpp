#include "decoder/column_catalogue.h"

#include <algorithm>

void NameColumns(DecoderColumns& columns) {
  for (std::size_t k = 0; k < columns.size(); ++k) {
    columns[k].name = qbt2Columns[k].displayName;
  }
}

const qbt2StaticColumnInfo& FindColumnInfo(const DecoderColumns& columns,
                                           const DecoderColumn& column) {
  const auto first =
      std::find_if(columns.begin(), columns.end(),
                   [&column](const DecoderColumn& entry) { return entry.name == column.name; });
  return qbt2Columns[static_cast<std::size_t>(first - columns.begin())];
}
