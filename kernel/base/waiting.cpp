// The switch that ends all waiting.
#include "kernel/base/waiting.h"

#include <atomic>

namespace qmsd {
namespace {

std::atomic<bool> g_given_up{false};

}  // namespace

void give_up_waiting() noexcept { g_given_up.store(true, std::memory_order_relaxed); }
bool waiting_given_up() noexcept { return g_given_up.load(std::memory_order_relaxed); }

}  // namespace qmsd
