// A counted place for threads to sleep: the only part of a lock that enters the operating system.
#pragma once

#include <atomic>
#include <cstdint>

namespace qmsd::platform {

// Each wake(n) lets n sleeps through, whether they began before or after it.
class Sleeper {
 public:
  Sleeper() noexcept = default;
  ~Sleeper();
  Sleeper(const Sleeper&) = delete;
  Sleeper& operator=(const Sleeper&) = delete;

  void sleep() noexcept;
  void wake(std::uint32_t threads) noexcept;

 private:
  // The operating system's object (Windows: made at the first use) or the token count itself.
  std::atomic<void*> object_{nullptr};
  std::atomic<std::uint32_t> tokens_{0};
};

}  // namespace qmsd::platform
