#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "host/decode/decode_worker.h"

/// Decodes jobs on several threads and hands the results back in the order of submission.
///
/// The calling thread fills jobs and takes the results; while it would have to wait, it decodes
/// too, so that `workers` threads in all are busy, its own included. The number of jobs is fixed:
/// memory stays bounded however fast jobs come in.
namespace qbt2 {

class DecodePool {
 public:
  /// `consume` is called on the calling thread, inside next_job() and finish().
  DecodePool(std::vector<std::unique_ptr<DecodeWorker>> workers,
             std::function<void(DecodeJob&)> consume);
  ~DecodePool();
  DecodePool(const DecodePool&) = delete;
  DecodePool& operator=(const DecodePool&) = delete;

  /// An empty job to fill; waits for the oldest one where all are in use.
  DecodeJob& next_job();
  /// Gives the job of the last next_job() to be decoded, at most `row_limit` rows of it.
  void submit(std::uint64_t row_limit = UINT64_MAX);
  /// Decodes and hands over whatever was submitted. Rethrows what a worker threw.
  void finish();

 private:
  enum class State { kFree, kQueued, kRunning, kDone };
  struct Slot {
    DecodeJob job;
    State state = State::kFree;
    std::uint64_t row_limit = UINT64_MAX;
    std::exception_ptr failure;
  };

  void run_slot(DecodeWorker& worker, std::unique_lock<std::mutex>& lock);
  void wait_until_done(Slot& slot);
  void consume_oldest();
  void serve(DecodeWorker& worker);

  std::vector<std::unique_ptr<DecodeWorker>> workers_;
  std::function<void(DecodeJob&)> consume_;
  std::vector<Slot> slots_;
  std::mutex mutex_;
  std::condition_variable work_;  // a slot was queued, or it is time to stop
  std::condition_variable done_;  // a slot was decoded
  bool stopping_ = false;
  std::uint64_t consumed_ = 0;   // jobs handed over; slot number is the count modulo slots
  std::uint64_t started_ = 0;    // jobs taken up by a worker
  std::uint64_t submitted_ = 0;  // jobs given in
  std::vector<std::thread> threads_;
};

}  // namespace qbt2
