#include "host/decode/pipeline.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/decode/capture_set.h"
#include "host/decode/decode_pool.h"
#include "host/decode/decoder_setup.h"
#include "host/decode/master_selection.h"
#include "host/decode/run_notices.h"
#include "host/rows/row_fields.h"

namespace qbt2 {
namespace {

using Clock = std::chrono::steady_clock;

unsigned thread_count(const DecodeRequest& request) {
  // Rows past the limit must not be formatted, and only one thread at a time knows where it is.
  if (request.limit != UINT64_MAX) return 1;
  return request.threads != 0 ? request.threads : std::max(1U, std::thread::hardware_concurrency());
}

bool is_within(const TimeRange& range, const SampleHead& head) {
  const bool ticks = range.unit == TimeRange::Unit::kTicks;
  if (!(ticks ? head.has_timestamp : head.has_time_ns)) return false;
  const std::uint64_t time = ticks ? head.timestamp : head.time_ns;
  return range.from <= time && time < range.to;
}

/// Adds the masters that the request names to those that it lists.
std::vector<MasterChoice> take_selection(DecodeRequest& request, DecoderSetup& setup) {
  if (request.master_selection.empty()) return {};
  auto choices = select_masters(request.master_selection, setup.masters());
  const std::vector<std::uint16_t> ids = ids_of(choices);
  request.masters.insert(request.masters.end(), ids.begin(), ids.end());
  return choices;
}

}  // namespace

class Pipeline::Run {
 public:
  Run(DecodeRequest request, RunObserver* observer);

  const RunOutline& outline() const { return outline_; }
  bool is_started() const { return pool_ != nullptr; }
  /// Gives every worker what it needs for `use`; `make_stage` may be empty.
  void start(RowUse use, const std::function<std::unique_ptr<RowStage>()>& make_stage);
  /// The next job with rows, valid until the next call; null at the end.
  DecodeJob* next_job();
  void end(RunEnd how);
  void stop() noexcept { stopping_.store(true, std::memory_order_relaxed); }
  RunReport report() const;

 private:
  void make_workers();
  bool can_read() const;
  bool limit_reached() const { return rows_ >= request_.limit; }
  void release_taken_job();
  void read_next();
  void read_piece(DecodeJob& job);
  void stitch(DecodeJob& job);
  void end_capture();
  void leave_out_other_times(DecodeJob& job);
  void account_for(const DecodeJob& job);
  const std::string& settings_file() const;
  bool writes_field(BuiltinField field) const;
  void note_missing_settings(std::size_t capture);
  void end_with_notices(RunEnd how);
  void notice(const std::string& file, const std::string& text);

