// The slow paths: what a thread does that cannot have the lock at once.
#include "kernel/base/rw_lock.h"

#include "kernel/base/waiting.h"

namespace qmsd {
namespace {

// How often a thread polls before it sleeps: most critical sections are shorter than the way into
// the operating system and back.
constexpr int kSpins = 64;

}  // namespace

bool RwLock::give_up() noexcept {
  if (!waiting_given_up()) return false;
  note_unlocked(rank_);
  return true;
}

RwLock::Word RwLock::spin_while(Word bits) const noexcept {
  Word word = word_.load(std::memory_order_acquire);
  for (int spin = 0; spin < kSpins && (word & bits) != 0; ++spin) {
    word = word_.load(std::memory_order_acquire);
  }
  return word;
}

void RwLock::wait_for_writer() noexcept {
  Word word = spin_while(kWriter);
  if ((word & kWriter) != 0 &&
      word_.compare_exchange_strong(word, word + kWaiter, std::memory_order_relaxed)) {
    writer_left_.acquire();
  }
}

bool RwLock::wait_shared() noexcept {
  for (;;) {
    Word word = word_.load(std::memory_order_relaxed);
    if ((word & kWriter) != 0) {
      if (give_up()) return false;
      wait_for_writer();
    } else if (word_.compare_exchange_weak(word, word + kReader, std::memory_order_acquire)) {
      return true;
    }
  }
}

bool RwLock::wait_exclusive() noexcept {
  for (;;) {
    Word word = word_.load(std::memory_order_relaxed);
    if (word != 0 && give_up()) return false;
    if ((word & kWriter) != 0) {
      wait_for_writer();
    } else if (word_.compare_exchange_weak(word, word | kWriter, std::memory_order_acquire)) {
      wait_for_readers();
      return true;
    }
  }
}

void RwLock::wait_for_readers() noexcept {
  Word word = spin_while(kReaders);
  while ((word & kReaders) != 0) {
    if (word_.compare_exchange_weak(word, word | kDraining, std::memory_order_acquire)) {
      readers_left_.acquire();
      return;
    }
  }
}

}  // namespace qmsd
