// The offset is kept without a lock: any thread may be the one to ask first.
#include "variant/time/zone.h"

#include <atomic>
#include <limits>

#include "platform/time_zone.h"

namespace qmsd {
namespace {

constexpr std::int32_t kNotRead = std::numeric_limits<std::int32_t>::min();

std::atomic<std::int32_t> known_offset{kNotRead};

}  // namespace

std::int32_t local_zone_offset() noexcept {
  std::int32_t known = known_offset.load(std::memory_order_relaxed);
  if (known != kNotRead) return known;
  const std::int32_t read = platform::zone_offset_now();
  // If several threads read at the same time, the first one's answer counts for all.
  return known_offset.compare_exchange_strong(known, read, std::memory_order_relaxed) ? read
                                                                                      : known;
}

}  // namespace qmsd
