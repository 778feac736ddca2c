#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "host/rows/named_master.h"
#include "host/rows/row_batch.h"

/// Where a pipeline's rows go. A new output is one sink and one stage.
///
/// Rows are turned into chunks on the worker threads, each with a stage of its own; the sink takes
/// the chunks on the thread that runs the pipeline, in the order of the input for any number of
/// threads.
namespace qbt2 {

struct RunReport;

/// What is known of a run's rows before the first one.
struct RunOutline {
  ColumnCatalogue catalogue;
  std::size_t captures = 0;          ///< whose rows go into one sink
  bool has_timestamps = true;        ///< false where all captures are samples
  std::vector<NamedMaster> masters;  ///< of the settings, in rising order of ids
};

/// What a stage makes of the rows of one job: text, an encoded block, a partial aggregate. Only the
/// sink and its stages know what is inside; the pipeline reuses chunks.
class RowChunk {
 public:
  virtual ~RowChunk() = default;
  /// Makes the chunk empty, and may keep its memory.
  virtual void clear() = 0;
};

/// Belongs to one worker thread.
class RowStage {
 public:
  virtual ~RowStage() = default;
  /// An empty chunk. Any stage of the same sink may be given it later.
  virtual std::unique_ptr<RowChunk> make_chunk() = 0;
  /// Appends the rows of capture `capture` (counted from 0) to the chunk. A chunk may get several
  /// batches of one capture. What it throws ends the run.
  virtual void append(const RowBatch& rows, std::size_t capture, RowChunk& chunk) = 0;
};

/// Called on one thread, in this order: make_stage() for each worker, begin(), take() for each
/// chunk, end(). What a call throws ends the run; end() is then not called.
class RowSink {
 public:
  virtual ~RowSink() = default;
  /// The outline outlives the stage. Null: the sink wants no rows, they are only counted.
  virtual std::unique_ptr<RowStage> make_stage(const RunOutline& outline) = 0;
  /// Every input is open and the decoder is set up.
  virtual void begin(const RunOutline& /*outline*/) {}
  /// Takes the rows of capture `capture`; the chunk is valid during the call. False: no more rows
  /// are wanted, the run ends.
  virtual bool take(RowChunk& chunk, std::size_t capture) = 0;
  virtual void end(const RunReport& /*report*/) {}
};

}  // namespace qbt2
