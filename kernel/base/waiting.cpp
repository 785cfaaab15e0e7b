// The switch that ends all waiting.
#include "kernel/base/waiting.h"

#include <atomic>

#include "platform/process.h"

namespace qmsd {
namespace {

std::atomic<bool> g_given_up{false};

}  // namespace

void give_up_waiting() noexcept { g_given_up.store(true, std::memory_order_relaxed); }

// The system is asked as well, because a library that is cleaned up before this one may still call.
bool waiting_given_up() noexcept {
  return g_given_up.load(std::memory_order_relaxed) || platform::process_is_ending();
}

}  // namespace qmsd
