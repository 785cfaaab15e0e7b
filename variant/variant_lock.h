// The one lock that all variants share.
#pragma once

#include <optional>

#include "kernel/base/rw_lock.h"

namespace qmsd {

// False when memory is exhausted: variants then work unlocked.
bool variants_create();
void variants_destroy();

// Null when there is none. Internal routines of this room never lock: the function codes do.
RwLock* variants_lock() noexcept;

template <class Guard>
class VariantsGuard {
 public:
  VariantsGuard() {
    if (RwLock* lock = variants_lock()) guard_.emplace(*lock);
  }

 private:
  std::optional<Guard> guard_;
};
using VariantsReadGuard = VariantsGuard<ReadGuard>;
using VariantsWriteGuard = VariantsGuard<WriteGuard>;

}  // namespace qmsd
