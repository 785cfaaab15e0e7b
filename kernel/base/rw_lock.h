// The readers-writer lock of every process-wide table. Not recursive: a waiting writer keeps new
// readers out, so a thread that locks twice, even for reading, may wait for itself.
//
// The protocol is the classic one of a writer semaphore, a no-readers event, a critical section and
// a reader count: a reader passes the semaphore, counts itself in and gives the semaphore back at
// once; a writer keeps the semaphore and waits for the event that the last reader signals. Here all
// four live in one atomic word: changing the word in one step is the critical section, "count is 0"
// is the event, one bit is the semaphore. So an uncontended lock costs one atomic operation.
#pragma once

#include <atomic>
#include <cstdint>

#include "kernel/base/lock_order.h"
#include "platform/semaphore.h"

namespace qmsd {

class RwLock {
 public:
  explicit RwLock(LockRank rank) noexcept : rank_(rank) {}

  // False only when waiting has been given up; then there is nothing to unlock.
  [[nodiscard]] bool lock_shared() noexcept {
    note_locked(rank_);
    Word word = word_.load(std::memory_order_relaxed);
    if ((word & kWriter) == 0 &&
        word_.compare_exchange_weak(word, word + kReader, std::memory_order_acquire)) [[likely]] {
      return true;
    }
    return wait_shared();
  }
  [[nodiscard]] bool lock_exclusive() noexcept {
    note_locked(rank_);
    Word free = 0;
    if (word_.compare_exchange_strong(free, kWriter, std::memory_order_acquire)) [[likely]] {
      return true;
    }
    return wait_exclusive();
  }

  // For readers and writers: a writer is inside exactly when its bit is set and no reader is
  // counted.
  void unlock() noexcept {
    note_unlocked(rank_);
    const Word word = word_.load(std::memory_order_relaxed);
    if ((word & kWriter) != 0 && (word & kReaders) == 0) {
      leave_writer(word_.exchange(0, std::memory_order_release));
    } else {
      leave_reader(word_.fetch_sub(kReader, std::memory_order_acq_rel));
    }
  }

 private:
  using Word = std::uint32_t;

  // The two counts cannot overflow: a 32-bit process has room for a few thousand threads.
  static constexpr Word kReader = 1;
  static constexpr Word kReaders = 0x7FFF;
  static constexpr Word kWaiter = 0x8000;  // a thread asleep until the writer leaves
  static constexpr Word kWaiters = 0x7FFF * kWaiter;
  static constexpr Word kDraining = 0x4000'0000;  // the writer is asleep until the readers leave
  static constexpr Word kWriter = 0x8000'0000;    // a writer is inside or waits for the readers

  bool wait_shared() noexcept;
  bool wait_exclusive() noexcept;
  // Polls a few times whether these bits are clear; returns the last word it saw.
  Word spin_while(Word bits) const noexcept;
  void wait_for_writer() noexcept;   // may return early
  void wait_for_readers() noexcept;  // called with the writer's bit set, by its owner
  bool give_up() noexcept;

  void leave_writer(Word before) noexcept {
    if ((before & kWaiters) != 0) writer_left_.release((before & kWaiters) / kWaiter);
  }
  void leave_reader(Word before) noexcept {
    if ((before & (kDraining | kReaders)) == (kDraining | kReader)) readers_left_.release(1);
  }

  const LockRank rank_;
  std::atomic<Word> word_{0};
  platform::Semaphore writer_left_;   // released once for each waiter
  platform::Semaphore readers_left_;  // released for the draining writer
};

// Holds the lock until the end of the scope, or until unlock().
template <bool (RwLock::*Take)() noexcept>
class LockGuard {
 public:
  explicit LockGuard(RwLock& lock) noexcept : lock_((lock.*Take)() ? &lock : nullptr) {}
  ~LockGuard() { unlock(); }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

  // False after unlock(), and from the start when waiting has been given up.
  bool held() const noexcept { return lock_ != nullptr; }
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
