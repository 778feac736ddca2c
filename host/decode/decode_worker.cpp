#include "host/decode/decode_worker.h"

#include <algorithm>
#include <cstring>

#include "interfaces/sample_format.h"

namespace qbt2 {
namespace {

constexpr std::size_t kRowsInBatch = 512;
constexpr std::size_t kRejectionsKept = 20;

// The decoder checks for room only before it writes a field, so a row can exceed the capacity by
// a field's position and length bytes, a text's terminator, a value and the row's end.
constexpr std::size_t kOutputSlackBytes = 64;
constexpr std::size_t kFirstOutputBytes = std::size_t{64} << 10;
// A master's name may be as long as its settings line; beyond this a row is not worth having.
constexpr std::size_t kLargestOutputBytes = std::size_t{16} << 20;

constexpr std::uint32_t kOutputProblem = 0;

std::string describe(const Kz::Dvt::Trace::DecodeError& error) {
  return "the decoder rejects the sample (kind " + std::to_string(error.kind) + ", detail " +
         std::to_string(error.detail) + ")";
}

RowClass class_of(const SampleHead& head) {
  using namespace Kz::Dvt::Trace;
  return {SampleFormat::ProbeOfMaster(head.master),
          (head.size - SampleFormat::kHeaderBytes) / SampleFormat::kPairBytes};
}

}  // namespace

void DecodeJob::clear() {
  pieces = nullptr;
  samples.clear();
  row_limit = UINT64_MAX;
  if (chunk) chunk->clear();
  if (rows) rows->clear();
  counts = DecodeCounts{};
  rejections.clear();
}

DecodeWorker::DecodeWorker(DecoderLibrary::Unit unit, const ColumnCatalogue& catalogue,
                           const ColumnMask& wanted)
    : unit_(std::move(unit)),
      catalogue_(catalogue),
      reader_(catalogue, wanted),
      rows_(catalogue, kRowsInBatch),
      output_(kFirstOutputBytes + kOutputSlackBytes) {}

void DecodeWorker::use_rows(RowUse use, std::unique_ptr<RowStage> stage) {
  use_ = use;
  stage_ = std::move(stage);
}

/// Jobs pass from worker to worker, so each is given what it lacks by the first one.
void DecodeWorker::prepare(DecodeJob& job) const {
  if (use_ == RowUse::kStage && !job.chunk) job.chunk = stage_->make_chunk();
  if (use_ == RowUse::kKeep && !job.rows) {
    job.rows = std::make_unique<RowBatch>(catalogue_, kRowsInBatch);
  }
}

void DecodeWorker::read(DecodeJob& job) {
  if (!piece_reader_ || piece_capture_ != job.capture) {
    piece_reader_ = job.pieces->make_reader(job.piece);
    piece_capture_ = job.capture;
  }
  piece_reader_->read(job.piece, job.samples);
}

void DecodeWorker::run(DecodeJob& job) {
  prepare(job);
  if (job.pieces != nullptr) job.piece.exchange_beginning(job.samples);
  RowBatch& rows = use_ == RowUse::kKeep ? *job.rows : rows_;
  // The decoder reads a whole word after a length byte of 0, and so past a malformed sample's end.
  std::memset(job.samples.bytes.room(sizeof(std::uint64_t)), 0, sizeof(std::uint64_t));
  for (const SampleHead& head : job.samples.heads) {
    if (job.counts.rows() >= job.row_limit) break;
    if (use_ != RowUse::kKeep && rows.full()) flush(job);
    decode_sample(job, head, rows);
  }
  if (use_ != RowUse::kKeep) flush(job);
}

/// Runs the plug-in over one sample, with a larger output buffer if it needs one. Returns the
/// record stream, valid until the next call.
inline std::span<const std::uint8_t> DecodeWorker::process(std::uint8_t* sample) {
  for (;;) {
    try {
      std::uint32_t produced = 0;
      unit_->ProcessSamples(0, sample,
                            static_cast<std::uint32_t>(output_.size() - kOutputSlackBytes),
                            output_.data(), produced);
      return {output_.data(), std::min<std::size_t>(produced, output_.size())};
    } catch (const Kz::Dvt::Trace::DecodeError& error) {
      if (error.kind != kOutputProblem || output_.size() > kLargestOutputBytes) throw;
      output_.resize(output_.size() * 4);
    }
  }
}

[[gnu::always_inline]] inline void DecodeWorker::decode_sample(DecodeJob& job,
                                                               const SampleHead& head,
                                                               RowBatch& rows) {
  std::span<const std::uint8_t> stream;
  try {
    stream = call_plugin(unit_.get_deleter().path,
                         [&] { return process(job.samples.bytes.data() + head.begin); });
  } catch (const Kz::Dvt::Trace::DecodeError& error) {
    reject(job, head, describe(error));
    return;
  }
  const RowClass row_class = class_of(head);
  if (use_ == RowUse::kCount) {
    if (const auto kind = reader_.recognise(row_class, stream)) {
      ++job.counts.rows_of_kind[static_cast<std::size_t>(*kind)];
      return;
    }
  }
  read_rows(job, head, row_class, stream, rows);
}

void DecodeWorker::read_rows(DecodeJob& job, const SampleHead& head, RowClass row_class,
                             std::span<const std::uint8_t> stream, RowBatch& rows) {
  RowHead row;
  row.offset = head.offset;
  row.timestamp = head.timestamp;
  row.time_ns = head.time_ns;
  row.has_timestamp = head.has_timestamp;
  row.has_time_ns = head.has_time_ns;
  row.stp_master = head.master;
  RecordFault fault;
  const std::size_t first = rows.size();
  reader_.read(stream, row, rows, fault, row_class);
  if (fault.reason != nullptr) {
    reject(job, head,
           "the decoder's output cannot be read at its byte " + std::to_string(fault.offset) +
               ": " + fault.reason);
    return;
  }
  count_rows(job, rows, first);
}

void DecodeWorker::count_rows(DecodeJob& job, const RowBatch& rows, std::size_t first) {
  if (rows.size() == first) {
    ++job.counts.samples_without_row;
    return;
  }
  for (std::size_t row = first; row < rows.size(); ++row) {
    ++job.counts.rows_of_kind[static_cast<std::size_t>(rows.head(row).kind)];
  }
}

void DecodeWorker::reject(DecodeJob& job, const SampleHead& head, std::string reason) const {
  ++job.counts.samples_rejected;
  if (job.rejections.size() < kRejectionsKept) {
    job.rejections.push_back({head.offset, head.master, std::move(reason)});
  }
}

void DecodeWorker::flush(DecodeJob& job) {
  if (use_ == RowUse::kStage && rows_.size() != 0) stage_->append(rows_, job.capture, *job.chunk);
  rows_.clear();
}

}  // namespace qbt2
