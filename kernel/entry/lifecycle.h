// Start-up and shutdown of the kernel in their fixed order.
#pragma once

#include <atomic>

namespace qmsd {

// Driven by the loader's notices (Windows), by constructor and destructor (native), or by tests.
void attach();
// `process_ends`: the other threads are gone already, so no lock may be waited for.
void detach(bool process_ends);
void thread_attach() noexcept;
void thread_detach() noexcept;

// True from when the first calls have done their part of start-up until the last step of detach.
// Inline, because it spares every call the three checks below.
inline std::atomic<bool> g_kernel_runs{false};
inline bool kernel_runs() noexcept { return g_kernel_runs.load(std::memory_order_relaxed); }

// True after the last step of detach: only the get-error codes answer then.
bool kernel_closed() noexcept;

// Loads texts and groups from the property store; done by attach, or else by the first call.
void load_tables_once();
// Pins the numeric locale to "C"; done by the first call after the tables were loaded.
void pin_numeric_locale_once() noexcept;

}  // namespace qmsd
