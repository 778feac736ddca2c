#include "tools/qbt2/commands/tdf_dump.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/base/number_text.h"

namespace qbt2::tool {
namespace {

constexpr std::size_t kLineBytes = 16;
constexpr std::size_t kOffsetDigits = 8;

std::string dump_line(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  std::string text;
  append_hex(text, offset, kOffsetDigits);
  text += ' ';
  for (std::size_t i = 0; i < kLineBytes; ++i) {
    text += i == kLineBytes / 2 ? "  " : " ";
    if (i < bytes.size()) {
      append_hex(text, bytes[i], 2);
    } else {
      text += "  ";
    }
  }
  text += "  |";
  for (const std::uint8_t byte : bytes) {
    text += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
  }
  return text + "|\n";
}

}  // namespace

void print_hex_dump(const TraceFile& file, const TraceSection& section, Printer& printer) {
  std::uint64_t offset = 0;
  std::vector<std::uint8_t> line;
  const auto print_line = [&] {
    printer.print(dump_line(offset, line));
    offset += line.size();
    line.clear();
  };
  file.read(section, [&](std::span<const std::uint8_t> piece) {
    for (const std::uint8_t byte : piece) {
      line.push_back(byte);
      if (line.size() == kLineBytes) print_line();
    }
  });
  if (!line.empty()) print_line();
}

void print_hex_digits(const TraceFile& file, const TraceSection& section, Printer& printer) {
  file.read(section, [&](std::span<const std::uint8_t> piece) {
    std::string digits;
    for (const std::uint8_t byte : piece) append_hex(digits, byte, 2);
    printer.print(digits);
  });
}

}  // namespace qbt2::tool
