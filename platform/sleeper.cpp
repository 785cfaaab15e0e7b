// What the systems' sleepers have in common.
#include "platform/sleeper.h"

namespace qmsd::platform {

bool Sleeper::take_token() noexcept {
  std::uint32_t left = tokens_.load(std::memory_order_relaxed);
  while (left != 0) {
    if (tokens_.compare_exchange_weak(left, left - 1, std::memory_order_acquire)) return true;
  }
  return false;
}

}  // namespace qmsd::platform
