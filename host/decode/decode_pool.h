#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "host/decode/decode_worker.h"

/// Decodes jobs on several threads and gives them back in the order of submission.
///
/// One thread, the caller's, fills jobs and takes them back; while it waits it decodes too, so that
/// as many threads as there are workers are busy, its own included. The number of jobs is fixed:
/// memory stays bounded however fast jobs come in.
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
  /// Queues the job of next_job().
  void submit();

  /// The oldest job, where it has been decoded; else null. Rethrows what its worker threw.
  DecodeJob* oldest_if_done();
  /// The oldest job; decodes or waits until it is done. Only where not is_empty(). Rethrows.
  DecodeJob& wait_for_oldest();
  /// Ends the use of the oldest job.
  void release_oldest() { ++released_; }

 private:
  enum class State { kFree, kQueued, kRunning, kDone };
  struct Slot {
    DecodeJob job;
    State state = State::kFree;
    std::exception_ptr failure;
  };

  Slot& slot(std::uint64_t number) { return slots_[number % slots_.size()]; }
  DecodeJob& result_of(Slot& slot);
  void run_slot(DecodeWorker& worker, std::unique_lock<std::mutex>& lock);
  void serve(DecodeWorker& worker);

  std::vector<std::unique_ptr<DecodeWorker>> workers_;
  std::vector<Slot> slots_;
  std::mutex mutex_;
  std::condition_variable work_;  ///< a slot was queued, or it is time to stop
  std::condition_variable done_;  ///< a slot was decoded
  bool stopping_ = false;
  std::uint64_t released_ = 0;   ///< jobs taken back; a job's slot is its number modulo slots
  std::uint64_t started_ = 0;    ///< jobs that a worker has taken
  std::uint64_t submitted_ = 0;  ///< jobs queued so far
  std::vector<std::thread> threads_;
};

}  // namespace qbt2
