// The process's one tracked heap, from start-up to shutdown.
#include "memory/tracked_allocator.h"

#include "kernel/base/process_wide.h"
#include "kernel/base/waiting.h"
#include "kernel/errors/error_state.h"
#include "memory/tracked_heap.h"
#include "services/text/statistics.h"

namespace qmsd {
namespace {

ProcessWide<TrackedHeap> g_heap;

}  // namespace

TrackedHeap* tracked_heap() noexcept { return g_heap.get(); }

bool tracked_create() { return g_heap.create(); }

void tracked_destroy() { g_heap.destroy(); }

bool tracked_realloc(void** pointer, std::int32_t size, const char* file, std::int32_t line) {
  TrackedHeap* heap = tracked_heap();
  if (heap == nullptr) return fail(QM_ERROR_ARGUMENT);
  return heap->reallocate(pointer, size, file, line);
}

void tracked_release(void* block) {
  TrackedHeap* heap = tracked_heap();
  // At process exit the list may be half changed; the system takes the block anyway.
  if (heap == nullptr || block == nullptr || waiting_given_up()) return;
  heap->discard(block);
}

qmString tracked_statistics() {
  static constinit LastReported blocks;
  static constinit LastReported damaged;
  static constinit LastReported data_bytes;
  static constinit LastReported other_bytes;

  const TrackedHeap* heap = tracked_heap();
  const BlockTotals now = heap != nullptr ? heap->totals() : BlockTotals{};
  return statistics_line(
      "[QMMEM] nblock: %i (%lli), nbadblock: %i (%lli), allmemsize: %i (%lli) bytes, "
      "allothersize: %i (%lli) \n",
      now.blocks, blocks.change_to(now.blocks), now.damaged, damaged.change_to(now.damaged),
      now.data_bytes, data_bytes.change_to(now.data_bytes), now.other_bytes,
      other_bytes.change_to(now.other_bytes));
}

}  // namespace qmsd
