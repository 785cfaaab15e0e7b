// A futex on the token count: nobody enters the system as long as there are tokens.
#include "platform/sleeper.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "platform/test_hooks.h"

namespace qmsd::platform {

Sleeper::~Sleeper() = default;

void Sleeper::sleep() noexcept {
  // Waiting returns at once if the count is no longer 0, so no wake is missed.
  while (!take_token()) {
    ::syscall(SYS_futex, &tokens_, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
  }
}

void Sleeper::wake(std::uint32_t threads) noexcept {
  if (threads == 0) return;
  tokens_.fetch_add(threads, std::memory_order_release);
  // A thread let through may have destroyed the sleeper by now; the system takes the address only
  // as a name, and a thread woken in error looks at its count again.
  const int woken = static_cast<int>(std::min<std::uint32_t>(threads, INT_MAX));
  ::syscall(SYS_futex, &tokens_, FUTEX_WAKE_PRIVATE, woken, nullptr, nullptr, 0);
}

void refuse_sleeper_objects(bool) noexcept {}

}  // namespace qmsd::platform
