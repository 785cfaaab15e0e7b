// A futex on the count: no thread enters the system as long as the count is above 0.
#include "platform/semaphore.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "platform/test_hooks.h"

namespace qmsd::platform {

Semaphore::~Semaphore() = default;

void Semaphore::acquire() noexcept {
  // The wait returns at once if the count is no longer 0, so no release is missed.
  while (!try_acquire()) {
    ::syscall(SYS_futex, &count_, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
  }
}

void Semaphore::release(std::uint32_t count) noexcept {
  if (count == 0) return;
  count_.fetch_add(count, std::memory_order_release);
  // A thread that got through may have destroyed the semaphore by now. That is harmless: the system
  // uses the address as a key only, and a thread woken by mistake checks its count again.
  const int woken = static_cast<int>(std::min<std::uint32_t>(count, INT_MAX));
  ::syscall(SYS_futex, &count_, FUTEX_WAKE_PRIVATE, woken, nullptr, nullptr, 0);
}

void refuse_system_semaphores(bool) noexcept {}

}  // namespace qmsd::platform
