// The semaphore's slow path, and the switch that ends all waiting.
#include "kernel/base/semaphore.h"

namespace qmsd {
namespace {

std::atomic<bool> g_given_up{false};

// Looks at a semaphore before its thread goes to sleep: what is done under one is mostly shorter
// than the way into the operating system and back.
constexpr int kLooks = 64;

}  // namespace

void give_up_waiting() noexcept { g_given_up.store(true, std::memory_order_relaxed); }
bool waiting_given_up() noexcept { return g_given_up.load(std::memory_order_relaxed); }

bool Semaphore::wait() noexcept {
  if (waiting_given_up()) {
    note_unlocked(rank_);
    return false;
  }
  for (int look = 0; look < kLooks; ++look) {
    std::int32_t free = 1;
    if (free_.load(std::memory_order_relaxed) == free &&
        free_.compare_exchange_weak(free, 0, std::memory_order_acquire)) {
      return true;
    }
  }
  if (free_.fetch_sub(1, std::memory_order_acquire) <= 0) sleeper_.sleep();
  return true;
}

}  // namespace qmsd
