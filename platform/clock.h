// Monotonic time, sleeping, and whose time it is. Nothing here fails; any thread may call it.
#pragma once

#include <cstdint>

namespace qmsd::platform {

// Milliseconds since an arbitrary start; never runs backwards.
std::int64_t monotonic_milliseconds() noexcept;
// At least that long; 0 only gives the processor away.
void sleep_milliseconds(std::uint32_t milliseconds) noexcept;

// Names the calling thread among those that live; 0 is never a thread.
std::uintptr_t current_thread_id() noexcept;

}  // namespace qmsd::platform
