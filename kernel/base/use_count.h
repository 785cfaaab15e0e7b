// Counts of uses that keep an entry in its table.
#pragma once

#include <atomic>
#include <cstdint>

namespace qmsd {

using UseCount = std::atomic<std::int32_t>;

// Lowers a count unless it would reach 0, which ends the entry's life. So readers of the table can
// give uses back; only the last use needs the exclusive lock.
inline bool lower_if_uses_remain(UseCount& uses, std::int32_t by = 1) noexcept {
  std::int32_t now = uses.load(std::memory_order_relaxed);
  while (now > by) {
    if (uses.compare_exchange_weak(now, now - by, std::memory_order_acq_rel)) return true;
  }
  return false;
}

}  // namespace qmsd
