// The runtime's allocator behind a gate that tests may close.
#include "platform/heap.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>

#include "platform/test_hooks.h"

namespace qmsd::platform {
namespace {

std::atomic<AllocationGate> allocation_gate{nullptr};

bool may_allocate(std::size_t bytes) {
  const AllocationGate gate = allocation_gate.load(std::memory_order_relaxed);
  if (gate == nullptr || gate(bytes)) return true;
  errno = ENOMEM;
  return false;
}

// A runtime may answer a request for nothing with null, which would look like exhausted memory.
std::size_t at_least_one(std::size_t bytes) { return bytes == 0 ? 1 : bytes; }

}  // namespace

void* heap_allocate(std::size_t bytes) {
  return may_allocate(bytes) ? std::malloc(at_least_one(bytes)) : nullptr;
}

void* heap_allocate_zeroed(std::size_t bytes) {
  return may_allocate(bytes) ? std::calloc(at_least_one(bytes), 1) : nullptr;
}

void* heap_reallocate(void* block, std::size_t bytes) {
  return may_allocate(bytes) ? std::realloc(block, at_least_one(bytes)) : nullptr;
}

void heap_free(void* block) noexcept {
  if (block == nullptr) return;
  const int kept = errno;
  std::free(block);
  errno = kept;
}

void set_allocation_gate(AllocationGate gate) noexcept {
  allocation_gate.store(gate, std::memory_order_relaxed);
}

}  // namespace qmsd::platform
