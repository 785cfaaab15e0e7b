// The variants' shared lock.
#include "variant/variant_lock.h"

#include <atomic>

#include "platform/heap.h"

namespace qmsd {
namespace {

std::atomic<RwLock*> g_lock{nullptr};

}  // namespace

bool variants_create() {
  g_lock.store(platform::heap_new<RwLock>(LockRank::variants).release(), std::memory_order_release);
  return variants_lock() != nullptr;
}

void variants_destroy() { const platform::HeapOwner<RwLock> lock(g_lock.exchange(nullptr)); }

RwLock* variants_lock() noexcept { return g_lock.load(std::memory_order_acquire); }

}  // namespace qmsd
