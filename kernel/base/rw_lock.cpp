// What happens to a thread that cannot have the lock at once.
#include "kernel/base/rw_lock.h"

#include "kernel/base/semaphore.h"

namespace qmsd {
namespace {

// Looks at a lock before its thread goes to sleep: what is done under a lock is mostly shorter than
// the way into the operating system and back.
constexpr int kLooks = 64;

}  // namespace

bool RwLock::give_up() noexcept {
  if (!waiting_given_up()) return false;
  note_unlocked(rank_);
  return true;
}

// Comes back when the gate has been free, or may have been.
void RwLock::wait_at_gate() noexcept {
  Word word = 0;
  for (int look = 0; look < kLooks; ++look) {
    word = word_.load(std::memory_order_relaxed);
    if ((word & kGate) == 0) return;
  }
  if (word_.compare_exchange_strong(word, word + kSleeper, std::memory_order_relaxed)) {
    gate_.sleep();
  }
}

bool RwLock::wait_shared() noexcept {
  for (;;) {
    Word word = word_.load(std::memory_order_relaxed);
    if ((word & kGate) != 0) {
      if (give_up()) return false;
      wait_at_gate();
    } else if (word_.compare_exchange_weak(word, word + kReader, std::memory_order_acquire)) {
      return true;
    }
  }
}

bool RwLock::wait_exclusive() noexcept {
  for (;;) {
    Word word = word_.load(std::memory_order_relaxed);
    if (word != 0 && give_up()) return false;
    if ((word & kGate) != 0) {
      wait_at_gate();
    } else if (word_.compare_exchange_weak(word, word | kGate, std::memory_order_acquire)) {
      drain();
      return true;
    }
  }
}

// With the gate taken: waits until no reader is left.
void RwLock::drain() noexcept {
  Word word = 0;
  for (int look = 0; look < kLooks; ++look) {
    word = word_.load(std::memory_order_acquire);
    if ((word & kReaders) == 0) return;
  }
  while ((word & kReaders) != 0) {
    if (word_.compare_exchange_weak(word, word | kDrain, std::memory_order_acquire)) {
      drain_.sleep();
      return;
    }
  }
}

}  // namespace qmsd
