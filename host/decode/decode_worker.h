#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/capture/sample_batch.h"
#include "host/decode/decoder_library.h"
#include "host/decode/row_sink.h"
#include "host/decode/run_report.h"
#include "host/pieces/stp_piece_capture.h"
#include "host/rows/row_reader.h"

/// From samples to rows, and on to a sink's chunk: plug-in, row reader, stage. A worker belongs to
/// one thread at a time and has a decoder unit of its own.
namespace qbt2 {

/// A sample that gave no row although it should have: the plug-in threw, or its output cannot be
/// read back.
struct SampleRejection {
  std::uint64_t offset = 0;  ///< byte of the input
  std::uint16_t master = 0;
  std::string reason;
};

/// One piece of work: samples in, rows or a chunk out. Reused: clear() keeps the memory.
struct DecodeJob {
  std::size_t capture = 0;  ///< where the samples come from, counted from 0
  /// Of a capture that is read in pieces: from which the samples are read. Else null and unused.
  const StpPieceCapture* pieces = nullptr;
  StpPiece piece;

  SampleBatch samples;
  std::uint64_t row_limit = UINT64_MAX;

  std::unique_ptr<RowChunk> chunk;  ///< what the worker's stage made of the rows
  std::unique_ptr<RowBatch> rows;   ///< all rows, where the worker has been made to keep them
  DecodeCounts counts;
  std::vector<SampleRejection> rejections;  ///< the first few; samples_rejected counts all

  void clear();
};

/// What a worker does with the rows.
enum class RowUse : std::uint8_t {
  kCount,  ///< counts them by kind, and reads back no values
  kKeep,   ///< leaves them in DecodeJob::rows
  kStage,  ///< gives them to a stage
};

class DecodeWorker {
 public:
  /// Reads back the columns of `wanted` only. `catalogue` must outlive the worker.
  DecodeWorker(DecoderLibrary::Unit unit, const ColumnCatalogue& catalogue,
               const ColumnMask& wanted = ColumnMask::all());

  /// Before the first job. `stage` belongs to RowUse::kStage.
  void use_rows(RowUse use, std::unique_ptr<RowStage> stage = nullptr);

  /// Reads the samples of the job's piece, which wants to be read.
  void read(DecodeJob& job);
  /// Decodes the job's samples in order and stops after its row limit. Throws what the stage
  /// throws.
  void run(DecodeJob& job);

 private:
  void prepare(DecodeJob& job) const;
  void decode_sample(DecodeJob& job, const SampleHead& head, RowBatch& rows);
  std::span<const std::uint8_t> process(std::uint8_t* sample);
  void read_rows(DecodeJob& job, const SampleHead& head, RowClass row_class,
                 std::span<const std::uint8_t> stream, RowBatch& rows);
  static void count_rows(DecodeJob& job, const RowBatch& rows, std::size_t first);
  void reject(DecodeJob& job, const SampleHead& head, std::string reason) const;
  void flush(DecodeJob& job);

  std::unique_ptr<StpPieceReader> piece_reader_;
  std::size_t piece_capture_ = 0;  ///< of the piece reader
  DecoderLibrary::Unit unit_;
  const ColumnCatalogue& catalogue_;
  RowReader reader_;
  RowBatch rows_;
  RowUse use_ = RowUse::kCount;
  std::unique_ptr<RowStage> stage_;
  std::vector<std::uint8_t> output_;
};

}  // namespace qbt2
