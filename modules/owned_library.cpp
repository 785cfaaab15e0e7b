#include "modules/owned_library.h"

#include <atomic>
#include <cstdint>

#include "kernel/base/lock_order.h"

namespace qmsd {
namespace {

// Unsigned, because it may wrap.
std::atomic<std::uint32_t> g_closing{0};

}  // namespace

void OwnedLibrary::reset(platform::Library next) noexcept {
  const platform::Library old = std::exchange(library_, next);
  if (!old) return;
  assert_no_lock_held("a library is unloaded");
  raise_closing_counter();
  platform::close_library(old);
  lower_closing_counter();
}

void raise_closing_counter() noexcept { ++g_closing; }
void lower_closing_counter() noexcept { --g_closing; }

}  // namespace qmsd
