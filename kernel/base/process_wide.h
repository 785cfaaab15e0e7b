// The life of a table that all threads of the process share, from start-up to shutdown.
#pragma once

#include <atomic>
#include <tuple>
#include <utility>

#include "kernel/base/rw_lock.h"
#include "kernel/base/waiting.h"
#include "platform/heap.h"

namespace qmsd {

// `Table` has a member `lock`, which whoever works in it holds. There is no destructor: nothing may
// go behind the back of a shutdown that did not come.
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

  // From now on nobody finds the table; it goes when the last one has left it. At process exit the
  // system takes it as it is: a thread that was killed inside may have torn it.
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
