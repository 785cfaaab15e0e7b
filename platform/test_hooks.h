// For tests: makes the system fail or answer differently. The kernel calls none of this. A setting
// holds for the whole process until it is changed.
#pragma once

#include <cstddef>

#include "include/qmsd7.h"

namespace qmsd::platform {

// heap.h: asked before each allocation, by any thread; false makes it fail. Null removes the gate.
using AllocationGate = bool (*)(std::size_t bytes);
void set_allocation_gate(AllocationGate gate) noexcept;

// library.h: another system directory in both its roles, kept by reference; null for the system's
// own. And whether executable_name() fails.
void set_system_directory(const qm_wchar* directory) noexcept;
void hide_executable_name(bool hidden) noexcept;

// semaphore.h: semaphores first used from now on do without a system object. No effect natively.
void refuse_system_semaphores(bool refused) noexcept;

// thread_slot.h: create() fails for the next `count` slots.
void fail_next_thread_slots(int count) noexcept;

}  // namespace qmsd::platform
