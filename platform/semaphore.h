// A counting semaphore: the only part of a lock that enters the operating system.
#pragma once

#include <atomic>
#include <cstdint>

namespace qmsd::platform {

// Starts with a count of 0. Each release(n) lets n calls of acquire() through, whether they began
// before or after it; what a thread did before release() is visible to the threads it lets through.
// Nothing here fails: if the system has no object to offer, waiting threads poll. A semaphore may
// be destroyed as soon as nobody waits in it; destroying never blocks.
class Semaphore {
 public:
  constexpr Semaphore() noexcept = default;
  ~Semaphore();
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  void acquire() noexcept;
  void release(std::uint32_t count) noexcept;

 private:
  // Takes one from count_; false when it is 0.
  bool try_acquire() noexcept;

  // Windows: the system's semaphore, created at first use.
  [[maybe_unused]] std::atomic<void*> object_{nullptr};
  // The count, where there is no such object.
  std::atomic<std::uint32_t> count_{0};
};

}  // namespace qmsd::platform
