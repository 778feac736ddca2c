// Prints the rows of a capture: time, master, and the columns that the row has.
//
// usage: decode_capture CAPTURE [SETTINGS]

#include <cinttypes>
#include <cstdio>
#include <exception>

#include "host/decode/pipeline.h"

int main(int argc, char** argv) try {
  if (argc < 2) return 2;
  qbt2::DecodeRequest request;
  request.captures = {argv[1]};
  if (argc > 2) request.config = argv[2];
  request.fields = "time_ns,master,Bytes,Matched_,Tracked,TotalWait,address,ByteCount";
  qbt2::Pipeline pipeline(request);
  const auto& columns = pipeline.catalogue().columns;
  while (const auto decoded = pipeline.next()) {
    const qbt2::RowBatch& rows = *decoded->rows;
    for (std::size_t row = 0; row < rows.size(); ++row) {
      const qbt2::RowHead& head = rows.head(row);
      const std::string_view master = rows.texts().text(head.master_text);
      std::printf("%" PRIu64 " ns %.*s", head.time_ns, static_cast<int>(master.size()),
                  master.data());
      if (head.has_address) std::printf(" address=0x%" PRIx64, head.address);
      for (std::size_t k = 0; k < columns.size(); ++k) {
        if (!head.columns.test(k)) continue;
        std::printf(" %s=%" PRIu64, columns[k].key.c_str(), rows.value(k, row));
      }
      std::puts("");
    }
  }
  return pipeline.report().damaged() ? 1 : 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "decode_capture: %s\n", error.what());
  return 2;
}
