#include "host/decode/decode_worker.h"

#include <algorithm>
#include <numeric>

namespace qbt2 {
namespace {

constexpr std::size_t kRowsInBatch = 2048;
constexpr std::size_t kRejectionsKept = 20;

// The decoder checks for room only before it writes a field, so a row can run past the capacity it
// was told by a field's position and length bytes, a text's terminator, a value and the row's end.
constexpr std::size_t kOutputSlackBytes = 64;
constexpr std::size_t kFirstOutputBytes = std::size_t{64} << 10;
// A master's name may be as long as its settings line; beyond this a row is not worth having.
constexpr std::size_t kLargestOutputBytes = std::size_t{16} << 20;

constexpr std::uint32_t kOutputProblem = 0;

std::string describe(const Kz::Dvt::Trace::DecodeError& error) {
  return "the decoder rejects the sample (kind " + std::to_string(error.kind) + ", detail " +
         std::to_string(error.detail) + ")";
}

}  // namespace

std::uint64_t DecodeCounts::rows() const {
  return std::accumulate(rows_of_kind.begin(), rows_of_kind.end(), std::uint64_t{0});
}

DecodeCounts& DecodeCounts::operator+=(const DecodeCounts& other) {
  for (std::size_t i = 0; i < rows_of_kind.size(); ++i) rows_of_kind[i] += other.rows_of_kind[i];
  samples_without_row += other.samples_without_row;
  samples_rejected += other.samples_rejected;
  return *this;
}

void DecodeJob::clear() {
  samples.clear();
  text.clear();
  counts = DecodeCounts{};
  rejections.clear();
}

DecodeWorker::DecodeWorker(DecoderLibrary::Unit unit, const ColumnCatalogue& catalogue,
                           std::unique_ptr<RowFormatter> formatter)
    : unit_(std::move(unit)),
      reader_(catalogue),
      rows_(catalogue, kRowsInBatch),
      formatter_(std::move(formatter)),
      output_(kFirstOutputBytes + kOutputSlackBytes) {}

void DecodeWorker::run(DecodeJob& job, std::uint64_t row_limit) {
  // The decoder reads a whole word behind a length byte of 0, and so past a malformed sample's end.
  job.samples.bytes.resize(job.samples.bytes.size() + sizeof(std::uint64_t));
  for (const SampleHead& head : job.samples.heads) {
    if (job.counts.rows() >= row_limit) break;
    if (rows_.full()) flush(job);
    decode_sample(job, head);
  }
  flush(job);
}

/// Runs the plug-in over one sample, with a larger output buffer where it asks for one.
std::size_t DecodeWorker::process(std::uint8_t* sample) {
  for (;;) {
    try {
      std::uint32_t produced = 0;
      unit_->ProcessSamples(0, sample,
                            static_cast<std::uint32_t>(output_.size() - kOutputSlackBytes),
                            output_.data(), produced);
      return std::min<std::size_t>(produced, output_.size());
    } catch (const Kz::Dvt::Trace::DecodeError& error) {
      if (error.kind != kOutputProblem || output_.size() > kLargestOutputBytes) throw;
      output_.resize(output_.size() * 4);
    }
  }
}

void DecodeWorker::decode_sample(DecodeJob& job, const SampleHead& head) {
  std::size_t produced = 0;
  try {
    produced = process(job.samples.bytes.data() + head.begin);
  } catch (const Kz::Dvt::Trace::DecodeError& error) {
    reject(job, head, describe(error));
    return;
  }
  const std::span<const std::uint8_t> stream(output_.data(), produced);
  if (formatter_ == nullptr) {  // nobody wants the values
    if (const auto kind = reader_.recognise(stream)) {
      ++job.counts.rows_of_kind[static_cast<std::size_t>(*kind)];
      return;
    }
  }
  RowHead row;
  row.offset = head.offset;
  row.timestamp = head.timestamp;
  row.time_ns = head.time_ns;
  row.has_timestamp = head.has_timestamp;
  row.has_time_ns = head.has_time_ns;
  row.stp_master = head.master;
  RecordFault fault;
  const std::size_t before = rows_.size();
  reader_.read(stream, row, rows_, fault);
  if (fault.reason != nullptr) {
    reject(job, head,
           "the decoder's output cannot be read at its byte " + std::to_string(fault.offset) +
               ": " + fault.reason);
    return;
  }
  count_row(job, before);
}

void DecodeWorker::count_row(DecodeJob& job, std::size_t rows_before) {
  if (rows_.size() == rows_before) {
    ++job.counts.samples_without_row;
    return;
  }
  for (std::size_t row = rows_before; row < rows_.size(); ++row) {
    ++job.counts.rows_of_kind[static_cast<std::size_t>(rows_.head(row).kind)];
  }
}

void DecodeWorker::reject(DecodeJob& job, const SampleHead& head, std::string reason) const {
  ++job.counts.samples_rejected;
  if (job.rejections.size() < kRejectionsKept) {
    job.rejections.push_back({head.offset, head.master, std::move(reason)});
  }
}

void DecodeWorker::flush(DecodeJob& job) {
  if (formatter_ != nullptr && rows_.size() != 0) formatter_->append(rows_, job.text);
  rows_.clear();
}

}  // namespace qbt2
