// A value of its own for every thread. Threads older than the slot read null.
#pragma once

#include <cstdint>

namespace qmsd::platform {

// Creating and destroying is for one thread at a time, while no other uses the slot; get() and
// set() are for any thread. The values belong to whoever set them: destroy() frees none.
class ThreadSlot {
 public:
  // Runs with the value of a thread that ends, unless it is null, where the system offers that
  // (native build); on Windows the thread's detach notice does this work instead. May be null.
  using AtThreadEnd = void (*)(void* value);

  constexpr ThreadSlot() noexcept = default;

  // False when the system has no slot left; the slot then counts as missing.
  bool create(AtThreadEnd at_thread_end) noexcept;
  // A missing slot is allowed.
  void destroy() noexcept;
  bool exists() const noexcept { return created_; }

  // Only for a slot that exists. get() keeps the thread's last system error.
  void* get() const noexcept;
  // False when the system has no memory for the thread's value; the old value then stays.
  bool set(void* value) const noexcept;

 private:
  bool create_key(AtThreadEnd at_thread_end) noexcept;
  void destroy_key() noexcept;

  std::uint32_t key_ = 0;
  bool created_ = false;
};

}  // namespace qmsd::platform
