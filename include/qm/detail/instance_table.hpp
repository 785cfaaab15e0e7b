// The open instances of a module, by handle. A part of <qm/module.hpp>.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include <qm/failure.hpp>

namespace qm::detail {

// A lock for a few instructions at a time. At the end of a Windows process the other threads are
// killed wherever they are, perhaps in here, before the kernel closes what is open; so nobody waits
// for ever.
class BriefLock {
 public:
  // Errors: a Failure with QM_ERROR_BUSY when the lock does not become free.
  void lock() {
    if (!taken_.exchange(true, std::memory_order_acquire)) return;
    if (!wait()) throw Failure(QM_ERROR_BUSY, "(instances)");
  }
  void unlock() {
    abandoned_.store(false, std::memory_order_relaxed);
    taken_.store(false, std::memory_order_release);
  }

 private:
  static constexpr int kShortWaits = 64;
  static constexpr std::chrono::seconds kLimit{1};

  bool wait() {
    if (abandoned_.load(std::memory_order_relaxed)) return false;
    const auto start = std::chrono::steady_clock::now();
    for (int tries = 0; taken_.exchange(true, std::memory_order_acquire); ++tries) {
      if (tries < kShortWaits) {
        std::this_thread::yield();
      } else if (std::chrono::steady_clock::now() - start < kLimit) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      } else {
        abandoned_.store(true, std::memory_order_relaxed);  // one wait is enough for all
        return false;
      }
    }
    return true;
  }

  std::atomic<bool> taken_{false};
  std::atomic<bool> abandoned_{false};
};

// A static object that no destructor ends: at process exit the kernel closes its handles when the
// module's static objects are gone already.
template <class T>
union Immortal {
  constexpr Immortal() : value() {}
  constexpr ~Immortal() {}

  T value;
};

// Finds instances by handles that count up and are not used again before all 32 bits have been
// through, so that a stale handle is not taken for another instance. When empty it holds no memory.
template <class Instance>
class InstanceTable {
 public:
  using Shared = std::shared_ptr<Instance>;

  constexpr explicit InstanceTable(std::uint32_t last_handle = 0) : last_handle_(last_handle) {}

  // The handle of an instance that is in the table from now on.
  std::uint32_t add(Shared instance) {
    const Guard guard(lock_);
    if (count_ >= slots_.size() / 2) grow();
    Slot* slot;
    do {
      slot = &slot_of(++last_handle_);
    } while (last_handle_ == 0 || slot->instance);
    *slot = {last_handle_, std::move(instance)};
    ++count_;
    return last_handle_;
  }

  // Null for a handle that is not in the table. The instance lives as long as the result.
  Shared find(std::uint32_t handle) {
    const Guard guard(lock_);
    return holds(handle) ? slot_of(handle).instance : nullptr;
  }

  Shared remove(std::uint32_t handle) {
    std::vector<Slot> emptied;
    const Guard guard(lock_);
    if (!holds(handle)) return nullptr;
    Shared instance = std::move(slot_of(handle).instance);
    if (--count_ == 0) slots_.swap(emptied);
    return instance;
  }

 private:
  struct Slot {
    std::uint32_t handle = 0;
    Shared instance;
  };

  class Guard {
   public:
    explicit Guard(BriefLock& lock) : lock_(lock) { lock_.lock(); }
    ~Guard() { lock_.unlock(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

   private:
    BriefLock& lock_;
  };

  static constexpr std::size_t kFirstSize = 16;

  // Each handle has one slot where it may be. The number of slots is a power of two, so handles
  // that have different slots keep having them in a table twice as large.
  Slot& slot_of(std::uint32_t handle) { return slots_[handle & (slots_.size() - 1)]; }
  bool holds(std::uint32_t handle) {
    return handle != 0 && !slots_.empty() && slot_of(handle).handle == handle &&
           slot_of(handle).instance;
  }

  void grow() {
    std::vector<Slot> old(slots_.empty() ? kFirstSize : slots_.size() * 2);
    old.swap(slots_);
    for (Slot& slot : old) {
      if (slot.instance) slot_of(slot.handle) = std::move(slot);
    }
  }

  BriefLock lock_;
  std::vector<Slot> slots_;
  std::size_t count_ = 0;
  std::uint32_t last_handle_;
};

}  // namespace qm::detail
