#include "host/format/formatter_factory.h"

#include "host/format/csv_formatter.h"
#include "host/format/jsonl_formatter.h"
#include "host/format/table_formatter.h"

namespace qbt2 {

std::unique_ptr<RowFormatter> make_row_formatter(std::string_view format,
                                                 const ColumnCatalogue& catalogue,
                                                 const FormatOptions& options) {
  if (format == "table") return std::make_unique<TableFormatter>(catalogue, options);
  if (format == "csv") return std::make_unique<CsvFormatter>(catalogue, options);
  if (format == "jsonl") return std::make_unique<JsonlFormatter>(catalogue, options);
  return nullptr;
}

}  // namespace qbt2
