#include "host/decode/decode_pool.h"

#include <system_error>

namespace qbt2 {
namespace {

// Enough that no worker waits for the calling thread, and little memory.
constexpr std::size_t kJobsPerWorker = 3;

}  // namespace

DecodePool::DecodePool(std::vector<std::unique_ptr<DecodeWorker>> workers)
    : workers_(std::move(workers)),
      slots_(workers_.size() == 1 ? 1 : workers_.size() * kJobsPerWorker) {
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
  {
    const std::lock_guard lock(mutex_);
    Slot& next = slot(submitted_);
    next.failure = nullptr;
    next.state = State::kQueued;
    ++submitted_;
  }
  work_.notify_one();
}

DecodeJob* DecodePool::oldest_if_done() {
  if (is_empty()) return nullptr;
  Slot& oldest = slot(released_);
  {
    const std::lock_guard lock(mutex_);
    if (oldest.state != State::kDone) return nullptr;
  }
  return &result_of(oldest);
}

DecodeJob& DecodePool::wait_for_oldest() {
  Slot& oldest = slot(released_);
  {
    std::unique_lock lock(mutex_);
    while (oldest.state != State::kDone) {
      if (started_ != submitted_) {
        run_slot(*workers_.front(), lock);
      } else {
        done_.wait(lock);
      }
    }
  }
  return result_of(oldest);
}

DecodeJob& DecodePool::result_of(Slot& slot) {
  if (slot.failure != nullptr) std::rethrow_exception(slot.failure);
  return slot.job;
}

/// Takes the oldest queued slot; the lock is released while it is decoded.
void DecodePool::run_slot(DecodeWorker& worker, std::unique_lock<std::mutex>& lock) {
  Slot& next = slot(started_);
  ++started_;
  next.state = State::kRunning;
  lock.unlock();
  try {
    worker.run(next.job);
  } catch (...) {
    next.failure = std::current_exception();
  }
  lock.lock();
  next.state = State::kDone;
  done_.notify_one();
}

void DecodePool::serve(DecodeWorker& worker) {
  std::unique_lock lock(mutex_);
  for (;;) {
    work_.wait(lock, [this] { return stopping_ || started_ != submitted_; });
    if (stopping_) return;
    run_slot(worker, lock);
  }
}

}  // namespace qbt2
