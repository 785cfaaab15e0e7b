// The process's one tracked heap, from start-up to shutdown.
#include "memory/tracked_allocator.h"

#include <atomic>
#include <stdexcept>

#include "kernel/base/semaphore.h"
#include "kernel/errors/error_state.h"
#include "memory/tracked_heap.h"
#include "platform/heap.h"
#include "services/text/strings.h"

namespace qmsd {
namespace {

// A plain pointer: nothing may be destroyed behind the back of a shutdown that did not come.
std::atomic<TrackedHeap*> g_heap{nullptr};

// What the last report said; each report tells the changes since.
struct LastReport {
  std::atomic<std::int32_t> blocks{0};
  std::atomic<std::int32_t> damaged{0};
  std::atomic<std::int32_t> data_bytes{0};
  std::atomic<std::int32_t> other_bytes{0};
};
LastReport g_last_report;

std::int64_t change(std::atomic<std::int32_t>& last, std::int32_t now) {
  return std::int64_t{now} - last.exchange(now);
}

}  // namespace

TrackedHeap* tracked_heap() noexcept { return g_heap.load(std::memory_order_acquire); }

bool tracked_create() {
  platform::HeapOwner<TrackedHeap> heap = platform::heap_new<TrackedHeap>();
  if (!heap) return false;
  g_heap.store(heap.release(), std::memory_order_release);
  return true;
}

void tracked_destroy() {
  platform::HeapOwner<TrackedHeap> heap{g_heap.exchange(nullptr)};
  // A thread killed at process exit may have left the list half changed: the system gets it as it
  // is.
  if (waiting_given_up()) static_cast<void>(heap.release());
}

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
  const TrackedHeap* heap = tracked_heap();
  const BlockTotals now = heap != nullptr ? heap->totals() : BlockTotals{};
  char text[256];
  const int length =
      format_narrow(text, sizeof text,
                    "[QMMEM] nblock: %i (%lli), nbadblock: %i (%lli), allmemsize: %i (%lli) bytes, "
                    "allothersize: %i (%lli) \n",
                    now.blocks, change(g_last_report.blocks, now.blocks), now.damaged,
                    change(g_last_report.damaged, now.damaged), now.data_bytes,
                    change(g_last_report.data_bytes, now.data_bytes), now.other_bytes,
                    change(g_last_report.other_bytes, now.other_bytes));
  qmString line;
  if (length <= 0 || !line.assign(text)) throw std::runtime_error("Error during formatting.");
  return line;
}

}  // namespace qmsd
