// The row reader over arbitrary record streams, and every formatter over the rows that come out.
//
// The input is a sequence of streams, each after its 16-bit length, so that one input can make a
// reader use remembered shapes. Aborts when a reader with remembered shapes and a new one disagree,
// when a JSON line is not JSON, or when a CSV record read back does not have the same texts.
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/format/formatter_factory.h"
#include "host/rows/row_fields.h"
#include "host/rows/row_reader.h"

namespace {

using namespace qbt2;

void require(bool condition) {
  if (!condition) std::abort();
}

const ColumnCatalogue& catalogue() {
  static const ColumnCatalogue columns{0x40,
                                       {{"Byte Transactions", "Bytes", "", 4},
                                        {"Tracked", "Tracked", "", 4},
                                        {"Max Wait", "MaxWait", "", 2},
                                        {"Mode", "Mode_", "", 1},
                                        {"Route ID", "RouteID", "", 2},
                                        {"Wide", "Wide", "", 8}}};
  return columns;
}

std::string formatted(const char* format, const RowBatch& rows, std::size_t terminal_columns) {
  const auto formatter = make_row_formatter(format, catalogue(), {{}, terminal_columns});
  TextBuffer out;
  formatter->append(rows, 0, out);
  return std::string(out.view());
}

/// RFC 4180, written for this check: the cells of the record at the start of `text`, which moves
/// on.
std::vector<std::string> take_record(std::string_view& text) {
  std::vector<std::string> cells(1);
  bool quoted = false;
  for (;;) {
    require(!text.empty());
    const char c = text.front();
    text.remove_prefix(1);
    if (quoted) {
      if (c != '"') {
        cells.back() += c;
      } else if (!text.empty() && text.front() == '"') {
        cells.back() += '"';
        text.remove_prefix(1);
      } else {
        quoted = false;
        require(!text.empty() && (text.front() == ',' || text.front() == '\n'));
      }
    } else if (c == '"') {
      require(cells.back().empty());
      quoted = true;
    } else if (c == ',') {
      cells.emplace_back();
    } else if (c == '\n') {
      return cells;
    } else {
      cells.back() += c;
    }
  }
}

void check_same_texts(std::string_view& csv, const nlohmann::json& row) {
  const std::vector<std::string> cells = take_record(csv);
  const std::vector<FieldIndex> fields = default_fields(catalogue(), false);
  require(cells.size() == fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const auto value = row.find(std::string(field_name(catalogue(), fields[i])));
    if (value == row.end()) {
      require(cells[i].empty());
    } else {
      require(cells[i] == (value->is_string() ? value->get<std::string>() : value->dump()));
    }
  }
}

void check_formats(const RowBatch& rows) {
  const std::string records = formatted("csv", rows, 0);
  std::string_view csv = records;
  formatted("table", rows, 0);
  formatted("table", rows, 80);
  const std::string lines = formatted("jsonl", rows, 0);
  std::size_t count = 0;
  for (std::size_t begin = 0; begin < lines.size(); ++count) {
    const std::size_t end = lines.find('\n', begin);
    require(end != std::string::npos);
    const auto row = nlohmann::json::parse(lines.substr(begin, end - begin), nullptr, false);
    require(row.is_object());
    check_same_texts(csv, row);
    begin = end + 1;
  }
  require(count == rows.size() && csv.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RowReader remembering(catalogue());
  RowBatch rows(catalogue(), 4);
  RowBatch expected(catalogue(), 4);
  std::span<const std::uint8_t> input(data, size);
  while (input.size() >= 2) {
    const std::size_t claimed = static_cast<std::size_t>(input[0] | input[1] << 8);
    input = input.subspan(2);
    const std::size_t length = claimed < input.size() ? claimed : input.size();
    RowReader fresh(catalogue());
    RecordFault fault;
    RecordFault expected_fault;
    const std::size_t added = remembering.read(input.first(length), {}, rows, fault);
    require(added == fresh.read(input.first(length), {}, expected, expected_fault));
    require(fault.offset == expected_fault.offset && fault.offset <= length);
    require((fault.reason == nullptr) == (expected_fault.reason == nullptr));
    input = input.subspan(length);
  }
  require(formatted("jsonl", rows, 0) == formatted("jsonl", expected, 0));
  check_formats(rows);
  return 0;
}
