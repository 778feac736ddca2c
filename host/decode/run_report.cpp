#include "host/decode/run_report.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

namespace qbt2 {
namespace {

void append_line(std::string& text, std::string_view name, std::uint64_t value) {
  text.append(name).append(": ").append(std::to_string(value)).append("\n");
}

std::uint64_t per_second(std::uint64_t amount, double seconds) {
  return seconds > 0 ? static_cast<std::uint64_t>(static_cast<double>(amount) / seconds) : 0;
}

}  // namespace

DecodeCounts& DecodeCounts::operator+=(const DecodeCounts& other) {
  for (std::size_t i = 0; i < rows_of_kind.size(); ++i) rows_of_kind[i] += other.rows_of_kind[i];
  samples_without_row += other.samples_without_row;
  samples_rejected += other.samples_rejected;
  return *this;
}

CaptureCounts RunReport::capture_totals() const {
  CaptureCounts totals;
  for (const CaptureReport& one : captures) totals += one.capture;
  return totals;
}

DecodeCounts RunReport::decode_totals() const {
  DecodeCounts totals;
  for (const CaptureReport& one : captures) totals += one.decode;
  return totals;
}

bool RunReport::damaged() const {
  return masters_missing ||
         std::any_of(captures.begin(), captures.end(), [](const CaptureReport& one) {
           return one.capture.damages != 0 || one.decode.samples_rejected != 0 ||
                  one.nothing_to_decode;
         });
}

std::string RunReport::statistics_text() const {
  const CaptureCounts capture = capture_totals();
  const AssemblyCounts& assembly = capture.assembly;
  const DecodeCounts decode = decode_totals();
  const auto rows_of = [&decode](RowKind kind) {
    return decode.rows_of_kind[static_cast<std::size_t>(kind)];
  };
  const std::array<std::pair<std::string_view, std::uint64_t>, 18> counts = {{
      {"bytes", capture.bytes},
      {"bytes_framing", capture.bytes_framing},
      {"bytes_other_sources", capture.bytes_other_sources},
      {"stp_bytes", capture.stp_bytes},
      {"stp_packets", capture.stp_packets},
      {"stp_sync_losses", capture.stp_sync_losses},
      {"bytes_skipped", capture.bytes_skipped},
      {"words", assembly.words},
      {"messages", assembly.messages},
      {"messages_incomplete", assembly.messages_incomplete},
      {"source_errors", assembly.source_errors},
      {"rows", decode.rows()},
      {"rows_throughput", rows_of(RowKind::kThroughput)},
      {"rows_latency", rows_of(RowKind::kLatency)},
      {"rows_transaction", rows_of(RowKind::kTransaction)},
      {"samples_without_row", decode.samples_without_row},
      {"samples_rejected", decode.samples_rejected},
      {"ignored_packets", assembly.ignored_packets},
  }};
  std::string text;
  for (const auto& [name, value] : counts) append_line(text, name, value);
  std::array<char, 64> line{};
  std::snprintf(line.data(), line.size(), "seconds: %.6f\n", seconds);
  text += line.data();
  append_line(text, "bytes_per_second", per_second(capture.bytes, seconds));
  append_line(text, "rows_per_second", per_second(decode.rows(), seconds));
  for (const auto& [words, messages] : assembly.messages_of_words) {
    append_line(text, "messages_of_" + std::to_string(words) + "_words", messages);
  }
  return text;
}

}  // namespace qbt2
