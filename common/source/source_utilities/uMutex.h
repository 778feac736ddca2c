#pragma once

#include <mutex>

#include "interfaces/qbt2_export.h"

/// The utilities' mutex. Not recursive. Lock() throws std::system_error if the platform refuses;
/// nothing else throws.
namespace KZ_DVT {

class QBT2_API uMutex {
 public:
  uMutex() = default;
  uMutex(const uMutex&) = delete;
  uMutex& operator=(const uMutex&) = delete;

  void Lock();
  void Unlock();

  /// Locks a mutex for a scope.
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
