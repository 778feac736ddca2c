// Writes the rows of an STP capture as a trace in the Common Trace Format 1.8 (one stream, one
// event class for each kind of row, the same fields and widths), so that babeltrace2 can print the
// rows that qbt2 prints.
//
// usage: rows_to_ctf CAPTURE SETTINGS FOLDER

#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/decode/pipeline.h"
#include "host/rows/row_fields.h"

namespace qbt2::bench {
namespace {

constexpr std::uint32_t kPacketMagic = 0xC1FC1FC1;
constexpr std::size_t kPacketBytes = std::size_t{1} << 20;

constexpr const char* kMetadataHead = R"(/* CTF 1.8 */
typealias integer { size = 8; align = 8; signed = false; } := u8;
typealias integer { size = 16; align = 8; signed = false; } := u16;
typealias integer { size = 32; align = 8; signed = false; } := u32;
typealias integer { size = 64; align = 8; signed = false; } := u64;
trace {
  major = 1; minor = 8; byte_order = le;
  packet.header := struct { u32 magic; u32 stream_id; };
};
clock { name = stp; freq = 200000000; };
typealias integer { size = 64; align = 8; signed = false; map = clock.stp.value; } := ticks;
stream {
  id = 0;
  packet.context := struct { u64 content_size; u64 packet_size; };
  event.header := struct { u16 id; ticks timestamp; };
};
)";

/// A packet being filled: header and context first, then events.
class CtfStream {
 public:
  explicit CtfStream(const std::filesystem::path& path) : file_(path, std::ios::binary) { begin(); }

  template <typename Number>
  void number(Number value) {
    number(value, sizeof value);
  }
  void number(std::uint64_t value, std::size_t bytes) {
    for (; bytes != 0; --bytes, value >>= 8) packet_.push_back(static_cast<std::uint8_t>(value));
  }
  void text(std::string_view text) {
    packet_.insert(packet_.end(), text.begin(), text.end());
    packet_.push_back(0);
  }
  void end_event() {
    if (packet_.size() >= kPacketBytes) write();
  }
  void finish() {
    write();
    if (!file_.flush()) throw std::runtime_error("the trace cannot be written");
  }

 private:
  void begin() {
    packet_.clear();
    number(kPacketMagic);
    number(std::uint32_t{0});
    number(std::uint64_t{0});  // sizes in bits, known when the packet is full
    number(std::uint64_t{0});
  }
  void write() {
    const std::uint64_t bits = packet_.size() * 8;
    std::memcpy(packet_.data() + 8, &bits, sizeof bits);
    std::memcpy(packet_.data() + 16, &bits, sizeof bits);
    file_.write(reinterpret_cast<const char*>(packet_.data()),
                static_cast<std::streamsize>(packet_.size()));
    begin();
  }

  std::ofstream file_;
  std::vector<std::uint8_t> packet_;
};

/// Only rows of one shape for each kind: what the generator's captures hold.
class CtfTrace {
 public:
  CtfTrace(const std::filesystem::path& folder, const ColumnCatalogue& catalogue)
      : catalogue_(catalogue),
        metadata_(folder / "metadata"),
        stream_(folder / "stream"),
        described_(4) {
    metadata_ << kMetadataHead;
  }

  void append(const RowBatch& rows) {
    for (std::size_t row = 0; row < rows.size(); ++row) append(rows, row);
  }
  void finish() {
    stream_.finish();
    if (!metadata_.flush()) throw std::runtime_error("the metadata cannot be written");
  }

 private:
  void append(const RowBatch& rows, std::size_t row) {
    const RowHead& head = rows.head(row);
    const auto kind = static_cast<std::size_t>(head.kind);
    if (!described_[kind]) describe(head);
    described_[kind] = true;
    stream_.number(static_cast<std::uint16_t>(kind));
    stream_.number(head.timestamp);
    stream_.number(head.offset);
    stream_.number(head.timestamp);
    stream_.number(head.time_ns);
    stream_.number(head.probe);
    stream_.text(rows.texts().text(head.master_text));
    stream_.text(rows.texts().text(head.type_text));
    stream_.text(rows.texts().text(head.description_text));
    if (head.has_address) stream_.number(head.address);
    for (std::size_t k = 0; k < catalogue_.columns.size(); ++k) {
      if (head.columns.test(k)) {
        stream_.number(rows.value(k, row), catalogue_.columns[k].size_bytes);
      }
    }
    stream_.end_event();
  }

  void describe(const RowHead& head) {
    metadata_ << "event {\n  id = " << static_cast<unsigned>(head.kind) << "; name = \""
              << kind_name(head.kind) << "\"; stream_id = 0;\n  fields := struct {\n"
              << "    u64 offset; u64 timestamp; u64 time_ns; u8 probe;\n"
              << "    string master; string type; string description;\n";
    if (head.has_address) metadata_ << "    u64 address;\n";
    for (std::size_t k = 0; k < catalogue_.columns.size(); ++k) {
      if (!head.columns.test(k)) continue;
      const ColumnDescription& column = catalogue_.columns[k];
      metadata_ << "    u" << 8 * column.size_bytes << " _" << column.key << ";\n";
    }
    metadata_ << "  };\n};\n";
  }

  const ColumnCatalogue& catalogue_;
  std::ofstream metadata_;
  CtfStream stream_;
  std::vector<bool> described_;  // by kind
};

void convert(const std::string& capture, const std::string& settings,
             const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  DecodeRequest request;
  request.captures = {capture};
  request.config = settings;
  Pipeline pipeline(request);
  CtfTrace trace(folder, pipeline.catalogue());
  while (const auto decoded = pipeline.next()) trace.append(*decoded->rows);
  trace.finish();
}

}  // namespace
}  // namespace qbt2::bench

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: rows_to_ctf CAPTURE SETTINGS FOLDER\n");
    return 2;
  }
  try {
    qbt2::bench::convert(argv[1], argv[2], argv[3]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "rows_to_ctf: %s\n", error.what());
    return 1;
  }
  return 0;
}
