// The life of a table that all threads of the process share, from start-up to shutdown.
#pragma once

#include <atomic>
#include <tuple>
#include <utility>

#include "kernel/base/rw_lock.h"
#include "kernel/base/waiting.h"
#include "platform/heap.h"

namespace qmsd {

// `Table` has a member `lock` that guards its contents. There is no destructor on purpose: if no
// shutdown came, threads may still be using the table when static objects are destroyed.
template <class Table>
class ProcessWide {
 public:
  using Owner = platform::HeapOwner<Table>;

  // Null before start-up, after shutdown, and when there was no memory for the table.
  Table* get() const noexcept { return table_.load(std::memory_order_acquire); }

  // False when memory is exhausted.
  template <class... Arguments>
  bool create(Arguments&&... arguments) {
    return publish(platform::heap_new<Table>(std::forward<Arguments>(arguments)...));
  }
  // The same with a table made before; null stands for exhausted memory.
  bool publish(Owner table) noexcept {
    table_.store(table.release(), std::memory_order_release);
    return get() != nullptr;
  }

  // Takes the table out of sight, waits until nobody holds its lock, and frees it. At process exit
  // it is left to the system instead: a thread killed inside may have left it inconsistent.
  void destroy() {
    Owner table(table_.exchange(nullptr, std::memory_order_acq_rel));
    if (waiting_given_up()) {
      std::ignore = table.release();
    } else if (table) {
      const WriteGuard last(table->lock);
    }
  }

 private:
  std::atomic<Table*> table_{nullptr};
};

}  // namespace qmsd
