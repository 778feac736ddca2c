#include "host/decode/decode_pool.h"

#include <exception>

namespace qbt2 {
namespace {

// Enough that no worker waits for the calling thread, and little memory.
constexpr std::size_t kJobsPerWorker = 3;

}  // namespace

DecodePool::DecodePool(std::vector<std::unique_ptr<DecodeWorker>> workers,
                       std::function<void(DecodeJob&)> consume)
    : workers_(std::move(workers)),
      consume_(std::move(consume)),
      slots_(workers_.size() == 1 ? 1 : workers_.size() * kJobsPerWorker) {
  for (std::size_t i = 1; i < workers_.size(); ++i) {
    threads_.emplace_back([this, i] { serve(*workers_[i]); });
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
  if (submitted_ - consumed_ == slots_.size()) consume_oldest();
  DecodeJob& job = slots_[submitted_ % slots_.size()].job;
  job.clear();
  return job;
}

void DecodePool::submit(std::uint64_t row_limit) {
  {
    const std::lock_guard lock(mutex_);
    Slot& slot = slots_[submitted_ % slots_.size()];
    slot.row_limit = row_limit;
    slot.failure = nullptr;
    slot.state = State::kQueued;
    ++submitted_;
  }
  work_.notify_one();
}

void DecodePool::finish() {
  while (consumed_ != submitted_) consume_oldest();
}

/// Takes up the oldest queued slot; the lock is let go while it is decoded.
void DecodePool::run_slot(DecodeWorker& worker, std::unique_lock<std::mutex>& lock) {
  Slot& slot = slots_[started_ % slots_.size()];
  ++started_;
  slot.state = State::kRunning;
  lock.unlock();
  try {
    worker.run(slot.job, slot.row_limit);
  } catch (...) {
    slot.failure = std::current_exception();
  }
  lock.lock();
  slot.state = State::kDone;
  done_.notify_one();
}

void DecodePool::wait_until_done(Slot& slot) {
  std::unique_lock lock(mutex_);
  while (slot.state != State::kDone) {
    if (started_ != submitted_) {
      run_slot(*workers_.front(), lock);
    } else {
      done_.wait(lock);
    }
  }
}

void DecodePool::consume_oldest() {
  Slot& slot = slots_[consumed_ % slots_.size()];
  wait_until_done(slot);
  ++consumed_;
  slot.state = State::kFree;
  if (slot.failure != nullptr) std::rethrow_exception(slot.failure);
  consume_(slot.job);
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
