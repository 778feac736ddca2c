#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "host/decode/decode_request.h"
#include "host/decode/row_sink.h"
#include "host/decode/run_observer.h"
#include "host/decode/run_report.h"
#include "host/rows/row_batch.h"

/// The whole path from captures to rows: every program that reads captures drives this object.
///
///   input -> [frame demultiplexer] -> STP reader -> message assembler -> samples
///         -> decoder plug-in -> row reader -> row batch -> [stage -> chunk -> sink]
///
/// The calling thread reads the input; worker threads, of which it is one while it would wait,
/// decode, and assemble the messages of STP files too (host/pieces). Jobs of some 64 KiB of input
/// are queued and collected in order, a fixed number at a time, so that memory does not depend on
/// the size of the captures.
///
///   qbt2::DecodeRequest request;
///   request.captures = {"soc.stp"};
///   request.config = "soc.stp.cfg";
///   qbt2::Pipeline pipeline(request);
///   while (const auto decoded = pipeline.next()) use(*decoded->rows);
///
/// A pipeline is used once: either pulled with next() or pushed with run(). All calls but stop()
/// belong to one thread, the one that made it.
namespace qbt2 {

class Pipeline {
 public:
  /// Loads the settings, opens every capture and loads the plug-in; `observer` (borrowed, may be
  /// null) outlives the pipeline and may be called here already. Throws Error: kUsage (frames with
  /// several sources and none chosen, an unknown field), kInput, kPlugin.
  explicit Pipeline(DecodeRequest request, RunObserver* observer = nullptr);
  /// Waits for the jobs that are being decoded.
  ~Pipeline();
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  /// The decoder's columns; as long as the pipeline lives.
  const ColumnCatalogue& catalogue() const;

  struct Rows {
    std::size_t capture = 0;         ///< counted from 0 in the order of the request
    const RowBatch* rows = nullptr;  ///< at least one row; valid until the next call
  };
  /// Pulls: the next rows in the order of the input; empty at the end, and from then on. Throws
  /// Error(kInput) where an input cannot be read.
  std::optional<Rows> next();

  /// Pushes: gives every row to the sink and returns report(). Throws what the sink and its stages
  /// throw, and Error(kInput).
  RunReport run(RowSink& sink);

  /// Ends the run at the next job. From any thread, and from a signal handler.
  void stop() noexcept;

  /// What has been read and decoded so far; complete after the end.
  RunReport report() const;

 private:
  class Run;
  std::unique_ptr<Run> run_;
};

}  // namespace qbt2
