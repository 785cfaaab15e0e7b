// Monotonic time and sleeping.
#pragma once

#include <cstdint>

namespace qmsd::platform {

// Milliseconds since an arbitrary start; never runs backwards.
std::int64_t monotonic_milliseconds() noexcept;
void sleep_milliseconds(std::uint32_t milliseconds) noexcept;

// Names the calling thread; 0 is never a thread.
std::uintptr_t current_thread_id() noexcept;

}  // namespace qmsd::platform
