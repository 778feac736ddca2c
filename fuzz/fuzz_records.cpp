// The row reader over arbitrary record streams, and every formatter over the rows that come out.
//
// The input is a sequence of streams, each after its 16-bit length, so that one input can make a
// reader use remembered shapes. Aborts when a reader with remembered shapes and a new one disagree,
// or when a JSON line is not JSON.
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <span>
#include <string>

#include "host/format/formatter_factory.h"
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
  formatter->append(rows, out);
  return std::string(out.view());
}

void check_formats(const RowBatch& rows) {
  formatted("csv", rows, 0);
  formatted("table", rows, 0);
  formatted("table", rows, 80);
  const std::string lines = formatted("jsonl", rows, 0);
  std::size_t count = 0;
  for (std::size_t begin = 0; begin < lines.size(); ++count) {
    const std::size_t end = lines.find('\n', begin);
    require(end != std::string::npos);
    require(nlohmann::json::accept(lines.substr(begin, end - begin)));
    begin = end + 1;
  }
  require(count == rows.size());
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
