// What the systems' semaphores have in common.
#include "platform/semaphore.h"

namespace qmsd::platform {

bool Semaphore::try_acquire() noexcept {
  std::uint32_t count = count_.load(std::memory_order_relaxed);
  while (count != 0) {
    if (count_.compare_exchange_weak(count, count - 1, std::memory_order_acquire)) return true;
  }
  return false;
}

}  // namespace qmsd::platform
