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
  [[nodiscard]] bool lock_shared() noexcept {
    note_locked(rank_);
    Word word = word_.load(std::memory_order_relaxed);
    if ((word & kGate) == 0 &&
        word_.compare_exchange_weak(word, word + kReader, std::memory_order_acquire)) [[likely]] {
      return true;
    }
    return wait_shared();
  }
  [[nodiscard]] bool lock_exclusive() noexcept {
    note_locked(rank_);
    Word free = 0;
    if (word_.compare_exchange_strong(free, kGate, std::memory_order_acquire)) [[likely]] {
      return true;
    }
    return wait_exclusive();
  }

  // Serves readers and the writer alike: there is a writer inside exactly while the gate is taken
  // and no reader is left.
  void unlock() noexcept {
    note_unlocked(rank_);
    const Word word = word_.load(std::memory_order_relaxed);
    if ((word & kGate) != 0 && (word & kReaders) == 0) {
      leave_writer(word_.exchange(0, std::memory_order_release));
    } else {
      leave_reader(word_.fetch_sub(kReader, std::memory_order_acq_rel));
    }
  }

 private:
  using Word = std::uint32_t;

  // A 32-bit process has room for a few thousand threads, so neither count comes near its end.
  static constexpr Word kReader = 1;
  static constexpr Word kReaders = 0x7FFF;
  static constexpr Word kSleeper = 0x8000;  // at the gate; there are some only while it is taken
  static constexpr Word kSleepers = 0x7FFF * kSleeper;
  static constexpr Word kDrain = 0x4000'0000;  // the writer at the gate sleeps for the last reader
  static constexpr Word kGate = 0x8000'0000;   // the writer semaphore is taken

  bool wait_shared() noexcept;
  bool wait_exclusive() noexcept;
  // Looks a few times whether these bits are clear; returns what it saw last.
  Word watch(Word bits) const noexcept;
  void wait_at_gate() noexcept;  // until it has been free, or may have been
  void drain() noexcept;         // with the gate taken: until no reader is left
  bool give_up() noexcept;

  void leave_writer(Word before) noexcept {
    if ((before & kSleepers) != 0) gate_.wake((before & kSleepers) / kSleeper);
  }
  void leave_reader(Word before) noexcept {
    if ((before & (kDrain | kReaders)) == (kDrain | kReader)) drain_.wake(1);
  }

  const LockRank rank_;
  std::atomic<Word> word_{0};
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
