// The operations of the tracked allocator on one list of blocks, each under the list's lock. Only
// for memory/ and its tests; other rooms use tracked_allocator.h.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"
#include "kernel/base/rw_lock.h"
#include "memory/block_list.h"

namespace qmsd {

struct BlockTotals {
  std::int32_t blocks = 0;
  std::int32_t damaged = 0;
  std::int32_t data_bytes = 0;  // guard zones included
  std::int32_t other_bytes = 0;
};

// Operations return false with an error recorded, unless they say otherwise.
class TrackedHeap {
 public:
  // Blocks have no guard zones today; everything here works for any width.
  static constexpr std::int32_t kGuardWidth = 0;

  explicit TrackedHeap(std::int32_t guard_width = kGuardWidth) noexcept : guard_(guard_width) {}

  // See tracked_realloc().
  bool reallocate(void** pointer, std::int32_t size, const char* file, std::int32_t line);
  // Releases a block. One that cannot be found stays, and nothing is recorded.
  void discard(void* block);

  // Records nothing.
  bool contains(const void* block) const;
  bool capacity_of(const void* block, std::int32_t& capacity) const;
  bool check() const;
  bool describe(qm_mem_info& info) const;
  BlockTotals totals() const;

  mutable RwLock lock{LockRank::tracked};  // taken by each operation

 private:
  // Both expect the write lock.
  bool allocate(void** pointer, std::int32_t size, const char* file, std::int32_t line);
  bool change(void** pointer, std::int32_t size, const char* file, std::int32_t line);

  const std::int32_t guard_;
  BlockList blocks_;
};

// The heap of this process; null before start-up, after shutdown, or when there was no memory for
// it.
TrackedHeap* tracked_heap() noexcept;

}  // namespace qmsd
