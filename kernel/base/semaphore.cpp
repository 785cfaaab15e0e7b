// The semaphore's slow path, and the switch that ends all waiting.
#include "kernel/base/semaphore.h"

namespace qmsd {
namespace {

std::atomic<bool> g_given_up{false};

}  // namespace

void give_up_waiting() noexcept { g_given_up.store(true, std::memory_order_relaxed); }
bool waiting_given_up() noexcept { return g_given_up.load(std::memory_order_relaxed); }

bool Semaphore::wait() noexcept {
  if (waiting_given_up()) {
    note_unlocked(rank_);
    return false;
  }
  if (free_.fetch_sub(1, std::memory_order_acquire) <= 0) sleeper_.sleep();
  return true;
}

}  // namespace qmsd
