// What happens to a thread that cannot have the lock at once.
#include "kernel/base/rw_lock.h"

#include "kernel/base/waiting.h"

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

RwLock::Word RwLock::watch(Word bits) const noexcept {
  Word word = word_.load(std::memory_order_acquire);
  for (int look = 0; look < kLooks && (word & bits) != 0; ++look) {
    word = word_.load(std::memory_order_acquire);
  }
  return word;
}

void RwLock::wait_at_gate() noexcept {
  Word word = watch(kGate);
  if ((word & kGate) != 0 &&
      word_.compare_exchange_strong(word, word + kSleeper, std::memory_order_relaxed)) {
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

void RwLock::drain() noexcept {
  Word word = watch(kReaders);
  while ((word & kReaders) != 0) {
    if (word_.compare_exchange_weak(word, word | kDrain, std::memory_order_acquire)) {
      drain_.sleep();
      return;
    }
  }
}

}  // namespace qmsd
