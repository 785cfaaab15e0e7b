// A value of its own for every thread. Threads older than the slot read null.
#pragma once

#include <cstdint>

namespace qmsd::platform {

class ThreadSlot {
 public:
  // Runs with the value of a thread that ends, where the system offers that (native build); on
  // Windows the thread's detach notice does this work instead. May be null.
  using AtThreadEnd = void (*)(void* value);

  constexpr ThreadSlot() noexcept = default;

  // False when the system has no slot left; the slot then counts as missing.
  bool create(AtThreadEnd at_thread_end) noexcept;
  void destroy() noexcept;
  bool exists() const noexcept { return created_; }

  // Only for a slot that exists. get() keeps the thread's last system error.
  void* get() const noexcept;
  // False when the system has no memory for the thread's value.
  bool set(void* value) const noexcept;

 private:
  std::uint32_t key_ = 0;
  bool created_ = false;
};

// Makes create() fail for the next `count` slots: how tests see a missing key.
void fail_next_thread_slots(int count) noexcept;

}  // namespace qmsd::platform
