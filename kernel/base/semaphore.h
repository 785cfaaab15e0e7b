// A semaphore of count 1 that stays in user space until a thread really has to wait.
#pragma once

#include <atomic>
#include <cstdint>

#include "kernel/base/lock_order.h"
#include "platform/sleeper.h"

namespace qmsd {

// At process exit the other threads are gone, perhaps from inside a lock: from this call on every
// lock is taken by a try, and its guard goes on whether or not it was free.
void give_up_waiting() noexcept;
bool waiting_given_up() noexcept;

class Semaphore {
 public:
  explicit Semaphore(LockRank rank) noexcept : rank_(rank) {}

  // False only when waiting has been given up; then there is nothing to release.
  [[nodiscard]] bool acquire() noexcept {
    note_locked(rank_);
    std::int32_t free = 1;
    return free_.compare_exchange_strong(free, 0, std::memory_order_acquire) || wait();
  }
  void release() noexcept {
    note_unlocked(rank_);
    if (free_.fetch_add(1, std::memory_order_acq_rel) < 0) sleeper_.wake(1);
  }

 private:
  bool wait() noexcept;

  const LockRank rank_;
  std::atomic<std::int32_t> free_{1};  // below 0: so many threads sleep
  platform::Sleeper sleeper_;
};

class SemaphoreGuard {
 public:
  explicit SemaphoreGuard(Semaphore& semaphore) noexcept
      : semaphore_(semaphore.acquire() ? &semaphore : nullptr) {}
  ~SemaphoreGuard() {
    if (semaphore_ != nullptr) semaphore_->release();
  }
  SemaphoreGuard(const SemaphoreGuard&) = delete;
  SemaphoreGuard& operator=(const SemaphoreGuard&) = delete;

 private:
  Semaphore* semaphore_;
};

}  // namespace qmsd
