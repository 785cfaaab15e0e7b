// Creating and destroying thread slots, and how tests make creating fail.
#include "platform/thread_slot.h"

#include <atomic>

#include "platform/test_hooks.h"

namespace qmsd::platform {
namespace {

std::atomic<int> failures_left{0};

bool take_failure() {
  int left = failures_left.load(std::memory_order_relaxed);
  while (left > 0) {
    if (failures_left.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) return true;
  }
  return false;
}

}  // namespace

bool ThreadSlot::create(AtThreadEnd at_thread_end) noexcept {
  destroy();
  created_ = !take_failure() && create_key(at_thread_end);
  return created_;
}

void ThreadSlot::destroy() noexcept {
  if (created_) destroy_key();
  created_ = false;
}

void fail_next_thread_slots(int count) noexcept {
  failures_left.store(count, std::memory_order_relaxed);
}

}  // namespace qmsd::platform
