#include "host/decode/decode_pool.h"

#include <algorithm>
#include <system_error>

namespace qbt2 {
namespace {

// One that each worker works on, and enough in hand that none waits for the calling thread.
// Finished text waits in them, so their number decides how much memory a run of many threads takes.
constexpr std::size_t kMostJobsInHand = 3;

std::size_t jobs_for(std::size_t workers) {
  return workers == 1 ? 1 : workers + std::min(workers, kMostJobsInHand);
}

}  // namespace

DecodePool::DecodePool(std::vector<std::unique_ptr<DecodeWorker>> workers)
    : workers_(std::move(workers)), slots_(jobs_for(workers_.size())) {
  try {
    for (std::size_t i = 1; i < workers_.size(); ++i) {
      threads_.emplace_back([this, i] { serve(*workers_[i]); });
    }
  } catch (const std::system_error&) {
    // No thread left to be had: those that run do the work, the caller's own at the least.
  }
}

DecodePool::~DecodePool() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  work_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

DecodeJob& DecodePool::next_job() {
  DecodeJob& job = slot(submitted_).job;
  job.clear();
  return job;
}

void DecodePool::submit() {
  submit_as(State::kQueued);
}

void DecodePool::submit_piece() {
  submit_as(slot(submitted_).job.piece.wants_read ? State::kUnread : State::kRead);
}

void DecodePool::submit_as(State state) {
  {
    const std::lock_guard lock(mutex_);
    Slot& next = slot(submitted_);
    next.failure = nullptr;
    next.state = state;
    ++submitted_;
    if (state == State::kQueued) ++stitched_;
  }
  if (state != State::kRead) work_.notify_one();
}

DecodeJob* DecodePool::next_to_stitch() {
  if (all_stitched()) return nullptr;
  Slot* const next = in_state(stitched_, State::kRead);
  return next != nullptr ? &next->job : nullptr;
}

void DecodePool::submit_stitched() {
  {
    const std::lock_guard lock(mutex_);
    slot(stitched_).state = State::kQueued;
    ++stitched_;
  }
  work_.notify_one();
}

DecodeJob* DecodePool::oldest_if_done() {
  if (is_empty()) return nullptr;
  Slot* const oldest = in_state(released_, State::kDone);
  return oldest != nullptr ? &oldest->job : nullptr;
}

/// The slot of a job, where it is in this state; else null. Rethrows its failure.
DecodePool::Slot* DecodePool::in_state(std::uint64_t number, State state) {
  Slot& slot = this->slot(number);
  {
    const std::lock_guard lock(mutex_);
    if (slot.state != state) return nullptr;
  }
  if (slot.failure != nullptr) std::rethrow_exception(slot.failure);
  return &slot;
}

void DecodePool::wait() {
  std::unique_lock lock(mutex_);
  while (slot(released_).state != State::kDone &&
         (all_stitched() || slot(stitched_).state != State::kRead)) {
    if (has_work()) {
      work(*workers_.front(), lock);
    } else {
      done_.wait(lock);
    }
  }
}

bool DecodePool::has_work() {
  while (read_ != submitted_ && slot(read_).state != State::kUnread) ++read_;
  return decoded_ != stitched_ || read_ != submitted_;
}

/// Decodes the oldest job that is ready for it, or else reads the oldest piece. The lock is
/// released meanwhile.
void DecodePool::work(DecodeWorker& worker, std::unique_lock<std::mutex>& lock) {
  const bool decodes = decoded_ != stitched_;
  Slot& next = slot(decodes ? decoded_++ : read_++);
  next.state = decodes ? State::kRunning : State::kReading;
  lock.unlock();
  try {
    decodes ? worker.run(next.job) : worker.read(next.job);
  } catch (...) {
    next.failure = std::current_exception();
  }
  lock.lock();
  next.state = decodes ? State::kDone : State::kRead;
  done_.notify_one();
}

void DecodePool::serve(DecodeWorker& worker) {
  std::unique_lock lock(mutex_);
  for (;;) {
    work_.wait(lock, [this] { return stopping_ || has_work(); });
    if (stopping_) return;
    work(worker, lock);
  }
}

}  // namespace qbt2
