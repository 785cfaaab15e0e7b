// Monotonic time, sleeping, and the calling thread. Nothing here fails; any thread may call it.
#pragma once

#include <cstdint>

namespace qmsd::platform {

// Milliseconds since an arbitrary start; never runs backwards.
std::int64_t monotonic_milliseconds() noexcept;
// Sleeps at least that long; 0 only yields the processor.
void sleep_milliseconds(std::uint32_t milliseconds) noexcept;

// Unique among the threads that are alive; never 0.
std::uintptr_t current_thread_id() noexcept;

}  // namespace qmsd::platform
