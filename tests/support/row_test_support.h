#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/format/formatter_factory.h"
#include "host/rows/row_reader.h"

/// A small catalogue with the column that identifies each kind of row and a column of each width,
/// and record streams for it, built field by field.
namespace qbt2::test {

inline constexpr std::uint8_t kFirst = 0x40;  // position byte of the first column

inline ColumnCatalogue small_catalogue() {
  return {kFirst,
          {{"Byte Transactions", "Bytes", "", 4},
           {"Tracked", "Tracked", "", 4},
           {"Max Wait", "MaxWait", "", 2},
           {"Mode", "Mode_", "", 1},
           {"Route ID", "RouteID", "", 2},
           {"Wide", "Wide", "", 8}}};
}

class Stream {
 public:
  Stream& number(std::uint8_t position, std::size_t size, std::uint64_t value) {
    bytes.push_back(position);
    for (std::size_t n = 0; n < size; ++n, value >>= 8) {
      bytes.push_back(static_cast<std::uint8_t>(value));
    }
    return *this;
  }
  Stream& text(std::uint8_t position, std::string_view text) {
    number(position, 4, text.size());
    bytes.insert(bytes.end(), text.begin(), text.end());
    return *this;
  }
  Stream& byte(std::uint8_t value) {
    bytes.push_back(value);
    return *this;
  }
  Stream& end() { return byte(0xFE); }

  std::vector<std::uint8_t> bytes;
};

inline Stream head_of(std::uint8_t probe, std::string_view master, std::string_view description) {
  Stream stream;
  stream.number(0, 1, probe).text(1, master).text(9, "Value").text(4, description);
  return stream;
}

inline Stream throughput(std::uint8_t probe, std::string_view master, std::uint32_t bytes) {
  return head_of(probe, master, "per 0x10").number(kFirst, 4, bytes).end();
}

inline Stream latency(std::uint8_t probe, std::string_view master, std::uint32_t tracked,
                      std::uint16_t max_wait) {
  return head_of(probe, master, "waits")
      .number(kFirst + 1, 4, tracked)
      .number(kFirst + 2, 2, max_wait)
      .end();
}

inline Stream transaction(std::uint8_t probe, std::string_view master, std::uint64_t address,
                          std::uint8_t mode, std::uint16_t route, std::uint64_t wide) {
  return head_of(probe, master, "logged")
      .number(11, 8, address)
      .number(kFirst + 3, 1, mode)
      .number(kFirst + 4, 2, route)
      .number(kFirst + 5, 8, wide)
      .end();
}

/// Header, rows and footer as one text.
inline std::string formatted(std::string_view format, const RowBatch& rows,
                             const FormatOptions& options = {}) {
  const auto formatter = make_row_formatter(format, rows.catalogue(), options);
  TextBuffer out;
  formatter->header(out);
  formatter->append(rows, 0, out);
  formatter->footer(out);
  return std::string(out.view());
}

}  // namespace qbt2::test
