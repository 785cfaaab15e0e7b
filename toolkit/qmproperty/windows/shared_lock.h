// A readers-writer lock that may be used, and abandoned, after static destructors have run.
// The runtime's own lock would hold system handles that an unload leaves behind.
#pragma once

#include <windows.h>

namespace qmproperty {

class SharedLock {
 public:
  void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
  bool try_lock() noexcept { return TryAcquireSRWLockExclusive(&lock_) != 0; }
  void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }
  void lock_shared() noexcept { AcquireSRWLockShared(&lock_); }
  void unlock_shared() noexcept { ReleaseSRWLockShared(&lock_); }

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
};

}  // namespace qmproperty
