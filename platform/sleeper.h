// A counted place for threads to sleep: the only part of a lock that enters the operating system.
#pragma once

#include <atomic>
#include <cstdint>

namespace qmsd::platform {

// Each wake(n) lets n sleeps through, whether they began before or after it. What a thread did
// before its wake() is seen by the threads it lets through. Nothing here fails: without a system
// object sleepers poll. A sleeper may be destroyed as soon as nobody sleeps, and never waits then.
class Sleeper {
 public:
  constexpr Sleeper() noexcept = default;
  ~Sleeper();
  Sleeper(const Sleeper&) = delete;
  Sleeper& operator=(const Sleeper&) = delete;

  void sleep() noexcept;
  void wake(std::uint32_t threads) noexcept;

 private:
  // False when there is none.
  bool take_token() noexcept;

  // Windows: the semaphore that holds the tokens, made at the first use.
  [[maybe_unused]] std::atomic<void*> object_{nullptr};
  // The tokens where there is no such object.
  std::atomic<std::uint32_t> tokens_{0};
};

}  // namespace qmsd::platform
