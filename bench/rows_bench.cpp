// The cost of reading record streams and of formatting rows, by kind of row and by format.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "host/format/formatter_factory.h"
#include "host/rows/row_reader.h"

namespace qbt2 {
namespace {

constexpr std::uint8_t kFirstId = 100;
constexpr std::size_t kRows = kDefaultBatchRows;

struct BenchColumn {
  const char* key;
  std::uint8_t size_bytes;
};
// Keys and widths as the decoder's catalogue has them, so that lines have their real length.
constexpr BenchColumn kColumns[] = {
    {"Bytes", 4},      {"Matched_", 4},  {"AvgLength", 4},  {"Tracked", 4},   {"Matched", 4},
    {"MaxWait", 2},    {"TotalWait", 4}, {"CreditWait", 4}, {"Mode_", 1},     {"RouteID", 2},
    {"DIR_", 1},       {"EXCL_", 1},     {"ByteCount", 2},  {"Priority_", 1}, {"LSIZE_", 1},
    {"PRIV_", 1},      {"PRIVID_", 1},   {"DTYPE_", 1},     {"RSEL_", 1},     {"Interest_", 1},
    {"EMUDBG_", 1},    {"INNER_", 1},    {"OUTER_", 1},     {"SDOMAIN_", 1},  {"QOS_", 1},
    {"SECURE_", 1},    {"MEMTYPE_", 1},  {"OPCODE_", 1},    {"CSBAND_", 1},   {"FLUSH_", 1},
    {"EPRIORITY_", 1}, {"ORDERID", 1},   {"MSBAND_", 1},    {"FWPASS_", 1},   {"PABLE_", 1},
    {"VIRTID", 1},     {"ASEL_", 1},     {"ATYPE_", 1},     {"CHANNELID", 2}, {"RawQBT2_0", 4},
    {"RawQBT2_1", 4},  {"RawQBT2_2", 4}, {"RawQBT2_3", 4},  {"RawQBT2_4", 4}, {"RawQBT2_5", 4},
};

struct Span {
  std::size_t first, last;
};
struct Kind {
  const char* description;
  bool has_address;
  std::vector<Span> columns;
};
const Kind kThroughput{"Throughput statistics per 0x1000 clock cycles", false, {{0, 2}, {39, 40}}};
const Kind kLatency{"Latency statistics per 0x1000 clock cycles", false, {{3, 7}, {39, 42}}};
const Kind kTransaction{"Transaction logging", true, {{8, 44}}};

ColumnCatalogue catalogue() {
  ColumnCatalogue made;
  made.first_id = kFirstId;
  for (const BenchColumn& column : kColumns) {
    made.columns.push_back({column.key, column.key, "", column.size_bytes});
  }
  return made;
}

class StreamWriter {
 public:
  void number(std::size_t position, std::size_t size, std::uint64_t value) {
    bytes_.push_back(static_cast<std::uint8_t>(position));
    for (std::size_t n = 0; n < size; ++n, value >>= 8) {
      bytes_.push_back(static_cast<std::uint8_t>(value));
    }
  }
  void text(std::size_t position, const std::string& text) {
    number(position, 4, text.size());
    bytes_.insert(bytes_.end(), text.begin(), text.end());
  }
  std::vector<std::uint8_t> end() {
    bytes_.push_back(0xFE);
    return std::move(bytes_);
  }

 private:
  std::vector<std::uint8_t> bytes_;
};

/// Values as buses have them: flags and small fields within their bits, words that vary throughout.
std::vector<std::uint8_t> make_stream(const Kind& kind, std::uint64_t& state) {
  const auto next = [&] {
    state = state * 6364136223846793005U + 1442695040888963407U;
    return state >> 24;
  };
  StreamWriter writer;
  const std::size_t probe = next() % 4;
  writer.number(0, 1, probe);
  writer.text(1, "QBTracer_" + std::to_string(probe));
  writer.text(9, "Value");
  writer.text(4, kind.description);
  if (kind.has_address) writer.number(11, 8, next());
  for (const Span& span : kind.columns) {
    for (std::size_t k = span.first; k <= span.last; ++k) {
      writer.number(kFirstId + k, kColumns[k].size_bytes,
                    kColumns[k].size_bytes == 4 ? next() : next() % 16);
    }
  }
  return writer.end();
}

std::vector<std::vector<std::uint8_t>> make_streams(const Kind& kind) {
  std::vector<std::vector<std::uint8_t>> streams;
  std::uint64_t state = 1;
  while (streams.size() < kRows) streams.push_back(make_stream(kind, state));
  return streams;
}

void fill(RowReader& reader, const std::vector<std::vector<std::uint8_t>>& streams,
          RowBatch& rows) {
  RowHead head;
  head.has_timestamp = true;
  RecordFault fault;
  rows.clear();
  for (const auto& stream : streams) {
    head.offset += 36;
    head.timestamp += 1000;
    reader.read(stream, head, rows, fault);
  }
}

void read_rows(benchmark::State& state, const Kind& kind) {
  const ColumnCatalogue columns = catalogue();
  const auto streams = make_streams(kind);
  RowReader reader(columns);
  RowBatch rows(columns);
  for ([[maybe_unused]] auto _ : state) {
    fill(reader, streams, rows);
    if (rows.size() != streams.size()) state.SkipWithError("rows are missing");
  }
  std::size_t bytes = 0;
  for (const auto& stream : streams) bytes += stream.size();
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(streams.size()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void format_rows(benchmark::State& state, const Kind& kind, const char* format,
                 std::size_t terminal_columns) {
  const ColumnCatalogue columns = catalogue();
  RowReader reader(columns);
  RowBatch rows(columns);
  fill(reader, make_streams(kind), rows);
  const auto formatter = make_row_formatter(format, columns, {{}, terminal_columns});
  TextBuffer out;
  for ([[maybe_unused]] auto _ : state) {
    out.clear();
    formatter->append(rows, 0, out);
    benchmark::DoNotOptimize(out.view().data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(rows.size()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(out.size()));
}

BENCHMARK_CAPTURE(read_rows, throughput, kThroughput);
BENCHMARK_CAPTURE(read_rows, latency, kLatency);
BENCHMARK_CAPTURE(read_rows, transaction, kTransaction);
BENCHMARK_CAPTURE(format_rows, csv_throughput, kThroughput, "csv", 0);
BENCHMARK_CAPTURE(format_rows, csv_latency, kLatency, "csv", 0);
BENCHMARK_CAPTURE(format_rows, csv_transaction, kTransaction, "csv", 0);
BENCHMARK_CAPTURE(format_rows, jsonl_throughput, kThroughput, "jsonl", 0);
BENCHMARK_CAPTURE(format_rows, jsonl_latency, kLatency, "jsonl", 0);
BENCHMARK_CAPTURE(format_rows, jsonl_transaction, kTransaction, "jsonl", 0);
BENCHMARK_CAPTURE(format_rows, table_100_transaction, kTransaction, "table", 100);
BENCHMARK_CAPTURE(format_rows, table_unlimited_transaction, kTransaction, "table", 0);

}  // namespace
}  // namespace qbt2
