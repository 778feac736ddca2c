// Instructions of writing rows of all kinds as CSV; see script/check_counts.

#include <cstdio>

#include "bench/traffic.h"
#include "host/format/formatter_factory.h"
#include "host/rows/row_reader.h"

using qbt2::RowBatch;
using qbt2::RowFormatter;
using qbt2::TextBuffer;

/// What is counted: everything from the call to the return.
extern "C" [[gnu::noinline]] void counted_region(RowFormatter& formatter, const RowBatch& rows,
                                                 TextBuffer& out) {
  formatter.append(rows, 0, out);
}

int main() {
  auto traffic = qbt2::bench::make_traffic({}, 20000);
  const qbt2::bench::LoadedUnit unit(traffic.settings);
  qbt2::RowReader reader(unit.catalogue());
  RowBatch rows(unit.catalogue(), traffic.samples.heads.size());
  for (const auto& stream : qbt2::bench::make_rows(unit, traffic)) {
    const qbt2::SampleHead& sample = traffic.samples.heads[rows.size()];
    qbt2::RowHead head;
    head.offset = sample.offset;
    head.timestamp = sample.timestamp;
    head.has_timestamp = sample.has_timestamp;
    qbt2::RecordFault fault;
    if (reader.read(stream, head, rows, fault) != 1) return 1;
  }
  const auto formatter = qbt2::make_row_formatter("csv", unit.catalogue(), {});
  TextBuffer out;
  formatter->append(rows, 0, out);  // so that the buffer's growth is not counted
  out.clear();
  counted_region(*formatter, rows, out);
  std::printf("%zu row\n", rows.size());
  return out.size() == 0 ? 1 : 0;
}
