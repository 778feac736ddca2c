#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/base/text_buffer.h"
#include "host/capture/sample_batch.h"
#include "host/decode/decoder_library.h"
#include "host/format/row_formatter.h"
#include "host/rows/row_reader.h"

/// The stretch of the road from samples to text: plug-in, row reader, formatter. One worker belongs
/// to one thread at a time and keeps a decoder unit of its own.
namespace qbt2 {

/// A sample that gave no row although it should have: the plug-in threw, or its output cannot be
/// read back.
struct SampleRejection {
  std::uint64_t offset = 0;  ///< byte of the input
  std::uint16_t master = 0;
  std::string reason;
};

struct DecodeCounts {
  std::array<std::uint64_t, 4> rows_of_kind{};  ///< by RowKind
  std::uint64_t samples_without_row = 0;
  std::uint64_t samples_rejected = 0;

  std::uint64_t rows() const;
  DecodeCounts& operator+=(const DecodeCounts& other);
};

/// One piece of work: samples in, text and counts out. Reused; clear() keeps the memory.
struct DecodeJob {
  std::size_t input = 0;  ///< the caller's number for the input that the samples come from
  SampleBatch samples;
  TextBuffer text;
  DecodeCounts counts;
  std::vector<SampleRejection> rejections;  ///< the first few; samples_rejected counts all

  void clear();
};

class DecodeWorker {
 public:
  /// `catalogue` must outlive the worker; `formatter` may be null (decode and count only).
  DecodeWorker(DecoderLibrary::Unit unit, const ColumnCatalogue& catalogue,
               std::unique_ptr<RowFormatter> formatter);

  /// Decodes the job's samples in order; the rows' text is appended to job.text. Stops behind
  /// `row_limit` rows.
  void run(DecodeJob& job, std::uint64_t row_limit = UINT64_MAX);

  RowFormatter* formatter() { return formatter_.get(); }

 private:
  void decode_sample(DecodeJob& job, const SampleHead& head);
  std::size_t process(std::uint8_t* sample);
  void count_row(DecodeJob& job, std::size_t rows_before);
  void reject(DecodeJob& job, const SampleHead& head, std::string reason) const;
  void flush(DecodeJob& job);

  DecoderLibrary::Unit unit_;
  RowReader reader_;
  RowBatch rows_;
  std::unique_ptr<RowFormatter> formatter_;
  std::vector<std::uint8_t> output_;
};

}  // namespace qbt2
