#include "memory/memory_calls.h"

#include "kernel/errors/error_state.h"
#include "memory/tracked_allocator.h"
#include "memory/tracked_heap.h"

namespace qmsd {
namespace {

// These two services swallow whatever escapes, without recording it: they are called while things
// are cleaned up, when the error that led there must not be lost.
template <class Service>
bool without_exceptions(Service service) {
  try {
    return service();
  } catch (...) {
    return false;
  }
}

TrackedHeap* heap_or_fail() {
  TrackedHeap* heap = tracked_heap();
  if (heap == nullptr) fail(QM_ERROR_ARGUMENT);
  return heap;
}

}  // namespace

bool memory_realloc(qm_realloc* record) {
  return without_exceptions([record] {
    if (record == nullptr || record->size < 0) return refuse(QM_W("(!ptr || size < 0)"));
    return tracked_realloc(&record->pointer, record->size, nullptr, 0);
  });
}

bool memory_size(qm_mem_size* record) {
  return without_exceptions([record] {
    if (record == nullptr || record->pointer == nullptr) return refuse(QM_W("(!ptr || !buffer)"));
    const TrackedHeap* heap = heap_or_fail();
    return heap != nullptr && heap->capacity_of(record->pointer, record->size);
  });
}

// An unknown pointer is reported without the position: the message would show it as the place
// where the block comes from, and it is where the block was to be resized.
bool memory_realloc_position(qm_realloc_pos& record) {
  TrackedHeap* heap = heap_or_fail();
  if (heap == nullptr) return false;
  if (record.pointer == nullptr || heap->contains(record.pointer))
    return heap->reallocate(&record.pointer, record.size, record.file, record.line);
  qm_realloc plain{record.pointer, record.size};
  const bool done = memory_realloc(&plain);
  record.pointer = plain.pointer;
  return done;
}

bool memory_check() {
  const TrackedHeap* heap = heap_or_fail();
  return heap != nullptr && heap->check();
}

bool memory_info(qm_mem_info& record) {
  const TrackedHeap* heap = heap_or_fail();
  return heap != nullptr && heap->describe(record);
}

}  // namespace qmsd
