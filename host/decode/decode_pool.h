#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "host/decode/decode_worker.h"

/// Reads pieces and decodes jobs on several threads and gives them back in the order of submission.
///
/// One thread, the caller's, fills jobs and takes them back; while it waits it works too, so that
/// as many threads as there are workers are busy, its own included. A job with a piece goes through
/// the workers twice, to be read and to be decoded; between them the caller stitches it, in order.
/// What was submitted first is worked on first. The number of jobs is fixed: memory stays bounded
/// however fast jobs come in.
namespace qbt2 {

class DecodePool {
 public:
  explicit DecodePool(std::vector<std::unique_ptr<DecodeWorker>> workers);
  /// Waits for the jobs that are being decoded; queued ones are dropped.
  ~DecodePool();
  DecodePool(const DecodePool&) = delete;
  DecodePool& operator=(const DecodePool&) = delete;

  /// A job is free to be filled.
  bool has_room() const { return submitted_ - released_ != slots_.size(); }
  /// Jobs submitted and not yet released.
  bool is_empty() const { return submitted_ == released_; }

  /// The job to fill next, empty; only where has_room(). The same one until submit().
  DecodeJob& next_job();
  /// Queues the job of next_job() for decoding; only where all_stitched().
  void submit();
  /// Queues it to be read, where its piece wants that, and then to be stitched.
  void submit_piece();

  bool all_stitched() const { return stitched_ == submitted_; }
  /// The oldest job that is to be stitched, where it has been read or is not to be; else null.
  /// Rethrows what its worker threw.
  DecodeJob* next_to_stitch();
  /// Queues that job for decoding.
  void submit_stitched();

  /// The oldest job, where it has been decoded; else null. Rethrows what its worker threw.
  DecodeJob* oldest_if_done();
  /// Works, or waits where nothing is queued, until there is something for oldest_if_done() or
  /// next_to_stitch(). Only where not is_empty().
  void wait();
  /// Ends the use of the oldest job.
  void release_oldest() { ++released_; }

 private:
  enum class State { kFree, kUnread, kReading, kRead, kQueued, kRunning, kDone };
  struct Slot {
    DecodeJob job;
    State state = State::kFree;
    std::exception_ptr failure;
  };

  Slot& slot(std::uint64_t number) { return slots_[number % slots_.size()]; }
  Slot* in_state(std::uint64_t number, State state);
  void submit_as(State state);
  bool has_work();
  void work(DecodeWorker& worker, std::unique_lock<std::mutex>& lock);
  void serve(DecodeWorker& worker);

  std::vector<std::unique_ptr<DecodeWorker>> workers_;
  std::vector<Slot> slots_;
  std::mutex mutex_;
  std::condition_variable work_;  ///< a slot was queued, or it is time to stop
  std::condition_variable done_;  ///< a slot was read or decoded
  bool stopping_ = false;
  // Jobs so far; a job's slot is its number modulo slots. released_ is the least of them.
  std::uint64_t released_ = 0;   ///< taken back
  std::uint64_t decoded_ = 0;    ///< taken by a worker to be decoded
  std::uint64_t stitched_ = 0;   ///< ready to be decoded
  std::uint64_t read_ = 0;       ///< taken by a worker to be read, or not to be read
  std::uint64_t submitted_ = 0;  ///< queued
  std::vector<std::thread> threads_;
};

}  // namespace qbt2