  DecodeRequest request_;
  RunObserver silent_;
  RunObserver& observer_;
  const Clock::time_point start_ = Clock::now();
  DecoderSetup setup_;  // outlives the units
  std::vector<MasterChoice> chosen_masters_;
  std::vector<OpenCapture> captures_;
  DecoderLibrary library_;
  RunOutline outline_;
  std::vector<std::unique_ptr<DecodeWorker>> workers_;
  std::unique_ptr<DecodePool> pool_;  // empty before start()
  RunReport report_;
  std::atomic<bool> stopping_{false};
  std::size_t capture_ = 0;  // the one being read
  std::uint64_t total_bytes_ = 0;
  std::uint64_t bytes_before_ = 0;  // of the captures already read
  std::uint64_t rows_ = 0;
  bool pieces_end_ = false;  // the last piece of capture_ is in the pool
  bool job_taken_ = false;   // the oldest job is the caller's
  bool writes_rows_ = true;
  bool ended_ = false;
};

Pipeline::Run::Run(DecodeRequest request, RunObserver* observer)
    : request_(std::move(request)),
      observer_(observer != nullptr ? *observer : silent_),
      setup_(request_.config, request_.device),
      chosen_masters_(take_selection(request_, setup_)),
      captures_(open_captures(request_, setup_.atb_id(), thread_count(request_) > 1, &observer_)),
      library_(request_.plugin),
      total_bytes_(total_bytes(captures_)) {
  outline_.captures = captures_.size();
  outline_.has_timestamps = std::any_of(
      captures_.begin(), captures_.end(),
      [](const OpenCapture& capture) { return capture.format != CaptureFormat::kSamples; });
  outline_.masters = setup_.masters();
  make_workers();
  for (const OpenCapture& capture : captures_) {
    CaptureReport& report = report_.captures.emplace_back();
    report.file = capture.file->name();
    report.format = capture.format;
  }
  if (!setup_.has_settings()) return;
  for (const std::string& text : setup_.warnings()) notice(settings_file(), text);
}

void Pipeline::Run::make_workers() {
  std::vector<DecoderLibrary::Unit> units;
  for (unsigned i = 0; i < thread_count(request_); ++i) {
    units.push_back(library_.create_unit());
    call_plugin(library_.path(), [&] {
      outline_.catalogue = read_catalogue(*units.back());
      setup_.apply(*units.back());
    });
  }
  const ColumnMask wanted = parse_wanted_columns(outline_.catalogue, request_.fields);
  for (DecoderLibrary::Unit& unit : units) {
    workers_.push_back(std::make_unique<DecodeWorker>(std::move(unit), outline_.catalogue, wanted));
  }
}

void Pipeline::Run::start(RowUse use,
                          const std::function<std::unique_ptr<RowStage>()>& make_stage) {
  for (const auto& worker : workers_) {
    std::unique_ptr<RowStage> stage = make_stage ? make_stage() : nullptr;
    const bool counts_only = use == RowUse::kStage && stage == nullptr;
    writes_rows_ = !counts_only;
    worker->use_rows(counts_only ? RowUse::kCount : use, std::move(stage));
  }
  pool_ = std::make_unique<DecodePool>(std::move(workers_));
}

DecodeJob* Pipeline::Run::next_job() {
  release_taken_job();
  while (!ended_) {
    if (stopping_.load(std::memory_order_relaxed)) {
      end(RunEnd::kStopped);
    } else if (limit_reached()) {
      end_with_notices(RunEnd::kLimit);
    } else if (DecodeJob* const job = pool_->oldest_if_done()) {
      account_for(*job);
      job_taken_ = true;
      if (job->counts.rows() != 0) return job;
      release_taken_job();
    } else if (DecodeJob* const piece = pool_->next_to_stitch()) {
      stitch(*piece);
    } else if (can_read() && (pool_->is_empty() || captures_[capture_].file->has_input())) {
      read_next();
    } else if (!pool_->is_empty()) {
      pool_->wait();
    } else {
      end_with_notices(RunEnd::kComplete);
    }
  }
  return nullptr;
}

void Pipeline::Run::release_taken_job() {
  if (job_taken_) pool_->release_oldest();
  job_taken_ = false;
}

/// The end of a capture comes after its last piece, and the next capture after that.
bool Pipeline::Run::can_read() const {
  return capture_ != captures_.size() && pool_->has_room() &&
         (!pieces_end_ || pool_->all_stitched());
}

void Pipeline::Run::read_next() {
  OpenCapture& capture = captures_[capture_];
  DecodeJob& job = pool_->next_job();
  job.capture = capture_;
  job.row_limit = request_.limit - rows_;
  if (capture.pieces && !pieces_end_) return read_piece(job);
  if (capture.pieces) {
    capture.pieces->finish(job.samples);
    end_capture();
  } else if (!capture.reader->next(job.samples)) {
    end_capture();
    return;
  } else {
    observer_.on_progress(bytes_before_ + capture.reader->position(), total_bytes_);
  }
  if (request_.time) leave_out_other_times(job);
  pool_->submit();
}

void Pipeline::Run::read_piece(DecodeJob& job) {
  StpPieceCapture& pieces = *captures_[capture_].pieces;
  job.pieces = &pieces;
  pieces_end_ = !pieces.next(job.piece);
  if (pieces_end_) return;
  observer_.on_progress(bytes_before_ + pieces.position(), total_bytes_);
  pool_->submit_piece();
}

void Pipeline::Run::stitch(DecodeJob& job) {
  captures_[job.capture].pieces->stitch(job.piece, job.samples);
  if (request_.time) {
    job.piece.exchange_beginning(job.samples);
    leave_out_other_times(job);
  }
  pool_->submit_stitched();
}

void Pipeline::Run::end_capture() {
  OpenCapture& capture = captures_[capture_];
  bytes_before_ += capture.position();
  CaptureReport& report = report_.captures[capture_];
  report.capture = capture.counts();
  report.nothing_to_decode = held_nothing(report.capture);
  for (const std::string& text : capture_notices(report.capture)) notice(report.file, text);
  capture.pieces.reset();
  pieces_end_ = false;
  ++capture_;
}

void Pipeline::Run::leave_out_other_times(DecodeJob& job) {
  const std::size_t outside = std::erase_if(job.samples.heads, [this](const SampleHead& head) {
    return !is_within(*request_.time, head);
  });
  report_.captures[job.capture].messages_outside += outside;
}

void Pipeline::Run::account_for(const DecodeJob& job) {
  CaptureReport& report = report_.captures[job.capture];
  if (job.counts.rows() != 0) note_missing_settings(job.capture);
  report.decode += job.counts;
  rows_ += job.counts.rows();
  for (const SampleRejection& rejection : job.rejections) {
    observer_.on_rejected_sample(
        report.file, rejection.offset,
        "master " + std::to_string(rejection.master) + ": " + rejection.reason);
  }
  observer_.on_more_rejected_samples(job.counts.samples_rejected - job.rejections.size());
}

/// The name of the file that settings are from, for messages.
const std::string& Pipeline::Run::settings_file() const {
  return request_.config.empty() ? request_.device : request_.config;
}

bool Pipeline::Run::writes_field(BuiltinField field) const {
  if (!writes_rows_) return false;
  if (request_.fields.empty()) return true;
  const std::vector<FieldIndex> fields = parse_field_list(outline_.catalogue, request_.fields);
  return std::find(fields.begin(), fields.end(), static_cast<FieldIndex>(field)) != fields.end();
}

void Pipeline::Run::note_missing_settings(std::size_t capture) {
  const bool is_first = rows_ == 0;
  if (!is_first || setup_.has_settings() || !writes_field(BuiltinField::kMaster)) return;
  notice(report_.captures[capture].file, no_settings_notice(request_.captures[capture]));
}

/// Ends a run that nobody stopped, with what only the traffic could show.
void Pipeline::Run::end_with_notices(RunEnd how) {
  const RunReport so_far = report();
  // Of a capture without a message nothing can be said about its masters.
  const bool has_read_all =
      how == RunEnd::kComplete &&
      std::none_of(so_far.captures.begin(), so_far.captures.end(),
                   [](const CaptureReport& one) { return one.nothing_to_decode; });
  if (has_read_all) {
    const std::string missing = missing_masters_notice(chosen_masters_, so_far);
    report_.masters_missing = !missing.empty();
    if (!missing.empty()) notice("--master", missing);
  }
  if (has_read_all && setup_.has_settings() && !request_.time && request_.masters.empty()) {
    for (const auto& text : traffic_notices(setup_.master_ids(), so_far)) {
      notice(settings_file(), text);
    }
  }
  for (const auto& text : shared_probe_notices(outline_.masters, request_.masters, so_far)) {
    notice(settings_file(), text);
  }
  const bool needs_time = request_.time ? request_.time->unit == TimeRange::Unit::kNanoseconds
                                        : writes_field(BuiltinField::kTimeNs);
  if (needs_time) {
    const auto clock = clock_notice(setup_.setting(kClockSetting), so_far);
    if (clock) notice(clock->file, clock->text);
  }
  end(how);
}

void Pipeline::Run::notice(const std::string& file, const std::string& text) {
  observer_.on_notice(file, text);
}

void Pipeline::Run::end(RunEnd how) {
  ended_ = true;
  report_.end = how;
  report_.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
}

RunReport Pipeline::Run::report() const {
  RunReport report = report_;
  // A capture that is still being read has not been entered yet.
  if (capture_ != captures_.size()) {
    report.captures[capture_].capture = captures_[capture_].counts();
  }
  if (!ended_) report.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  return report;
}

Pipeline::Pipeline(DecodeRequest request, RunObserver* observer)
    : run_(std::make_unique<Run>(std::move(request), observer)) {}

Pipeline::~Pipeline() = default;

const ColumnCatalogue& Pipeline::catalogue() const {
  return run_->outline().catalogue;
}

std::optional<Pipeline::Rows> Pipeline::next() {
  if (!run_->is_started()) run_->start(RowUse::kKeep, {});
  const DecodeJob* const job = run_->next_job();
  if (job == nullptr) return std::nullopt;
  return Rows{job->capture, job->rows.get()};
}

RunReport Pipeline::run(RowSink& sink) {
  run_->start(RowUse::kStage, [&] { return sink.make_stage(run_->outline()); });
  sink.begin(run_->outline());
  while (DecodeJob* const job = run_->next_job()) {
    if (job->chunk && !sink.take(*job->chunk, job->capture)) run_->end(RunEnd::kSinkClosed);
  }
  RunReport report = run_->report();
  sink.end(report);
  return report;
}

void Pipeline::stop() noexcept {
  run_->stop();
}

RunReport Pipeline::report() const {
  return run_->report();
}

}  // namespace qbt2
