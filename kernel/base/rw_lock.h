// The readers-writer lock of every process-wide table. Not recursive; a waiting writer keeps new
// readers out, so even a nested read lock may never end.
//
// The protocol is that of a writer semaphore, a no-readers event, a critical section and a reader
// count: a reader passes the semaphore, counts itself in and gives the semaphore back at once; a
// writer keeps the semaphore and waits for the event that the last reader signals. All four live in
// one atomic word here: changing the word in one step is the critical section, "count is 0" is the
// event, one bit is the semaphore. So a lock nobody waits for costs one atomic operation.
#pragma once

#include <atomic>
#include <cstdint>

#include "kernel/base/lock_order.h"
#include "platform/sleeper.h"

namespace qmsd {

class RwLock {
 public:
  explicit RwLock(LockRank rank) noexcept : rank_(rank) {}

  // False only when waiting has been given up; then there is nothing to unlock.
  [[nodiscard]] bool lock_shared() noexcept;
  [[nodiscard]] bool lock_exclusive() noexcept;
  // Serves readers and the writer alike.
  void unlock() noexcept;

 private:
  const LockRank rank_;
  std::atomic<std::uint32_t> word_{0};
  platform::Sleeper gate_;   // threads that found the semaphore taken
  platform::Sleeper drain_;  // the writer that waits for the last reader
};

// Holds the lock until the end of the scope, or until unlock().
template <bool (RwLock::*Take)() noexcept>
class LockGuard {
 public:
  explicit LockGuard(RwLock& lock) noexcept : lock_((lock.*Take)() ? &lock : nullptr) {}
  ~LockGuard() { unlock(); }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

  void unlock() noexcept {
    if (lock_ != nullptr) lock_->unlock();
    lock_ = nullptr;
  }

 private:
  RwLock* lock_;
};

using ReadGuard = LockGuard<&RwLock::lock_shared>;
using WriteGuard = LockGuard<&RwLock::lock_exclusive>;

}  // namespace qmsd
