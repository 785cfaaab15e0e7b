// The variants' shared lock.
#include "variant/variant_lock.h"

#include "kernel/base/process_wide.h"

namespace qmsd {
namespace {

struct SharedLock {
  RwLock lock{LockRank::variants};
};

ProcessWide<SharedLock> g_shared;

}  // namespace

bool variants_create() { return g_shared.create(); }
void variants_destroy() { g_shared.destroy(); }

RwLock* variants_lock() noexcept {
  SharedLock* const shared = g_shared.get();
  return shared == nullptr ? nullptr : &shared->lock;
}

}  // namespace qmsd
