#pragma once

#include <mutex>

/// A mutex in the clothes of the utilities. Not recursive. Lock() throws std::system_error where
/// the platform refuses; the rest does not throw.
namespace KZ_DVT {

class uMutex {
 public:
  uMutex() = default;
  uMutex(const uMutex&) = delete;
  uMutex& operator=(const uMutex&) = delete;

  void Lock();
  [[nodiscard]] bool TryLock();
  void Unlock();

  /// Holds a mutex for a scope.
  class ScopedLock {
   public:
    explicit ScopedLock(uMutex& mutex) : mutex_(mutex) { mutex_.Lock(); }
    ~ScopedLock() { mutex_.Unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

   private:
    uMutex& mutex_;
  };

 private:
  std::mutex mutex_;
};

}  // namespace KZ_DVT
